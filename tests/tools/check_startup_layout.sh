#!/usr/bin/env bash
# Start-up layout of the static iodtool, without timing: the functions of the start-up order file
# must lie together at the front of the code, where the linker was told to put them. Fails when
# the order is not applied (another linker, sections merged back) or when the list has gone stale
# (a quarter of its functions no longer in the binary: run scripts/gen-startup-order.sh).
#   check_startup_layout.sh <iodtool> <startup-order.txt>
set -euo pipefail
python3 - "$1" "$2" <<'PY'
import subprocess, sys
binary, order = sys.argv[1], sys.argv[2]
names = [l.strip() for l in open(order) if l.strip() and not l.startswith("#")]
text = None
for line in subprocess.run(["readelf", "-SW", binary], capture_output=True, text=True, check=True).stdout.splitlines():
    fields = line.replace("[ ", "[").split()
    if len(fields) > 5 and fields[1] == ".text":
        text = (int(fields[3], 16), int(fields[5], 16))
symbols = {}
for line in subprocess.run(["nm", "-S", binary], capture_output=True, text=True, check=True).stdout.splitlines():
    fields = line.split()
    if len(fields) == 4:
        symbols.setdefault(fields[3], (int(fields[0], 16), int(fields[1], 16)))
start, size = text
placed = [symbols[n] for n in names if n in symbols and start <= symbols[n][0] < start + size]
missing = len(names) - sum(1 for n in names if n in symbols)
code = sum(s for _, s in placed)
span = max(a + s for a, s in placed) - start if placed else 0
# The listed functions share some sections with functions that are not listed (a C library object
# holds several), hence the slack.
bound = code * 3 // 2 + 65536
print(f"{len(names)} listed, {missing} not in the binary; {len(placed)} in .text: {code} bytes of code "
      f"within the first {span} of {size} bytes (bound {bound})")
failed = False
if missing * 4 > len(names):
    print("FAIL: the list is stale; run scripts/gen-startup-order.sh")
    failed = True
if not placed or span > bound:
    print("FAIL: the listed functions are not together at the front of the code")
    failed = True
sys.exit(1 if failed else 0)
PY
