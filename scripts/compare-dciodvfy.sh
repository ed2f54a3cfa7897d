#!/usr/bin/env bash
# Side-by-side verdicts of iodtool validate and dicom3tools' dciodvfy over the public test corpus.
#
#   scripts/compare-dciodvfy.sh [iodtool] [corpus dir]
#
# iodtool defaults to build/release/tools/iodtool, the corpus to pydicom's test files (Debian
# package python3-pydicom); dciodvfy comes with the Debian package dicom3tools (scripts/install-deps.sh
# --test). Only files whose SOP class iodtool validate knows are compared. A file is invalid for
# dciodvfy when it prints at least one "Error" line; its warnings are counted but judge nothing.
# Prints a Markdown table (one row per file, then the counts of agreements and disagreements);
# with --details, also each file's defects and dciodvfy's errors below it.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
details=0
args=()
for a in "$@"; do
    if [[ $a == --details ]]; then details=1; else args+=("$a"); fi
done
iodtool="${args[0]:-$root/build/release/tools/iodtool}"
corpus="${args[1]:-/usr/lib/python3/dist-packages/pydicom/data/test_files}"
command -v dciodvfy >/dev/null || { echo "dciodvfy not found: install the Debian package dicom3tools" >&2; exit 1; }
[[ -x $iodtool ]] || { echo "$iodtool not found: build the release preset first" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
"$iodtool" validate --json -j 2 "$corpus" >"$work/ours.jsonl" 2>/dev/null || true

# dciodvfy on every file that we validated with a class of its own.
python3 -c '
import json, sys
for line in open(sys.argv[1]):
    o = json.loads(line)
    if o["class"] is not None:
        print(o["path"])' "$work/ours.jsonl" >"$work/files.txt"
n=0
while IFS= read -r f; do
    n=$((n + 1))
    timeout 60 dciodvfy "$f" >"$work/$n.dciodvfy" 2>&1 || true
    printf '%s\n' "$f" >"$work/$n.path"
done <"$work/files.txt"

python3 - "$work" "$n" "$corpus" "$details" <<'EOF'
import json, os, re, sys
work, n, corpus, details = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4] == "1"
ours = {}
for line in open(os.path.join(work, "ours.jsonl")):
    o = json.loads(line)
    ours[o["path"]] = o
rows, agree, only_ours, only_theirs = [], 0, 0, 0
for i in range(1, n + 1):
    path = open(os.path.join(work, "%d.path" % i)).read().rstrip("\n")
    out = open(os.path.join(work, "%d.dciodvfy" % i), errors="replace").read().splitlines()
    errors = [l for l in out if l.startswith("Error")]
    warnings = [l for l in out if l.startswith("Warning")]
    # dciodvfy names the IOD it recognised on a line of its own ("CTImage"), when it gets that far.
    names = [l.strip() for l in out if re.fullmatch(r"[A-Za-z0-9]+", l.strip())]
    iod = names[0] if names else "(none)"
    o = ours[path]
    theirs_valid = not errors
    if o["valid"] == theirs_valid:
        agree += 1
        mark = "same"
    elif o["valid"]:
        only_theirs += 1
        mark = "**dciodvfy only**"
    else:
        only_ours += 1
        mark = "**ours only**"
    name = os.path.relpath(path, corpus)
    ours_text = ("valid" if o["valid"] else "invalid") + " (%d)" % len(o["defects"])
    theirs_text = ("valid" if theirs_valid else "invalid") + " (%d E, %d W)" % (len(errors), len(warnings))
    rows.append((name, o["class"], iod, ours_text, theirs_text, mark, o, errors))
# Files of one directory with the same figures share a row.
groups = {}
for name, cls, iod, a, b, mark, _, _ in sorted(rows):
    key = (os.path.dirname(name), cls, iod, a, b, mark)
    groups.setdefault(key, []).append(name)
print("| file | our class | dciodvfy IOD | ours (defects) | dciodvfy (errors, warnings) | verdicts |")
print("|---|---|---|---|---|---|")
for key, names in sorted(groups.items(), key=lambda item: item[1][0]):
    if len(names) == 1 or not key[0]:
        label = ", ".join(names)
    else:
        label = "%s/* (%d files)" % (key[0], len(names))
    print("| %s | %s | %s | %s | %s | %s |" % ((label,) + key[1:]))
print()
print("%d files: %d same verdict, %d invalid only for us, %d invalid only for dciodvfy" %
      (len(rows), agree, only_ours, only_theirs))
if details:
    for name, _, _, _, _, mark, o, errors in sorted(rows):
        print("\n## %s (%s)" % (name, mark))
        for d in o["defects"]:
            print("  ours: %s: %s" % (d["module"], d["text"]))
        for e in errors:
            print("  dciodvfy: " + e)
EOF
