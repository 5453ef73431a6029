#!/usr/bin/env python3
"""vornsh at a terminal: runs it on a pseudo-terminal and types at it.

Checks that Tab completes command words, setting and enumeration names, that `?` lists
what may come next, that Ctrl-C drops the line being typed without ending
the shell, that `exit` ends it with status 0, and that the history is
written on exit and read back by the next session.

Usage: interactive_test.py VORNSH
"""
import os
import pty
import select
import sys
import tempfile
import time


class Terminal:
    def __init__(self, command, env):
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.execve(command[0], command, env)
        self.seen = b""
        self.mark = 0

    def read(self, seconds):
        ready, _, _ = select.select([self.fd], [], [], seconds)
        if not ready:
            return False
        try:
            chunk = os.read(self.fd, 4096)
        except OSError:
            return False
        self.seen += chunk
        return bool(chunk)

    def expect(self, text, seconds=10):
        """Waits for `text` after the mark; moves the mark past it."""
        wanted = text.encode()
        deadline = time.time() + seconds
        while wanted not in self.seen[self.mark:]:
            if time.time() > deadline or not self.read(deadline - time.time()):
                raise AssertionError("expected %r, the terminal shows:\n%s" %
                                     (text, self.seen[self.mark:].decode(errors="replace")))
        self.mark = self.seen.index(wanted, self.mark) + len(wanted)

    def since_mark_until(self, text):
        """What the terminal shows from the mark up to `text` (then expected)."""
        start = self.mark
        self.expect(text)
        return self.seen[start:self.mark].decode(errors="replace")

    def type(self, keys):
        os.write(self.fd, keys.encode())

    def status(self, seconds=10):
        deadline = time.time() + seconds
        while time.time() < deadline:
            self.read(0.1)
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                return os.waitstatus_to_exitcode(status)
        raise AssertionError("vornsh did not end")


def session(vornsh, env):
    terminal = Terminal([vornsh], env)
    terminal.expect("vornsh> ")
    return terminal


def main():
    vornsh = os.path.abspath(sys.argv[1])
    home = tempfile.mkdtemp()
    history = os.path.join(home, "history")
    env = dict(os.environ, HOME=home, VORNSH_HISTORY=history, TERM="dumb", INPUTRC="/dev/null")
    failures = []

    def case(name, steps):
        try:
            steps()
            print("ok: " + name)
        except (AssertionError, OSError) as error:
            failures.append(name)
            print("FAILED: %s: %s" % (name, error))

    t = session(vornsh, env)

    def command_completes():
        t.type("sho\t")
        t.expect("show ")
        t.type("ports 1/1/1\r")  # the completed line runs
        t.expect("1/1/1  on")
        t.expect("vornsh> ")

    def setting_completes():
        t.type("port 1/1/1 sp\t")
        t.expect("speed ")
        t.type("100m\r")
        t.expect("vornsh> ")
        t.type("show ports 1/1/1\r")
        t.expect("100m")
        t.expect("vornsh> ")

    def enumeration_completes():
        t.type("port 1/1/2 stp bl\t")
        t.expect("blocking ")
        t.type("\r")
        t.expect("vornsh> ")
        t.type("show ports 1/1/2\r")
        t.expect("blocking")
        t.expect("vornsh> ")

    def question_lists_views():
        t.type("show ?")
        listed = t.since_mark_until("running-config")
        for view in ("ports", "vlan", "fdb"):
            if view not in listed:
                raise AssertionError("? after 'show' does not list %r: %r" % (view, listed))
        t.type("vlan\r")  # the line typed so far is still there
        t.expect("vlan  tagged")
        t.expect("vornsh> ")

    def interrupt_drops_line():
        t.type("vlan create 77")
        t.expect("77")
        t.type("\x03")
        t.expect("vornsh> ")
        t.type("show vlan\r")
        shown = t.since_mark_until("vornsh> ")
        if "77" in shown.split("show vlan", 1)[-1]:
            raise AssertionError("the interrupted line ran: %r" % shown)

    def exit_writes_history():
        t.type("exit\r")
        status = t.status()
        if status != 0:
            raise AssertionError("exit status %d" % status)
        with open(history) as f:
            lines = f.read().splitlines()
        for line in ("show ports 1/1/1", "port 1/1/1 speed 100m", "show vlan"):
            if line not in lines:
                raise AssertionError("%r not in the history %r" % (line, lines))
        if any("77" in line for line in lines):
            raise AssertionError("the interrupted line is in the history %r" % lines)

    def next_session_recalls():
        again = session(vornsh, env)
        again.type("\x10\x10\r")  # Ctrl-P twice: the line before `exit`
        again.expect("vlan  tagged")
        again.type("quit\r")
        if again.status() != 0:
            raise AssertionError("quit did not end the shell with status 0")

    case("Tab completes a command", command_completes)
    case("Tab completes a port setting", setting_completes)
    case("Tab completes an enumeration name", enumeration_completes)
    case("? lists the views after show", question_lists_views)
    case("Ctrl-C drops the line and the shell lives on", interrupt_drops_line)
    case("exit ends the shell and writes the history", exit_writes_history)
    case("the next session reads the history", next_session_recalls)
    print("interactive: %d failed" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
