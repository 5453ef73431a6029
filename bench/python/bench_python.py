#!/usr/bin/env python3
"""The Python package's speed, measured and checked.

Calls: each call through the package (card.api.set_port_pvid,
card.api.get_port_pvid, card.vlan.create and delete) against the bare cffi
call of the same C entry point on cdata prepared beforehand
(card.lib.ctype_vorn_set_port_pvid(usp, 10)), in one run on one card: loops
of n calls, repeated, the fastest loop of each counts (what the machine's
other work added is left out).  Budget: the package within 2x of the bare
call.
Frames: test_frame_rate.py, run here under pytest with the package's plugin:
64-byte frames of prepared bytes sent into an in-memory port with
ports.send and each checked on the port it left by ports.verify_packet.
Budget: at least 50,000 frames a second.
The budgets are checked here, never in a test: they are times on this
machine.

Usage: bench_python.py [BUILD_DIR] [--markdown] [--smoke]
  BUILD_DIR   a build tree: its staged package (BUILD_DIR/python); without
              it, the vornlcapi that /usr/bin/python3 imports (an install)
  --markdown  tables for the README
  --smoke     a few calls and frames, no budget: that the measurements run
              (the CTest test vornlcapi_bench_python_smoke)
Exit status 1: a budget is missed (or, with --smoke, a measurement failed).
"""
import os
import sys
import timeit

CALL_RATIO = 2.0
FRAMES_PER_S = 50_000

HERE = os.path.dirname(os.path.abspath(__file__))


def call_cases(card):
    """(name, through the package, bare cffi call) of each measured call;
    VLAN 10 exists, VLAN 20 does not."""
    ffi, lib = card.ffi, card.lib
    context = {"api": card.api, "vlan": card.vlan, "lib": lib,
               "usp": ffi.new("usp_s*", (1, 1, 3)), "pvid": ffi.new("unsigned int*")}
    cases = [
        ("set_port_pvid", 'api.set_port_pvid("1/1/3", 10)',
         "lib.ctype_vorn_set_port_pvid(usp, 10)"),
        ("get_port_pvid", 'api.get_port_pvid("1/1/3")',
         "lib.ctype_vorn_get_port_pvid(usp, pvid) and pvid[0]"),
        ("create_vlan + delete_vlan", "vlan.create(20); vlan.delete(20)",
         "lib.ctype_vorn_create_vlan(20) and lib.ctype_vorn_delete_vlan(20)"),
    ]
    return context, cases


def fastest_ns(statement, context, number, repeat):
    timer = timeit.Timer(statement, globals=context)
    return min(timer.repeat(repeat=repeat, number=number)) / number * 1e9


def measure_calls(vornlcapi, number, repeat):
    """{call: (package ns, bare ns)}"""
    with vornlcapi.Card(ports=8) as card:
        card.vlan.create(10)
        context, cases = call_cases(card)
        results = {}
        for name, package, bare in cases:
            # Both forms must do what they claim before they are timed.
            exec(package, context)
            if not eval(bare, context):
                raise RuntimeError(f"{name}: the bare call was refused: {bare}")
            results[name] = (fastest_ns(package, context, number, repeat),
                             fastest_ns(bare, context, number, repeat))
        if card.api.get_port_pvid("1/1/3") != 10 or context["pvid"][0] != 10:
            raise RuntimeError("get_port_pvid: the package and the bare call disagree on the PVID set")
        return results


class FrameRates:
    """A pytest plugin of this run: collects the rates the frame test
    records and whether every test passed."""

    def __init__(self):
        self.rates = {}
        self.failed = []

    def pytest_runtest_logreport(self, report):
        if report.failed:
            self.failed.append(report.nodeid)
        for name, value in report.user_properties:
            if name == "frames_per_second":
                self.rates[report.nodeid.split("::")[-1]] = value


