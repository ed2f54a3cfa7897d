#!/usr/bin/env python3
"""Turns the JSON output of dicom_bench into the README table: medians, ratios to the peers,
and the performance targets of the DICOM layer with their outcome.

    bench_table.py [--check] dicom_bench.json

With --check the exit status is 1 when a measured target is missed (targets whose benchmarks
were filtered out or whose peer is not installed show "not measured").
"""
import argparse
import json
import sys

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
PEERS = ("dcmtk", "gdcm")


def load(path):
    with open(path, encoding="utf-8") as f:
        doc = json.load(f)
    medians = {}
    counters = {}
    for b in doc.get("benchmarks", []):
        if b.get("error_occurred"):
            continue
        # Aggregates carry run_name + aggregate_name; a single run carries only name.
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        name = b.get("run_name", b["name"])
        # CPU time: on a shared machine, wall time also counts the waits for a core.
        medians[name] = b["cpu_time"] * UNIT_NS[b.get("time_unit", "ns")]
        counters[name] = {k: v for k, v in b.items() if k in ("allocs", "elements")}
    return doc.get("context", {}), medians, counters


def fmt_time(ns):
    if ns is None:
        return "-"
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= scale:
            return f"{ns / scale:.3g} {unit}"
    return f"{ns:.3g} ns"


def fmt_ratio(r):
    return "-" if r is None else f"{r:.1f}x"


def ratio(a, b):
    return None if a is None or b is None or b == 0 else a / b


def table(medians, counters):
    inputs = []
    for name in medians:
        parts = name.split("/")
        if len(parts) == 3 and parts[1] not in inputs:
            inputs.append(parts[1])
    rows = []
    header = "| input | operation | IOD | DCMTK | GDCM | DCMTK / IOD | GDCM / IOD |"
    rows.append(header)
    rows.append("|---|---|---:|---:|---:|---:|---:|")
    ops = (
        ("parse, copy 1", "parse_copy1", "parse"),
        ("parse, copy 0", "parse_copy0", "parse"),
        ("encode", "encode", "encode"),
        ("encode into a new vector", "encode_new_vector", None),
        ("GetDumpLen", "get_dump_len", None),
        ("Clone", "clone", None),
        ("Get (0028,0010)", "get", None),
    )
    for inp in inputs:
        for label, ours, peer_op in ops:
            mine = medians.get(f"{ours}/{inp}/iod")
            if mine is None:
                continue
            peers = [medians.get(f"{peer_op}/{inp}/{p}") if peer_op else None for p in PEERS]
            extra = ""
            c = counters.get(f"{ours}/{inp}/iod", {})
            if ours in ("get_dump_len", "get") and "allocs" in c:
                extra = f" ({c['allocs']:g} allocations)"
            rows.append(f"| {inp} | {label}{extra} | {fmt_time(mine)} | {fmt_time(peers[0])} | "
                        f"{fmt_time(peers[1])} | {fmt_ratio(ratio(peers[0], mine))} | "
                        f"{fmt_ratio(ratio(peers[1], mine))} |")
        for label, key in (("memcpy of the buffer", "memcpy"), ("malloc + memcpy + free", "malloc_memcpy")):
            t = medians.get(f"{key}/{inp}/baseline")
            if t is not None:
                rows.append(f"| {inp} | {label} | {fmt_time(t)} | - | - | - | - |")
    return rows


def targets(medians, counters):
    m = medians.get
    results = []

    def check(label, value, ok, shown):
        # None: not measured (filtered out, or a peer is not installed).
        results.append((label, shown if value is not None else "not measured", None if value is None else ok(value)))

    r = ratio(m("parse/CT_small/dcmtk"), m("parse_copy1/CT_small/iod"))
    check("copy 1 parse of CT_small: >= 10x faster than DCMTK", r, lambda v: v >= 10, fmt_ratio(r))
    r = ratio(m("parse/CT_small/gdcm"), m("parse_copy1/CT_small/iod"))
    check("copy 1 parse of CT_small: >= 4x faster than GDCM", r, lambda v: v >= 4, fmt_ratio(r))
    r = ratio(m("parse/CT_10MB/dcmtk"), m("parse_copy0/CT_10MB/iod"))
    check("copy 0 parse of CT_10MB: >= 100x faster than DCMTK", r, lambda v: v >= 100, fmt_ratio(r))
    r = ratio(m("parse_copy0/CT_10MB/iod"), m("parse_copy0/CT_10MB_header/iod"))
    check("copy 0 parse of CT_10MB: <= 2x the header alone", r, lambda v: v <= 2, fmt_ratio(r))
    r = ratio(m("parse_copy1/CT_10MB/iod"), m("memcpy/CT_10MB/baseline"))
    check("copy 1 parse of CT_10MB: <= 3x one memcpy", r, lambda v: v <= 3, fmt_ratio(r))
    for inp in ("CT_small", "MR_small"):
        r = ratio(m(f"encode/{inp}/dcmtk"), m(f"encode/{inp}/iod"))
        check(f"encode of {inp}: >= 3x faster than DCMTK", r, lambda v: v >= 3, fmt_ratio(r))
    t = m("get/CT_small/iod")
    elements = counters.get("get/CT_small/iod", {}).get("elements")
    check(f"Get of one attribute on CT_small ({elements:g} elements): < 50 ns" if elements else
          "Get of one attribute on CT_small: < 50 ns", t, lambda v: v < 50, fmt_time(t))
    for inp in ("CT_small", "MR_small", "CT_10MB"):
        a = counters.get(f"get_dump_len/{inp}/iod", {}).get("allocs")
        check(f"GetDumpLen of {inp} allocates nothing", a, lambda v: v == 0,
              f"{a:g} allocations" if a is not None else "")
    return results


def notes(medians):
    """Figures that have no target of their own but explain one."""
    m = medians.get
    out = []
    enc, floor, peer = m("encode/CT_10MB/iod"), m("memcpy/CT_10MB/baseline"), m("encode/CT_10MB/dcmtk")
    if enc and floor:
        out.append(f"Encoding CT_10MB writes 10 MB of pixel data, so one memcpy ({fmt_time(floor)}) bounds "
                   f"every encoder from below: IOD {fmt_ratio(ratio(enc, floor))} of it"
                   + (f", DCMTK {fmt_ratio(ratio(peer, floor))}." if peer else "."))
    return out


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--check", action="store_true", help="exit 1 when a target is missed")
    ap.add_argument("json")
    args = ap.parse_args()
    context, medians, counters = load(args.json)
    cpu = f"{context.get('num_cpus', '?')} CPUs at {context.get('mhz_per_cpu', '?')} MHz"
    peers = ", ".join(f"{p.upper()} {context[p]}" for p in PEERS if p in context)
    print(f"Run of {context.get('date', '?')} on {context.get('host_name', '?')} ({cpu}); "
          f"peers: {peers or 'none'}; medians of the repetitions.\n")
    print("\n".join(table(medians, counters)))
    print("\n| target | measured | met |\n|---|---:|:---:|")
    results = targets(medians, counters)
    for label, shown, ok in results:
        print(f"| {label} | {shown} | {'-' if ok is None else 'yes' if ok else 'NO'} |")
    for line in notes(medians):
        print(f"\n{line}")
    missed = [label for label, _, ok in results if ok is False]
    if missed:
        print(f"\n{len(missed)} target(s) missed.", file=sys.stderr)
    return 1 if (args.check and missed) else 0


if __name__ == "__main__":
    sys.exit(main())
