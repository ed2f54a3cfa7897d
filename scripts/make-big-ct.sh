#!/usr/bin/env bash
# Writes the 10 MB test image used by the whole-process timings: CT_small's header with Rows and
# Columns changed, then native pixel data of the new size in place of the old (CT_small is
# Explicit VR Little Endian and ends with its pixels).
#   bash scripts/make-big-ct.sh IODTOOL OUT.dcm
set -euo pipefail
iodtool=$1 out=$2
corpus="${IOD_TEST_FILES:-/usr/lib/python3/dist-packages/pydicom/data/test_files}"
"$iodtool" set "$corpus/CT_small.dcm" "$out.header" Rows=2048 Columns=2560 >/dev/null
/usr/bin/python3 - "$out.header" "$out" <<'PY'
import struct, sys
data = open(sys.argv[1], "rb").read()
tag = b"\xe0\x7f\x10\x00OW\x00\x00"
at = data.rfind(tag)
if at < 0:
    sys.exit("no native pixel data element in " + sys.argv[1])
pixels = bytes(range(256)) * (2048 * 2560 * 2 // 256)
open(sys.argv[2], "wb").write(data[:at] + tag + struct.pack("<I", len(pixels)) + pixels)
PY
rm -f "$out.header"
