#!/bin/bash
# Runs one group of iodtool checks: iodtool_tests.sh GROUP IODTOOL CORPUS DCMDUMP WORKDIR
# Each check prints what failed; the script exits 1 when any did.
set -u
group=$1 iodtool=$2 corpus=$3 dcmdump=$4 work=$5
files=$corpus/test_files

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

if [ ! -d "$files" ]; then
    echo "FAIL: no test corpus at $files: install the Debian package python3-pydicom"
    exit 1
fi
if ! command -v "$dcmdump" >/dev/null 2>&1; then
    echo "FAIL: dcmdump not found: install the Debian package dcmtk"
    exit 1
fi
rm -rf "$work"
mkdir -p "$work"

# run NAME CMD...: runs CMD with stdout and stderr in $work/NAME.out / .err; sets $rc.
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

# Structure of a dump: one line "indent tag VR" per element, item and fragment (delimiters and
# the meta group left out), plus the value of text and integer elements (left out: UIDs, which
# the other tool prints by name; floating-point numbers, printed with different precision; and
# text with control characters, which the other tool prints raw across lines).
structure_of_ours() {
    "$iodtool" dump --no-meta --max-length 0 "$1" | awk '
        match($0, /^ *\([0-9a-f][0-9a-f][0-9a-f][0-9a-f],[0-9a-f][0-9a-f][0-9a-f][0-9a-f]\) [A-Za-z?][A-Za-z?] /) {
            head = substr($0, 1, RLENGTH - 1)
            if (head ~ /\(fffe,e0[0d]d\)/) next
            vr = substr(head, length(head) - 1)
            value = ""
            rest = substr($0, RLENGTH + 1)
            if (vr ~ /^(AE|AS|CS|DA|DS|DT|IS|LO|LT|PN|SH|ST|TM|UT|UC)$/ && match(rest, /^\[[^]]*\]/)) value = substr(rest, 1, RLENGTH)
            if (vr ~ /^(US|SS|UL|SL)$/) { split(rest, f, " "); value = f[1] }
            if (index(value, "\\x")) value = ""  # control characters: the other tool breaks the line
            print head " " value
        }'
}
structure_of_dcmdump() {
    "$dcmdump" -q +L "$1" | awk '
        /^# Dicom-Data-Set/ { inData = 1 }
        inData && match($0, /^ *\([0-9a-f][0-9a-f][0-9a-f][0-9a-f],[0-9a-f][0-9a-f][0-9a-f][0-9a-f]\) [A-Za-z?][A-Za-z?] /) {
            head = substr($0, 1, RLENGTH - 1)
            if (head ~ /\(fffe,e0[0d]d\)/) next
            vr = substr(head, length(head) - 1)
            value = ""
            rest = substr($0, RLENGTH + 1)
            if (vr ~ /^(AE|AS|CS|DA|DS|DT|IS|LO|LT|PN|SH|ST|TM|UT|UC)$/ && match(rest, /^\[[^]]*\]/)) value = substr(rest, 1, RLENGTH)
            if (vr ~ /^(US|SS|UL|SL)$/) { split(rest, f, " "); value = f[1] }
            print head " " value
        }'
}

case "$group" in
dump_structure)
    # Every element, item and fragment at the same depth with the same VR and value as the
    # independent dump shows them: implicit and explicit little endian, big endian, deflated,
    # encapsulated pixel data, nested sequences.
    for f in rtplan.dcm CT_small.dcm MR_small_bigendian.dcm image_dfl.dcm JPEG2000.dcm test-SR.dcm rtstruct.dcm; do
        structure_of_ours "$files/$f" >"$work/$f.ours"
        structure_of_dcmdump "$files/$f" >"$work/$f.theirs"
        [ -s "$work/$f.theirs" ] || fail "$f: dcmdump printed no element"
        if ! diff -u "$work/$f.theirs" "$work/$f.ours" >"$work/$f.diff"; then
            fail "$f: dump differs from dcmdump's:"
            head -20 "$work/$f.diff"
        fi
    done
    # The meta group comes first, under its heading, and the data set heading names the syntax.
    run meta "$iodtool" dump "$files/rtplan.dcm"
    expect_rc meta 0
    awk '/^# File meta information/ { m = NR } /^# Data set \(Implicit VR Little Endian\)/ { d = NR }
         /^\(0002,0010\) UI \[1\.2\.840\.10008\.1\.2\]/ { t = NR }
         END { exit !(m && t && d && m < t && t < d) }' "$work/meta.out" ||
        fail "meta: headings or TransferSyntaxUID line missing or out of order"
    ;;

