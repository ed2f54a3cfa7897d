#!/bin/bash
# Checks of iodtool mammo: iodtool_mammo_tests.sh IODTOOL CORPUS EXAMPLE_REPOSITORY WORKDIR, on a
# pydicom file made a right MLO mammogram by DCMTK's dcmodify; dcmdump reads what --update writes.
set -u
iodtool=$(realpath -m "$1") corpus=$(realpath -m "$2") example=$(realpath -m "$3") work=$(realpath -m "$4")
dcmdump=dcmdump
. "$(dirname "$0")/../tools/iodtool_test_lib.sh"
need_dcmtk dcmodify dcmdump
need_corpus "$corpus/test_files"
fresh_workdir
cd "$work" || exit 1
unset IOD_CONFIG IOD_LOG_FILE IOD_LOG_LEVEL

cp "$corpus/test_files/CT_small.dcm" mg.dcm
dcmodify -nb -i "(0008,0060)=MG" -i "(0020,0062)=R" -i "(0018,5101)=MLO" -i "(0020,0020)=A\\FR" \
    -i "(0054,0220)[0].(0008,0100)=399368009" -i "(0054,0220)[0].(0008,0102)=SCT" \
    -i "(0054,0220)[0].(0008,0104)=medio-lateral oblique" mg.dcm || { echo "FAIL: dcmodify"; exit 1; }
printf '{ "lumivest": [ }' >broken.json
printf '{"lumivest": {}}' >norules.json
printf 'not DICOM' >text.dcm

# has NAME out|err LINE...: the output holds each LINE as a whole line (fixed string).
has() {
    local name=$1 stream=$2 line
    shift 2
    for line in "$@"; do
        grep -Fxq -- "$line" "$name.$stream" || fail "$name: std$stream has no line '$line': $(head -c 600 "$name.$stream")"
    done
}

check report 0 -- "$iodtool" mammo mg.dcm
has report out "mg.dcm" "  side:          RIGHT" "  flips:         horizontal" "  orientation:   A\\FR" \
    "  display group: -1" "  marker:        -" "  laterality:    R" "  view:          R MLO" \
    "  description:   Right mediolateral oblique"
[ -s report.err ] && fail "report: unexpected stderr"

check update 0 -- "$iodtool" mammo mg.dcm --config "$example" --update out.dcm
has update out "  flips:         none" "  orientation:   P\\FL (KOVEL_PATIENT_ORIENTATION)" "  display group: 0 D2" \
    "  marker:        Y"
# DCMTK sees the two private elements and everything else unchanged; read again, nothing to flip.
dcmtk_reads out out.dcm
dcmtk_reads in mg.dcm
grep -q '^(0029,0011) LO \[KOVEL\]' out.txt || fail "update: no KOVEL creator in (0029,0011)"
grep -q '^(0029,1139) CS \[Y\]' out.txt || fail "update: no KOVEL_IS_MG [Y]"
grep -q '^(0029,113a) CS \[P\\FL\]' out.txt || fail "update: no KOVEL_PATIENT_ORIENTATION [P\\FL]"
same update <(grep -v '^(0029,\(0011\|11\)' out.txt | grep -v '^(0002,') <(grep -v '^(0002,' in.txt)
check reread 0 -- "$iodtool" mammo out.dcm
has reread out "  flips:         none" "  display group: 0 D2"

# Several files: one block each; a bad one is reported and makes the exit code 1.
check several 1 'missing.dcm' -- "$iodtool" mammo mg.dcm missing.dcm text.dcm out.dcm
[ "$(grep -c '^  side:' several.out)" -eq 2 ] || fail "several: expected 2 reports: $(cat several.out)"
has several err "iodtool mammo: text.dcm: not a DICOM file, or truncated or malformed"

# Usage and configuration errors; nothing is written.
check nofile 2 -- "$iodtool" mammo
check twofiles 2 -- "$iodtool" mammo mg.dcm out.dcm --update x.dcm
check option 2 -- "$iodtool" mammo --flip mg.dcm
check novalue 2 -- "$iodtool" mammo mg.dcm --config
check noconfig 1 -- "$iodtool" mammo mg.dcm --update x.dcm
has noconfig err "iodtool mammo: --update needs a configuration repository: give --config <file> or set IOD_CONFIG"
check broken 1 "broken.json: parse error at line 1, column 17" -- "$iodtool" mammo mg.dcm --config broken.json --update x.dcm
check norules 1 'no parsing rules under lumivest\\system\\applications\\carbonell\\tag_parsing' -- \
    "$iodtool" mammo mg.dcm --update x.dcm --config norules.json
nothing_written x.dcm
finish "iodtool mammo"
