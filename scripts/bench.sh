#!/usr/bin/env bash
# Runs the DICOM layer benchmarks against DCMTK and GDCM and prints the ratio table.
#
#   scripts/bench.sh [Google Benchmark flags, e.g. --benchmark_filter=parse]
#
# Installs the benchmark dependencies when they are missing (Debian: dcmtk libdcmtk-dev
# libgdcm-dev python3-pydicom libbenchmark-dev), builds dicom_bench with the release preset
# (or in $IOD_BENCH_BUILD_DIR with CMAKE_BUILD_TYPE=Release), runs it with 5 repetitions and
# prints medians, ratios and the performance targets. Exit status 1 when a target is missed.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="${IOD_BENCH_JOBS:-2}"

missing=()
for pkg in dcmtk libdcmtk-dev libgdcm-dev python3-pydicom libbenchmark-dev; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if ((${#missing[@]})); then
    echo "bench.sh: installing ${missing[*]}"
    sudo_cmd=()
    [[ "$(id -u)" -eq 0 ]] || sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
fi

cd "$root"
if [[ -n "${IOD_BENCH_BUILD_DIR:-}" ]]; then
    build="$IOD_BENCH_BUILD_DIR"
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DIOD_BUILD_BENCH=ON >/dev/null
else
    build="$root/build/release"
    cmake --preset release -DIOD_BUILD_BENCH=ON >/dev/null
fi
cmake --build "$build" --target dicom_bench -j "$jobs"

json="$build/bench/dicom_bench.json"
"$build/bench/dicom_bench" \
    --benchmark_repetitions=5 \
    --benchmark_report_aggregates_only=true \
    --benchmark_out="$json" \
    --benchmark_out_format=json \
    "$@"
echo
python3 "$root/scripts/bench_table.py" --check "$json"
