#!/usr/bin/env bash
# Builds and runs the benchmarks on a private display and session bus. They print figures and ratios against a
# baseline measured in the same run; they assert nothing.
#   bridge      synchronous bridge round trip; cold start to a loaded web app and API round trips from the
#               page, each against MiniBrowser (parts: exec, start, api)
#   proxy       the web proxy's own cost: sequential GETs from a libsoup client to a loopback server, through
#               the proxy and directly (option: rounds)
#   cache       hash-map lookups, a refresh against curl, memory while a large file passes through, main-loop
#               stalls while a refresh is stored and a large cache cleared (disk work on the main thread vs the
#               background disk worker)
#   mediakeys   latency from an X key press to the web app's function
#   robustness  a million random bridge calls from a page with the program's memory before and after, and the
#               recovery time after the web process is killed (parts: calls, crash)
# Usage: scripts/bench.sh [bridge|proxy|cache|mediakeys|robustness|all] [options for that benchmark...]
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir="${BUILD_DIR:-build}"
[ -f "$build_dir/build.ninja" ] || scripts/setup.sh "$build_dir"
which="${1:-all}"
[ $# -gt 0 ] && shift
run() {
  cmake --build "$build_dir" --target "$1" -j2
  tests/support/with-display.sh "$build_dir/bench/$2" "${@:3}"
}
case "$which" in
  bridge) run bridge_bench bridge_bench "$@" ;;
  proxy) run proxy_bench proxy_bench "$@" ;;
  cache) run cache_bench cache/cache_bench "$@" ;;
  mediakeys) run media_key_latency media_key_latency "$@" ;;
  robustness) run robustness_bench robustness_bench "$@" ;;
  all)
    run bridge_bench bridge_bench
    run proxy_bench proxy_bench
    run cache_bench cache/cache_bench
    run media_key_latency media_key_latency
    run robustness_bench robustness_bench
    ;;
  *) echo "usage: scripts/bench.sh [bridge|proxy|cache|mediakeys|robustness|all] [options...]" >&2; exit 2 ;;
esac
