#!/bin/bash
# Checks of `iodtool mammo`: iodtool_mammo_tests.sh IODTOOL CORPUS EXAMPLE_REPOSITORY WORKDIR
# The input is a pydicom test file turned into a right MLO mammogram with DCMTK's dcmodify;
# DCMTK's dcmdump reads what --update writes. Prints what failed; exits 1 when anything did.
set -u
iodtool=$(realpath -m "$1") corpus=$(realpath -m "$2") example=$(realpath -m "$3") work=$(realpath -m "$4")

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
for tool in dcmodify dcmdump; do
    command -v $tool >/dev/null 2>&1 || { echo "FAIL: $tool not found: install the Debian package dcmtk"; exit 1; }
done
[ -f "$corpus/test_files/CT_small.dcm" ] || { echo "FAIL: no $corpus/test_files: install python3-pydicom"; exit 1; }
rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1
unset IOD_CONFIG IOD_LOG_FILE IOD_LOG_LEVEL

cp "$corpus/test_files/CT_small.dcm" mg.dcm
dcmodify -nb -i "(0008,0060)=MG" -i "(0020,0062)=R" -i "(0018,5101)=MLO" -i "(0020,0020)=A\\FR" \
    -i "(0054,0220)[0].(0008,0100)=399368009" -i "(0054,0220)[0].(0008,0102)=SCT" \
    -i "(0054,0220)[0].(0008,0104)=medio-lateral oblique" mg.dcm || { echo "FAIL: dcmodify"; exit 1; }
printf '{ "lumivest": [ }' >broken.json
printf 'not DICOM' >text.dcm

# run NAME EXPECTED_EXIT CMD...: stdout and stderr in NAME.out and NAME.err.
run() {
    local name=$1 expected=$2
    shift 2
    "$@" >"$name.out" 2>"$name.err"
    local rc=$?
    [ "$rc" -eq "$expected" ] || fail "$name: exit code $rc, expected $expected; stderr: $(head -c 400 "$name.err")"
}
# has NAME out|err TEXT: the output holds TEXT as a whole line (fixed string).
has() {
    grep -Fxq -- "$3" "$1.$2" || fail "$1: std$2 has no line '$3': $(head -c 600 "$1.$2")"
}

run report 0 "$iodtool" mammo mg.dcm
for line in "mg.dcm" "  side:          RIGHT" "  flips:         horizontal" "  orientation:   A\\FR" \
    "  display group: -1" "  marker:        -" "  laterality:    R" "  view:          R MLO" \
    "  description:   Right mediolateral oblique"; do
    has report out "$line"
done
[ -s report.err ] && fail "report: unexpected stderr: $(head -c 400 report.err)"

run update 0 "$iodtool" mammo mg.dcm --config "$example" --update out.dcm
for line in "  flips:         none" "  orientation:   P\\FL (KOVEL_PATIENT_ORIENTATION)" "  display group: 0 D2" \
    "  marker:        Y"; do
    has update out "$line"
done
# The independent reader sees the two private elements and everything else unchanged.
dcmdump -q out.dcm >out.dump 2>&1 || fail "update: dcmdump cannot read out.dcm: $(head -c 400 out.dump)"
dcmdump -q mg.dcm >in.dump 2>&1
grep -q '^(0029,0011) LO \[KOVEL\]' out.dump || fail "update: no KOVEL creator in (0029,0011)"
grep -q '^(0029,1139) CS \[Y\]' out.dump || fail "update: no KOVEL_IS_MG [Y]"
grep -q '^(0029,113a) CS \[P\\FL\]' out.dump || fail "update: no KOVEL_PATIENT_ORIENTATION [P\\FL]"
diff <(grep -v '^(0029,\(0011\|11\)' out.dump | grep -v '^(0002,') <(grep -v '^(0002,' in.dump) >update.diff ||
    fail "update: other elements changed: $(head -c 600 update.diff)"
# The updated file read again: nothing to flip, same group.
run reread 0 "$iodtool" mammo out.dcm
has reread out "  flips:         none"
has reread out "  display group: 0 D2"

# Several files: one block each; a bad one is reported and makes the exit code 1.
run several 1 "$iodtool" mammo mg.dcm missing.dcm text.dcm out.dcm
[ "$(grep -c '^  side:' several.out)" -eq 2 ] || fail "several: expected 2 reports: $(cat several.out)"
grep -q 'missing.dcm' several.err || fail "several: the missing file is not named"
has several err "iodtool mammo: text.dcm: not a DICOM file, or truncated or malformed"

# Usage and configuration errors; nothing is written.
run nofile 2 "$iodtool" mammo
run twofiles 2 "$iodtool" mammo mg.dcm out.dcm --update x.dcm
run option 2 "$iodtool" mammo --flip mg.dcm
run novalue 2 "$iodtool" mammo mg.dcm --config
run noconfig 1 "$iodtool" mammo mg.dcm --update x.dcm
has noconfig err "iodtool mammo: --update needs a configuration repository: give --config <file> or set IOD_CONFIG"
run broken 1 "$iodtool" mammo mg.dcm --config broken.json --update x.dcm
grep -q "broken.json: parse error at line 1, column 17" broken.err || fail "broken: $(cat broken.err)"
printf '{"lumivest": {}}' >norules.json
run norules 1 "$iodtool" mammo mg.dcm --update x.dcm --config norules.json
grep -q 'no parsing rules under lumivest\\system\\applications\\carbonell\\tag_parsing' norules.err ||
    fail "norules: $(cat norules.err)"
[ -e x.dcm ] && fail "a failed --update wrote x.dcm"

[ "$failures" -eq 0 ] && echo "iodtool mammo: all checks passed"
[ "$failures" -eq 0 ]
