#!/usr/bin/env bash
# Builds Ostrelle (installing what it needs) and runs it with the bundled web app.
# Usage: scripts/run.sh [ostrelle options...]   (see: scripts/run.sh --help)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "No display found; running Ostrelle on a virtual X display (xvfb-run)." >&2
  exec xvfb-run -a -s "-screen 0 1920x1080x24" build/ostrelle "$@"
fi
exec build/ostrelle "$@"
