#!/usr/bin/python3
"""Record, replay, compare: programs run with libvornrec preloaded, then
vorn-replay plays each recording back onto the reference host.  Recordings
that were damaged on purpose (an output changed, an event changed or
removed, the file cut) must be reported exactly where they were damaged.

Under a cross build every program runs under the emulator (--emulator, its
command line), libvornrec preloaded inside the guest."""
import argparse
import os
import re
import struct
import subprocess
import sys

RECORD_HEAD = 8
NAMES, CALL, EVENT = 1, 2, 3
OUTPUTS_FLAG, DURING_CALL_FLAG, C_CALLBACK_FLAG = 1, 1, 2
LINK_CHANGE, MAC_UPDATE, RX_PACKET = 1, 2, 3
TAG_SIZE, USP_SIZE = 1, 12


class Recording:
    """The records of a recording, walked as the file format lays them out:
    enough to find one record and patch or remove it."""

    def __init__(self, path):
        with open(path, "rb") as f:
            self.data = bytearray(f.read())
        if self.data[:8] != b"VORNREC\0":
            raise ValueError(path + ": not a recording")
        self.order = "<" if self.data[10] == 1 else ">"
        rest = struct.unpack_from(self.order + "I", self.data, 12)[0]
        self.names = []
        self.records = []  # (offset, size, type, flags, entry)
        at = 16 + rest
        while at + RECORD_HEAD <= len(self.data):
            size, kind, flags, entry = struct.unpack_from(self.order + "IBBH", self.data, at)
            if size < RECORD_HEAD or at + size > len(self.data):
                break
            if kind == NAMES:
                self.read_names(at + RECORD_HEAD)
            else:
                self.records.append((at, size, kind, flags, entry))
            at += size

    def read_names(self, at):
        count = struct.unpack_from(self.order + "H", self.data, at)[0]
        at += 2
        for _ in range(count):
            size = struct.unpack_from(self.order + "H", self.data, at)[0]
            self.names.append(self.data[at + 2:at + 2 + size].decode())
            at += 2 + size

    def calls(self, name):
        entry = self.names.index(name)
        return [r for r in self.records if r[2] == CALL and r[4] == entry]

    def events(self, kind, flags):
        return [r for r in self.records if r[2] == EVENT and r[4] == kind and r[3] == flags]

    def put_u32(self, offset, value):
        struct.pack_into(self.order + "I", self.data, offset, value)

    def put_u64(self, offset, value):
        struct.pack_into(self.order + "Q", self.data, offset, value)

    def remove(self, record):
        del self.data[record[0]:record[0] + record[1]]

    def save(self, path):
        with open(path, "wb") as f:
            f.write(self.data)


class Driver:
    def __init__(self, args):
        self.args = args
        self.emulator = args.emulator.split()
        self.passed = 0
        self.failed = []
        os.makedirs(args.work, exist_ok=True)

    def path(self, name):
        return os.path.join(self.args.work, name)

    def record(self, program, name, options=None):
        path = self.path(name)
        if os.path.exists(path):
            os.remove(path)
        settings = {"LD_PRELOAD": self.args.recorder, "VORN_RECORD": path}
        settings.update(options or {})
        env = dict(os.environ)
        # A sanitized program wants its runtime first; the recorder comes first here.
        env["ASAN_OPTIONS"] = env.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        if self.emulator:
            command = self.emulator + [arg for key, value in settings.items() for arg in ("-E", key + "=" + value)]
        else:
            command = []
            env.update(settings)
        run = subprocess.run(command + [program], env=env, capture_output=True, text=True, timeout=600)
        if run.returncode != 0:
            raise AssertionError("%s under the recorder exited %d:\n%s%s" %
                                 (program, run.returncode, run.stdout, run.stderr))
        if not os.path.exists(path):
            raise AssertionError("%s under the recorder wrote no %s" % (program, path))
        return path

    def replay(self, *args):
        run = subprocess.run(self.emulator + [self.args.replay] + list(args), capture_output=True, text=True,
                             timeout=600)
        return run.returncode, run.stdout, run.stderr

    def case(self, name, body):
        print("[ RUN      ] round_trip." + name, flush=True)
        try:
            body()
        except (AssertionError, ValueError, subprocess.SubprocessError, OSError) as error:
            print(str(error))
            print("[  FAILED  ] round_trip." + name, flush=True)
            self.failed.append(name)
            return
        print("[       OK ] round_trip." + name, flush=True)
        self.passed += 1


def expect(condition, what, output=""):
    if not condition:
        raise AssertionError(what + ("\n--- output:\n" + output if output else ""))


def differences(stdout):
    return [line for line in stdout.splitlines() if line.startswith("record ")]


