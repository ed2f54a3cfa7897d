#!/usr/bin/env bash
# Fuzzes the DICOM layer, the message operations of IOD_Msg and the IOD validators with libFuzzer
# for a bounded time, then replays the regression inputs.
#
#   scripts/fuzz.sh [seconds per target]      (default 20, as in CI)
#
# Builds the fuzz preset (clang, AddressSanitizer, UndefinedBehaviorSanitizer; or in
# $IOD_FUZZ_BUILD_DIR with the same settings), seeds one corpus per target from pydicom's test
# files (python3-pydicom), fuzz/regressions and, for the trusted-buffer reader, the trusted
# buffers of those files; runs every target; replays fuzz/regressions through every target.
# Corpora grow across runs in <build>/fuzz-work/corpus. A crash leaves its input in
# <build>/fuzz-work/artifacts: copy it into fuzz/regressions/ when it is fixed.
# IOD_FUZZ_NO_BUILD=1 runs what is already built in $IOD_FUZZ_BUILD_DIR (or build/fuzz).
# IOD_FUZZ_RUNS=N bounds each target to N executions with a fixed random seed and a fresh
# corpus, so that a run is repeatable (CI uses it); the time bound still applies.
# Exit status 1 when a target crashed or a regression input fails.
set -uo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seconds="${1:-20}"
jobs="${IOD_FUZZ_JOBS:-2}"
data="${IOD_FUZZ_TEST_FILES:-/usr/lib/python3/dist-packages/pydicom/data}"
targets=(fuzz_parse_detect fuzz_parse_syntax fuzz_trusted_reader fuzz_roundtrip fuzz_msg_operations fuzz_validate)

set -e
cd "$root"
if [[ -n "${IOD_FUZZ_NO_BUILD:-}" ]]; then
    build="${IOD_FUZZ_BUILD_DIR:-$root/build/fuzz}"
elif [[ -n "${IOD_FUZZ_BUILD_DIR:-}" ]]; then
    build="$IOD_FUZZ_BUILD_DIR"
    cmake -S "$root" -B "$build" -G Ninja \
        -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=OFF \
        -DIOD_BUILD_FUZZ=ON -DIOD_BUILD_TESTS=OFF -DIOD_BUILD_BENCH=OFF -DIOD_INSTALL=OFF \
        -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer" \
        -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null
else
    build="$root/build/fuzz"
    cmake --preset fuzz >/dev/null
fi
[[ -n "${IOD_FUZZ_NO_BUILD:-}" ]] || cmake --build "$build" --target fuzz_all -j "$jobs"
set +e

bin="$build/fuzz"
work="$build/fuzz-work"
mkdir -p "$work/artifacts"

# Seeds: the independent test files up to 64 KiB, and the regression inputs.
seeds=()
for f in "$data"/test_files/*.dcm "$data"/charset_files/*.dcm "$root"/fuzz/regressions/*; do
    [[ -f "$f" && $(stat -c %s "$f") -le 65536 ]] && seeds+=("$f")
done
extra=()
if [[ -n "${IOD_FUZZ_RUNS:-}" ]]; then
    rm -rf "$work/corpus"
    extra=(-runs="$IOD_FUZZ_RUNS" -seed=1)
fi
for t in "${targets[@]}"; do mkdir -p "$work/corpus/$t"; done
for f in "${seeds[@]}"; do
    base="$(basename "$f")"
    cp -f "$f" "$work/corpus/fuzz_parse_detect/$base"
    cp -f "$f" "$work/corpus/fuzz_roundtrip/$base"
    cp -f "$f" "$work/corpus/fuzz_msg_operations/$base"
    cp -f "$f" "$work/corpus/fuzz_validate/$base"
    # fuzz_parse_syntax: the selector byte, then the file (see the target for its bits).
    for sel in 00 01 02 03 04 09 21; do
        { printf "\\x$sel"; cat "$f"; } >"$work/corpus/fuzz_parse_syntax/$sel-$base"
    done
done
"$bin/make_trusted_seeds" "$work/corpus/fuzz_trusted_reader" "${seeds[@]}" >/dev/null

failed=0
summary=()
for t in "${targets[@]}"; do
    echo "== $t: ${seconds}s"
    ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=0" \
        "$bin/$t" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
        -malloc_limit_mb=512 -dict="$root/fuzz/dicom.dict" -print_final_stats=1 \
        -artifact_prefix="$work/artifacts/$t-" "${extra[@]}" "$work/corpus/$t" >"$work/$t.log" 2>&1
    rc=$?
    execs=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$work/$t.log" | awk '{print $2}')
    cov=$(grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' "$work/$t.log" | tail -1)
    if [[ $rc -ne 0 ]]; then
        failed=1
        summary+=("$t: CRASH (exit $rc), see $work/$t.log")
        grep -E -A30 '^==[0-9]+==ERROR|fuzz check failed|runtime error' "$work/$t.log" | head -60
    else
        summary+=("$t: ${execs:-?} executions, ${cov:-no coverage line}, no crash")
    fi
done

echo "== replaying fuzz/regressions"
regressions=("$root"/fuzz/regressions/*)
for t in "${targets[@]}"; do
    [[ -e "${regressions[0]}" ]] || break
    if ! "$bin/$t" "${regressions[@]}" >"$work/$t.replay.log" 2>&1; then
        failed=1
        summary+=("$t: a regression input FAILS, see $work/$t.replay.log")
    fi
done

printf '%s\n' "${summary[@]}"
exit $failed
