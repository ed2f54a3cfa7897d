#!/usr/bin/env bash
# valgrind memcheck over the DICOM layer's tests: the unit and conformance tests, the thread
# test, and the fuzz targets replaying fuzz/regressions and pydicom's test files.
#
#   scripts/memcheck.sh [build-dir]      (default build/debug, configured and built if needed)
#
# Exit status 1 when valgrind reports an error or a leak (definite or indirect) or a test fails.
set -uo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${1:-$root/build/debug}"
data="${IOD_FUZZ_TEST_FILES:-/usr/lib/python3/dist-packages/pydicom/data}"
jobs="${IOD_MEMCHECK_JOBS:-2}"

command -v valgrind >/dev/null || { echo "memcheck.sh: valgrind is not installed (apt-get install valgrind)"; exit 2; }
if [[ ! -f "$build/CMakeCache.txt" ]]; then
    (cd "$root" && cmake --preset debug) || exit 2
fi
# The replay executables of fuzz/ are built with the tests (IOD_BUILD_FUZZ adds them to non-clang
# builds as well).
cmake -S "$root" -B "$build" -DIOD_BUILD_FUZZ=ON >/dev/null || exit 2
cmake --build "$build" -j "$jobs" || exit 2

vg=(valgrind --tool=memcheck --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite,indirect
    --suppressions="$root/scripts/valgrind.supp" -q)
failed=0
run() {
    local name="$1"; shift
    if "${vg[@]}" "$@" >"$build/memcheck-$name.log" 2>&1; then
        echo "memcheck: $name clean"
    else
        failed=1
        echo "memcheck: $name FAILED (exit $?), see $build/memcheck-$name.log"
        grep -E '^==[0-9]+== ' "$build/memcheck-$name.log" | head -30
    fi
}
for t in "$build"/tests/dicom/dicom_tests "$build"/tests/threads/thread_tests; do
    [[ -x "$t" ]] && run "$(basename "$t")" "$t"
done
for t in "$build"/fuzz/*_replay; do
    [[ -x "$t" ]] && run "$(basename "$t")" "$t" "$root/fuzz/regressions" "$data/test_files" "$data/charset_files"
done
exit $failed
