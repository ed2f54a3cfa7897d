#!/bin/bash
# Checks of iodtool dump and convert on the pydicom corpus, DCMTK's dcmdump as the independent
# reader: iodtool_tests.sh GROUP IODTOOL CORPUS DCMDUMP WORKDIR
set -u
group=$1 iodtool=$2 corpus=$3 dcmdump=$4 work=$5
files=$corpus/test_files
. "$(dirname "$0")/iodtool_test_lib.sh"
need_corpus "$files"
need_dcmtk "$dcmdump"
fresh_workdir

# One line "indent tag VR value" per element, item and fragment (delimiters and the meta group
# left out); values of text and integer elements only (UIDs are printed by name by the other
# tool, floats with another precision, text with control characters raw across lines).
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
            if (ours == "ours" && index(value, "\\x")) value = ""
            print head " " value
        }'
}

case "$group" in
dump_structure)
    # Implicit and explicit little endian, big endian, deflated, encapsulated, nested sequences.
    for f in rtplan.dcm CT_small.dcm MR_small_bigendian.dcm image_dfl.dcm JPEG2000.dcm test-SR.dcm rtstruct.dcm; do
        structure dcmdump "$files/$f" >"$work/$f.theirs"
        [ -s "$work/$f.theirs" ] || fail "$f: dcmdump printed no element"
        same "$f" "$work/$f.theirs" <(structure ours "$files/$f")
    done
    # The meta group first under its heading; the data set heading names the syntax.
    check meta 0 -- "$iodtool" dump "$files/rtplan.dcm"
    same meta <(printf '%s\n' '# File meta information' '(0002,0010) UI [1.2.840.10008.1.2]' '# Data set (Implicit VR Little Endian)') \
        <(grep -oE '^(# File meta information|\(0002,0010\) UI \[1\.2\.840\.10008\.1\.2\]|# Data set \(Implicit VR Little Endian\))' "$work/meta.out")
    ;;
dump_errors)
    printf 'this is not a DICOM file, only some words of text\n' >"$work/text.dcm"
    : >"$work/empty.dcm"
    while IFS='|' read -r name rc regex args; do
        # shellcheck disable=SC2086
        check "$name" "$rc" "$regex" -- "$iodtool" dump $args
    done <<EOF
missing|1|no-such-file.dcm: cannot open|$work/no-such-file.dcm
text|1|not a DICOM file|$work/text.dcm
empty|1|empty|$work/empty.dcm
directory|1|not a regular file|$work
truncated|1|truncated or malformed|$files/rtplan_truncated.dcm
usage|2|usage: iodtool dump|
badopt|2|.|--frobnicate $files/rtplan.dcm
badlen|2|.|--max-length x $files/rtplan.dcm
EOF
    [ -s "$work/missing.out" ] && fail "missing: printed something on stdout"
    expect_grep truncated out '^\(300a,0002\) SH \[Plan1\]'  # what was read is printed
    ;;
dump_options)
    check full 0 -- "$iodtool" dump "$files/CT_small.dcm"
    check nometa 0 -- "$iodtool" dump --no-meta "$files/CT_small.dcm"
    expect_grep full out '^\(0002,0010\) '
    same nometa <(grep -v '^(0002,' "$work/full.out" | grep -v '^#' | grep -v '^$') <(grep -v '^#' "$work/nometa.out" | grep -v '^$')
    # Long values are cut at the limit and marked; 0 prints them whole (128 x 128 16-bit words).
    check short 0 -- "$iodtool" dump --max-length 8 "$files/CT_small.dcm"
    expect_grep short out '^\(0008,0016\) UI \[1\.2\.840\.\]\.\.\. '
    check whole 0 -- "$iodtool" dump --max-length 0 "$files/CT_small.dcm"
    words=$(sed -nE 's/^\(7fe0,0010\) OW ([0-9a-f\\]*) .*/\1/p' "$work/whole.out" | tr '\\' '\n' | grep -c .)
    [ "$words" -eq 16384 ] || fail "whole: pixel data printed as $words words, not 16384"
    expect_grep full out '^\(7fe0,0010\) OW .*\.\.\. '
    ;;
