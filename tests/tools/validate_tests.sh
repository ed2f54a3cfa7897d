#!/bin/bash
# Checks of iodtool validate end to end, on files of the pydicom corpus and on copies that iodtool
# set breaks: validate_tests.sh GROUP IODTOOL CORPUS WORKDIR
#   usage     bad arguments exit 2 with a reason
#   verdicts  verdict, class and defect lines and exit codes, --class, --tolerant, --quiet
#   tree      a directory with unreadable files in it; -j 1 and -j 2 agree over the corpus
#   json      one valid JSON object per file, with its fields and escaped strings
set -u
group=$1 iodtool=$(realpath "$2") corpus=$3 work=$4
files=$corpus/test_files

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
if [ ! -f "$files/CT_small.dcm" ]; then
    echo "FAIL: no test corpus at $files: install the Debian package python3-pydicom"
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
# check NAME EXPECTED_RC out|err REGEX [ABSENT_REGEX]: the exit code, a line matching REGEX in the
# stream and, when given, no line of stdout matching ABSENT_REGEX.
check() {
    local name=$1 expected=$2 stream=$3 regex=$4 absent=${5:-}
    [ "$rc" -eq "$expected" ] || fail "$name: exit code $rc, expected $expected; stderr: $(head -c 300 "$work/$name.err")"
    grep -Eq -- "$regex" "$work/$name.$stream" || fail "$name: std$stream does not match /$regex/: $(head -c 400 "$work/$name.$stream")"
    if [ -n "$absent" ] && grep -Eq -- "$absent" "$work/$name.out"; then
        fail "$name: stdout matches /$absent/: $(head -c 400 "$work/$name.out")"
    fi
}

# A basic text report observed when its content was made: its first content item is examined.
"$iodtool" set "$files/reportsi.dcm" "$work/observed.dcm" ObservationDateTime=20010213184746 >/dev/null ||
    fail "iodtool set ObservationDateTime failed"
# A CT image without a value for Rows, and one without Columns and Patient's Name too.
"$iodtool" set "$files/CT_small.dcm" "$work/norows.dcm" Rows= >/dev/null || fail "iodtool set Rows= failed"
"$iodtool" set "$work/norows.dcm" "$work/nocolumns.dcm" Columns= >/dev/null || fail "iodtool set Columns= failed"
"$iodtool" strip "$work/nocolumns.dcm" "$work/broken.dcm" --tag PatientsName >/dev/null ||
    fail "iodtool strip --tag PatientsName failed"

case $group in
usage)
    # name | arguments | reason on stderr
    while IFS='|' read -r name args reason; do
        # shellcheck disable=SC2086  # the arguments are split on purpose
        run "$name" "$iodtool" validate $args
        check "$name" 2 err "$reason"
        grep -q '^usage: iodtool validate' "$work/$name.err" || fail "$name: no usage line"
    done <<EOF
none||no file or directory given
class_unknown|--class XX $files/CT_small.dcm|unknown class 'XX'
class_missing|$files/CT_small.dcm --class|--class needs a value
jobs_zero|-j 0 $files/CT_small.dcm|-j needs a number
jobs_text|-j two $files/CT_small.dcm|-j needs a number
option_unknown|--fast $files/CT_small.dcm|unknown option '--fast'
EOF
    ;;
verdicts)
    ct="$files/CT_small.dcm"
    # name | arguments | exit code | regex on stdout | regex that must not be on stdout
    while IFS='|' read -r name args expected regex absent; do
        # shellcheck disable=SC2086
        run "$name" "$iodtool" validate $args
        check "$name" "$expected" out "$regex" "$absent"
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
EOF
    run sr_json "$iodtool" validate --json "$work/observed.dcm"
    check sr_json 1 out '"attribute":"IsSRDocumentContentMacroValid","text":"File: [^"]*","where":"ContentSequence\[0\]"'
    # The SOP class picks the class: CT_small relabelled with each SOP class ("-": none).
    mkdir -p "$work/sop"
    while read -r uid class; do
        "$iodtool" set "$ct" "$work/sop/$uid.dcm" SOPClassUID="$uid" >/dev/null || fail "iodtool set SOPClassUID=$uid"
        echo "$uid $class" >>"$work/sop/expected"
    done <<SOPS
