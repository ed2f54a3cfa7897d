#!/bin/bash
# Checks of iodtool validate on files of the pydicom corpus and on copies that iodtool set breaks:
# validate_tests.sh GROUP IODTOOL CORPUS WORKDIR (groups: usage, verdicts, tree, json).
set -u
group=$1 iodtool=$(realpath "$2") corpus=$3 work=$4
files=$corpus/test_files
. "$(dirname "$0")/iodtool_test_lib.sh"
need_corpus "$files"
fresh_workdir
ct="$files/CT_small.dcm"

# A report with an observation date time (its first content item is examined), a CT image without
# Rows, and one without Columns and Patient's Name too.
"$iodtool" set "$files/reportsi.dcm" "$work/observed.dcm" ObservationDateTime=20010213184746 >/dev/null &&
    "$iodtool" set "$ct" "$work/norows.dcm" Rows= >/dev/null &&
    "$iodtool" set "$work/norows.dcm" "$work/nocolumns.dcm" Columns= >/dev/null &&
    "$iodtool" strip "$work/nocolumns.dcm" "$work/broken.dcm" --tag PatientsName >/dev/null || fail "inputs not made"

case $group in
usage)
    while IFS='|' read -r name args reason; do  # name | arguments | reason on stderr
        # shellcheck disable=SC2086  # the arguments are split on purpose
        check "$name" 2 "$reason" -- "$iodtool" validate $args
        expect_grep "$name" err '^usage: iodtool validate'
    done <<EOF
none||no file or directory given
class_unknown|--class XX $ct|unknown class 'XX'
class_missing|$ct --class|--class needs a value
jobs_zero|-j 0 $ct|-j needs a number
jobs_text|-j two $ct|-j needs a number
option_unknown|--fast $ct|unknown option '--fast'
EOF
    ;;
verdicts)
    # A 10 MB image: files above 1 MiB are mapped instead of read.
    bash "$(dirname "$0")/../../scripts/make-big-ct.sh" "$iodtool" "$work/big.dcm" || fail "big image not made"
    # name | arguments | exit code | regex on stdout | regex that must not be on stdout
    while IFS='|' read -r name args expected regex absent; do
        # shellcheck disable=SC2086
        check "$name" "$expected" -- "$iodtool" validate $args
        expect_grep "$name" out "$regex"
        [ -z "$absent" ] || ! grep -Eq -- "$absent" "$work/$name.out" || fail "$name: stdout matches /$absent/"
    done <<EOF
