#!/bin/bash
# Checks of iodtool strip, get, set, length, deidentify and frame on the pydicom corpus, DCMTK as
# the independent reader: iodtool_msgops_tests.sh GROUP IODTOOL CORPUS DCMDUMP WORKDIR
set -u
group=$1 iodtool=$2 corpus=$3 dcmdump=$4 work=$5
files=$corpus/test_files
dcmtk=$(dirname "$(command -v "$dcmdump")")
. "$(dirname "$0")/iodtool_test_lib.sh"
need_corpus "$files"
need_dcmtk "$dcmdump" "$dcmtk/dcmdrle" "$dcmtk/dcmodify"
fresh_workdir

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
    # Without pixel data: every other element and the syntax as they were.
    for f in CT_small.dcm MR_small_bigendian.dcm JPEG2000.dcm; do
        check "pd-$f" 0 -- "$iodtool" strip "$files/$f" "$work/pd-$f" --pixel-data
        dcmtk_reads "pd-$f" "$work/pd-$f"
        same "pd-$f" <(dump_without "$files/$f" '^ *\((7fe0,0010|fffe,e0(00|0d|dd))\)'; "$iodtool" dump "$files/$f" | grep '^# Data') \
            <(dump_without "$work/pd-$f" '^ *\(fffe,e0(00|0d|dd)\)'; "$iodtool" dump "$work/pd-$f" | grep '^# Data')
    done
    # Only the named attributes (accessor name, keyword, number, private), creators and meta group.
    check keep 0 -- "$iodtool" strip "$files/CT_small.dcm" "$work/keep.dcm" --keep PatientsName --keep PatientID \
        --keep 0043,1010 --keep Rows_i:0
    dcmtk_reads keep "$work/keep.dcm"
    got=$(dump_without "$work/keep.dcm" '^\([0-9a-f]{3}[13579bdf],00[1-9a-f][0-9a-f]\) LO' | awk '{print $1}' | tr '\n' ' ')
    [ "$got" = "(0010,0010) (0010,0020) (0043,1010) " ] || fail "keep: kept $got"
    grep -q '^(0002,0002) UI =CTImageStorage' "$work/keep.dump" || fail "keep: meta group lost"
    # Named attributes out, the VOI LUT module out, overlay groups out.
    "$iodtool" set "$files/CT_small.dcm" "$work/ov.dcm" OverlayType_i:0=G OverlayType_i:3=R CurveDimensions_i:0=1 \
        WindowCenter=40 WindowWidth=400 >/dev/null || fail "set: cannot prepare the input"
    check some 0 -- "$iodtool" strip "$work/ov.dcm" "$work/some.dcm" --tag PatientName --tag 0008,0060 --voi --group 6000
    dcmtk_reads some "$work/some.dcm"
    same some <(dump_without "$work/ov.dcm" '^\((0010,0010|0008,0060|0028,105[01]|60..,....)\)') \
        <(dump_without "$work/some.dcm" '^$')
    grep -q '^(5000,0005)' "$work/some.dump" || fail "some: curve group removed with the overlays"
    ;;

getset)
    check set 0 -- "$iodtool" set "$files/CT_small.dcm" "$work/set.dcm" 'AccessionNumber=A-1' 'Rows_i:3=64' \
        'WindowCenter=40\400' 'MsgLength=99'
    dcmtk_reads set "$work/set.dcm"
    check get 0 -- "$iodtool" get "$work/set.dcm" PatientsName Rows AccessionNumber Rows_i:3 Rows_i:2 WindowCenter MsgLength
    same get - "$work/get.out" <<'EOF'
PatientsName = CompressedSamples^CT1
Rows = 128
AccessionNumber = A-1
Rows_i:3 = 64
Rows_i:2: absent
WindowCenter = 40\400
MsgLength = 99
EOF
    check unknown 2 "NoSuchAttribute" -- "$iodtool" get "$work/set.dcm" NoSuchAttribute
    check badvalue 2 -- "$iodtool" set "$work/set.dcm" "$work/bad.dcm" Rows=notanumber
    nothing_written bad.dcm
    check missing 1 -- "$iodtool" get "$work/no-such.dcm" Rows
    check get-usage 2 "usage: iodtool get" -- "$iodtool" get "$work/set.dcm"
    ;;

