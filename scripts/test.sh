#!/usr/bin/env bash
# Builds Ostrelle (installing what it needs) and runs the whole test suite: format check, core tests (also
# under AddressSanitizer and UBSan), the shell and end-to-end tests under Xvfb, and a bounded run of each
# fuzz target (clang, build-fuzz/).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build -DOSTRELLE_WERROR=ON
scripts/setup.sh build-asan -DOSTRELLE_WERROR=ON -DOSTRELLE_SANITIZE=ON -DOSTRELLE_CORE_ONLY=ON

# The size of the suite as the project counts it: non-blank lines of tests/ against those of src/.
nonblank() { git ls-files -z "$@" | xargs -0 cat | grep -cv '^[[:space:]]*$'; }
tests_lines=$(nonblank 'tests/*.cpp' 'tests/*.h' 'tests/*.js' 'tests/*.sh' 'tests/*.py')
src_lines=$(nonblank 'src/*.cpp' 'src/*.h')
awk -v t="$tests_lines" -v s="$src_lines" 'BEGIN { printf "tests/src: %.2f (%d/%d non-blank lines)\n", t / s, t, s }'

echo "== format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

echo "== core tests (sanitizers)"
ctest --test-dir build-asan --output-on-failure -j"$(nproc)"

echo "== all tests"
ctest --test-dir build --output-on-failure -j"$(nproc)" -LE ui
# The window suites drive a real X server and window manager on a loaded two-core machine; a suite that fails
# is run once more, and its first failure stays in the output above for whoever reads the log.
ctest --test-dir build --output-on-failure -j"$(nproc)" -L ui --repeat until-pass:2

echo "== fuzzing (bounded)"
scripts/fuzz.sh --runs 20000
