#!/bin/bash
# Checks of iodtool overlays and scale: overlays_tests.sh GROUP IODTOOL DCMDUMP WORKDIR. DCMTK's
# dump2dcm writes the input in explicit little and big endian and implicit VR; dcmdump reads ours.
set -u
group=$1 iodtool=$(realpath "$2") dcmdump=$3 work=$4
dump2dcm="$(dirname "$(command -v "$dcmdump")")/dump2dcm"
. "$(dirname "$0")/iodtool_test_lib.sh"
need_dcmtk "$dcmdump" "$dump2dcm"
fresh_workdir

# Overlays 0 (text "LEFT"), 1 (graphic), 2 (text "RIGHT", type R); curves SS and FD (with a
# descriptor) and two nested levels of additional curves; shutters, a displayed area and a
# graphic annotation with an anchor point in pixels.
cat >"$work/in.txt" <<'EOF'
(0008,0016) UI =SecondaryCaptureImageStorage
(0008,0018) UI [1.2.3.4.5.6.7.8.9]
(0008,0060) CS [OT]
(0018,1602) IS [10]
(0018,1604) IS [100]
(0018,1606) IS [20]
(0018,1608) IS [200]
(0018,1610) IS [50\60]
(0018,1612) IS [30]
(0018,1620) IS [1\2\3\4\5\6]
(0029,0010) LO [KOVEL]
(0029,1036) SQ (Sequence with explicit length #=1)
  (fffe,e000) na (Item with explicit length #=2)
    (0029,0010) LO [KOVEL]
    (0029,1036) SQ (Sequence with explicit length #=1)
      (fffe,e000) na (Item with explicit length #=5)
        (5000,0005) US 2
        (5000,0010) US 1
        (5000,0020) CS [ROI]
        (5000,0103) US 2
        (5000,3000) OB 00\00\80\3f\00\00\00\40
      (fffe,e00d) na (ItemDelimitationItem)
    (fffe,e0dd) na (SequenceDelimitationItem)
    (5000,0005) US 2
    (5000,0010) US 2
    (5000,0020) CS [POLY]
    (5000,0103) US 0
    (5000,3000) OW 000a\0014\001e\0028
  (fffe,e00d) na (ItemDelimitationItem)
(fffe,e0dd) na (SequenceDelimitationItem)
(0070,0001) SQ (Sequence with explicit length #=1)
  (fffe,e000) na (Item with explicit length #=2)
    (0070,0002) CS [LAYER1]
    (0070,0008) SQ (Sequence with explicit length #=1)
      (fffe,e000) na (Item with explicit length #=3)
        (0070,0004) CS [PIXEL]
        (0070,0006) ST [Hello]
        (0070,0014) FL 10\20
      (fffe,e00d) na (ItemDelimitationItem)
    (fffe,e0dd) na (SequenceDelimitationItem)
  (fffe,e00d) na (ItemDelimitationItem)
(fffe,e0dd) na (SequenceDelimitationItem)
(0070,005a) SQ (Sequence with explicit length #=1)
  (fffe,e000) na (Item with explicit length #=2)
    (0070,0052) SL 1\1
    (0070,0053) SL 512\256
  (fffe,e00d) na (ItemDelimitationItem)
(fffe,e0dd) na (SequenceDelimitationItem)
(5000,0005) US 2
(5000,0010) US 2
(5000,0020) CS [POLY]
(5000,0103) US 1
(5000,3000) OW fff6\0014\001e\ffd8
(5002,0005) US 2
(5002,0010) US 3
(5002,0020) CS [TAC]
(5002,0103) US 3
(5002,0110) US 1\0
(5002,0112) US 10
(5002,0114) US 2
(5002,3000) OB 00\00\00\00\00\00\f0\3f\00\00\00\00\00\00\00\40\00\00\00\00\00\00\08\40
(6000,0010) US 4
(6000,0011) US 4
(6000,0040) CS [G]
(6000,3000) OW 1234
(6001,0010) LO [QUORVEX1]
(6001,1016) FL 10\20
(6001,1017) LO [LEFT]
(6002,0010) US 4
(6002,0011) US 8
(6002,0040) CS [G]
(6002,3000) OW 5678\9abc
(6004,0010) US 4
(6004,0011) US 4
(6004,0040) CS [R]
(6004,3000) OB 9a\bc\de
(6005,0010) LO [QUORVEX1]
(6005,1016) FL 30\40
(6005,1017) LO [RIGHT]
EOF
syntaxes="te tb ti"
for ts in $syntaxes; do
    "$dump2dcm" -q "+$ts" "$work/in.txt" "$work/in-$ts.dcm" || { echo "FAIL: dump2dcm +$ts"; exit 1; }
done
listing() { "$iodtool" overlays "$1"; }

case $group in
list)
    cat >"$work/expected" <<'EOF'
Overlays (60xx): 3
  index 0  group 6000  type G  text "LEFT" at row 10, column 20  rows 4  columns 4
  index 1  group 6002  type G  graphic  rows 4  columns 8
  index 2  group 6004  type R  text "RIGHT" at row 30, column 40  rows 4  columns 4
  first free index: 3
Curves (50xx): 2
  index 0  group 5000  type POLY  dimensions 2  points 2  data SS
  index 1  group 5002  type TAC  dimensions 2  points 3  data FD
  first free index: 2
Additional curves item 1: 1
  index 0  group 5000  type POLY  dimensions 2  points 2  data US
Additional curves item 1.1: 1
  index 0  group 5000  type ROI  dimensions 2  points 1  data FL
EOF
    for ts in $syntaxes; do same "list-$ts" "$work/expected" <(listing "$work/in-$ts.dcm"); done
    head -c $(($(stat -c %s "$work/in-te.dcm") - 3)) "$work/in-te.dcm" >"$work/truncated.dcm"
    while IFS='|' read -r name rc regex args; do
        # shellcheck disable=SC2086
        check "$name" "$rc" "$regex" -- "$iodtool" overlays $args
    done <<EOF
noargs|2|usage|
two-actions|2|.|$work/in-te.dcm $work/x.dcm --clear --remove-texts
index-128|2|.|$work/in-te.dcm $work/x.dcm --remove 128
no-output|2|.|$work/in-te.dcm --clear
truncated|1|nothing written|$work/truncated.dcm $work/x.dcm --clear
EOF
    nothing_written x.dcm
    ;;
edit)
    # Each action once, each on another syntax; DCMTK reads every output.
    while IFS='|' read -r name ts action expected; do
        # shellcheck disable=SC2086
        check "$name" 0 -- "$iodtool" overlays "$work/in-$ts.dcm" "$work/$name.dcm" $action
        dcmtk_reads "$name" "$work/$name.dcm"
        listing "$work/$name.dcm" | grep -qxF -- "$expected" || fail "$name: no line '$expected'"
    done <<'EOF'
texts|te|--remove-texts|  index 0  group 6000  type G  graphic  rows 4  columns 8
remove|tb|--remove 0|  index 1  group 6002  type R  text "RIGHT" at row 30, column 40  rows 4  columns 4
curve|ti|--remove-curve 0|  index 0  group 5000  type TAC  dimensions 2  points 3  data FD
clear|te|--clear|Overlays (60xx): 0
EOF
    # The graphic overlay moved with its data; no overlay group is left above it.
    grep -q '^(6000,3000) OW 5678\\9abc$' "$work/texts.txt" || fail "texts: overlay data did not move"
    grep -Eq '^\((600[1-9a-f]),' "$work/texts.txt" && fail "texts: overlay groups left above 6000"
    grep -Eq '^\((50|60)[0-9a-f]{2},' "$work/clear.txt" && fail "clear: overlay or curve groups left"
    ;;
scale)
    for ts in $syntaxes; do
        check "scale-$ts" 0 -- "$iodtool" scale "$work/in-$ts.dcm" "$work/scale-$ts.dcm" 2 0.5
        dcmtk_reads "scale-$ts" "$work/scale-$ts.dcm"
    done
    # Both byte orders read the same in DCMTK; implicit VR hides the private VRs from it: our dump.
    same te-tb <(grep -v '^(0002' "$work/scale-te.txt") <(grep -v '^(0002' "$work/scale-tb.txt")
    values() { dump_without "$1" '^\(6004,3000\)' | sed 's/^\(.*([0-9a-f,]*)\) ../\1/'; }
    same te-ti <(values "$work/scale-te.dcm") <(values "$work/scale-ti.dcm")
    for expected in '^\(0018,1602\) IS \[20\]$' '^\(0018,1610\) IS \[25\\120\]$' '^\(0018,1620\) IS \[1\\4\\2\\8\\3\\12\]$' \
        '^    \(0070,0053\) SL 1024\\128$' '^        \(0070,0014\) FL 20\\10$' '^\(6001,1016\) FL 5\\40$' \
        '^\(5000,3000\) OB ec\\ff\\0a\\00\\3c\\00\\ec\\ff$' '^    \(5000,3000\) OB 14\\00\\0a\\00\\3c\\00\\14\\00$'; do
        grep -Eq "$expected" "$work/scale-te.txt" || fail "scale: no line /$expected/ in the output"
    done
    for f in 0 inf x; do check "factor-$f" 2 -- "$iodtool" scale "$work/in-te.dcm" "$work/x.dcm" 1 "$f"; done
    nothing_written x.dcm
    ;;
data)
    # Overlay and curve data that we write in big endian equal what DCMTK writes, and implicit VR
    # input reads as DCMTK reads it (top level only: DCMTK reads its private sequences as bytes).
    check convert-big 0 -- "$iodtool" convert "$work/in-te.dcm" "$work/conv-big.dcm" --transfer-syntax big
    check convert-explicit 0 -- "$iodtool" convert "$work/in-ti.dcm" "$work/conv-explicit.dcm" --transfer-syntax explicit
    for f in conv-big conv-explicit in-tb in-ti; do dcmtk_reads "$f" "$work/$f.dcm"; done
    data() { grep -E "^$2\\((50|60)[0-9a-f]{2},3000\\)" "$work/$1.txt"; }
    same big <(data in-tb ' *') <(data conv-big ' *')
    same implicit <(data in-ti '') <(data conv-explicit '')
    ;;
*)
    echo "unknown group $group"
    exit 2
    ;;
esac
finish "$group"
