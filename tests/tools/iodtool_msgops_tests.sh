#!/bin/bash
# Checks of the iodtool commands that change or measure a message (strip, length, deidentify,
# frame), on files of the pydicom corpus: iodtool_msgops_tests.sh GROUP IODTOOL CORPUS DCMDUMP WORKDIR
# DCMTK is the independent reader: dcmdump must read every output without an error, and the
# pixel bytes that `frame` cut must be, after DCMTK decodes them (dcmdrle for RLE), the bytes of
# frame N of the input as DCMTK decodes it.
set -u
group=$1 iodtool=$2 corpus=$3 dcmdump=$4 work=$5
files=$corpus/test_files
dcmtk=$(dirname "$(command -v "$dcmdump")")

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
if [ ! -d "$files" ]; then
    echo "FAIL: no test corpus at $files: install the Debian package python3-pydicom"
    exit 1
fi
if ! command -v "$dcmdump" >/dev/null 2>&1 || [ ! -x "$dcmtk/dcmdrle" ] || [ ! -x "$dcmtk/dcmodify" ]; then
    echo "FAIL: dcmdump, dcmdrle or dcmodify not found: install the Debian package dcmtk"
    exit 1
fi
rm -rf "$work"
mkdir -p "$work"

run() {  # run NAME CMD...: stdout and stderr in $work/NAME.out / .err; sets $rc
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
# dcmdump reads FILE without an error; its dump goes to $work/NAME.dump.
dcmtk_reads() {  # dcmtk_reads NAME FILE
    "$dcmdump" -q "$2" >"$work/$1.dump" 2>"$work/$1.dcmerr" || fail "$1: dcmdump cannot read $2"
    grep -q '^E:' "$work/$1.dcmerr" && fail "$1: dcmdump reports errors: $(head -3 "$work/$1.dcmerr")"
}
# Our dump of the data set without the lines whose tags match REGEX (and the meta group).
dump_without() {  # dump_without FILE REGEX
    "$iodtool" dump --no-meta --max-length 0 "$1" | grep -v '^#' | grep -Ev -- "$2" | sed 's/ *#.*//'
}
nothing_written() {  # nothing_written FILENAME: neither it nor its temporary file is in $work
    ls "$work" | grep -qF "$1" && fail "$1: output or temporary file left behind"
}
# The pixel data of FILE as DCMTK decodes it (RLE decompressed), in the file OUT.
decoded_pixels() {  # decoded_pixels FILE OUT
    local dir=$2.d
    if "$dcmdump" -q "$1" | grep -q '^(0002,0010) UI =RLELossless'; then
        "$dcmtk/dcmdrle" "$1" "$2.dcm" || fail "dcmdrle cannot decode $1"
    else
        cp "$1" "$2.dcm"
    fi
    mkdir -p "$dir"
    "$dcmdump" -q +W "$dir" "$2.dcm" >/dev/null 2>&1
    cat "$dir"/*.raw >"$2"
}
# Rewrites the encapsulated pixel data at the end of an explicit VR little endian file: "nobot"
# empties the basic offset table, "split" also cuts the last fragment in two.
reencapsulate() {  # reencapsulate IN OUT nobot|split
    python3 - "$@" <<'EOF'
import struct, sys
src, dst, how = sys.argv[1:4]
data = open(src, "rb").read()
at = data.rindex(b"\xe0\x7f\x10\x00OB\x00\x00\xff\xff\xff\xff") + 12
items, pos = [], at
while True:
    g, e, n = struct.unpack_from("<HHI", data, pos)
    if (g, e) == (0xFFFE, 0xE0DD):
        break
    items.append(data[pos + 8:pos + 8 + n])
    pos += 8 + n
frags = items[1:]
if how == "split":
    half = len(frags[-1]) // 2 & ~1
    frags[-1:] = [frags[-1][:half], frags[-1][half:]]
out = data[:at] + struct.pack("<HHI", 0xFFFE, 0xE000, 0)
for f in frags:
    out += struct.pack("<HHI", 0xFFFE, 0xE000, len(f)) + f
open(dst, "wb").write(out + struct.pack("<HHI", 0xFFFE, 0xE0DD, 0))
EOF
}

case "$group" in
strip)
    # Without pixel data: every other element as it was, the syntax kept, read by DCMTK.
    for f in CT_small.dcm MR_small_bigendian.dcm JPEG2000.dcm; do
        run "pd-$f" "$iodtool" strip "$files/$f" "$work/pd-$f" --pixel-data
        expect_rc "pd-$f" 0
        dcmtk_reads "pd-$f" "$work/pd-$f"
        grep -q '^(7fe0,0010)' "$work/pd-$f.dump" && fail "pd-$f: pixel data still there"
        diff <(dump_without "$files/$f" '^ *\((7fe0,0010|fffe,e0(00|0d|dd))\)') <(dump_without "$work/pd-$f" '^ *\((fffe,e0(00|0d|dd))\)') \
            >"$work/pd-$f.diff" || fail "pd-$f: other elements changed: $(head -5 "$work/pd-$f.diff")"
        [ "$("$iodtool" dump "$files/$f" | grep '^# Data set')" = "$("$iodtool" dump "$work/pd-$f" | grep '^# Data set')" ] ||
            fail "pd-$f: transfer syntax changed"
    done
    # Only the named attributes (by accessor name, keyword and number, a private one among them),
    # the private creators and the meta group.
    run keep "$iodtool" strip "$files/CT_small.dcm" "$work/keep.dcm" --keep PatientsName --keep PatientID \
        --keep 0043,1010 --keep Rows_i:0
    expect_rc keep 0
    dcmtk_reads keep "$work/keep.dcm"
    got=$(dump_without "$work/keep.dcm" '^\([0-9a-f]{3}[13579bdf],00[1-9a-f][0-9a-f]\) LO' | awk '{print $1}' | tr '\n' ' ')
    [ "$got" = "(0010,0010) (0010,0020) (0043,1010) " ] || fail "keep: kept $got"
    grep -q '^(0002,0002) UI =CTImageStorage' "$work/keep.dump" || fail "keep: meta group lost"
    # Named attributes out, the VOI LUT module out, overlay groups out.
    "$iodtool" set "$files/CT_small.dcm" "$work/ov.dcm" OverlayType_i:0=G OverlayType_i:3=R CurveDimensions_i:0=1 \
        WindowCenter=40 WindowWidth=400 >/dev/null || fail "set: cannot prepare the input"
    run some "$iodtool" strip "$work/ov.dcm" "$work/some.dcm" --tag PatientName --tag 0008,0060 --voi --group 6000
    expect_rc some 0
    dcmtk_reads some "$work/some.dcm"
    diff <(dump_without "$work/ov.dcm" '^\((0010,0010|0008,0060|0028,105[01]|60..,....)\)') \
        <(dump_without "$work/some.dcm" '^$') >"$work/some.diff" || fail "some: $(head -5 "$work/some.diff")"
    grep -q '^(5000,0005)' "$work/some.dump" || fail "some: curve group removed with the overlays"
    ;;

length)
    # The file size equals what convert writes; the data set is the file less its preamble and
    # meta group (as DCMTK reads the group length).
    for f in CT_small.dcm rtplan.dcm MR_small_bigendian.dcm JPEG2000.dcm; do
        for ts in "" explicit implicit big deflated; do
            [ "$f" = JPEG2000.dcm ] && [ -n "$ts" ] && continue
            name="len-$f-${ts:-asread}"
            run "$name" "$iodtool" length "$files/$f" ${ts:+--transfer-syntax "$ts"}
            expect_rc "$name" 0
            "$iodtool" convert "$files/$f" "$work/$name.dcm" ${ts:+--transfer-syntax "$ts"} || fail "$name: convert failed"
            size=$(stat -c %s "$work/$name.dcm")
            expect_grep "$name" out "^file: +$size bytes"
            meta=$("$dcmdump" -q "$work/$name.dcm" | sed -nE 's/^\(0002,0000\) UL ([0-9]+) .*/\1/p')
            expect_grep "$name" out "^data set: +$((size - 132 - 12 - meta)) bytes"
            # A single image yields the allowance; a plan has no pixel data to measure.
            [ "$f" = rtplan.dcm ] && expected="invalid" || expected="12 bytes$"
            expect_grep "$name" out "^CalcMsgLength: +$expected"
        done
    done
    # An SR document is measured whole, plus the 12-byte allowance.
    run sr "$iodtool" length "$files/test-SR.dcm"
    expect_rc sr 0
    set -- $(sed -nE 's/^data set: +([0-9]+) bytes$/\1/p; s/^CalcMsgLength: +([0-9]+) bytes$/\1/p' "$work/sr.out")
    [ "$#" -eq 2 ] && [ "$2" -eq $(($1 + 12)) ] || fail "sr: CalcMsgLength is not the data set + 12: $*"
    expect_grep sr out "send-size estimate"
    # Encapsulated pixel data in a native syntax: as convert, refused.
    run encap "$iodtool" length "$files/JPEG2000.dcm" --transfer-syntax explicit
    expect_rc encap 1
    expect_grep encap err "cannot write encapsulated pixel data in a native transfer syntax"
    ;;

deidentify)
    export IOD_DEID_KEY=msgops-test-key
    run deid "$iodtool" deidentify "$files/CT_small.dcm" "$work/deid.dcm"
    expect_rc deid 0
    dcmtk_reads deid "$work/deid.dcm"
    hash=$(printf '1CT1' | openssl dgst -sha256 -hmac "$IOD_DEID_KEY" | sed 's/.*= //' | tr a-f A-F)
    grep -q "^(0010,0010) PN \[C^C\]" "$work/deid.dump" || fail "deid: name not replaced by its initials"
    grep -q "^(0010,0020) LO \[$hash\]" "$work/deid.dump" || fail "deid: patient ID is not the keyed hash $hash"
    diff <(dump_without "$files/CT_small.dcm" '^\(0010,00[12]0\)') <(dump_without "$work/deid.dcm" '^\(0010,00[12]0\)') \
        >/dev/null || fail "deid: other elements changed"
    run new "$iodtool" deidentify "$files/CT_small.dcm" "$work/new.dcm" --new-instance
    expect_rc new 0
    dcmtk_reads new "$work/new.dcm"
    uid=$(sed -nE 's/^SOP Instance UID: (2\.25\.[0-9]+)$/\1/p' "$work/new.out")
    [ -n "$uid" ] || fail "new: no new UID printed: $(cat "$work/new.out")"
    grep -q "^(0008,0018) UI \[$uid\]" "$work/new.dump" || fail "new: SOP Instance UID is not $uid"
    grep -q "^(0002,0003) UI \[$uid\]" "$work/new.dump" || fail "new: meta group names another instance"
    grep -q "^(0008,0012) DA \[$(date +%Y%m%d)\]" "$work/new.dump" || fail "new: creation date is not today"
    "$iodtool" help deidentify | grep -q "NOT a full de-identification profile" || fail "help: no warning"
    ;;

frame)
    # Frame N of the input and the output's pixel data decode to the same bytes; Number of Frames
    # is 1 and the per-frame vector holds frame N's value.
    reencapsulate "$files/SC_rgb_rle_2frame.dcm" "$work/nobot.dcm" nobot
    for spec in rtdose.dcm:3 rtdose.dcm:15 SC_rgb_rle_2frame.dcm:2 rtdose_rle.dcm:15 \
        "$work/nobot.dcm":2 SC_rgb_rle_32bit_2frame.dcm:1 JPEG2000.dcm:1; do
        f=${spec%:*} n=${spec##*:}
        [ "${f#/}" = "$f" ] && f=$files/$f
        name="frame-$(basename "$f")-$n"
        run "$name" "$iodtool" frame "$f" "$work/$name.dcm" "$n"
        expect_rc "$name" 0
        dcmtk_reads "$name" "$work/$name.dcm"
        grep -q '^(0028,0009)' "$work/$name.dump" && fail "$name: Frame Increment Pointer left"
        grep -q '^(0028,0008) IS \[1\]' "$work/$name.dump" || fail "$name: Number of Frames is not 1"
        if [ "$(basename "$f")" = JPEG2000.dcm ]; then  # one frame, no JPEG 2000 decoder in DCMTK
            diff <(dump_without "$f" '^\(0028,0009\)') <(dump_without "$work/$name.dcm" '^$') >/dev/null || fail "$name: changed"
            continue
        fi
        decoded_pixels "$f" "$work/$name.in.raw"
        decoded_pixels "$work/$name.dcm" "$work/$name.out.raw"
        size=$(stat -c %s "$work/$name.out.raw")
        [ "$size" -gt 0 ] && [ $((size * $(sed -nE 's/^\(0028,0008\) IS \[([0-9]+)\].*/\1/p' <("$dcmdump" -q "$f")))) -eq \
            "$(stat -c %s "$work/$name.in.raw")" ] || fail "$name: $size bytes are not one frame of the input"
        dd if="$work/$name.in.raw" bs="$size" skip=$((n - 1)) count=1 2>/dev/null | cmp -s - "$work/$name.out.raw" ||
            fail "$name: the output holds another frame"
    done
    grep -q '^(3004,000c) DS \[10\.0*\] ' "$work/frame-rtdose.dcm-3.dump" || fail "rtdose 3: grid offset not 10"
    # Fragments that no offset table assigns to frames: refused, nothing written.
    reencapsulate "$files/SC_rgb_rle_2frame.dcm" "$work/split.dcm" split
    run split "$iodtool" frame "$work/split.dcm" "$work/split-out.dcm" 1
    expect_rc split 1
    expect_grep split err "not known: no offset table, and 3 fragments for 2 frames"
    nothing_written split-out.dcm
    # An offset table that does not list every frame.
    cp "$files/SC_rgb_rle_2frame.dcm" "$work/three.dcm"
    "$dcmtk/dcmodify" -q -nb -m "(0028,0008)=3" "$work/three.dcm" || fail "dcmodify failed"
    run three "$iodtool" frame "$work/three.dcm" "$work/three-out.dcm" 3
    expect_rc three 1
    expect_grep three err "offset table has 2 entries for 3 frames"
    nothing_written three-out.dcm
    run beyond "$iodtool" frame "$files/rtdose.dcm" "$work/beyond.dcm" 16
    expect_rc beyond 1
    expect_grep beyond err "has 15 frame\(s\); there is no frame 16"
    nothing_written beyond.dcm
    for bad in 0 -1 x 2x; do
        run "bad$bad" "$iodtool" frame "$files/rtdose.dcm" "$work/bad.dcm" "$bad"
        expect_rc "bad$bad" 2
    done
    nothing_written bad.dcm
    ;;

errors)
    # Every command: a clear message, exit 1 and no output file for an unreadable, a truncated
    # and a non-DICOM input; exit 2 for bad usage.
    printf 'not DICOM at all, just words\n' >"$work/text.dcm"
    for cmd in "strip --pixel-data" length deidentify "frame 1"; do
        set -- $cmd
        c=$1
        shift
        for input in "$work/no-such.dcm" "$files/rtplan_truncated.dcm" "$work/text.dcm"; do
            name="$c-$(basename "$input")"
            if [ "$c" = length ]; then
                run "$name" "$iodtool" length "$input"
            elif [ "$c" = frame ]; then
                run "$name" "$iodtool" frame "$input" "$work/out-$name" 1
            else
                run "$name" "$iodtool" "$c" "$input" "$work/out-$name" "$@"
            fi
            expect_rc "$name" 1
            # A command that writes a result says that it wrote nothing; length writes no file.
            suffix="; nothing written"
            [ "$c" = length ] && suffix='$'
            expect_grep "$name" err "^iodtool $c: .*$(basename "$input"): (cannot open|not a DICOM file, or truncated or malformed$suffix)"
            nothing_written "out-$name"
        done
        run "$c-usage" "$iodtool" "$c"
        expect_rc "$c-usage" 2
        expect_grep "$c-usage" err "usage: iodtool $c"
    done
    run unknown-name "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm" --tag NoSuchAttribute
    expect_rc unknown-name 2
    expect_grep unknown-name err "NoSuchAttribute"
    run bad-group "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm" --group 6002
    expect_rc bad-group 2
    run nothing "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm"
    expect_rc nothing 2
    expect_grep nothing err "nothing to strip"
    nothing_written u.dcm
    # An output that cannot be written leaves no temporary file and reports the path.
    run nodir "$iodtool" deidentify "$files/CT_small.dcm" "$work/no-such-dir/out.dcm"
    expect_rc nodir 1
    expect_grep nodir err "no-such-dir/out.dcm"
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
