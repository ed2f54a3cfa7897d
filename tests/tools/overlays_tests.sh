#!/bin/bash
# Tests of `iodtool overlays` and `iodtool scale`: overlays_tests.sh GROUP IODTOOL DCMDUMP WORKDIR.
# The input is written by DCMTK's dump2dcm (the independent writer, beside dcmdump) in explicit
# little endian, big endian and implicit VR; dcmdump must read every file that we write.
set -u
group=$1 iodtool=$(realpath "$2") dcmdump=$3 work=$4
dump2dcm="$(dirname "$(command -v "$dcmdump")")/dump2dcm"

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
if [ ! -x "$dump2dcm" ]; then
    echo "FAIL: dcmdump and dump2dcm not found: install the Debian package dcmtk"
    exit 1
fi
rm -rf "$work"
mkdir -p "$work"

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

# run NAME CMD...: stdout and stderr in $work/NAME.out / .err; sets $rc.
run() {
    local name=$1
    shift
    "$@" >"$work/$name.out" 2>"$work/$name.err"
    rc=$?
}
expect_rc() {
    [ "$rc" -eq "$2" ] || fail "$1: exit code $rc, expected $2; stderr: $(head -c 300 "$work/$1.err")"
}
# dcmdump must read FILE without an error; its dump (values only) goes to FILE.txt.
dcmtk_reads() {
    "$dcmdump" -q "$1" >"$1.txt" 2>"$1.err" || fail "dcmdump cannot read $1: $(head -3 "$1.err")"
    grep -q '^E:' "$1.err" && fail "dcmdump reports errors on $1: $(head -3 "$1.err")"
    sed -i 's/ *#.*//' "$1.txt"
}
expect_listing() {  # expect_listing NAME: $work/NAME.out equals standard input
    diff <(cat) "$work/$1.out" >"$work/$1.diff" || { fail "$1: listing differs"; head -20 "$work/$1.diff"; }
}

case $group in
list)
    for ts in $syntaxes; do
        run "list-$ts" "$iodtool" overlays "$work/in-$ts.dcm"
        expect_rc "list-$ts" 0
        expect_listing "list-$ts" <<'EOF'
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
    done
    for args in "" "in-te.dcm x.dcm --clear --remove-texts" "in-te.dcm x.dcm --remove 128" "in-te.dcm --clear"; do
        (cd "$work" && "$iodtool" overlays $args >/dev/null 2>&1)
        rc=$?
        [ "$rc" -eq 2 ] || fail "overlays $args: exit code $rc, expected 2"
    done
    head -c $(($(stat -c %s "$work/in-te.dcm") - 3)) "$work/in-te.dcm" >"$work/truncated.dcm"
    run truncated "$iodtool" overlays "$work/truncated.dcm" "$work/x.dcm" --clear
    expect_rc truncated 1
    grep -q 'nothing written' "$work/truncated.err" || fail "truncated: no 'nothing written' message"
    [ -e "$work/x.dcm" ] && fail "a file was written from a truncated input"
    ;;
edit)
    for ts in $syntaxes; do
        run "texts-$ts" "$iodtool" overlays "$work/in-$ts.dcm" "$work/texts-$ts.dcm" --remove-texts
        expect_rc "texts-$ts" 0
        dcmtk_reads "$work/texts-$ts.dcm"
        # The graphic overlay of index 1 is now index 0, its data with it; no private group left.
        grep -q '^(6000,0011) US 8$' "$work/texts-$ts.dcm.txt" || fail "$ts: index 1 did not move to 6000"
        grep -q '^(6000,3000) OW 5678\\9abc$' "$work/texts-$ts.dcm.txt" || fail "$ts: overlay data did not move"
        grep -Eq '^\((600[1-9a-f]),' "$work/texts-$ts.dcm.txt" && fail "$ts: overlay groups left above 6000"
        run "list-texts-$ts" "$iodtool" overlays "$work/texts-$ts.dcm"
        head -3 "$work/list-texts-$ts.out" >"$work/head-texts-$ts.out"
        expect_listing "head-texts-$ts" <<'EOF'
Overlays (60xx): 1
  index 0  group 6000  type G  graphic  rows 4  columns 8
  first free index: 1
EOF
    done
    run remove "$iodtool" overlays "$work/in-tb.dcm" "$work/remove.dcm" --remove 0
    expect_rc remove 0
    dcmtk_reads "$work/remove.dcm"
    run list-remove "$iodtool" overlays "$work/remove.dcm"
    grep -q '^  index 1  group 6002  type R  text "RIGHT" at row 30, column 40' "$work/list-remove.out" ||
        fail "--remove 0: index 2 did not become index 1"
    run remove-curve "$iodtool" overlays "$work/in-ti.dcm" "$work/remove-curve.dcm" --remove-curve 0
    expect_rc remove-curve 0
    run list-remove-curve "$iodtool" overlays "$work/remove-curve.dcm"
    grep -q '^  index 0  group 5000  type TAC' "$work/list-remove-curve.out" || fail "--remove-curve 0: curve 1 did not move"
    run clear "$iodtool" overlays "$work/in-te.dcm" "$work/clear.dcm" --clear
    expect_rc clear 0
    dcmtk_reads "$work/clear.dcm"
    grep -Eq '^\((50|60)[0-9a-f]{2},' "$work/clear.dcm.txt" && fail "--clear: overlay or curve groups left"
    ;;
