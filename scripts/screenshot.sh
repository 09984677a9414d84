#!/usr/bin/env bash
# Takes the screenshot the AppStream metainfo shows: the built program, as installed, with its bundled web app,
# on a virtual display; saves the main window as data/screenshots/main-window.png.
# Usage: scripts/screenshot.sh [BUILD_DIR]   (needs a built tree; imagemagick for import)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:-build}" && pwd)
out="$PWD/data/screenshots/main-window.png"
mkdir -p "$(dirname "$out")"

if [ -z "${OSTRELLE_SCREENSHOT_INNER:-}" ]; then
    OSTRELLE_SCREENSHOT_INNER=1 exec tests/support/with-display.sh "$0" "$build"
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/ostrelle-screenshot.XXXXXX")
program=""
cleanup() {
    [ -z "$program" ] || kill "$program" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
# A fresh user: no window state, no web cache from earlier runs.
export HOME="$work/home" XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config"
mkdir -p "$HOME"
"$build/ostrelle" >"$work/log" 2>&1 &
program=$!
window=""
for _ in $(seq 150); do
    window=$(xdotool search --onlyvisible --pid "$program" 2>/dev/null | head -n 1) || true
    [ -n "$window" ] && grep -q awakeFromNib "$work/log" && break
    sleep 0.2
done
[ -n "$window" ] || { cat "$work/log" >&2; echo "no window" >&2; exit 1; }
# Let the page finish loading and painting.
sleep 4
import -window "$window" "$out"
file "$out"