1.2.840.10008.5.1.4.1.1.1 CR
1.2.840.10008.5.1.4.1.1.2 CT
1.2.840.10008.5.1.4.1.1.1.1 DX
1.2.840.10008.5.1.4.1.1.1.1.1 DX
1.2.840.10008.5.1.4.1.1.1.3 IO
1.2.840.10008.5.1.4.1.1.1.3.1 IO
1.2.840.10008.5.1.4.1.1.7.1 MF
1.2.840.10008.5.1.4.1.1.7.2 MF
1.2.840.10008.5.1.4.1.1.7.3 MF
1.2.840.10008.5.1.4.1.1.7.4 MF
1.2.840.10008.5.1.4.1.1.1.2 MG
1.2.840.10008.5.1.4.1.1.1.2.1 MG
1.2.840.10008.5.1.4.1.1.4 MR
1.2.840.10008.5.1.4.1.1.20 NM
1.2.840.10008.5.1.4.1.1.12.2 RF
1.2.840.10008.5.1.4.1.1.481.1 RT
1.2.840.10008.5.1.4.1.1.7 SC
1.2.840.10008.5.1.4.1.1.88.11 SR
1.2.840.10008.5.1.4.1.1.88.22 SR
1.2.840.10008.5.1.4.1.1.88.33 SR
1.2.840.10008.5.1.4.1.1.6.1 US
1.2.840.10008.5.1.4.1.1.3.1 US
1.2.840.10008.5.1.4.1.1.77.1.1 VL
1.2.840.10008.5.1.4.1.1.77.1.2 VL
1.2.840.10008.5.1.4.1.1.77.1.3 VL
1.2.840.10008.5.1.4.1.1.77.1.4 VL
1.2.840.10008.5.1.4.1.1.12.1 XA
1.2.840.10008.5.1.4.1.1.2.1 -
1.2.840.10008.5.1.4.1.1.4.1 -
1.2.840.10008.5.1.4.1.1.88.34 -
1.2.840.10008.5.1.4.1.1.12.1.1 -
SOPS
    run sop "$iodtool" validate "$work/sop"
    while read -r uid class; do
        if [ "$class" = - ]; then
            grep -q "^$work/sop/$uid.dcm: unknown class: SOP Class UID $uid " "$work/sop.out" ||
                fail "sop: $uid is not of an unknown class"
        else
            grep -Eq "^$work/sop/$uid.dcm: (in)?valid \\($class\\)" "$work/sop.out" ||
                fail "sop: $uid is not validated as $class: $(grep -F "$uid.dcm" "$work/sop.out")"
        fi
    done <"$work/sop/expected"

    # The -- ends the options: a file whose name starts with a dash.
    cp "$ct" "$work/-dash.dcm"
    cd "$work" || exit 1
    run dash "$iodtool" validate -- -dash.dcm
    check dash 0 out "^-dash.dcm: valid \(CT\)$"
    ;;
tree)
    mkdir -p "$work/tree/sub/deeper"
    cp "$files/CT_small.dcm" "$work/tree/a.dcm"
    cp "$files/MR_small.dcm" "$work/tree/sub/b.dcm"
    cp "$work/norows.dcm" "$work/tree/sub/deeper/c.dcm"
    echo "not a DICOM file" >"$work/tree/sub/notes.txt"
    : >"$work/tree/empty.dcm"
    head -c 1000 "$files/CT_small.dcm" >"$work/tree/sub/truncated.dcm"
    run tree "$iodtool" validate -j 2 "$work/tree"
    check tree 1 out "^summary: 6 files, 1 valid, 2 invalid, 3 unreadable; classes: CT 2 MR 1;"
    # Files in name order, each once.
    expected="$work/tree/a.dcm $work/tree/empty.dcm $work/tree/sub/b.dcm $work/tree/sub/deeper/c.dcm $work/tree/sub/notes.txt $work/tree/sub/truncated.dcm"
    listed=$(grep -E '^/.*: (valid|invalid|unreadable)' "$work/tree.out" | sed 's/: .*//' | tr '\n' ' ' | sed 's/ $//')
    [ "$listed" = "$expected" ] || fail "tree: files listed as '$listed', expected '$expected'"
    for f in empty.dcm sub/notes.txt sub/truncated.dcm; do
        grep -q "^$work/tree/$f: unreadable: " "$work/tree.out" || fail "tree: $f is not reported unreadable"
    done
    # Not a terminal: no progress bar.
    grep -q $'\r' "$work/tree.err" && fail "tree: a progress bar was drawn on a pipe"

    # The whole corpus: the same verdicts and defects, in the same order, with 1 and 2 threads.
    run serial "$iodtool" validate --json -j 1 "$files"
    run parallel "$iodtool" validate --json -j 2 "$files"
    [ "$rc" -eq 1 ] || fail "parallel: exit code $rc over the corpus, expected 1"
    [ "$(wc -l <"$work/serial.out")" -gt 100 ] || fail "serial: fewer than 100 files validated"
    cmp -s "$work/serial.out" "$work/parallel.out" || fail "-j 1 and -j 2 disagree: $(diff "$work/serial.out" "$work/parallel.out" | head -5)"
    ;;