scale)
    for ts in $syntaxes; do
        run "scale-$ts" "$iodtool" scale "$work/in-$ts.dcm" "$work/scale-$ts.dcm" 2 0.5
        expect_rc "scale-$ts" 0
        dcmtk_reads "$work/scale-$ts.dcm"
    done
    # Explicit VR in both byte orders: DCMTK reads the same values (implicit VR hides the VRs of
    # the private elements from it).
    diff <(grep -v '^(0002' "$work/scale-te.dcm.txt") <(grep -v '^(0002' "$work/scale-tb.dcm.txt") >"$work/te-tb.diff" ||
        { fail "scale: little and big endian outputs differ"; head -10 "$work/te-tb.diff"; }
    for expected in '^\(0018,1602\) IS \[20\]$' '^\(0018,1606\) IS \[10\]$' '^\(0018,1610\) IS \[25\\120\]$' \
        '^\(0018,1612\) IS \[30\]$' '^\(0018,1620\) IS \[1\\4\\2\\8\\3\\12\]$' \
        '^    \(0070,0053\) SL 1024\\128$' '^        \(0070,0014\) FL 20\\10$' '^\(6001,1016\) FL 5\\40$' \
        '^\(6005,1016\) FL 15\\80$' '^\(5000,3000\) OB ec\\ff\\0a\\00\\3c\\00\\ec\\ff$' \
        '^\(5002,0112\) US 5$' '^    \(5000,3000\) OB 14\\00\\0a\\00\\3c\\00\\14\\00$' \
        '^        \(5000,3000\) OB 00\\00\\80\\3f\\00\\00\\00\\40$'; do
        grep -Eq "$expected" "$work/scale-te.dcm.txt" || fail "scale: no line /$expected/ in the output"
    done
    # Our dump of the implicit VR output shows the same values as the explicit one.
    "$iodtool" dump --no-meta --max-length 0 "$work/scale-te.dcm" | sed 's/ *#.*//; s/^\(.*([0-9a-f,]*)\) ../\1/' >"$work/ours-te.txt"
    "$iodtool" dump --no-meta --max-length 0 "$work/scale-ti.dcm" | sed 's/ *#.*//; s/^\(.*([0-9a-f,]*)\) ../\1/' >"$work/ours-ti.txt"
    diff <(grep -v '^#' "$work/ours-te.txt" | grep -v '^(6004,3000)') <(grep -v '^#' "$work/ours-ti.txt" | grep -v '^(6004,3000)') \
        >"$work/te-ti.diff" || { fail "scale: implicit VR output differs"; head -10 "$work/te-ti.diff"; }
    for factors in "0 1" "1 inf" "1 x"; do
        "$iodtool" scale "$work/in-te.dcm" "$work/x.dcm" $factors >/dev/null 2>&1
        rc=$?
        [ "$rc" -eq 2 ] || fail "scale $factors: exit code $rc, expected 2"
    done
    [ -e "$work/x.dcm" ] && fail "a file was written for bad factors"
    ;;
data)
    # Overlay and curve data written by us in big endian equal what DCMTK writes itself, and
    # implicit VR input reads as DCMTK reads it.
    for ts in big explicit; do
        source=in-te
        [ "$ts" = explicit ] && source=in-ti
        run "convert-$ts" "$iodtool" convert "$work/$source.dcm" "$work/conv-$ts.dcm" --transfer-syntax "$ts"
        expect_rc "convert-$ts" 0
        dcmtk_reads "$work/conv-$ts.dcm"
    done
    for f in in-tb in-ti; do dcmtk_reads "$work/$f.dcm"; done
    data='^ *\((50|60)[0-9a-f]{2},3000\)'
    diff <(grep -E "$data" "$work/in-tb.dcm.txt") <(grep -E "$data" "$work/conv-big.dcm.txt") >"$work/big.diff" ||
        { fail "big endian overlay or curve data differ from DCMTK's"; head -10 "$work/big.diff"; }
    # (DCMTK reads the private sequences of the implicit VR file as unknown bytes: top level only.)
    data='^\((50|60)[0-9a-f]{2},3000\)'
    diff <(grep -E "$data" "$work/in-ti.dcm.txt") <(grep -E "$data" "$work/conv-explicit.dcm.txt") >"$work/implicit.diff" ||
        { fail "overlay or curve data read from implicit VR differ from DCMTK's reading"; head -10 "$work/implicit.diff"; }
    ;;
*)
    echo "unknown group $group"
    exit 2
    ;;
esac

if [ "$failures" -gt 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "all checks passed"
