#!/bin/bash
# Runs one group of iodtool checks: iodtool_tests.sh GROUP IODTOOL CORPUS DCMDUMP WORKDIR
# Each check prints what failed; the script exits 1 when any did.
set -u
group=$1 iodtool=$2 corpus=$3 dcmdump=$4 work=$5
files=$corpus/test_files

. "$(dirname "$0")/iodtool_test_lib.sh"
need_corpus "$files"
need_dcmtk "$dcmdump"
fresh_workdir

# Structure of a dump: one line "indent tag VR" per element, item and fragment (delimiters and
# the meta group left out), plus the value of text and integer elements (left out: UIDs, which
# the other tool prints by name; floating-point numbers, printed with different precision; and
# text with control characters, which the other tool prints raw across lines).
structure() {  # structure ours|dcmdump FILE
    if [ "$1" = ours ]; then "$iodtool" dump --no-meta --max-length 0 "$2"; else "$dcmdump" -q +L "$2"; fi | awk -v ours="$1" '
        /^# Dicom-Data-Set/ { inData = 1 }
        (inData || ours == "ours") && match($0, /^ *\([0-9a-f][0-9a-f][0-9a-f][0-9a-f],[0-9a-f][0-9a-f][0-9a-f][0-9a-f]\) [A-Za-z?][A-Za-z?] /) {
            head = substr($0, 1, RLENGTH - 1)
            if (head ~ /\(fffe,e0[0d]d\)/) next
            vr = substr(head, length(head) - 1)
            value = ""
            rest = substr($0, RLENGTH + 1)
            if (vr ~ /^(AE|AS|CS|DA|DS|DT|IS|LO|LT|PN|SH|ST|TM|UT|UC)$/ && match(rest, /^\[[^]]*\]/)) value = substr(rest, 1, RLENGTH)
            if (vr ~ /^(US|SS|UL|SL)$/) { split(rest, f, " "); value = f[1] }
            if (ours == "ours" && index(value, "\\x")) value = ""  # control characters: the other tool breaks the line
            print head " " value
        }'
}

case "$group" in
dump_structure)
    # Every element, item and fragment at the same depth with the same VR and value as the
    # independent dump shows them: implicit and explicit little endian, big endian, deflated,
    # encapsulated pixel data, nested sequences.
    for f in rtplan.dcm CT_small.dcm MR_small_bigendian.dcm image_dfl.dcm JPEG2000.dcm test-SR.dcm rtstruct.dcm; do
        structure ours "$files/$f" >"$work/$f.ours"
        structure dcmdump "$files/$f" >"$work/$f.theirs"
        [ -s "$work/$f.theirs" ] || fail "$f: dcmdump printed no element"
        same "$f" "$work/$f.theirs" "$work/$f.ours"
    done
    # The meta group comes first, under its heading, and the data set heading names the syntax.
    check meta 0 -- "$iodtool" dump "$files/rtplan.dcm"
    awk '/^# File meta information/ { m = NR } /^# Data set \(Implicit VR Little Endian\)/ { d = NR }
         /^\(0002,0010\) UI \[1\.2\.840\.10008\.1\.2\]/ { t = NR }
         END { exit !(m && t && d && m < t && t < d) }' "$work/meta.out" ||
        fail "meta: headings or TransferSyntaxUID line missing or out of order"
    ;;

dump_errors)
    printf 'this is not a DICOM file, only some words of text\n' >"$work/text.dcm"
    : >"$work/empty.dcm"
    head -c 20000 "$files/CT_small.dcm" >"$work/cut.dcm"  # cut in the middle of its pixel data
    check missing 1 "no-such-file.dcm: cannot open" -- "$iodtool" dump "$work/no-such-file.dcm"
    [ -s "$work/missing.out" ] && fail "missing: printed something on stdout"
    check text 1 "not a DICOM file" -- "$iodtool" dump "$work/text.dcm"
    check empty 1 "empty" -- "$iodtool" dump "$work/empty.dcm"
    check directory 1 "not a regular file" -- "$iodtool" dump "$work"
    # A truncated file: what was read is printed, the fault reported, exit 1.
    check truncated 1 "truncated or malformed" -- "$iodtool" dump "$files/rtplan_truncated.dcm"
    expect_grep truncated out '^\(300a,0002\) SH \[Plan1\]'
    check cut 1 -- "$iodtool" dump "$work/cut.dcm"
    expect_grep cut out '^\(0010,0010\) PN '
    grep -q '^(7fe0,0010)' "$work/cut.out" && fail "cut: printed pixel data that the file does not hold"
    check usage 2 "usage: iodtool dump" -- "$iodtool" dump
    check badopt 2 -- "$iodtool" dump --frobnicate "$files/rtplan.dcm"
    check badlen 2 -- "$iodtool" dump --max-length x "$files/rtplan.dcm"
    ;;

