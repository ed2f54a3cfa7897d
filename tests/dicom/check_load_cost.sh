#!/usr/bin/env bash
# Load cost of the libraries without timing: the constant tables must stay read-only data without
# pointers, so relative relocations and .data.rel.ro stay under a bound (inclusive).
#   check_load_cost.sh <libdicom.so> [<libiod.so>]
set -uo pipefail
failures=0
check() { # library, what, measured, bound
    if [[ -z "$3" || "$3" -gt "$4" ]]; then
        echo "FAIL $(basename "$1"): $2 = ${3:-?}, bound $4"
        failures=$((failures + 1))
    else
        echo "ok   $(basename "$1"): $2 = $3 (bound $4)"
    fi
}
relative() { readelf -rW "$1" | grep -c 'R_X86_64_RELATIVE'; }
relro_bytes() {
    local size
    size=$(readelf -SW "$1" | awk '{ for (i = 1; i < NF; ++i) if ($i == ".data.rel.ro") print $(i + 4) }' | head -1)
    echo $((16#${size:-0}))
}
check "$1" "relative relocations" "$(relative "$1")" 2000
check "$1" "bytes of .data.rel.ro" "$(relro_bytes "$1")" 32768
[[ -n "${2:-}" ]] && check "$2" "relative relocations" "$(relative "$2")" 1500
exit $((failures > 0))
