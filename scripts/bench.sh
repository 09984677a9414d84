#!/usr/bin/env bash
# Builds and runs the benchmarks on a private display and session bus: the synchronous bridge round trip, and
# cold start to a loaded web app against MiniBrowser. They print figures; they assert nothing.
# Usage: scripts/bench.sh [bridge_bench options...]   (e.g. --rounds 9, or just "exec")
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir="${BUILD_DIR:-build}"
[ -f "$build_dir/build.ninja" ] || scripts/setup.sh "$build_dir"
cmake --build "$build_dir" --target bridge_bench -j2
exec tests/support/with-display.sh "$build_dir/bench/bridge_bench" "$@"
