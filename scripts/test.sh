#!/usr/bin/env bash
# Installs, builds and runs every test through ctest, then builds the fuzz target with clang
# and runs it for 60 seconds. Exits non-zero if any test fails or the fuzzer finds a crash.
# The audio tests get real devices from a PulseAudio daemon started here and stopped by
# its own pid after ctest; without one they skip.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh --test
bash scripts/build.sh
. scripts/pulse-test-env.sh
if pa_start; then
  trap pa_stop EXIT
else
  echo "PulseAudio test daemon did not start: the real-audio tests will skip" >&2
  pa_stop
  unset PULSE_SERVER PA_DIR
fi
cd build
ctest --output-on-failure --parallel "$(nproc)" --timeout 600 | tee ctest.log
if [ -n "${PULSE_SERVER:-}" ]; then
  pa_stop
  trap - EXIT
fi

# The fuzzer: its own clang build, started from the committed seeds; new inputs it finds go
# to a scratch corpus so that the committed one stays as it is.
cd ..
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=Release -DFUZZ=ON \
  -DCEOLMARK_TESTS=OFF -DCEOLMARK_BENCH=OFF -DCEOLMARK_WARNINGS_FATAL=ON
cmake --build build-fuzz --parallel "$(nproc)" --target fuzzKestoFileCmkOpen
mkdir -p build-fuzz/corpus build-fuzz/artifacts
build-fuzz/src/files/fuzz/fuzzKestoFileCmkOpen -max_total_time=60 -max_len=4096 \
  -dict=src/files/fuzz/cmk.dict -artifact_prefix=build-fuzz/artifacts/ \
  build-fuzz/corpus src/files/fuzz/corpus

# ctest's count again as the last line, so it is not lost above the fuzzer's output.
summary=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests failed out of [0-9]+' build/ctest.log | tail -n 1)
failed=$(sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\1/' <<<"$summary")
total=$(sed -E 's/.* tests failed out of ([0-9]+).*/\1/' <<<"$summary")
echo "tests: $((total - failed)) passed, $failed failed"