length)
    # The file size is what convert writes; the data set is that less preamble and meta group.
    for f in CT_small.dcm rtplan.dcm MR_small_bigendian.dcm JPEG2000.dcm; do
        for ts in "" explicit implicit big deflated; do
            [ "$f" = JPEG2000.dcm ] && [ -n "$ts" ] && continue
            name="len-$f-${ts:-asread}"
            check "$name" 0 -- "$iodtool" length "$files/$f" ${ts:+-t "$ts"}
            "$iodtool" convert "$files/$f" "$work/$name.dcm" ${ts:+--transfer-syntax "$ts"} || fail "$name: convert failed"
            size=$(stat -c %s "$work/$name.dcm")
            expect_grep "$name" out "^file: +$size bytes"
            meta=$("$dcmdump" -q "$work/$name.dcm" | sed -nE 's/^\(0002,0000\) UL ([0-9]+) .*/\1/p')
            expect_grep "$name" out "^data set: +$((size - 132 - 12 - meta)) bytes"
            [ "$f" = rtplan.dcm ] && expected="invalid" || expected="12 bytes$"  # no pixel data in a plan
            expect_grep "$name" out "^CalcMsgLength: +$expected"
        done
    done
    # An SR document is measured whole, plus the 12-byte allowance.
    check sr 0 -- "$iodtool" length "$files/test-SR.dcm"
    set -- $(sed -nE 's/^data set: +([0-9]+) bytes$/\1/p; s/^CalcMsgLength: +([0-9]+) bytes$/\1/p' "$work/sr.out")
    [ "$#" -eq 2 ] && [ "$2" -eq $(($1 + 12)) ] || fail "sr: CalcMsgLength is not the data set + 12: $*"
    expect_grep sr out "send-size estimate"
    check encap 1 "cannot write encapsulated pixel data in a native transfer syntax" -- \
        "$iodtool" length "$files/JPEG2000.dcm" --transfer-syntax explicit
    ;;

deidentify)
    export IOD_DEID_KEY=msgops-test-key
    check deid 0 -- "$iodtool" deidentify "$files/CT_small.dcm" "$work/deid.dcm"
    dcmtk_reads deid "$work/deid.dcm"
    hash=$(printf '1CT1' | openssl dgst -sha256 -hmac "$IOD_DEID_KEY" | sed 's/.*= //' | tr a-f A-F)
    grep -q "^(0010,0010) PN \[C^C\]" "$work/deid.dump" || fail "deid: name not replaced by its initials"
    grep -q "^(0010,0020) LO \[$hash\]" "$work/deid.dump" || fail "deid: patient ID is not the keyed hash $hash"
    same deid <(dump_without "$files/CT_small.dcm" '^\(0010,00[12]0\)') <(dump_without "$work/deid.dcm" '^\(0010,00[12]0\)')
    check new 0 -- "$iodtool" deidentify "$files/CT_small.dcm" "$work/new.dcm" --new-instance
    dcmtk_reads new "$work/new.dcm"
    uid=$(sed -nE 's/^SOP Instance UID: (2\.25\.[0-9]+)$/\1/p' "$work/new.out")
    [ -n "$uid" ] || fail "new: no new UID printed: $(cat "$work/new.out")"
    for line in "(0008,0018) UI \[$uid\]" "(0002,0003) UI \[$uid\]" "(0008,0012) DA \[$(date +%Y%m%d)\]"; do
        grep -q "^$line" "$work/new.dump" || fail "new: no line $line"
    done
    "$iodtool" help deidentify | grep -q "NOT a full de-identification profile" || fail "help: no warning"
    ;;

