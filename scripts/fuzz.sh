#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, core only, ASan and UBSan) into build-fuzz/ and runs them.
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]   each target for SECONDS (default 60), growing build-fuzz/corpus/<target>
#                                           from the seeds in fuzz/corpus/<target>
#   scripts/fuzz.sh --runs N [TARGET...]    each target for N runs from the seeds only, with a fixed seed,
#                                           keeping nothing (the test command's bounded run); the cache
#                                           target, which builds a folder tree per input, runs N/4
#
# Targets: json bridge cache version command_line http (all by default). An input that breaks a target is saved
# as build-fuzz/artifacts/<target>/crash-*; rerun it with build-fuzz/fuzz/<target>_fuzz FILE.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=""
seconds=60
if [ "${1:-}" = "--runs" ]; then
  runs="$2"
  shift 2
elif [[ "${1:-}" =~ ^[0-9]+$ ]]; then
  seconds="$1"
  shift
fi
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(json bridge cache version command_line http)

# Quiet unless something fails: then the build's own output says what.
if ! out="$(CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DOSTRELLE_FUZZ=ON -DOSTRELLE_WERROR=ON 2>&1 &&
  cmake --build build-fuzz --target fuzzers 2>&1)"; then
  echo "$out" >&2
  echo "fuzz.sh: the fuzz targets did not build" >&2
  exit 1
fi

status=0
for target in "${targets[@]}"; do
  binary="build-fuzz/fuzz/${target}_fuzz"
  seeds="fuzz/corpus/$target"
  [ -x "$binary" ] && [ -d "$seeds" ] || { echo "fuzz.sh: no target '$target'" >&2; exit 2; }
  artifacts="build-fuzz/artifacts/$target/"
  log="build-fuzz/logs/$target.log"
  mkdir -p "$artifacts" "$(dirname "$log")"
  options=(-max_len=4096 -timeout=10 -print_final_stats=1 -artifact_prefix="$artifacts")
  if [ -n "$runs" ]; then
    corpus="$(mktemp -d)"
    options+=(-runs="$([ "$target" = cache ] && echo $((runs / 4)) || echo "$runs")" -seed=1)
  else
    corpus="build-fuzz/corpus/$target"
    mkdir -p "$corpus"
    options+=(-max_total_time="$seconds")
  fi
  start=$SECONDS
  if "$binary" "${options[@]}" "$corpus" "$seeds" >"$log" 2>&1; then
    # The last status line: coverage, features, corpus, speed.
    summary="$(grep -E '^#[0-9]+' "$log" | tail -1 | sed -E 's/^#([0-9]+)[[:space:]]+[A-Z]+[[:space:]]+/\1 runs  /')"
    echo "$target: ok in $((SECONDS - start)) s: $summary"
  else
    echo "$target: FAILED (log: $log)"
    grep -E -A30 'INVARIANT BROKEN|ERROR: (AddressSanitizer|libFuzzer|LeakSanitizer)|runtime error' "$log" | head -60
    status=1
  fi
  [ -z "$runs" ] || rm -rf "$corpus"
done
exit $status