def expect_clean(result, what):
    code, out, err = result
    expect(code == 0 and "no differences" in out and not differences(out), what + ": exit %d" % code, out + err)


def printed_index(driver, path, pattern):
    """The record number vorn-replay --print gives the first line matching pattern."""
    code, out, err = driver.replay("--print", path)
    expect(code == 0, "--print " + path, out + err)
    for line in out.splitlines():
        if re.search(pattern, line):
            return int(line.split()[0][1:])
    raise AssertionError("no record matching %r in\n%s" % (pattern, out))


def main():
    parser = argparse.ArgumentParser()
    for option in ("emulator", "replay", "recorder", "bringup", "c-program", "events", "fixtures", "work"):
        parser.add_argument("--" + option, required=True)
    args = parser.parse_args()
    driver = Driver(args)
    recordings = {}

    def recorded(name, program):
        if name not in recordings:
            recordings[name] = driver.record(program, name + ".vrec")
        return recordings[name]

    def bringup():
        expect_clean(driver.replay(recorded("bringup", args.bringup)), "the bring-up replays")

    def c_program():
        path = recorded("c_program", args.c_program)
        expect_clean(driver.replay(path), "the C program replays")
        expect(Recording(path).calls("ctype_vorn_get_port_pvid"), "the C binding's calls are recorded")

    def callbacks_in_order():
        path = recorded("events", args.events)
        expect_clean(driver.replay(path), "link changes and frames between calls replay")
        recording = Recording(path)
        for kind, flags in ((LINK_CHANGE, 0), (LINK_CHANGE, C_CALLBACK_FLAG), (RX_PACKET, 0), (MAC_UPDATE, 0),
                            (MAC_UPDATE, DURING_CALL_FLAG)):
            expect(recording.events(kind, flags), "the recording has events of kind %d, flags %d" % (kind, flags))

    def without_getters_or_packets():
        for program, option, gone in ((args.events, "VORN_RECORD_PACKETS", "event rx_packet"),
                                      (args.bringup, "VORN_RECORD_GETTERS", " vorn_get_")):
            path = driver.record(program, "without.vrec", {option: "0"})
            code, out, err = driver.replay("--print", path)
            expect(code == 0 and gone not in out, "%s=0 leaves out %s" % (option, gone), out + err)
            expect_clean(driver.replay(path), "a recording made with %s=0 replays" % option)

    def output_changed():
        recording = Recording(recorded("bringup", args.bringup))
        calls = [r for r in recording.calls("vorn_get_port_pvid") if r[3] & OUTPUTS_FLAG]
        expect(calls, "the bring-up reads a PVID")
        # body: time, duration, result; the port (tag, unit/slot/port); the pvid (tag, number)
        offset, _, _, _, _ = calls[0]
        recording.put_u64(offset + RECORD_HEAD + 16 + TAG_SIZE + USP_SIZE + TAG_SIZE, 77)
        path = driver.path("pvid-changed.vrec")
        recording.save(path)
        index = printed_index(driver, path, r"vorn_get_port_pvid\(.*pvid=77")
        code, out, err = driver.replay(path)
        expect(code == 1, "a changed output: exit %d" % code, out + err)
        expect(differences(out) == ["record %d vorn_get_port_pvid: pvid: recorded 77, replayed 10" % index],
               "exactly the changed PVID is reported", out)
        expect("replayed " in out and ": 1 difference" in out, "the summary counts one difference", out)

    def event_changed():
        recording = Recording(recorded("events", args.events))
        pulled = recording.events(LINK_CHANGE, 0)[0]
        # body: time, the port (unit/slot/port: events have no tags), state, speed, duplex
        recording.put_u32(pulled[0] + RECORD_HEAD + 8 + USP_SIZE + 4, 99)
        path = driver.path("speed-changed.vrec")
        recording.save(path)
        index = printed_index(driver, path, r"event link_change .*speed=99")
        code, out, err = driver.replay(path)
        expect(code == 1, "a changed event: exit %d" % code, out + err)
        lines = differences(out)
        expect(len(lines) == 1 and re.fullmatch(r"record %d event link_change: speed: recorded 99, replayed \d+"
                                                % index, lines[0]), "exactly the changed speed is reported", out)

    def event_removed():
        for flags, what in ((DURING_CALL_FLAG, "raised by a call"), (C_CALLBACK_FLAG, "to the C callback")):
            recording = Recording(recorded("events", args.events))
            kind = MAC_UPDATE if flags == DURING_CALL_FLAG else LINK_CHANGE
            recording.remove(recording.events(kind, flags)[0])
            path = driver.path("event-removed.vrec")
            recording.save(path)
            code, out, err = driver.replay(path)
            lines = differences(out)
            name = "mac_update" if kind == MAC_UPDATE else "link_change"
            expect(code == 1 and len(lines) == 1 and
                   re.fullmatch(r"record \d+ event %s: recorded none, replayed .*" % name, lines[0]),
                   "an event %s left out of the recording is reported" % what, out + err)

    def cut_file():
        path = recorded("bringup", args.bringup)
        recording = Recording(path)
        last = recording.records[-1]
        cut = driver.path("cut.vrec")
        with open(cut, "wb") as f:
            f.write(recording.data[:last[0] + last[1] // 2])
        code, out, err = driver.replay(cut)
        expect(code == 0 and "no differences" in out, "a cut file replays: exit %d" % code, out + err)
        stop = [line for line in out.splitlines() if line.startswith("file ")]
        previous = printed_index(driver, path, r"^#\d+ ") + len(recording.records) - 2
        expect(len(stop) == 1 and "cut" in stop[0] and stop[0].endswith("replayed up to record %d" % previous),
               "the stop note names the last record replayed (%d)" % previous, out)

    def unreadable():
        not_recording = driver.path("not-a-recording.vrec")
        with open(not_recording, "w") as f:
            f.write("hello, world\n" * 10)
        for path in (not_recording, driver.path("no-such-file.vrec")):
            code, out, err = driver.replay(path)
            expect(code == 2 and err.startswith("vorn-replay: %s: " % path) and not out,
                   "%s: exit 2 with the reason" % path, out + err)
        for bad in ((), ("--frobnicate", path), ("--until", "x", path), ("--until",), (path, path)):
            code, out, err = driver.replay(*bad)
            expect(code == 2 and "usage: vorn-replay" in err, "%s: usage, exit 2" % " ".join(bad), out + err)

    def stop_at_first():
        recording = Recording(recorded("events", args.events))
        calls = [r for r in recording.calls("vorn_get_port_pvid") if r[3] & OUTPUTS_FLAG]
        expect(len(calls) == 2, "the events program reads two PVIDs")
        for call in calls:
            recording.put_u64(call[0] + RECORD_HEAD + 16 + TAG_SIZE + USP_SIZE + TAG_SIZE, 77)
        path = driver.path("two-changed.vrec")
        recording.save(path)
        code, out, _ = driver.replay(path)
        expect(code == 1 and len(differences(out)) == 2, "both changes reported", out)
        code, out, _ = driver.replay("--stop-at-first", path)
        expect(code == 1 and len(differences(out)) == 1 and "stopped at the first difference" in out,
               "--stop-at-first reports one", out)
        code, out, _ = driver.replay("--quiet", path)
        expect(code == 1 and not differences(out) and "2 differences" in out, "--quiet: the summary only", out)

    def until():
        recording = Recording(recorded("bringup", args.bringup))
        call = [r for r in recording.calls("vorn_get_port_pvid") if r[3] & OUTPUTS_FLAG][0]
        recording.put_u64(call[0] + RECORD_HEAD + 16 + TAG_SIZE + USP_SIZE + TAG_SIZE, 77)
        path = driver.path("until.vrec")
        recording.save(path)
        index = printed_index(driver, path, r"vorn_get_port_pvid\(.*pvid=77")
        for last, code_wanted in ((index - 1, 0), (index, 1)):
            code, out, _ = driver.replay("--until", str(last), path)
            first = printed_index(driver, path, r"^#\d+ ")
            wanted = "replayed %d records" % (last - first + 1)
            expect(code == code_wanted and wanted in out, "--until %d: exit %d, %s" % (last, code_wanted, wanted),
                   out)

    def fixtures():
        for machine in ("ppc", "x86_64"):
            fixture = os.path.join(args.fixtures, "bringup-%s.vrec" % machine)
            expect(os.path.exists(fixture), fixture + " is missing (scripts/record-ppc-fixture makes it)")
            expect_clean(driver.replay(fixture), "the bring-up recorded on %s replays here" % machine)

    cases = [("bringup", bringup), ("c_program", c_program), ("callbacks_in_order", callbacks_in_order),
             ("without_getters_or_packets", without_getters_or_packets),
             ("output_changed", output_changed), ("event_changed", event_changed),
             ("event_removed", event_removed), ("cut_file", cut_file), ("unreadable", unreadable),
             ("stop_at_first", stop_at_first), ("until", until), ("fixtures", fixtures)]
    for name, body in cases:
        driver.case(name, body)
    print("[  PASSED  ] %d tests." % driver.passed)
    if driver.failed:
        print("[  FAILED  ] %d tests, listed below:" % len(driver.failed))
        for name in driver.failed:
            print("[  FAILED  ] round_trip." + name)
    return 1 if driver.failed else 0


if __name__ == "__main__":
    sys.exit(main())
