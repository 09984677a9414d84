#!/usr/bin/env bash
# Builds the whole program with AddressSanitizer and UBSan (build-sanitize/) and runs the window and
# end-to-end suites against it, each on its own display and bus as in the test command. Every report of the
# program (an error, which also stops it, or leaks at exit) is written to build-sanitize/reports/ and fails the
# run. WebKit's own processes are not ours and not instrumented; leaks that lie inside the toolkit's and
# WebKit's libraries are suppressed by scripts/sanitize-lsan.supp. Slow (the build and the suites take several
# minutes on two cores), so it is not part of scripts/test.sh.
#
#   scripts/sanitize.sh [ctest options...]    for example: scripts/sanitize.sh -R ui.Bridge
set -euo pipefail
cd "$(dirname "$0")/.."
start=$(date +%s)
scripts/setup.sh build-sanitize -DOSTRELLE_WERROR=ON -DOSTRELLE_SANITIZE=ON

reports="$PWD/build-sanitize/reports"
rm -rf "$reports"
mkdir -p "$reports"
# The slow unwinder, ten frames deep: the system's libraries keep no frame pointers, so the fast one stops at
# the allocating library and a suppression could not tell their leaks from ours.
export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:fast_unwind_on_malloc=0:malloc_context_size=10:log_path=$reports/asan"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:log_path=$reports/ubsan"
export LSAN_OPTIONS="suppressions=$PWD/scripts/sanitize-lsan.supp:print_suppressions=0"
# Without GL: the GL driver that the toolkit loads at start-up keeps an allocation and is unloaded before the
# leak check, so its report cannot even name it. Drawing goes through cairo instead; our code is the same.
export GDK_DEBUG=gl-disable
status=0
ctest --test-dir build-sanitize -L ui -E "^ui.WebDriver$" --output-on-failure -j"$(nproc)" "$@" || status=$?
# The WebDriver session does not start within its time limit when every allocation is unwound slowly, nor
# without GL: that suite runs with the fast unwinder, with GL and without the leak check (errors are still
# caught).
if [ $# -eq 0 ]; then
  GDK_DEBUG= ASAN_OPTIONS="detect_leaks=0:halt_on_error=1:log_path=$reports/asan" \
    ctest --test-dir build-sanitize -R "^ui.WebDriver$" --output-on-failure || status=$?
fi
if compgen -G "$reports/*" >/dev/null; then
  for report in "$reports"/*; do
    echo "== $report"
    cat "$report"
  done
  echo "sanitize.sh: sanitizer reports above" >&2
  status=1
fi
echo "sanitize.sh: $([ $status -eq 0 ] && echo passed || echo FAILED) in $(($(date +%s) - start)) s"
exit $status