json)
    odd="$work/odd \"name\"	é\\.dcm"
    cp "$files/CT_small.dcm" "$odd"
    run json "$iodtool" validate --json "$odd" "$work/norows.dcm" "$files/rtplan.dcm" "$files/README.txt"
    check json 1 err "^summary: 4 files, 1 valid, 2 invalid \(1 of unknown class\), 1 unreadable"
    python3 - "$work/json.out" "$odd" "$work/norows.dcm" "$files/rtplan.dcm" "$files/README.txt" <<'EOF' || fail "json: see above"
import json, sys
lines = open(sys.argv[1], encoding="utf-8").read().splitlines()
paths = sys.argv[2:]
ok = True
def expect(cond, what):
    global ok
    if not cond:
        print("FAIL: json: " + what)
        ok = False
expect(len(lines) == len(paths), "%d lines for %d files" % (len(lines), len(paths)))
objs = [json.loads(line) for line in lines]
for obj, path in zip(objs, paths):
    expect(obj["path"] == path, "path %r, expected %r" % (obj["path"], path))
    expect(isinstance(obj["valid"], bool) and isinstance(obj["defects"], list), "types in %r" % obj)
    for d in obj["defects"]:
        expect(set(d) >= {"module", "attribute", "text"}, "defect fields %r" % d)
# name | class | valid | extra keys | defect texts
table = [
    ("CT", True, {}, []),
    ("CT", False, {}, ["IsImagePixelModuleValid: Rows is not valid"]),
    (None, False, {"error": "unknown class: SOP Class UID 1.2.840.10008.5.1.4.1.1.481.5 (RT Plan Storage)"}, []),
    (None, False, {"unreadable": True}, []),
]
for obj, (cls, valid, extra, texts) in zip(objs, table):
    expect(obj["class"] == cls and obj["valid"] == valid, "class/valid of %r" % obj)
    for key, value in extra.items():
        expect(obj.get(key) == value and "error" in obj, "%s or error wrong in %r" % (key, obj))
    expect([d["text"] for d in obj["defects"]] == texts, "defects of %r" % obj)
    expect(all(d["module"] == "IOD_Image::IsImagePixelModuleValid" for d in obj["defects"]), "module of %r" % obj)
sys.exit(0 if ok else 1)
EOF
    # A name that is not UTF-8, with a control character: still one valid JSON line, each such
    # byte as the character of the same number.
    cp "$files/CT_small.dcm" "$work/"$'bad\xff\x01'.dcm
    run latin "$iodtool" validate --json "$work/"$'bad\xff\x01'.dcm
    python3 -c '
import json, sys
obj = json.loads(open(sys.argv[1], "rb").read().decode("ascii"))
sys.exit(0 if obj["path"] == sys.argv[2] + "/bad\u00ff\u0001.dcm" and obj["valid"] else 1)' "$work/latin.out" "$work" ||
        fail "latin: $(cat -v "$work/latin.out")"

    # The attribute is parsed out of the "Attribute:NAME not valid" form: an NM file without Number
    # of Frames reports NUMBER_OF_FRAMES.
    "$iodtool" set "$files/CT_small.dcm" "$work/nm.dcm" SOPClassUID=1.2.840.10008.5.1.4.1.1.20 >/dev/null ||
        fail "iodtool set SOPClassUID failed"
    run nm "$iodtool" validate --json "$work/nm.dcm"
    python3 -c '
import json, sys
obj = json.loads(open(sys.argv[1]).readline())
attrs = {d["attribute"] for d in obj["defects"] if d["module"] == "IOD_Image::IsMultiFrameModuleValid"}
sys.exit(0 if obj["class"] == "NM" and "NUMBER_OF_FRAMES" in attrs else 1)' "$work/nm.out" ||
        fail "nm: no NUMBER_OF_FRAMES defect of IsMultiFrameModuleValid: $(head -c 600 "$work/nm.out")"
    ;;
*)
    echo "unknown group $group"
    exit 1
    ;;
esac

if [ "$failures" -ne 0 ]; then
    echo "$failures failure(s) in group $group"
    exit 1
fi
echo "group $group: all checks passed"
