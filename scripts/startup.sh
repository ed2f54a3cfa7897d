#!/usr/bin/env bash
# Start-up cost of iodtool against dcmdump, whole process, and the load-time relocations of the
# IOD libraries.
#
#   scripts/startup.sh [runs] [rounds]     (default 200 runs per command, in 5 rounds)
#
# Uses the release build in build/release (or $IOD_STARTUP_BUILD_DIR; build the iodtool target
# first). CPU time per process is the task clock of `perf stat -r` (user + system time of the
# process, the loader and static initialisation included); without a working perf it is the
# user + system time of the runs taken from the shell's `times`. The small file is
# CT_small.dcm of python3-pydicom's test files; dcmdump is DCMTK's (package dcmtk). The 10 MB
# image (scripts/make-big-ct.sh) is dumped as JSON with --bulk-limit 1024, which never touches
# its pixel bytes. get (one attribute by name) and validate of the small file complete the
# commands that scripts call once per file.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${IOD_STARTUP_BUILD_DIR:-$root/build/release}"
runs="${1:-200}"
rounds="${2:-5}"
iodtool="$build/tools/iodtool"
ct="/usr/lib/python3/dist-packages/pydicom/data/test_files/CT_small.dcm"

[[ -x "$iodtool" ]] || { echo "startup.sh: no $iodtool (build the iodtool target)" >&2; exit 2; }
[[ -r "$ct" ]] || { echo "startup.sh: no $ct (install python3-pydicom)" >&2; exit 2; }

use_perf=0
if perf stat -x, -e task-clock true >/dev/null 2>&1; then use_perf=1; fi

# "CPU-ms page-faults" per process of the command "$@", over $per_round runs.
cpu_ms() {
    if ((use_perf)); then
        perf stat -x, -r "$per_round" -e task-clock,page-faults "$@" 2>&1 >/dev/null |
            awk -F, '/task-clock/ {t = $1} /page-faults/ {f = $1} END {printf "%.3f %d", t, f}'
    else
        (
            for ((i = 0; i < per_round; ++i)); do "$@" >/dev/null 2>&1; done
            times
        ) | awk -v n="$per_round" 'NR == 2 {
            split($1, u, /[ms]/); split($2, s, /[ms]/);
            printf "%.3f -", ((u[1] + s[1]) * 60 + u[2] + s[2]) * 1000 / n }'
    fi
}

relative_relocs() {
    readelf -rW "$1" | grep -c 'R_X86_64_RELATIVE' || true
}
symbol_relocs() {
    readelf -rW "$1" | grep 'R_X86_64_' | grep -vc 'R_X86_64_RELATIVE' || true
}

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
bash "$root/scripts/make-big-ct.sh" "$iodtool" "$work/CT_10MB.dcm"

# The commands are measured in turn, round after round, so that a change in the machine's load
# touches all of them alike; each figure is the median of the rounds, and the ratio to dcmdump is
# the median of the ratios within a round.
labels=("true (process floor)" "iodtool --version" "iodtool dump CT_small.dcm")
commands=("true" "$iodtool --version" "$iodtool dump $ct")
has_dcmdump=0
if command -v dcmdump >/dev/null; then
    has_dcmdump=1
    labels+=("dcmdump CT_small.dcm")
    commands+=("dcmdump $ct")
fi
labels+=("iodtool dump --json (10 MB)" "iodtool get CT_small.dcm" "iodtool validate CT_small.dcm")
commands+=("$iodtool dump --json --bulk-limit 1024 $work/CT_10MB.dcm" "$iodtool get $ct PatientsName"
    "$iodtool validate $ct")

per_round=$(((runs + rounds - 1) / rounds))
for ((r = 0; r < rounds; ++r)); do
    for i in "${!commands[@]}"; do
        # shellcheck disable=SC2086 # a command is a list of words
        echo "$i $(cpu_ms ${commands[$i]})" >>"$work/results"
    done
done

echo "CPU per process ($rounds rounds of $per_round runs, median of the rounds [lowest-highest]," \
    "$([[ $use_perf == 1 ]] && echo "perf stat task-clock" || echo "user+sys"))"
python3 - "$work/results" "$has_dcmdump" "${labels[@]}" <<'PY'
import statistics, sys
path, has_dcmdump, labels = sys.argv[1], sys.argv[2] == "1", sys.argv[3:]
times = {i: [] for i in range(len(labels))}
faults = {}
for line in open(path):
    i, t, f = line.split()
    times[int(i)].append(float(t))
    faults[int(i)] = f
for i, label in enumerate(labels):
    v = times[i]
    print(f"  {label:32s} {statistics.median(v):6.2f} ms [{min(v):.2f}-{max(v):.2f}]  {faults[i]:>4s} page faults")
if has_dcmdump:
    ratios = [d / o for d, o in zip(times[3], times[2])]
    print(f"  {'dcmdump / iodtool dump':32s} {statistics.median(ratios):6.1f} x  [{min(ratios):.1f}-{max(ratios):.1f}]")
PY

echo "Load-time relocations (relative / symbolic)"
for lib in "$build/dicom/libdicom.so" "$build/src/IOD/libiod.so"; do
    printf "  %-32s %8s / %s\n" "$(basename "$lib")" "$(relative_relocs "$lib")" "$(symbol_relocs "$lib")"
done
if ldd "$iodtool" 2>/dev/null | grep -q libcrypto; then echo "  iodtool loads libcrypto"; fi
