#!/usr/bin/env bash
# Stability check of the application's shutdown: N times in a row (default 50) start the
# real executable, press space, play a second of tone into the microphone, press space and
# close the window as a window manager does, then note how the process ended. Each run is
# appSessionTests' short session, on an Xvfb of its own; the PulseAudio test daemon is the
# caller's (PULSE_SERVER set) or one started here. Exits non-zero if any run did not end with
# exit status 0, or failed its other checks.
#
#   scripts/app-exit-check.sh [N]     (CEOLMARK_BUILD_DIR: the build folder, default build)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-50}
build=${CEOLMARK_BUILD_DIR:-build}
tests=$build/src/app/tests/e2e/appSessionTests
if [ ! -x "$tests" ]; then
  echo "$tests is missing: build the appSessionTests target in $build first" >&2
  exit 2
fi
if [ -z "${PULSE_SERVER:-}" ]; then
  . scripts/pulse-test-env.sh
  if ! pa_start; then
    pa_stop
    echo "the PulseAudio test daemon did not start (Debian packages pulseaudio, pulseaudio-utils)" >&2
    exit 2
  fi
  trap pa_stop EXIT
fi

clean=0
failed=0
for run in $(seq "$runs"); do
  output=$("$tests" --gtest_filter=SessionTest.ExitsCleanlyAfterAShortRecording 2>&1) && passed=1 || passed=0
  if grep -q '^\[  SKIPPED \]' <<<"$output"; then
    echo "run $run skipped:" >&2
    grep -A2 'Skipped' <<<"$output" >&2 || true
    exit 2
  fi
  # The test prints how the application ended, whatever else failed.
  ended=$(sed -n 's/^application: //p' <<<"$output" | head -n 1)
  ended=${ended:-not closed (the session failed before the window was closed)}
  if [ "$ended" = "exit status 0" ]; then
    clean=$((clean + 1))
  else
    echo "run $run: $ended"
  fi
  if [ "$passed" = 0 ]; then
    failed=$((failed + 1))
    echo "run $run failed:"
    sed 's/^/  /' <<<"$output"
  fi
done

echo "$clean of $runs clean exits"
[ "$failed" -eq 0 ] || echo "$failed of $runs runs failed a check"
[ "$clean" -eq "$runs" ] && [ "$failed" -eq 0 ]
