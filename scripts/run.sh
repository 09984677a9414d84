#!/usr/bin/env bash
# Builds Ostrelle (installing what it needs) and runs it with the bundled web app.
#
# Unless you name a static file server yourself (--static-file-host / --config-base-url), the bundled web app is
# also published (build/published, version: today) and served by ostrelle-devserver on loopback, and Ostrelle
# is pointed at it: "检查更新" in the page then refreshes the web cache from there, and the next start serves
# the web app from the cache.
# Usage: scripts/run.sh [ostrelle options...]   (see: scripts/run.sh --help)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build

args=("$@")
own_server=1
for arg in "$@"; do
  case "$arg" in
    --static-file-host | --static-file-host=* | --config-base-url | --config-base-url=* | --help | --version)
      own_server=0 ;;
  esac
done

devserver_pid=""
cleanup() {
  if [ -n "$devserver_pid" ]; then
    kill "$devserver_pid" 2>/dev/null || true
    wait "$devserver_pid" 2>/dev/null || true
  fi
}
trap cleanup EXIT
trap 'exit 143' INT TERM

if [ "$own_server" = 1 ]; then
  build/ostrelle-publish www build/published --version "${OSTRELLE_PUBLISH_VERSION:-$(date +%Y/%m/%d)}"
  # A fixed port keeps the static file host, and so the cache folder, the same from one run to the next.
  port_file=$(mktemp -u "${TMPDIR:-/tmp}/ostrelle-devserver.XXXXXX")
  for try_port in "${OSTRELLE_DEVSERVER_PORT:-8737}" 0; do
    build/ostrelle-devserver build/published --quiet --port "$try_port" --port-file "$port_file" >/dev/null &
    devserver_pid=$!
    for _ in $(seq 100); do
      [ -s "$port_file" ] && break
      kill -0 "$devserver_pid" 2>/dev/null || break
      sleep 0.05
    done
    [ -s "$port_file" ] && break
    wait "$devserver_pid" 2>/dev/null || true
    devserver_pid=""
    echo "Port $try_port is taken; trying another one (the web cache of earlier runs will not be used)." >&2
  done
  [ -s "$port_file" ] || { echo "ostrelle-devserver did not start" >&2; exit 1; }
  port=$(cat "$port_file")
  rm -f "$port_file"
  echo "Serving the published web app at http://127.0.0.1:$port (ostrelle-devserver)." >&2
  args=(--static-file-host "127.0.0.1:$port" --config-base-url "http://127.0.0.1:$port/player/mac/config" "${args[@]}")
fi

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "No display found; running Ostrelle on a virtual X display (xvfb-run)." >&2
  xvfb-run -a -s "-screen 0 1920x1080x24" build/ostrelle "${args[@]}"
else
  build/ostrelle "${args[@]}"
fi
