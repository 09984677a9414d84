#!/usr/bin/env bash
# Usage: with-display.sh COMMAND [ARGS...]: runs it on a private Xvfb display and D-Bus session bus.
# Xvfb picks the display number itself (-displayfd: no race); the bus activates no services (no portals).
set -euo pipefail
runtime=$(mktemp -d "${TMPDIR:-/tmp}/ostrelle-display.XXXXXX")
xvfb_pid=""
trap '[ -z "$xvfb_pid" ] || { kill "$xvfb_pid" && wait "$xvfb_pid"; } 2>/dev/null; rm -rf "$runtime"' EXIT
trap 'exit 143' INT TERM

cat >"$runtime/session.conf" <<'CONF'
<busconfig><type>session</type><keep_umask/><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>
CONF

mkfifo "$runtime/displayfd"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$runtime/displayfd" \
    >"$runtime/xvfb.log" 2>&1 &
xvfb_pid=$!
display=""
if ! read -r -t 30 display <"$runtime/displayfd" || [ -z "$display" ]; then
    echo "with-display: Xvfb did not start" >&2
    cat "$runtime/xvfb.log" >&2 || true
    exit 1
fi

export DISPLAY=":$display" GDK_BACKEND=x11 WEBKIT_DISABLE_COMPOSITING_MODE=1 GTK_IM_MODULE=none GTK_A11Y=none \
    NO_AT_BRIDGE=1 XDG_RUNTIME_DIR="$runtime"
unset WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

# Not exec: this shell stays to stop Xvfb afterwards, and passes a stop request on to the command.
dbus-run-session --config-file="$runtime/session.conf" -- "$@" &
child=$!
trap 'kill -TERM "$child" 2>/dev/null' INT TERM
status=0
wait "$child" || status=$?
# A signal interrupts the first wait; the second one collects the command's own exit status.
! kill -0 "$child" 2>/dev/null || wait "$child" || status=$?
exit "$status"
