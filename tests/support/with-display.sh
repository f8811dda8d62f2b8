#!/usr/bin/env bash
# Runs a command with a display, a session bus and an accessibility bus of its own, and ends them with it:
#   with-display.sh [--whole-stacks] COMMAND [ARGUMENT...]
# Nothing of the caller's session is used, so any number may run at once. The exit status is that of the command.
# With --whole-stacks the address sanitizer records the callers in libraries without frame pointers too, which is slow:
# for what can't be told from a leak of ours otherwise.
set -euo pipefail

if [[ ${1:-} == --whole-stacks ]]; then
    shift
    export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}fast_unwind_on_malloc=0
fi

# Listing the tests of a program needs no display.
for argument in "$@"; do
    if [[ $argument == --gtest_list_tests ]]; then
        exec "$@"
    fi
done

runtime=$(mktemp -d "${TMPDIR:-/tmp}/mero_display_XXXXXX")
started=()

# shellcheck disable=SC2317  # called by the trap
stop() {
    local pid
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${started[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$runtime"
}
trap stop EXIT
trap 'exit 143' TERM
trap 'exit 130' INT

unset WAYLAND_DISPLAY XAUTHORITY AT_SPI_BUS_ADDRESS
export XDG_RUNTIME_DIR=$runtime
# Nobody listens there: a helper of the machine is never asked. Tests that need the bus start their own.
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$runtime/no_system_bus
export GDK_BACKEND=x11
# No settings, mounts or input methods of the machine.
export GSETTINGS_BACKEND=memory GIO_USE_VFS=local GTK_IM_MODULE=gtk-im-context-simple
export LIBGL_ALWAYS_SOFTWARE=1 NO_AT_BRIDGE=${NO_AT_BRIDGE:-0}

# The server chooses a free display and writes its number once it takes connections; the read waits for that.
mkfifo "$runtime/display" "$runtime/address"
Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp -noreset 3>"$runtime/display" \
    >"$runtime/xvfb.log" 2>&1 &
started+=("$!")
if ! read -r -t 60 number <"$runtime/display"; then
    cat "$runtime/xvfb.log" >&2
    echo "with-display.sh: Xvfb did not start" >&2
    exit 1
fi
export DISPLAY=:$number

# The accessibility bus is started by the session bus when a program first asks for it, and ends with it.
dbus-daemon --session --nofork --nopidfile --address="unix:path=$runtime/bus" --print-address=3 \
    3>"$runtime/address" >"$runtime/dbus.log" 2>&1 &
started+=("$!")
if ! read -r -t 60 DBUS_SESSION_BUS_ADDRESS <"$runtime/address"; then
    cat "$runtime/dbus.log" >&2
    echo "with-display.sh: dbus-daemon did not start" >&2
    exit 1
fi
export DBUS_SESSION_BUS_ADDRESS

status=0
"$@" || status=$?
exit "$status"