ct_valid|$ct|0|CT_small.dcm: valid \(CT\)$|defect
mr_defect|$files/MR_small.dcm|1|MR_small.dcm: invalid \(MR\), 1 defect$|
rows|$work/norows.dcm|1|^  IOD_Image::IsImagePixelModuleValid: IsImagePixelModuleValid: Rows is not valid$|Columns
every_defect|$work/broken.dcm|1|broken.dcm: invalid \(CT\), 3 defects$|
every_defect_patient|$work/broken.dcm|1|^  IOD_Image::IsPatientModuleValid: IsPatientModuleValid: Patients Name is not found$|
rows_tolerant|--tolerant $work/norows.dcm|0|norows.dcm: valid \(CT\), 1 defect$|
unknown_class|$files/rtplan.dcm|1|rtplan.dcm: unknown class: SOP Class UID 1.2.840.10008.5.1.4.1.1.481.5 \(RT Plan Storage\)$|
class_override|--class sc $files/rtplan.dcm|0|rtplan.dcm: valid \(SC\)$|unknown
class_override_applies|--class CT $files/MR_small.dcm|1|MR_small.dcm: invalid \(CT\)|\(MR\)
sr_verified|$files/test-SR.dcm|1|^  IOD_StructuredReporting::IsSRDocumentModuleValid: IsSRDocumentModuleValid: verification date time is not valid$|
sr_observation|$files/reportsi.dcm|1|^  IOD_StructuredReporting::IsSRDocumentRelationshipValid: IsSRDocumentRelationshipValid: observation date time invalid$| at Content
sr_item|$work/observed.dcm|1|^  IOD_StructuredReporting::IsSRDocumentContentMacroValid at ContentSequence\[0\]: File: src/IOD/IOD_StructuredReporting Line: [0-9]+ Attribute:IsSRDocumentContentMacroValid not valid$|
sr_tolerant|--tolerant $files/reportsi.dcm|0|reportsi.dcm: valid \(SR\)$|defect
missing|$work/nothing-here.dcm|1|nothing-here.dcm: unreadable: cannot open|
quiet|--quiet $ct $work/norows.dcm|1|^summary: 2 files, 1 valid, 1 invalid, 0 unreadable; classes: CT 2;|CT_small
big|$work/big.dcm|0|big.dcm: valid \(CT\)$|defect
big_and_small|-j 2 $work/big.dcm $work/norows.dcm $ct|1|^summary: 3 files, 2 valid, 1 invalid, 0 unreadable;|
EOF
    # The SOP class picks the class: CT_small relabelled with each SOP class (the UIDs below are
    # 1.2.840.10008.5.1.4.1.1.<suffix>; "-": no class).
    mkdir -p "$work/sop"
    pairs="1 CR 2 CT 1.1 DX 1.1.1 DX 1.3 IO 1.3.1 IO 7.1 MF 7.2 MF 7.3 MF 7.4 MF 1.2 MG 1.2.1 MG 4 MR 20 NM
        12.2 RF 481.1 RT 7 SC 88.11 SR 88.22 SR 88.33 SR 6.1 US 3.1 US 77.1.1 VL 77.1.2 VL 77.1.3 VL
        77.1.4 VL 12.1 XA 2.1 - 4.1 - 88.34 - 12.1.1 -"
    # shellcheck disable=SC2086
    set -- $pairs
    while [ $# -ge 2 ]; do
        "$iodtool" set "$ct" "$work/sop/$1.dcm" SOPClassUID="1.2.840.10008.5.1.4.1.1.$1" >/dev/null || fail "set $1"
        shift 2
    done
    run sop "$iodtool" validate "$work/sop"
    # shellcheck disable=SC2086
    set -- $pairs
    while [ $# -ge 2 ]; do
        want="(in)?valid \\($2\\)"
        [ "$2" = - ] && want="unknown class: SOP Class UID 1\\.2\\.840\\.10008\\.5\\.1\\.4\\.1\\.1\\.$1 "
        expect_grep sop out "^$work/sop/$1.dcm: $want"
        shift 2
    done
    cp "$ct" "$work/-dash.dcm"  # -- ends the options
    (cd "$work" && "$iodtool" validate -- -dash.dcm) | grep -q '^-dash.dcm: valid (CT)$' || fail "dash"
    ;;
tree)
    mkdir -p "$work/tree/sub/deeper"
    cp "$ct" "$work/tree/a.dcm"
    cp "$files/MR_small.dcm" "$work/tree/sub/b.dcm"
    cp "$work/norows.dcm" "$work/tree/sub/deeper/c.dcm"
    echo "not a DICOM file" >"$work/tree/sub/notes.txt"
    : >"$work/tree/empty.dcm"
    head -c 1000 "$ct" >"$work/tree/sub/truncated.dcm"
    check tree 1 -- "$iodtool" validate -j 2 "$work/tree"
    expect_grep tree out "^summary: 6 files, 1 valid, 2 invalid, 3 unreadable; classes: CT 2 MR 1;"
    # Files in name order, each once; no progress bar on a pipe.
    same tree-order <(printf "$work/tree/%s\n" a.dcm empty.dcm sub/b.dcm sub/deeper/c.dcm sub/notes.txt sub/truncated.dcm) \
        <(grep -E '^/.*: (valid|invalid|unreadable)' "$work/tree.out" | sed 's/: .*//')
    expect_grep tree out "^$work/tree/sub/notes.txt: unreadable: "
    grep -q $'\r' "$work/tree.err" && fail "tree: a progress bar was drawn on a pipe"
    # The whole corpus: the same verdicts and defects, in the same order, with 1 and 2 threads.
    check serial 1 -- "$iodtool" validate --json -j 1 "$files"
    check parallel 1 -- "$iodtool" validate --json -j 2 "$files"
    [ "$(wc -l <"$work/serial.out")" -gt 100 ] || fail "serial: fewer than 100 files validated"
    same serial-parallel "$work/serial.out" "$work/parallel.out"
    ;;
json)
    # One JSON object per file, in order: odd characters in a name, defects, an unknown class and
    # an unreadable file; a name that is not UTF-8 keeps its bytes as characters of the same number.
    odd="$work/odd \"name\"	é\\.dcm" latin="$work/"$'bad\xff\x01'.dcm
    cp "$ct" "$odd"
    cp "$ct" "$latin"
    "$iodtool" set "$ct" "$work/nm.dcm" SOPClassUID=1.2.840.10008.5.1.4.1.1.20 >/dev/null || fail "set nm"
    check json 1 "^summary: 7 files, 2 valid, 4 invalid \(1 of unknown class\), 1 unreadable" -- "$iodtool" validate \
        --json "$odd" "$work/norows.dcm" "$files/rtplan.dcm" "$files/README.txt" "$latin" "$work/nm.dcm" "$work/observed.dcm"
    python3 - "$work/json.out" "$work" "$files" <<'EOF' || fail "json: see above"
import json, sys
objs = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8").read().splitlines()]
w, f = sys.argv[2], sys.argv[3]
expected = [  # path, class, valid, extra keys, the defects (the fields of each that are checked)
    (w + '/odd "name"\t\u00e9\\.dcm', "CT", True, {}, []),
    (w + "/norows.dcm", "CT", False, {},
     [{"module": "IOD_Image::IsImagePixelModuleValid", "text": "IsImagePixelModuleValid: Rows is not valid"}]),
    (f + "/rtplan.dcm", None, False,
     {"error": "unknown class: SOP Class UID 1.2.840.10008.5.1.4.1.1.481.5 (RT Plan Storage)"}, []),
    (f + "/README.txt", None, False, {"unreadable": True}, []),
    (w + "/bad\u00ff\u0001.dcm", "CT", True, {}, []),
    (w + "/nm.dcm", "NM", False, {}, [{"module": "IOD_Image::IsMultiFrameModuleValid", "attribute": "NUMBER_OF_FRAMES"}]),
    (w + "/observed.dcm", "SR", False, {}, [{"attribute": "IsSRDocumentContentMacroValid", "where": "ContentSequence[0]"}]),
]
ok = len(objs) == len(expected)
for obj, (path, cls, valid, extra, defects) in zip(objs, expected):
    good = (obj["path"], obj["class"], obj["valid"]) == (path, cls, valid) and ("error" in obj) == bool(extra)
    good = good and all(obj.get(k) == v for k, v in extra.items())
    good = good and all(set(d) >= {"module", "attribute", "text"} for d in obj["defects"])
    good = good and all(any(d.items() >= want.items() for d in obj["defects"]) for want in defects)
    good = good and (len(obj["defects"]) == len(defects) or cls in ("NM", "SR"))
    if not good:
        print("FAIL: json: %r" % obj)
    ok = ok and good
sys.exit(0 if ok else 1)
EOF
    ;;
*)
    echo "unknown group $group"
    exit 2
    ;;
esac
finish "$group"