dump_errors)
    run missing "$iodtool" dump "$work/no-such-file.dcm"
    expect_rc missing 1
    expect_grep missing err "no-such-file.dcm: cannot open"
    [ -s "$work/missing.out" ] && fail "missing: printed something on stdout"

    printf 'this is not a DICOM file, only some words of text\n' >"$work/text.dcm"
    run text "$iodtool" dump "$work/text.dcm"
    expect_rc text 1
    expect_grep text err "not a DICOM file"

    : >"$work/empty.dcm"
    run empty "$iodtool" dump "$work/empty.dcm"
    expect_rc empty 1
    expect_grep empty err "empty"

    run directory "$iodtool" dump "$work"
    expect_rc directory 1
    expect_grep directory err "not a regular file"

    # A truncated file: what was read is printed, the fault reported, exit 1.
    run truncated "$iodtool" dump "$files/rtplan_truncated.dcm"
    expect_rc truncated 1
    expect_grep truncated err "truncated or malformed"
    expect_grep truncated out '^\(300a,0002\) SH \[Plan1\]'

    # Cut a sound file in the middle of its pixel data.
    head -c 20000 "$files/CT_small.dcm" >"$work/cut.dcm"
    run cut "$iodtool" dump "$work/cut.dcm"
    expect_rc cut 1
    expect_grep cut out '^\(0010,0010\) PN '
    grep -q '^(7fe0,0010)' "$work/cut.out" && fail "cut: printed pixel data that the file does not hold"

    run usage "$iodtool" dump
    expect_rc usage 2
    expect_grep usage err "usage: iodtool dump"
    run badopt "$iodtool" dump --frobnicate "$files/rtplan.dcm"
    expect_rc badopt 2
    run badlen "$iodtool" dump --max-length x "$files/rtplan.dcm"
    expect_rc badlen 2
    ;;

dump_options)
    run full "$iodtool" dump "$files/CT_small.dcm"
    expect_rc full 0
    run nometa "$iodtool" dump --no-meta "$files/CT_small.dcm"
    expect_rc nometa 0
    grep -q '^(0002,' "$work/full.out" || fail "full: no meta group line"
    grep -q '^(0002,' "$work/nometa.out" && fail "nometa: meta group printed"
    # Without the meta group, the rest is the same.
    diff <(grep -v '^(0002,' "$work/full.out" | grep -v '^#' | grep -v '^$') \
         <(grep -v '^#' "$work/nometa.out" | grep -v '^$') >/dev/null || fail "nometa: data set lines differ"

    # Long values are cut at the limit and marked; 0 prints them whole.
    run short "$iodtool" dump --max-length 8 "$files/CT_small.dcm"
    expect_rc short 0
    expect_grep short out '^\(0008,0016\) UI \[1\.2\.840\.\]\.\.\. '
    run whole "$iodtool" dump --max-length 0 "$files/CT_small.dcm"
    expect_rc whole 0
    pixels=$(grep '^(7fe0,0010)' "$work/whole.out")
    # 128 x 128 16-bit pixels: 16384 words of 4 hex digits and 16383 separators.
    words=$(echo "$pixels" | sed -E 's/^\(7fe0,0010\) OW ([0-9a-f\\]*) .*/\1/' | tr '\\' '\n' | grep -c .)
    [ "$words" -eq 16384 ] || fail "whole: pixel data printed as $words words, not 16384"
    grep -q '^(7fe0,0010) OW .*\.\.\. ' "$work/full.out" || fail "full: pixel data not cut by default"

    # Same elements in the same order whatever the limit.
    diff <(sed -E 's/^( *\([0-9a-f,]+\) ..).*/\1/' "$work/short.out") \
         <(sed -E 's/^( *\([0-9a-f,]+\) ..).*/\1/' "$work/whole.out") >/dev/null ||
        fail "short: the limit changed which elements are printed"
    ;;

