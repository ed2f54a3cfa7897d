#!/usr/bin/env bash
# Start-up cost of iodtool against dcmdump, whole process, and the load-time relocations of the
# IOD libraries.
#
#   scripts/startup.sh [runs]        (default 100 runs per command)
#
# Uses the release build in build/release (or $IOD_STARTUP_BUILD_DIR; build the iodtool target
# first). CPU time per process is the task clock of `perf stat -r <runs>` (user + system time of
# the process, the loader and static initialisation included); without a working perf it is the
# user + system time of <runs> runs taken from the shell's `times`. The small file is
# CT_small.dcm of python3-pydicom's test files; dcmdump is DCMTK's (package dcmtk). The 10 MB
# image (scripts/make-big-ct.sh) is dumped as JSON with --bulk-limit 1024, which never touches
# its pixel bytes.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${IOD_STARTUP_BUILD_DIR:-$root/build/release}"
runs="${1:-100}"
iodtool="$build/tools/iodtool"
ct="/usr/lib/python3/dist-packages/pydicom/data/test_files/CT_small.dcm"

[[ -x "$iodtool" ]] || { echo "startup.sh: no $iodtool (build the iodtool target)" >&2; exit 2; }
[[ -r "$ct" ]] || { echo "startup.sh: no $ct (install python3-pydicom)" >&2; exit 2; }

use_perf=0
if perf stat -x, -e task-clock true >/dev/null 2>&1; then use_perf=1; fi

# CPU milliseconds per process of the command "$@".
cpu_ms() {
    if ((use_perf)); then
        perf stat -x, -r "$runs" -e task-clock "$@" 2>&1 >/dev/null | awk -F, '/task-clock/ {printf "%.2f", $1}'
    else
        (
            for ((i = 0; i < runs; ++i)); do "$@" >/dev/null 2>&1; done
            times
        ) | awk -v n="$runs" 'NR == 2 {
            split($1, u, /[ms]/); split($2, s, /[ms]/);
            printf "%.2f", ((u[1] + s[1]) * 60 + u[2] + s[2]) * 1000 / n }'
    fi
}

relative_relocs() {
    readelf -rW "$1" | grep -c 'R_X86_64_RELATIVE' || true
}
symbol_relocs() {
    readelf -rW "$1" | grep 'R_X86_64_' | grep -vc 'R_X86_64_RELATIVE' || true
}

echo "CPU per process ($runs runs, $([[ $use_perf == 1 ]] && echo "perf stat task-clock" || echo "user+sys"))"
printf "  %-32s %8s ms\n" "true (process floor)" "$(cpu_ms true)"
printf "  %-32s %8s ms\n" "iodtool --version" "$(cpu_ms "$iodtool" --version)"
iod_dump=$(cpu_ms "$iodtool" dump "$ct")
printf "  %-32s %8s ms\n" "iodtool dump CT_small.dcm" "$iod_dump"
if command -v dcmdump >/dev/null; then
    dcm_dump=$(cpu_ms dcmdump "$ct")
    printf "  %-32s %8s ms\n" "dcmdump CT_small.dcm" "$dcm_dump"
    awk -v a="$dcm_dump" -v b="$iod_dump" 'BEGIN { printf "  dcmdump / iodtool dump:           %8.1f x\n", a / b }'
fi

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
bash "$root/scripts/make-big-ct.sh" "$iodtool" "$work/CT_10MB.dcm"
printf "  %-32s %8s ms\n" "iodtool dump --json (10 MB)" "$(cpu_ms "$iodtool" dump --json --bulk-limit 1024 "$work/CT_10MB.dcm")"

echo "Load-time relocations (relative / symbolic)"
for lib in "$build/dicom/libdicom.so" "$build/src/IOD/libiod.so"; do
    printf "  %-32s %8s / %s\n" "$(basename "$lib")" "$(relative_relocs "$lib")" "$(symbol_relocs "$lib")"
done
if ldd "$iodtool" | grep -q libcrypto; then echo "  iodtool loads libcrypto"; fi