dump_options)
    check full 0 -- "$iodtool" dump "$files/CT_small.dcm"
    check nometa 0 -- "$iodtool" dump --no-meta "$files/CT_small.dcm"
    grep -q '^(0002,' "$work/full.out" || fail "full: no meta group line"
    # Without the meta group, the rest is the same.
    same nometa <(grep -v '^(0002,' "$work/full.out" | grep -v '^#' | grep -v '^$') \
        <(grep -v '^#' "$work/nometa.out" | grep -v '^$')
    # Long values are cut at the limit and marked; 0 prints them whole.
    check short 0 -- "$iodtool" dump --max-length 8 "$files/CT_small.dcm"
    expect_grep short out '^\(0008,0016\) UI \[1\.2\.840\.\]\.\.\. '
    check whole 0 -- "$iodtool" dump --max-length 0 "$files/CT_small.dcm"
    # 128 x 128 16-bit pixels: 16384 words of 4 hex digits and 16383 separators.
    words=$(sed -nE 's/^\(7fe0,0010\) OW ([0-9a-f\\]*) .*/\1/p' "$work/whole.out" | tr '\\' '\n' | grep -c .)
    [ "$words" -eq 16384 ] || fail "whole: pixel data printed as $words words, not 16384"
    grep -q '^(7fe0,0010) OW .*\.\.\. ' "$work/full.out" || fail "full: pixel data not cut by default"
    # Same elements in the same order whatever the limit.
    same limit <(sed -E 's/^( *\([0-9a-f,]+\) ..).*/\1/' "$work/short.out") \
        <(sed -E 's/^( *\([0-9a-f,]+\) ..).*/\1/' "$work/whole.out")
    ;;

convert_roundtrip)
    # CT_small.dcm (explicit VR little endian, private elements) through every native syntax:
    # each output reads back to the same dump (in implicit VR the VRs of elements unknown to our
    # dictionary become UN, so tags and public values are compared), and DCMTK reads it.
    dump_without "$files/CT_small.dcm" '^$' >"$work/orig.dump"
    tags_values() { sed -E 's/^( *\([0-9a-f,]+\)) .. /\1 /' "$1" | grep -Ev '^ *\([0-9a-f]{3}[13579bdf],'; }
    for ts in explicit big deflated implicit 1.2.840.10008.1.2.1; do
        option=--transfer-syntax
        [ "$ts" = big ] && option=-t
        check "conv-$ts" 0 -- "$iodtool" convert "$files/CT_small.dcm" "$work/$ts.dcm" "$option" "$ts"
        dcmtk_reads "dcmtk-$ts" "$work/$ts.dcm"
        dump_without "$work/$ts.dcm" '^$' >"$work/$ts.dump"
        if [ "$ts" = implicit ]; then
            same "$ts-values" <(tags_values "$work/orig.dump") <(tags_values "$work/$ts.dump")
            same "$ts-tags" <(sed -E 's/^( *\([0-9a-f,]+\)).*/\1/' "$work/orig.dump") \
                <(sed -E 's/^( *\([0-9a-f,]+\)).*/\1/' "$work/$ts.dump")
        else
            same "$ts" "$work/orig.dump" "$work/$ts.dump"
        fi
    done
    # The meta header names the syntax written; the default is the syntax read.
    "$iodtool" dump "$work/big.dcm" | grep -q '^(0002,0010) UI \[1\.2\.840\.10008\.1\.2\.2\]' || fail "big: meta names another syntax"
    check default 0 -- "$iodtool" convert "$work/big.dcm" "$work/default.dcm"
    "$iodtool" dump "$work/default.dcm" | grep -q '^# Data set (Explicit VR Big Endian)' || fail "default: syntax changed"
    # Encapsulated pixel data stays as it is in its own syntax.
    check jpeg 0 -- "$iodtool" convert "$files/JPEG2000.dcm" "$work/jpeg.dcm"
    same jpeg <(dump_without "$files/JPEG2000.dcm" '^$') <(dump_without "$work/jpeg.dcm" '^$')
    # Converting a file onto itself works (the output replaces the input only when complete).
    cp "$files/rtplan.dcm" "$work/self.dcm"
    check self 0 -- "$iodtool" convert "$work/self.dcm" "$work/self.dcm" --transfer-syntax explicit
    "$iodtool" dump "$work/self.dcm" | grep -q '^# Data set (Explicit VR Little Endian)' || fail "self: not converted"
    ;;

convert_errors)
    # Encapsulated pixel data cannot go to a native syntax, nor native pixel data to a compressed
    # one; a truncated input is not written half and an existing output stays as it was.
    printf 'keep me' >"$work/keep.dcm"
    check encap 1 "cannot write encapsulated pixel data in a native transfer syntax" -- \
        "$iodtool" convert "$files/JPEG2000.dcm" "$work/encap.dcm" --transfer-syntax explicit
    nothing_written encap.dcm
    check compress 1 "would have to be compressed" -- \
        "$iodtool" convert "$files/CT_small.dcm" "$work/compress.dcm" --transfer-syntax 1.2.840.10008.1.2.4.50
    check truncated 1 "nothing written" -- "$iodtool" convert "$files/rtplan_truncated.dcm" "$work/keep.dcm"
    [ "$(cat "$work/keep.dcm")" = "keep me" ] || fail "truncated: existing output changed"
    nothing_written keep.dcm.
    check missing 1 "cannot open" -- "$iodtool" convert "$work/no-such.dcm" "$work/out.dcm"
    check unknown 2 "unknown transfer syntax" -- \
        "$iodtool" convert "$files/CT_small.dcm" "$work/out.dcm" --transfer-syntax 1.2.3.4
    check nodir 1 "no-such-dir/out.dcm" -- "$iodtool" convert "$files/CT_small.dcm" "$work/no-such-dir/out.dcm"
    check usage 2 "usage: iodtool convert" -- "$iodtool" convert "$files/CT_small.dcm"
    ;;

*)
    echo "unknown group $group"
    exit 2
    ;;
esac
finish "$group"
