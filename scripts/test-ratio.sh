#!/usr/bin/env bash
# Prints the hand-written test lines, the hand-written code lines and their ratio.
#   bash scripts/test-ratio.sh [-v]     -v: also list the lines per directory and the excluded files
#
# What is counted:
#   - Non-blank lines of .cpp, .h, .sh and .py files that git knows about (tracked, or new and
#     not ignored), so build trees never count. Comment lines count like any other line: they
#     are written and kept by hand just like code.
#   - Code: the IOD library (src/, inc/), the DICOM layer (dicom/), the platform libraries
#     (platform/) and the tools (tools/).
#   - Tests: everything under tests/ (GoogleTest suites, their helpers, the tool scripts, the
#     package consumer).
#   - fuzz/ and bench/ count on neither side: the fuzz targets and benchmarks are harnesses
#     around the code, not pass/fail tests, and they are printed apart for information.
#     scripts/ and CMakeLists.txt files do not count either.
# Excluded as generated or table data (not hand-written logic):
#   - */generated/*: the tables written by scripts/gen_dictionary.py (.inc files);
#   - *.inl: the dictionary name lists included inside classes (two written by
#     scripts/gen_dictionary.py, and the list of private tag constants);
#   - *.inc, *.def and inc/IOD/tables/: the attribute and defined-term tables expanded by
#     macros into the accessors and constants.
# The extension filter already leaves out .inc, .inl and .def; the patterns below make the
# exclusion explicit should such a table ever be given a .h or .cpp name.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

verbose=0
[[ ${1:-} == -v ]] && verbose=1

excluded_re='(/generated/|\.inl$|\.inc$|\.def$|^inc/IOD/tables/)'

files() { # files under the given directories, counted ones only
    git ls-files --cached --others --exclude-standard -- "$@" |
        sort -u | grep -E '\.(cpp|h|sh|py)$' | grep -Ev "$excluded_re" |
        while read -r f; do [[ -f $f ]] && echo "$f"; done || true
}

lines() { # non-blank lines of the files under the given directories
    local list
    list=$(files "$@")
    if [[ -z $list ]]; then
        echo 0
        return
    fi
    # shellcheck disable=SC2086
    cat $list | grep -cv '^[[:space:]]*$' || true
}

code_dirs=(src inc dicom platform tools)
tests=$(lines tests)
code=$(lines "${code_dirs[@]}")

if ((verbose)); then
    echo "== code"
    for d in "${code_dirs[@]}"; do printf '  %-12s %6d\n' "$d/" "$(lines "$d")"; done
    echo "== tests"
    for d in $(git ls-files --cached --others --exclude-standard -- tests | cut -d/ -f2 | sort -u); do
        [[ -d tests/$d ]] && printf '  %-22s %6d\n' "tests/$d/" "$(lines "tests/$d")"
    done
    echo "== not counted"
    printf '  %-12s %6d\n' fuzz/ "$(lines fuzz)" bench/ "$(lines bench)"
    echo "== excluded as generated or table data"
    git ls-files --cached --others --exclude-standard -- "${code_dirs[@]}" | grep -E "$excluded_re" |
        sed 's/^/  /'
fi

printf 'test lines:  %d\n' "$tests"
printf 'code lines:  %d\n' "$code"
awk -v t="$tests" -v c="$code" 'BEGIN { printf "ratio:       %.1f %%\n", c ? 100 * t / c : 0 }'
