#!/usr/bin/env bash
# What the dynamic loader must do for the IOD libraries, checked without timing: the constant
# tables (data dictionary, UID registry, accessor tables) must stay read-only data without
# pointers, so the relative relocations and the relocated data (.data.rel.ro) of each library stay
# under a bound.
#
#   check_load_cost.sh <libdicom.so> [<libiod.so>]
set -uo pipefail

dicom="$1"
iod="${2:-}"
failures=0

relative() { readelf -rW "$1" | grep -c 'R_X86_64_RELATIVE'; }
relro_bytes() {
    local size
    size=$(readelf -SW "$1" | awk '{ for (i = 1; i < NF; ++i) if ($i == ".data.rel.ro") print $(i + 4) }' | head -1)
    echo $((16#${size:-0}))
}

# library | what | measured | bound (inclusive)
checks=(
    "$dicom|relative relocations|$(relative "$dicom")|2000"
    "$dicom|bytes of .data.rel.ro|$(relro_bytes "$dicom")|32768"
)
if [[ -n "$iod" ]]; then
    checks+=(
        "$iod|relative relocations|$(relative "$iod")|1500"
    )
fi

for check in "${checks[@]}"; do
    IFS='|' read -r lib what value bound <<<"$check"
    if [[ -z "$value" || "$value" -gt "$bound" ]]; then
        echo "FAIL $(basename "$lib"): $what = ${value:-?}, bound $bound"
        failures=$((failures + 1))
    else
        echo "ok   $(basename "$lib"): $what = $value (bound $bound)"
    fi
done
exit $((failures > 0))
