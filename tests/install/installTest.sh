#!/usr/bin/env bash
# Installs the build into a scratch prefix, checks the installed layout, and starts the
# installed program through its launcher to see that it finds everything beside itself.
#
#   installTest.sh CMAKE BUILD_DIR [MAKE_EXAMPLE]
#
# With the program that synthesises the examples, each installed example is checked to carry
# the tempo, time signature, time shift and low A its audio was made at.
#
# The program runs offscreen, with a scratch home and no way to reach a sound server, so it
# needs neither a display nor an audio device.
set -uo pipefail

cmake=$1
build=$2
make_example=${3:-}
# The program is started at most this long before it must have logged its folder.
start_limit_s=60

scratch=$(mktemp -d)
pid=
cleanup() {
  if [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; then
    kill "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  fi
  rm -rf "$scratch"
}
trap cleanup EXIT

failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}
check_file() {
  [ -f "$1" ] && [ -s "$1" ] || fail "missing or empty: ${1#"$prefix"/}"
}
check_program() {
  [ -x "$1" ] && [ -f "$1" ] || fail "not an executable program: ${1#"$prefix"/}"
}

prefix=$scratch/prefix
if ! "$cmake" --install "$build" --prefix "$prefix" >"$scratch/install.log" 2>&1; then
  cat "$scratch/install.log" >&2
  echo "FAIL: cmake --install $build did not succeed" >&2
  exit 1
fi
app=$(realpath "$prefix/lib/ceolmark")

# --- The layout.
check_program "$app/ceolmark"
check_program "$prefix/bin/ceolmark-cli"
check_file "$app/sounds/click1.wav"
check_file "$app/sounds/click2.wav"
check_file "$app/terms-of-use.txt"
check_file "$app/help/index.html"
check_file "$app/help/style.css"
for example in scotland-the-brave the-ceolmark-welcome the-drone-reed the-practice-chanter; do
  check_file "$app/examples/$example.cmk"
  # The installed recording is the one the build packed, not a stale copy.
  cmp -s "$app/examples/$example.cmk" "$build/resources/examples/$example.cmk" ||
    fail "examples/$example.cmk differs from the build's"
done
# Every picture, style sheet and page the help refers to is installed with it.
for ref in $(grep -oE '(src|href)="[^"#:]+"' "$app/help/index.html" | sed -E 's/^[a-z]+="//; s/"$//' | sort -u); do
  check_file "$app/help/$ref"
done