frame)
    # The output's pixel data decode (DCMTK) to frame N of the input; Number of Frames is 1.
    reencapsulate "$files/SC_rgb_rle_2frame.dcm" "$work/nobot.dcm" nobot
    for item in rtdose.dcm:3 rtdose.dcm:15 SC_rgb_rle_2frame.dcm:2 rtdose_rle.dcm:15 \
        "$work/nobot.dcm":2 SC_rgb_rle_32bit_2frame.dcm:1 JPEG2000.dcm:1; do
        f=${item%:*} n=${item##*:}
        [ "${f#/}" = "$f" ] && f=$files/$f
        name="frame-$(basename "$f")-$n"
        check "$name" 0 -- "$iodtool" frame "$f" "$work/$name.dcm" "$n"
        dcmtk_reads "$name" "$work/$name.dcm"
        grep -q '^(0028,0009)' "$work/$name.dump" && fail "$name: Frame Increment Pointer left"
        grep -q '^(0028,0008) IS \[1\]' "$work/$name.dump" || fail "$name: Number of Frames is not 1"
        if [ "$(basename "$f")" = JPEG2000.dcm ]; then  # one frame, no JPEG 2000 decoder in DCMTK
            same "$name" <(dump_without "$f" '^\(0028,0009\)') <(dump_without "$work/$name.dcm" '^$')
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
    # Refused, nothing written: fragments without an offset table, a short offset table, a frame
    # beyond the last, frame numbers that are not one.
    reencapsulate "$files/SC_rgb_rle_2frame.dcm" "$work/split.dcm" split
    cp "$files/SC_rgb_rle_2frame.dcm" "$work/three.dcm"
    "$dcmtk/dcmodify" -q -nb -m "(0028,0008)=3" "$work/three.dcm" || fail "dcmodify failed"
    check split 1 "not known: no offset table, and 3 fragments for 2 frames" -- \
        "$iodtool" frame "$work/split.dcm" "$work/split-out.dcm" 1
    check three 1 "offset table has 2 entries for 3 frames" -- "$iodtool" frame "$work/three.dcm" "$work/three-out.dcm" 3
    check beyond 1 "has 15 frame\(s\); there is no frame 16" -- "$iodtool" frame "$files/rtdose.dcm" "$work/beyond.dcm" 16
    for bad in 0 -1 x 2x; do
        check "bad$bad" 2 -- "$iodtool" frame "$files/rtdose.dcm" "$work/bad.dcm" "$bad"
    done
    for out in split-out.dcm three-out.dcm beyond.dcm bad.dcm; do nothing_written "$out"; done
    ;;

errors)
    # Every command: a message, exit 1 and no output for unreadable, truncated and non-DICOM
    # input; exit 2 for bad usage.
    printf 'not DICOM at all, just words\n' >"$work/text.dcm"
    for cmd in "strip --pixel-data" length deidentify "frame 1"; do
        set -- $cmd
        c=$1
        shift
        for input in "$work/no-such.dcm" "$files/rtplan_truncated.dcm" "$work/text.dcm"; do
            name="$c-$(basename "$input")"
            suffix="; nothing written"  # length writes no file
            case $c in
            length) args=("$input") suffix='$' ;;
            frame) args=("$input" "$work/out-$name" 1) ;;
            *) args=("$input" "$work/out-$name" "$@") ;;
            esac
            check "$name" 1 "^iodtool $c: .*$(basename "$input"): (cannot open|not a DICOM file, or truncated or malformed$suffix)" \
                -- "$iodtool" "$c" "${args[@]}"
            nothing_written "out-$name"
        done
        check "$c-usage" 2 "usage: iodtool $c" -- "$iodtool" "$c"
    done
    check unknown-name 2 "NoSuchAttribute" -- "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm" --tag NoSuchAttribute
    check bad-group 2 -- "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm" --group 6002
    check nothing 2 "nothing to strip" -- "$iodtool" strip "$files/CT_small.dcm" "$work/u.dcm"
    nothing_written u.dcm
    check nodir 1 "no-such-dir/out.dcm" -- "$iodtool" deidentify "$files/CT_small.dcm" "$work/no-such-dir/out.dcm"
    ;;

*)
    echo "unknown group $group"
    exit 2
    ;;
esac
finish "$group"
