# Helpers of the iodtool test scripts (sourced after $work is set). Every check prints what failed
# and counts it; `finish` prints the summary and sets the exit code.
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
need_corpus() {  # need_corpus DIR: the pydicom test files, or a clear message and exit 1
    [ -d "$1" ] || { echo "FAIL: no test corpus at $1: install the Debian package python3-pydicom"; exit 1; }
}
need_dcmtk() {  # need_dcmtk TOOL...
    local t
    for t in "$@"; do
        command -v "$t" >/dev/null 2>&1 || { echo "FAIL: $t not found: install the Debian package dcmtk"; exit 1; }
    done
}
fresh_workdir() { rm -rf "$work" && mkdir -p "$work"; }
run() {  # run NAME CMD...: stdout and stderr in $work/NAME.out / .err; sets $rc
    local name=$1
    shift
    "$@" >"$work/$name.out" 2>"$work/$name.err"
    rc=$?
}
expect_grep() {  # expect_grep NAME out|err REGEX
    grep -Eq -- "$3" "$work/$1.$2" || fail "$1: std$2 does not match /$3/: $(head -c 400 "$work/$1.$2")"
}
check() {  # check NAME RC [STDERR_REGEX] -- CMD...: the exit code and standard error of CMD
    local name=$1 want=$2 re=""
    shift 2
    [ "$1" != -- ] && re=$1 && shift
    shift
    run "$name" "$@"
    [ "$rc" -eq "$want" ] || fail "$name: exit code $rc, expected $want; stderr: $(head -c 400 "$work/$name.err")"
    [ -z "$re" ] || expect_grep "$name" err "$re"
}
dcmtk_reads() {  # dcmtk_reads NAME FILE: dcmdump reads FILE cleanly; dump in NAME.dump, uncommented in NAME.txt
    "$dcmdump" "$2" >"$work/$1.dump" 2>"$work/$1.dcmerr" || fail "$1: dcmdump cannot read $2"
    grep -q '^E:' "$work/$1.dcmerr" && fail "$1: dcmdump reports errors: $(head -3 "$work/$1.dcmerr")"
    sed 's/ *#.*//' "$work/$1.dump" >"$work/$1.txt"
}
dump_without() {  # dump_without FILE REGEX: our dump of the data set without the lines matching REGEX
    "$iodtool" dump --no-meta --max-length 0 "$1" | grep -v '^#' | grep -Ev -- "$2" | sed 's/ *#.*//'
}
nothing_written() {  # nothing_written NAME: neither it nor its temporary file is in $work
    ls "$work" | grep -qF "$1" && fail "$1: output or temporary file left behind"
}
same() {  # same NAME EXPECTED ACTUAL: equal files, else the difference
    diff -u "$2" "$3" >"$work/$1.diff" || { fail "$1: differs"; head -20 "$work/$1.diff"; }
}
finish() {  # finish GROUP
    [ "$failures" -eq 0 ] || { echo "$1: $failures check(s) failed"; exit 1; }
    echo "$1: all checks passed"
}
