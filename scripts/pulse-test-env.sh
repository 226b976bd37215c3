# Sourced by scripts/test.sh: a PulseAudio daemon that gives Qt a real audio input and output
# on a machine without a sound card. A pipe source fed through a FIFO is the default input, a
# null sink the default output. Everything lives in one temporary folder; nothing
# system-wide is touched. Needs the Debian packages pulseaudio and pulseaudio-utils.
#
#   . scripts/pulse-test-env.sh; pa_start && trap pa_stop EXIT
#
# The pipe source delivers nothing (not silence) while nobody writes the FIFO, and a burst of
# more than about 4 MiB written at once is dropped: writers feed it at real-time pace.
# Every client needs the variables exported here.
export PA_DIR=${PA_DIR:-$(mktemp -d /tmp/ceolmark-pulse.XXXXXX)}
export PULSE_RUNTIME_PATH=$PA_DIR/run PULSE_STATE_PATH=$PA_DIR/state PULSE_COOKIE=$PA_DIR/cookie
export XDG_CONFIG_HOME=$PA_DIR/config PULSE_SERVER=unix:$PA_DIR/native

pa_start() {
  command -v pulseaudio >/dev/null && command -v pactl >/dev/null || return 1
  mkdir -p "$XDG_CONFIG_HOME" || return 1
  pulseaudio -n --daemonize=yes --realtime=no --high-priority=no --exit-idle-time=-1 --use-pid-file=yes \
    --log-target="file:$PA_DIR/pulse.log" \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$PA_DIR/native" \
    -L "module-null-sink sink_name=nullsink format=s16le rate=44100 channels=1" \
    -L "module-pipe-source source_name=pipesrc file=$PA_DIR/mic.fifo format=s16le rate=44100 channels=1" \
    || return 1
  local i
  for i in $(seq 50); do pactl info >/dev/null 2>&1 && break; sleep 0.1; done
  # The null sink's monitor would otherwise be the default source.
  pactl set-default-sink nullsink && pactl set-default-source pipesrc
}

pa_stop() {
  local pid i
  if pid=$(cat "$PA_DIR/run/pid" 2>/dev/null); then
    kill "$pid" 2>/dev/null
    for i in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  fi
  rm -rf "$PA_DIR"
}
