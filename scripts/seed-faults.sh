#!/usr/bin/env bash
# Seeds faults into the code one at a time and records which the test suite catches.
#   bash scripts/seed-faults.sh [commit]        commit: the tree to test (default HEAD)
# Environment:
#   FAULTS="D01 P03"   run only these faults (default: every row of the table)
#   SEED_BASELINE=0    skip the run of the unchanged tree (default 1: tests failing there are
#                      left out of the fault runs, so that they cannot claim a catch)
#   SEED_OUT=file      where the markdown table goes (default: seed-faults-<commit>.md in the
#                      scratch worktree); it is also printed to stdout.
#   SEED_WORKTREE=dir  the scratch worktree (default /work/wt/seed-<branch>)
#   SEED_JOBS=n        parallel build and test jobs (default 2)
#   SEED_PREVIOUS=file a table of an earlier run: the tests that caught each fault then are
#                      tried first (a rerun after a change of the suite is then much quicker).
#
# The faults are the rows of scripts/seed-faults.tsv (tab separated; '#' starts a comment):
#   id  area  file  original  replacement  tests_first  description
# `original` must occur exactly once in `file` and is replaced literally by `replacement`.
# `tests_first` is a ctest regular expression of the tests most likely to see the fault.
#
# Method: the commit is checked out in a scratch worktree, /work/wt/seed-<branch>, whose build
# directory persists between faults and between runs (ccache, and CMAKE_LINK_DEPENDS_NO_SHARED
# so that the test executables are not relinked when only a shared library changes). For each
# fault: apply it, build incrementally, run the tests of `tests_first` with --stop-on-failure;
# when none fails, run the rest of the suite the same way. The fault is "caught" by the first
# failing test, "survived" when every test passes. The file is restored before the next fault.
# The package test (an install and a separate consumer build) is not run: it checks the
# installation, not behaviour, and takes longer than most of the suite.
set -euo pipefail

# The whole run is one function, parsed before it starts: editing this file during a run is safe.
main() {
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
table="$here/scripts/seed-faults.tsv"
commit=$(git -C "$here" rev-parse --short "${1:-HEAD}")
branch=$(git -C "$here" rev-parse --abbrev-ref HEAD)
scratch=${SEED_WORKTREE:-"/work/wt/seed-${branch}"}
build="$scratch/build/release"
out=${SEED_OUT:-"$scratch/seed-faults-$commit.md"}
jobs=${SEED_JOBS:-2}

log() { echo "== $*" >&2; }

if [[ ! -d $scratch ]]; then
    log "scratch worktree $scratch"
    git -C "$here" worktree add --detach "$scratch" "$commit" >&2
fi
git -C "$scratch" checkout -q --force --detach "$commit"
git -C "$scratch" clean -qfd -e build -e 'seed-faults-*.md'

if [[ ! -f $build/build.ninja ]]; then
    log "configure"
    cmake -S "$scratch" --preset release -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
        -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_LINK_DEPENDS_NO_SHARED=ON \
        -DIOD_BUILD_BENCH=OFF >&2
fi

build_tree() { (cd "$scratch" && cmake --build "$build" -j"$jobs") > "$scratch/seed-build.log" 2>&1; }

# Runs ctest with the given filter arguments, stopping at the first failure; prints the names
# of the failing tests (nothing when all pass).
run_tests() {
    local output
    output=$(cd "$build" && ctest -j"$jobs" --timeout 300 --stop-on-failure "$@" 2>&1) || true
    echo "$output" | sed -nE 's/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: ([^ ]+) .*(\*\*\*|Failed|Exception|Timeout).*/\1/p' |
        sort -u | head -3 | paste -sd ' ' -
}

log "build $commit"
build_tree || {
    echo "the unchanged tree does not build; see $scratch/seed-build.log" >&2
    exit 1
}

exclude="^package\."
if [[ ${SEED_BASELINE:-1} != 0 ]]; then
    log "baseline run"
    local t0=$SECONDS
    broken=$(cd "$build" && ctest -j"$jobs" --timeout 300 -E "$exclude" 2>&1 |
        sed -nE 's/^[[:space:]]*[0-9]+ - ([^ ]+) .*/\1/p' | sed 's/[][().*+?^$|\\/]/\\&/g' | paste -sd '|' -) || true
    log "baseline run: $((SECONDS - t0)) s for the suite without the package test"
    if [[ -n $broken ]]; then
        log "failing before any fault (left out): $broken"
        exclude="$exclude|^($broken)\$"
    fi
fi

apply_fault() { # file original replacement
    python3 - "$@" <<'EOF'
import sys
path, original, replacement = sys.argv[1:4]
text = open(path, encoding="utf-8").read()
count = text.count(original)
if count != 1:
    sys.exit(f"{path}: the original text occurs {count} times, expected exactly once: {original}")
open(path, "w", encoding="utf-8").write(text.replace(original, replacement))
EOF
}

header="| id | area | fault | file | result | caught by |"
rows=()
caught=0
total=0
started=$SECONDS
while IFS=$'\t' read -r id area file original replacement first description; do
    [[ -z $id || $id == \#* ]] && continue
    if [[ -n ${FAULTS:-} && " $FAULTS " != *" $id "* ]]; then continue; fi
    total=$((total + 1))
    log "$id $description ($file)"
    if ! apply_fault "$scratch/$file" "$original" "$replacement"; then
        echo "fault $id does not apply to $commit" >&2
        exit 1
    fi
    result="survived"
    by=""
    if [[ -n ${SEED_PREVIOUS:-} ]]; then
        before=$(awk -F'|' -v id=" $id " '$2 == id { print $7 }' "$SEED_PREVIOUS" | xargs -n1 2>/dev/null |
            grep -v '^(' | sed 's/[][().*+?^$|\\/]/\\&/g; s/^/^/; s/$/$/' | paste -sd '|' -) || true
        [[ -n $before ]] && first="$before|$first"
    fi
    if ! build_tree; then
        result="caught"
        by="(does not compile)"
    else
        by=$(run_tests -R "$first" -E "$exclude")
        [[ -z $by ]] && by=$(run_tests -E "$exclude|$first")
        [[ -n $by ]] && result="caught"
    fi
    git -C "$scratch" checkout -q -- "$file"
    [[ $result == caught ]] && caught=$((caught + 1))
    log "$id $result $by"
    rows+=("| $id | $area | $description | \`$file\` | $result | $by |")
done < "$table"

log "restore the build"
build_tree || true

{
    echo "Seeded faults on $commit: $caught of $total caught ($(((SECONDS - started) / 60)) min)."
    echo
    echo "$header"
    echo "|---|---|---|---|---|---|"
    printf '%s\n' "${rows[@]}"
} | tee "$out"
echo "(table written to $out)" >&2
}

main "$@"