convert_roundtrip)
    # CT_small.dcm (explicit little endian, private elements) through every native syntax: each
    # output reads back to the same dump and DCMTK reads it. In implicit VR the elements unknown to
    # our dictionary become UN: tags and public values are compared there.
    dump_without "$files/CT_small.dcm" '^$' >"$work/orig.dump"
    public() { sed -E 's/^( *\([0-9a-f,]+\)) .. /\1 /' "$1" | grep -Ev '^ *\([0-9a-f]{3}[13579bdf],'; }
    for ts in explicit big deflated implicit 1.2.840.10008.1.2.1; do
        option=--transfer-syntax
        [ "$ts" = big ] && option=-t
        check "conv-$ts" 0 -- "$iodtool" convert "$files/CT_small.dcm" "$work/$ts.dcm" "$option" "$ts"
        dcmtk_reads "dcmtk-$ts" "$work/$ts.dcm"
        dump_without "$work/$ts.dcm" '^$' >"$work/$ts.dump"
        if [ "$ts" = implicit ]; then
            same "$ts-values" <(public "$work/orig.dump") <(public "$work/$ts.dump")
            tags() { sed -E 's/^( *\([0-9a-f,]+\)).*/\1/' "$1"; }
            same "$ts-tags" <(tags "$work/orig.dump") <(tags "$work/$ts.dump")
        else
            same "$ts" "$work/orig.dump" "$work/$ts.dump"
        fi
    done
    grep -q '^(0002,0010) UI =BigEndianExplicit' "$work/dcmtk-big.txt" || fail "big: meta names another syntax"
    # The default is the syntax read; encapsulated pixel data stays in its own syntax; a file
    # converted onto itself is replaced only when the output is complete.
    check default 0 -- "$iodtool" convert "$work/big.dcm" "$work/default.dcm"
    "$iodtool" dump "$work/default.dcm" | grep -q '^# Data set (Explicit VR Big Endian)' || fail "default: syntax changed"
    check jpeg 0 -- "$iodtool" convert "$files/JPEG2000.dcm" "$work/jpeg.dcm"
    same jpeg <(dump_without "$files/JPEG2000.dcm" '^$') <(dump_without "$work/jpeg.dcm" '^$')
    cp "$files/rtplan.dcm" "$work/self.dcm"
    check self 0 -- "$iodtool" convert "$work/self.dcm" "$work/self.dcm" --transfer-syntax explicit
    "$iodtool" dump "$work/self.dcm" | grep -q '^# Data set (Explicit VR Little Endian)' || fail "self: not converted"
    ;;
convert_errors)
    printf 'keep me' >"$work/keep.dcm"
    while IFS='|' read -r name rc regex in out ts; do
        check "$name" "$rc" "$regex" -- "$iodtool" convert "$in" ${out:+"$work/$out"} ${ts:+--transfer-syntax "$ts"}
    done <<EOF
encap|1|cannot write encapsulated pixel data in a native transfer syntax|$files/JPEG2000.dcm|encap.dcm|explicit
compress|1|would have to be compressed|$files/CT_small.dcm|compress.dcm|1.2.840.10008.1.2.4.50
truncated|1|nothing written|$files/rtplan_truncated.dcm|keep.dcm|
missing|1|cannot open|$work/no-such.dcm|out.dcm|
unknown|2|unknown transfer syntax|$files/CT_small.dcm|out.dcm|1.2.3.4
nodir|1|no-such-dir/out.dcm|$files/CT_small.dcm|no-such-dir/out.dcm|
usage|2|usage: iodtool convert|$files/CT_small.dcm||
EOF
    [ "$(cat "$work/keep.dcm")" = "keep me" ] || fail "truncated: existing output changed"
    for f in encap.dcm compress.dcm keep.dcm. out.dcm; do nothing_written "$f"; done
    ;;
*)
    echo "unknown group $group"
    exit 2
    ;;
esac
finish "$group"
