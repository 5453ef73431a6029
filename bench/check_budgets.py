#!/usr/bin/env python3
"""The library's performance budgets, measured and checked.

Instructions (callgrind, repeatable): each call of the call-overhead program
runs n and 3n times under `valgrind --tool=callgrind` (n = 2000 calls' worth
of members, at least 20); the difference over 2n is the cost of one call,
without start-up.  The cost is split by
where the instructions run: the library's own code (libvornlcapi), the
allocator (malloc/free and operator new/delete), the standard library's
out-of-line list helpers, and the host (the program: SDK object and port
mapping).  Budgets on the library's own code:
  - a single-port call: at most 40 instructions;
  - a member fan-out: at most 40 per member, the slope of its cost over 1, 8
    and 64 members, and at most 40 for the rest, its single-port frame;
  - a multi-port or list call: at most 40 per member port, all included;
  - the C binding: at most 40 more than the C++ call it wraps, per call, and
    per member for a member list.
Rates (Google Benchmark, on this machine): the reference host through the
library at least 2,000,000 IPv4 route adds/s and 5,000,000 MAC adds/s at the
table's full size.
The recorder (Google Benchmark, on this machine; vorn_bench_recorder): a
single-port call (vorn_set_port_pvid, vorn_get_port_pvid,
ctype_vorn_set_port_pvid) recording costs at most 150 ns more than the same
call without libvornrec (CPU time), allocates nothing more, and adds at most
64 bytes to the file.

Usage: check_budgets.py BUILD_DIR [--markdown] [--no-rates]
  --markdown   tables for the README
  --no-rates   instructions only (repeatable: what the tests check; the
               recorder's allocations and bytes are checked by its smoke test)
Exit status 1: a budget is missed.
"""
import json
import os
import re
import subprocess
import sys
import tempfile

SINGLE, PER_MEMBER, C_EXTRA = 40, 40, 40
ROUTES_PER_S, MACS_PER_S = 2_000_000, 5_000_000
RECORDING_ADDED_NS, RECORDING_ALLOCS, RECORDING_BYTES = 150, 0, 64

# name, members, the C++ call it wraps (C binding only)
CALLS = [
    ("get_port_pvid", 1, None),
    ("set_port_pvid_lag/1", 1, None),
    ("set_port_pvid_lag/8", 8, None),
    ("set_port_pvid_lag/64", 64, None),
    ("set_ports_stp_state", 48, None),
    ("add_ports_to_vlan", 48, None),
    ("send_packet_by_port_vlan", 48, None),
    ("ctype_get_port_pvid", 1, "get_port_pvid"),
    ("get_vlan_info", 4094, None),
    ("ctype_get_vlan_info", 4094, "get_vlan_info"),
]

ALLOCATOR = re.compile(r"^(malloc|free|_int_malloc|_int_free|cfree|tcache_|"
                       r"operator new|operator delete|_Znw|_Zdl|__libc_malloc|__libc_free)")


def self_costs(path):
    """Self cost (Ir) per (object, function) of a callgrind output file."""
    names = {}

    def name(kind, text):
        m = re.match(r"\((\d+)\)(?: (.*))?", text)
        if not m:
            return text
        key = (kind, m.group(1))
        if m.group(2) is not None:
            names[key] = m.group(2)
        return names.get(key, text)

    costs = {}
    ob = fn = None
    after_call = False
    with open(path) as f:
        for line in f:
            line = line.rstrip("\n")
            if line.startswith("ob="):
                ob = name("ob", line[3:])
            elif line.startswith("fn="):
                fn = name("fn", line[3:])
            elif line.startswith("cob="):  # names first given on a call line
                name("ob", line[4:])
            elif line.startswith("cfn="):
                name("fn", line[4:])
            elif line.startswith("calls="):
                after_call = True
            elif line[:1] and (line[0].isdigit() or line[0] in "+-*"):
                if after_call:  # the inclusive cost of the call just named
                    after_call = False
                    continue
                parts = line.split()
                if len(parts) > 1:
                    costs[(ob, fn)] = costs.get((ob, fn), 0) + int(parts[1])
    return costs


def split(costs):
    parts = {"library": 0, "allocator": 0, "std": 0, "host": 0, "other": 0}
    for (ob, fn), ir in costs.items():
        obj = os.path.basename(ob or "")
        if ALLOCATOR.match(fn or ""):
            parts["allocator"] += ir
        elif obj.startswith("libvornlcapi.so"):
            parts["library"] += ir
        elif obj.startswith("libstdc++"):
            parts["std"] += ir
        elif obj.startswith("vorn_bench_call_overhead"):
            parts["host"] += ir
        else:
            parts["other"] += ir
    return parts


def per_call(program, call, members):
    n1 = max(20, 2000 // members)
    n2 = 3 * n1
    runs = []
    with tempfile.TemporaryDirectory() as tmp:
        for n in (n1, n2):
            out = os.path.join(tmp, f"cg.{n}")
            subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}",
                            program, "--repeat", call, str(n), "lib"],
                           check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            runs.append(split(self_costs(out)))
    return {k: (runs[1][k] - runs[0][k]) / (n2 - n1) for k in runs[0]}


def rates(program):
    out = subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.2",
                          "--benchmark_filter=^(mac_add|ipv4_route_add)/"],
                         check=True, capture_output=True, text=True).stdout
    result = {}
    for bench in json.loads(out)["benchmarks"]:
        kind, size = bench["name"].split("/")[:2]
        result.setdefault(kind, {})[int(size)] = bench["items_per_second"]
    return result


