#!/usr/bin/env bash
# Whole-process timing of iodtool validate against dicom3tools' dciodvfy, and the throughput of
# iodtool validate -j 1 against -j 2 over the test corpus (hyperfine, Debian package hyperfine).
#
#   scripts/time-validate.sh [iodtool] [runs]
#
# 1. One file per process: CT_small.dcm (39 KB) and a 10 MB CT image written into a temporary
#    directory from CT_small with iodtool set (Rows 2048, Columns 2560) and new 16-bit pixel data.
#    Target: iodtool at least 5x faster than dciodvfy on both.
# 2. The corpus (pydicom's test files, every file) named ten times on one command line, so that
#    each process validates about 1,650 files: -j 1 against -j 2. Target: -j 2 at least 1.6x the
#    throughput of -j 1 (on a machine with at least 2 idle cores).
# Prints hyperfine's tables and the ratios. The machine should be otherwise idle.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
iodtool="${1:-$root/build/release/tools/iodtool}"
runs="${2:-30}"
corpus="${IOD_TEST_FILES:-/usr/lib/python3/dist-packages/pydicom/data/test_files}"
for tool in hyperfine dciodvfy python3; do
    command -v "$tool" >/dev/null || { echo "$tool not found: run scripts/install-deps.sh --test" >&2; exit 1; }
done
[[ -x $iodtool ]] || { echo "$iodtool not found: build the release preset first" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

bash "$root/scripts/make-big-ct.sh" "$iodtool" "$work/CT_10MB.dcm"

ratio() {  # ratio JSON: the second command's mean wall time over the first's, then the same of CPU time
    python3 -c '
import json, sys
r = json.load(open(sys.argv[1]))["results"]
cpu = [x["user"] + x["system"] for x in r]
print("%.1f (wall), %.1f (user+system CPU)" % (r[1]["mean"] / r[0]["mean"], cpu[1] / cpu[0]))' "$1"
}

for input in "$corpus/CT_small.dcm" "$work/CT_10MB.dcm"; do
    name="$(basename "$input" .dcm)"
    echo "== $name ($(stat -c %s "$input") bytes): iodtool validate against dciodvfy"
    hyperfine -N -i --warmup 3 --runs "$runs" --export-json "$work/$name.json" \
        -n "iodtool validate" "$iodtool validate $input" \
        -n dciodvfy "dciodvfy $input"
    echo "iodtool validate is faster than dciodvfy on $name by $(ratio "$work/$name.json")"
done

list=()
for _ in $(seq 10); do list+=("$corpus"); done
files=$({ "$iodtool" validate -j 1 "${list[@]}" 2>/dev/null || true; } | sed -n 's/^summary: \([0-9]*\) files.*/\1/p')
echo "== the corpus ten times ($files files): -j 1 against -j 2"
hyperfine -N -i --warmup 1 --runs "$((runs / 3 > 5 ? runs / 3 : 5))" --export-json "$work/corpus.json" \
    -n "two threads" "$iodtool validate --quiet -j 2 ${list[*]}" \
    -n "one thread" "$iodtool validate --quiet -j 1 ${list[*]}"
echo "-j 2 over -j 1: $(ratio "$work/corpus.json")"
