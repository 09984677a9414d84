#!/usr/bin/env bash
# Checks a staging install of BUILD_DIR as a desktop sees it: files, validators, D-Bus activation, a notification.
# Usage (under tests/support/with-display.sh): install_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
id=org.ostrelle.Ostrelle

stage=$(mktemp -d "${TMPDIR:-/tmp}/ostrelle-install.XXXXXX")
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$stage"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2 && exit 1; }
wait_for() { # SECONDS COMMAND...: polls COMMAND until it succeeds
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do [ "$SECONDS" -lt "$deadline" ] && sleep 0.2 || return 1; done
}

DESTDIR="$stage/root" cmake --install "$build" --prefix /usr >"$stage/install.log"
usr="$stage/root/usr"
[ "$(ls "$stage/root")" = usr ] || fail "files installed outside the prefix: $(ls "$stage/root")"
for file in bin/ostrelle bin/ostrelle-publish bin/ostrelle-devserver share/ostrelle/www/index.html \
    share/ostrelle/cache_version share/applications/$id.desktop share/metainfo/$id.metainfo.xml \
    share/icons/hicolor/scalable/apps/$id.svg share/icons/hicolor/symbolic/apps/$id-symbolic.svg \
    share/man/man1/ostrelle.1.gz; do
    [ -s "$usr/$file" ] || fail "not installed: $file"
done
for size in 16 48 512; do
    file "$usr/share/icons/hicolor/${size}x${size}/apps/$id.png" | grep -q "PNG image data, $size x $size," ||
        fail "no ${size}px icon"
done
zgrep -q '^\.SH ENVIRONMENT' "$usr/share/man/man1/ostrelle.1.gz" || fail "the man page lacks its ENVIRONMENT section"
desktop-file-validate "$usr/share/applications/$id.desktop" || fail "desktop-file-validate"
appstreamcli validate --no-net "$usr/share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate"

export HOME="$stage/home" XDG_DATA_HOME="$stage/home/data" XDG_CONFIG_HOME="$stage/home/config"
export PATH="$usr/bin:$PATH"
mkdir -p "$HOME" "$stage/services"

# A session bus of our own that activates the staged program as the desktop would, its output to a log.
service=$usr/share/dbus-1/services/$id.service
grep -qx "Exec=/usr/bin/ostrelle --gapplication-service" "$service" || fail "service: $(cat "$service")"
sed "s|^Exec=.*|Exec=/bin/sh -c 'exec $usr/bin/ostrelle --gapplication-service >$stage/run.log 2>\\&1'|" \
    "$service" >"$stage/services/$id.service"
cat >"$stage/bus.conf" <<CONF
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>
<servicedir>$stage/services</servicedir>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>
CONF
dbus-daemon --config-file="$stage/bus.conf" --fork --syslog-only --print-address=3 --print-pid=4 \
    3>"$stage/bus.address" 4>"$stage/bus.pid"
pids+=("$(cat "$stage/bus.pid")")
DBUS_SESSION_BUS_ADDRESS=$(cat "$stage/bus.address")
export DBUS_SESSION_BUS_ADDRESS

/usr/bin/python3 "$here/notification-server.py" "$stage/notifications" >"$stage/server.log" &
pids+=($!)
wait_for 20 grep -q ready "$stage/server.log" || fail "the notification server did not start"

ended() { [[ $(ps -o stat= -p "$program" || echo Z) == Z* ]]; }
# The desktop entry's quit action, run as a desktop would; the program must end.
quit_program() {
    $(sed -n '/^\[Desktop Action quit\]/,/^\[/s/^Exec=//p' "$usr/share/applications/$id.desktop") ||
        fail "the quit action failed"
    wait_for 20 ended || fail "the program did not quit on the quit action"
}

# The desktop starts the entry by activating the application on the bus.
gdbus call --session --dest $id --object-path /${id//./\/} --method org.freedesktop.Application.Activate '{}' \
    >/dev/null || fail "activation failed: $(cat "$stage/run.log")"
program=$(gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID $id | sed 's/.*uint32 \([0-9]*\).*/\1/')
pids+=("$program")
served() { grep -q "getLocalData .*$usr/share/ostrelle/www/" "$stage/run.log"; }
wait_for 60 served || { cat "$stage/run.log"; fail "the installed web app was not served"; }
grep -q awakeFromNib "$stage/run.log" || fail "no awakeFromNib"
window=""
found_window() { window=$(xdotool search --onlyvisible --pid "$program" 2>/dev/null | head -n 1) && [ -n "$window" ]; }
wait_for 20 found_window || fail "no window"
xprop -id "$window" WM_CLASS | grep -qx "WM_CLASS(STRING) = \"$id\", \"$id\"" ||
    fail "window class: $(xprop -id "$window" WM_CLASS)"
# Read whole: grep -q would end the long listing early, and pipefail would take that as a failure.
icons=$(xprop -id "$window" _NET_WM_ICON)
[[ $icons == *"Icon ("* ]] || fail "the window has no icon"
gdbus call --session --dest org.mpris.MediaPlayer2.ostrelle --object-path /org/mpris/MediaPlayer2 \
    --method org.freedesktop.DBus.Properties.Get org.mpris.MediaPlayer2 DesktopEntry | grep -q "'$id'" ||
    fail "the media controls do not name the desktop entry"
quit_program

# Started by name, as the entry's Exec line does, on a page that notifies on a click (a user's gesture).
echo "<button style='position:fixed; inset:0' onclick=\"Notification.requestPermission().then(() =>
  new Notification('Now playing'))\">notify</button>" >"$stage/notify.html"
ostrelle --start-page "file://$stage/notify.html" >"$stage/notify.log" 2>&1 &
program=$!
pids+=("$program")
wait_for 20 found_window || fail "no window"
# Clicked until it notifies: a click before the page has loaded reaches no button.
click_notifies() {
    xdotool mousemove --window "$window" 200 200 click 1
    sleep 0.5
    [ -s "$stage/notifications" ]
}
wait_for 60 click_notifies || { cat "$stage/notify.log"; fail "no notification"; }
grep -qx "Ostrelle	Now playing	$id" "$stage/notifications" || fail "notification: $(cat "$stage/notifications")"
quit_program
wait "$program" || fail "the program exited with status $?"
echo "install test passed"