def recorder_costs(program):
    """Per call: {call: {mode: counters}} of the recorder's benchmark."""
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "recorder.json")
        subprocess.run([program, "--benchmark_min_time=0.2", f"--benchmark_out={out}",
                        "--benchmark_out_format=json"], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        with open(out) as f:
            benchmarks = json.load(f)["benchmarks"]
    result = {}
    for bench in benchmarks:
        mode, call = bench["name"][len("BM_"):].split("/", 1)
        result.setdefault(call, {})[mode] = bench
    return result


def check_recorder(program, markdown, missed):
    costs = recorder_costs(program)
    if markdown:
        print("| call | absent ns | off ns (added) | recording ns (added) | allocations added/call | bytes/call | budget |")
        print("|---|---:|---:|---:|---:|---:|---|")
    for call, modes in costs.items():
        absent, off, on = (modes[m]["ns_per_call"] for m in ("absent", "off", "on"))
        # What the library and the host allocate themselves is not the recorder's.
        allocs = max(modes[m]["allocs_per_call"] - modes["absent"]["allocs_per_call"] for m in ("off", "on"))
        size = modes["on"]["bytes_per_call"]
        ok = on - absent <= RECORDING_ADDED_NS and allocs <= RECORDING_ALLOCS and size <= RECORDING_BYTES
        budget = (f"+{RECORDING_ADDED_NS} ns, {RECORDING_ALLOCS} allocations added, "
                  f"<= {RECORDING_BYTES} bytes per call")
        if not ok:
            missed.append(f"recording {call}: +{on - absent:.1f} ns, {allocs:g} allocations, "
                          f"{size:.1f} bytes per call; budget {budget}")
        if markdown:
            print(f"| `{call}` | {absent:.1f} | {off:.1f} (+{off - absent:.1f}) | {on:.1f} (+{on - absent:.1f}) "
                  f"| {allocs:g} | {size:.1f} | {budget}: {'met' if ok else 'MISSED'} |")
        else:
            print(f"recording {call:20} absent {absent:.1f} ns, off +{off - absent:.1f}, on +{on - absent:.1f}, "
                  f"{allocs:g} allocations added, {size:.1f} bytes per call   budget {budget} {'ok' if ok else 'MISSED'}")


def main():
    build = sys.argv[1]
    markdown = "--markdown" in sys.argv
    program = os.path.join(build, "bench", "vorn_bench_call_overhead")
    missed = []
    rows = {}
    for call, members, wraps in CALLS:
        rows[call] = per_call(program, call, members)
    if markdown:
        print("| call | members | library instr/call | library instr/member | allocator | std list helpers | host | budget |")
        print("|---|---:|---:|---:|---:|---:|---:|---|")
    else:
        print(f"{'call':28} {'members':>7} {'library':>10} {'/member':>8} {'allocator':>10} "
              f"{'std':>8} {'host':>8}   budget")
    # The fan-out's cost per member and its fixed part, from 8 and 64 members.
    lag8, lag64 = rows["set_port_pvid_lag/8"]["library"], rows["set_port_pvid_lag/64"]["library"]
    slope = (lag64 - lag8) / 56
    fixed = lag8 - 8 * slope
    for call, members, wraps in CALLS:
        r = rows[call]
        lib = r["library"]
        if wraps:
            extra = (lib - rows[wraps]["library"]) / members
            ok, budget = extra <= C_EXTRA, f"C extra {extra:.1f}/{'member' if members > 1 else 'call'} <= {C_EXTRA}"
        elif call.startswith("set_port_pvid_lag/"):
            ok = slope <= PER_MEMBER and fixed <= SINGLE
            budget = f"fan-out {slope:.1f}/member <= {PER_MEMBER}, frame {fixed:.1f} <= {SINGLE}"
        elif members == 1:
            ok, budget = lib <= SINGLE, f"<= {SINGLE}/call"
        else:
            ok, budget = lib / members <= PER_MEMBER, f"<= {PER_MEMBER}/member"
        if not ok:
            missed.append(f"{call}: {budget} missed")
        cells = (call, members, lib, lib / members, r["allocator"], r["std"], r["host"])
        if markdown:
            print("| `%s` | %d | %.1f | %.1f | %.1f | %.1f | %.1f | %s |" % (cells + (budget,)))
        else:
            print("%-28s %7d %10.1f %8.1f %10.1f %8.1f %8.1f   %s %s" % (cells + (budget, "ok" if ok else "MISSED")))

    found = {} if "--no-rates" in sys.argv else rates(os.path.join(build, "bench", "vorn_bench_table_rates"))
    if found:
        print()
        if markdown:
            print("| table | adds per second by table size | budget |")
            print("|---|---|---|")
    for kind, floor in (("ipv4_route_add", ROUTES_PER_S), ("mac_add", MACS_PER_S)):
        if kind not in found:
            continue
        full = max(found[kind])
        rate = found[kind][full]
        ok = rate >= floor
        if not ok:
            missed.append(f"{kind}: {rate:,.0f}/s at {full} entries, budget {floor:,}/s")
        line = ", ".join(f"{size}: {value / 1e6:.2f}M/s" for size, value in sorted(found[kind].items()))
        if markdown:
            print(f"| {kind} | {line} | >= {floor / 1e6:.0f}M/s at full size: {'met' if ok else 'MISSED'} |")
        else:
            print(f"{kind:16} {line}   budget >= {floor / 1e6:.0f}M/s at full size {'ok' if ok else 'MISSED'}")

    if "--no-rates" not in sys.argv:
        print()
        check_recorder(os.path.join(build, "bench", "vorn_bench_recorder"), markdown, missed)

    for miss in missed:
        print("check_budgets: " + miss)
    print("check_budgets: " + ("all budgets met" if not missed else f"{len(missed)} budget(s) missed"))
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