convert_roundtrip)
    # CT_small.dcm (explicit VR little endian, private elements) through every native syntax:
    # each output reads back to the same dump (the VRs of private elements excepted in implicit
    # VR, where our dictionary does not know them), and the independent reader accepts it.
    "$iodtool" dump --no-meta --max-length 0 "$files/CT_small.dcm" | grep -v '^#' >"$work/orig.dump"
    for ts in explicit big deflated implicit 1.2.840.10008.1.2.1; do
        run "conv-$ts" "$iodtool" convert "$files/CT_small.dcm" "$work/$ts.dcm" --transfer-syntax "$ts"
        expect_rc "conv-$ts" 0
        run "dcmdump-$ts" "$dcmdump" "$work/$ts.dcm"
        expect_rc "dcmdump-$ts" 0
        grep -q '^E:' "$work/dcmdump-$ts.err" && fail "$ts: dcmdump reports errors: $(head -3 "$work/dcmdump-$ts.err")"
        "$iodtool" dump --no-meta --max-length 0 "$work/$ts.dcm" | grep -v '^#' >"$work/$ts.dump"
        if [ "$ts" = implicit ]; then
            # Compare tags and values; VRs of elements unknown to our dictionary become UN.
            private='^ *\([0-9a-f]{3}[13579bdf],'
            diff <(sed -E 's/^( *\([0-9a-f,]+\)) .. /\1 /; s/#.*//' "$work/orig.dump" | grep -Ev "$private") \
                 <(sed -E 's/^( *\([0-9a-f,]+\)) .. /\1 /; s/#.*//' "$work/$ts.dump" | grep -Ev "$private") >"$work/$ts.diff" ||
                { fail "$ts: public elements differ after conversion"; head -10 "$work/$ts.diff"; }
            diff <(sed -E 's/^( *\([0-9a-f,]+\)).*/\1/' "$work/orig.dump") \
                 <(sed -E 's/^( *\([0-9a-f,]+\)).*/\1/' "$work/$ts.dump") >/dev/null || fail "$ts: tags differ after conversion"
        else
            diff <(sed 's/ *#.*//' "$work/orig.dump") <(sed 's/ *#.*//' "$work/$ts.dump") >"$work/$ts.diff" ||
                { fail "$ts: dump differs after conversion"; head -10 "$work/$ts.diff"; }
        fi
    done
    # The meta header names the syntax written; the default is the syntax read.
    "$iodtool" dump "$work/big.dcm" | grep -q '^(0002,0010) UI \[1\.2\.840\.10008\.1\.2\.2\]' || fail "big: meta names another syntax"
    run default "$iodtool" convert "$work/big.dcm" "$work/default.dcm"
    expect_rc default 0
    "$iodtool" dump "$work/default.dcm" | grep -q '^# Data set (Explicit VR Big Endian)' || fail "default: syntax changed"
    # Encapsulated pixel data stays as it is in its own syntax.
    run jpeg "$iodtool" convert "$files/JPEG2000.dcm" "$work/jpeg.dcm"
    expect_rc jpeg 0
    diff <("$iodtool" dump --no-meta --max-length 0 "$files/JPEG2000.dcm" | sed 's/ *#.*//') \
         <("$iodtool" dump --no-meta --max-length 0 "$work/jpeg.dcm" | sed 's/ *#.*//') >/dev/null || fail "jpeg: dump differs"
    # Converting a file onto itself works (the output replaces the input only when complete).
    cp "$files/rtplan.dcm" "$work/self.dcm"
    run self "$iodtool" convert "$work/self.dcm" "$work/self.dcm" --transfer-syntax explicit
    expect_rc self 0
    "$iodtool" dump "$work/self.dcm" | grep -q '^# Data set (Explicit VR Little Endian)' || fail "self: not converted"
    ;;

convert_errors)
    # Encapsulated pixel data cannot go to a native syntax; nothing is written.
    run encap "$iodtool" convert "$files/JPEG2000.dcm" "$work/encap.dcm" --transfer-syntax explicit
    expect_rc encap 1
    expect_grep encap err "cannot write encapsulated pixel data in a native transfer syntax"
    [ -e "$work/encap.dcm" ] && fail "encap: output written"
    # Nor native pixel data to a compressed syntax.
    run compress "$iodtool" convert "$files/CT_small.dcm" "$work/compress.dcm" --transfer-syntax 1.2.840.10008.1.2.4.50
    expect_rc compress 1
    expect_grep compress err "would have to be compressed"
    # A truncated input is not written half; an existing output stays as it was.
    printf 'keep me' >"$work/keep.dcm"
    run truncated "$iodtool" convert "$files/rtplan_truncated.dcm" "$work/keep.dcm"
    expect_rc truncated 1
    expect_grep truncated err "nothing written"
    [ "$(cat "$work/keep.dcm")" = "keep me" ] || fail "truncated: existing output changed"
    ls "$work" | grep -q '^keep\.dcm\.' && fail "truncated: temporary file left behind"
    run missing "$iodtool" convert "$work/no-such.dcm" "$work/out.dcm"
    expect_rc missing 1
    expect_grep missing err "cannot open"
    run unknown "$iodtool" convert "$files/CT_small.dcm" "$work/out.dcm" --transfer-syntax 1.2.3.4
    expect_rc unknown 2
    expect_grep unknown err "unknown transfer syntax"
    run nodir "$iodtool" convert "$files/CT_small.dcm" "$work/no-such-dir/out.dcm"
    expect_rc nodir 1
    expect_grep nodir err "no-such-dir/out.dcm"
    run usage "$iodtool" convert "$files/CT_small.dcm"
    expect_rc usage 2
    expect_grep usage err "usage: iodtool convert"
    ;;

*)
    echo "unknown group $group"
    exit 2
    ;;
esac

if [ "$failures" -ne 0 ]; then
    echo "$group: $failures check(s) failed"
    exit 1
fi
echo "$group: all checks passed"