def measure_frames(frames, repeat):
    """{test: frames per second}, or None when a test failed."""
    import pytest
    os.environ["VORN_BENCH_FRAMES"] = str(frames)
    os.environ["VORN_BENCH_REPEAT"] = str(repeat)
    collector = FrameRates()
    status = pytest.main([os.path.join(HERE, "test_frame_rate.py"), "-q", "-p", "no:cacheprovider",
                          "-p", "vornlcapi.pytest_plugin"], plugins=[collector])
    if status != 0 or collector.failed or not collector.rates:
        print(f"bench_python: the frame test failed (pytest status {int(status)})")
        return None
    return collector.rates


def report_calls(results, markdown, missed, smoke):
    if markdown:
        print("| call | package ns | bare cffi ns | ratio | budget |")
        print("|---|---:|---:|---:|---|")
    else:
        print(f"{'call':28} {'package ns':>11} {'bare ns':>9} {'ratio':>7}   budget")
    for name, (package, bare) in results.items():
        ratio = package / bare
        ok = smoke or ratio <= CALL_RATIO
        if not ok:
            missed.append(f"{name}: {ratio:.2f}x the bare cffi call, budget {CALL_RATIO:g}x")
        verdict = "(smoke)" if smoke else ("ok" if ok else "MISSED")
        if markdown:
            print(f"| `{name}` | {package:.0f} | {bare:.0f} | {ratio:.2f}× | ≤ {CALL_RATIO:g}×: "
                  f"{'met' if ok else 'missed'} |")
        else:
            print(f"{name:28} {package:11.0f} {bare:9.0f} {ratio:6.2f}x   <= {CALL_RATIO:g}x {verdict}")


def report_frames(rates, markdown, missed, smoke):
    if markdown:
        print("| frames | per second | µs per frame | budget |")
        print("|---|---:|---:|---|")
    for name, rate in rates.items():
        ok = smoke or rate >= FRAMES_PER_S
        if not ok:
            missed.append(f"{name}: {rate:,.0f} frames/s, budget {FRAMES_PER_S:,}/s")
        verdict = "(smoke)" if smoke else ("ok" if ok else "MISSED")
        if markdown:
            print(f"| `{name}` | {rate:,.0f} | {1e6 / rate:.1f} | ≥ {FRAMES_PER_S:,}/s: "
                  f"{'met' if ok else 'missed'} |")
        else:
            print(f"{name:44} {rate:10,.0f} frames/s ({1e6 / rate:.1f} us)   "
                  f">= {FRAMES_PER_S:,}/s {verdict}")


def main(argv):
    options = [a for a in argv if a.startswith("--")]
    unknown = set(options) - {"--markdown", "--smoke"}
    if unknown or len(argv) - len(options) > 1:
        print(__doc__[__doc__.index("Usage:"):], file=sys.stderr, end="")
        return 2
    markdown, smoke = "--markdown" in options, "--smoke" in options
    builds = [a for a in argv if not a.startswith("--")]
    if builds:
        staged = os.path.join(builds[0], "python")
        if not os.path.isfile(os.path.join(staged, "vornlcapi", "__init__.py")):
            print(f"bench_python: {staged} holds no staged package (build the vornlcapi_python target)",
                  file=sys.stderr)
            return 2
        sys.path.insert(0, staged)
    sys.dont_write_bytecode = True  # nothing left beside the sources
    import vornlcapi

    number, repeat = (50, 2) if smoke else (20_000, 7)
    frames, frame_repeat = (200, 1) if smoke else (50_000, 5)
    missed = []
    report_calls(measure_calls(vornlcapi, number, repeat), markdown, missed, smoke)
    calls_missed = len(missed)
    print()
    rates = measure_frames(frames, frame_repeat)
    if rates is None:
        missed.append("the frame test failed")
    else:
        report_frames(rates, markdown, missed, smoke)
    for miss in missed:
        print("bench_python: " + miss)
    print("bench_python: " + ("all budgets met" if not missed else f"{len(missed)} budget(s) missed"))
    # Two cases for the test summary, in GoogleTest's words: the calls and the frames.
    failed = [case for case, bad in (("calls", calls_missed > 0), ("frames", len(missed) > calls_missed)) if bad]
    print(f"[  PASSED  ] {2 - len(failed)} tests.")
    if failed:
        print(f"[  FAILED  ] {len(failed)} tests, listed below:")
        for case in failed:
            print(f"[  FAILED  ] {case}")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