# Each example is packed as its audio was played, or it transcribes into the wrong bars.
if [ -n "$make_example" ]; then
  "$make_example" --list >"$scratch/examples.txt" || fail "makeExample --list failed"
  while IFS=$'\t' read -r name options; do
    eval "set -- $options"
    declare -A want=()
    while [ $# -ge 2 ]; do
      want[$1]=$2
      shift 2
    done
    info=$("$prefix/bin/ceolmark-cli" info "$app/examples/$name.cmk" 2>&1) || {
      fail "example $name is not installed or not readable: $info"
      continue
    }
    for line in "Tune name: ${want[--name]}" "Tune type: ${want[--type]}" "Time signature: ${want[--time]}" \
      "BPM: ${want[--bpm]}" "Time shift: ${want[--shift]} s"; do
      # The value as printed, perhaps followed by a note in brackets ("2/2 (Cut common time (Reel))").
      value=$(sed 's/[][\.*^$()+?{}|]/\\&/g' <<<"${line#*: }")
      grep -qxE "${line%%: *}: +$value( \(.*\))?" <<<"$info" || fail "example $name: expected \"$line\" in: $info"
    done
    grep -qE "^Calibration:.* LA ${want[--low-a]}\.00 Hz," <<<"$info" ||
      fail "example $name: expected low A ${want[--low-a]} Hz in: $info"
    unset want
  done <"$scratch/examples.txt"
  [ "$(ls "$app/examples" | wc -l)" -eq "$(wc -l <"$scratch/examples.txt")" ] ||
    fail "the installed examples are not the ones makeExample makes: $(ls "$app/examples" | tr '\n' ' ')"
fi

# The launcher runs the program in the application folder, wherever the prefix is.
launcher=$prefix/bin/ceolmark
if [ ! -x "$launcher" ]; then
  fail "no launcher bin/ceolmark"
elif [ -L "$launcher" ] && [ "$(realpath "$launcher")" != "$app/ceolmark" ]; then
  fail "bin/ceolmark points to $(realpath "$launcher"), not $app/ceolmark"
fi

desktop=$prefix/share/applications/ceolmark.desktop
check_file "$desktop"
if [ -f "$desktop" ]; then
  if command -v desktop-file-validate >/dev/null; then
    desktop-file-validate "$desktop" || fail "desktop-file-validate rejects ceolmark.desktop"
  else
    echo "desktop-file-validate is not installed: the desktop entry's syntax is not checked"
  fi
  # The menu entry starts the launcher and shows an installed icon.
  exec_name=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$desktop")
  icon_name=$(sed -n 's/^Icon=//p' "$desktop")
  [ -n "$exec_name" ] && [ -x "$prefix/bin/$exec_name" ] || fail "Exec=$exec_name is not a program in bin"
  check_file "$prefix/share/icons/hicolor/256x256/apps/$icon_name.png"
  check_file "$prefix/share/icons/hicolor/scalable/apps/$icon_name.svg"
fi

# The installed command-line program runs from bin and reads an installed example.
if ! "$prefix/bin/ceolmark-cli" info "$app/examples/the-drone-reed.cmk" >"$scratch/info.txt" 2>&1; then
  fail "the installed ceolmark-cli cannot read an installed example: $(cat "$scratch/info.txt")"
elif ! grep -q '^Tune name: *The Drone Reed$' "$scratch/info.txt"; then
  fail "the installed jig example does not carry its name: $(cat "$scratch/info.txt")"
fi

# --- The installed program, started through the launcher.
mkdir -p "$scratch/home" "$scratch/pulse" "$scratch/runtime"
chmod 700 "$scratch/runtime"
printf 'autospawn = no\n' >"$scratch/pulse/client.conf"

# Starts the launcher with its log in $1 and waits until the program has logged its folder and
# whatever it misses, the program exits, or the limit passes. Sets pid; returns 1 unless the
# program got that far.
start_program() {
  local log=$1
  # A sound server socket that does not exist: the program never reaches the test daemon or
  # the user's, and the client never starts one of its own.
  env -u DISPLAY -u WAYLAND_DISPLAY -u PA_DIR \
    QT_QPA_PLATFORM=offscreen HOME="$scratch/home" XDG_CONFIG_HOME="$scratch/home/.config" \
    XDG_DATA_HOME="$scratch/home/.local/share" XDG_CACHE_HOME="$scratch/home/.cache" \
    XDG_RUNTIME_DIR="$scratch/runtime" PULSE_RUNTIME_PATH="$scratch/pulse" \
    PULSE_SERVER="unix:$scratch/pulse/none" PULSE_CLIENTCONFIG="$scratch/pulse/client.conf" \
    "$launcher" >"$log" 2>&1 &
  pid=$!
  local deadline=$((SECONDS + start_limit_s))
  while [ $SECONDS -lt $deadline ]; do
    if past_folder_check "$log"; then
      kill -0 "$pid" 2>/dev/null
      return
    fi
    kill -0 "$pid" 2>/dev/null || return 1
    sleep 0.1
  done
  return 1
}

# True once the log holds the folder line and a later entry of the same thread that is not a
# missing file: the thread has finished listing what is missing. Entries are
# "[time tid:N L] function - message", and they may run together on one line.
past_folder_check() {
  grep -oE 'tid:[0-9]+ [A-Z]\] [^[:space:]]+ - [^[]*' "$1" | awk '
    /Application folder:/ && !tid { tid = $1; next }
    tid && $1 == tid && !/Not found beside the program/ { found = 1 }
    END { exit !found }'
}

# Ends the program and waits for it, so that everything it wrote is in its log.
stop_program() {
  kill "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null
  pid=
}

# The folder as logged, without a trailing slash; lines may run together in the log.
logged_folder() {
  grep -oE 'Application folder: [^[:space:][]+' "$1" | head -n 1 | sed -E 's/^Application folder: //; s#/$##'
}

if [ -x "$launcher" ]; then
  log=$scratch/run.log
  if start_program "$log"; then
    stop_program
    folder=$(logged_folder "$log")
    [ "$folder" = "$app" ] || fail "the program says its folder is \"$folder\", not $app"
    if grep -q 'Not found beside the program' "$log"; then
      fail "the installed program misses files: $(grep -oE 'Not found beside the program: [^[:space:][]+' "$log" | tr '\n' ' ')"
    fi
  else
    stop_program
    fail "the installed program did not log its folder and go on within ${start_limit_s} s; its log:"
    cat "$log" >&2
  fi

  # The same check sees a file that is not there, so a quiet log above means nothing was missing.
  rm "$app/terms-of-use.txt"
  log=$scratch/missing.log
  if start_program "$log"; then
    stop_program
    if ! grep -q "Not found beside the program: $app/terms-of-use.txt" "$log"; then
      fail "without its terms of use the program does not say so; its log:"
      cat "$log" >&2
    fi
  else
    stop_program
    fail "the program without its terms of use did not log its folder; its log:"
    cat "$log" >&2
  fi
fi

if [ "$failures" -ne 0 ]; then
  echo "InstallTest: $failures check(s) failed" >&2
  exit 1
fi
echo "InstallTest: installed into a scratch prefix and started from bin/ceolmark: all checks passed"
