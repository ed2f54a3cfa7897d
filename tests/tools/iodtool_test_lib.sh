# Helpers shared by the iodtool test scripts (sourced, after $work is set). Every check prints
# what failed and counts it; `finish` prints the summary and sets the exit code.
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# need_corpus DIR / need_dcmtk TOOL...: the test dependencies, or a clear message and exit 1.
need_corpus() {
    [ -d "$1" ] || { echo "FAIL: no test corpus at $1: install the Debian package python3-pydicom"; exit 1; }
}
need_dcmtk() {
    local t
    for t in "$@"; do
        command -v "$t" >/dev/null 2>&1 || { echo "FAIL: $t not found: install the Debian package dcmtk"; exit 1; }
    done
}
fresh_workdir() {
    rm -rf "$work"
    mkdir -p "$work"
}

# run NAME CMD...: stdout and stderr in $work/NAME.out / .err; sets $rc.
run() {
    local name=$1
    shift
    "$@" >"$work/$name.out" 2>"$work/$name.err"
    rc=$?
}
expect_rc() {  # expect_rc NAME EXPECTED
    [ "$rc" -eq "$2" ] || fail "$1: exit code $rc, expected $2; stderr: $(head -c 400 "$work/$1.err")"
}
expect_grep() {  # expect_grep NAME out|err REGEX
    grep -Eq -- "$3" "$work/$1.$2" || fail "$1: std$2 does not match /$3/: $(head -c 400 "$work/$1.$2")"
}
# check NAME RC [STDERR_REGEX] -- CMD...: runs CMD, checks its exit code and its standard error.
check() {
    local name=$1 want=$2 re=""
    shift 2
    if [ "$1" != -- ]; then
        re=$1
        shift
    fi
    shift
    run "$name" "$@"
    expect_rc "$name" "$want"
    [ -z "$re" ] || expect_grep "$name" err "$re"
}
# dcmdump reads FILE without an error; its dump goes to $work/NAME.dump, and without the
# comments to $work/NAME.txt.
dcmtk_reads() {  # dcmtk_reads NAME FILE
    "$dcmdump" "$2" >"$work/$1.dump" 2>"$work/$1.dcmerr" || fail "$1: dcmdump cannot read $2"
    grep -q '^E:' "$work/$1.dcmerr" && fail "$1: dcmdump reports errors: $(head -3 "$work/$1.dcmerr")"
    sed 's/ *#.*//' "$work/$1.dump" >"$work/$1.txt"
}
# Our dump of the data set without the lines whose tags match REGEX (and the meta group).
dump_without() {  # dump_without FILE REGEX
    "$iodtool" dump --no-meta --max-length 0 "$1" | grep -v '^#' | grep -Ev -- "$2" | sed 's/ *#.*//'
}
nothing_written() {  # nothing_written FILENAME: neither it nor its temporary file is in $work
    ls "$work" | grep -qF "$1" && fail "$1: output or temporary file left behind"
}
same() {  # same NAME EXPECTED_FILE ACTUAL_FILE: the two files are equal, else the difference
    diff -u "$2" "$3" >"$work/$1.diff" || { fail "$1: differs"; head -20 "$work/$1.diff"; }
}
finish() {  # finish GROUP
    if [ "$failures" -ne 0 ]; then
        echo "$1: $failures check(s) failed"
        exit 1
    fi
    echo "$1: all checks passed"
    exit 0
}
