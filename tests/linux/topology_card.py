"""A line card for the topology tests: vornsh running a script whose last
lines serve the attached interfaces and then show what the card holds."""
import os
import re

SERVING = r"^serving\b"


class Card:
    """vornsh started on `lines` followed by `serve` and `after`; the card
    has started serving when the constructor returns."""

    def __init__(self, topology, vornsh, workdir, name, lines, after=()):
        script = os.path.join(workdir, name + ".vsh")
        with open(script, "w") as out:
            out.write("\n".join(list(lines) + ["serve"] + list(after)) + "\n")
        self.name = name
        self.process = topology.watch([vornsh, script], name, cwd=workdir)
        self.serving = self.process.wait_for(SERVING)

    def wait_for(self, pattern, after=None):
        """Waits for a line the card prints while serving (an event);
        returns the index of the line after it."""
        return self.process.wait_for(pattern, self.serving if after is None else after)

    def stop(self):
        """Interrupts serve(): the rest of the script runs, and vornsh must
        end with status 0.  Returns what it printed after serving."""
        status = self.process.stop()
        if status != 0:
            raise AssertionError("%s exited with status %d; its output:\n%s"
                                 % (self.name, status, self.process.output()))
        return self.process.lines[self.serving:]


FDB_ROW = re.compile(r"^(\d+)\s+([0-9a-f:]{17})\s+(\S+)\s+(\S+)$")


def fdb_rows(lines):
    """The rows of `show fdb`: (vlan, mac, port, type)."""
    return {m.groups() for m in map(FDB_ROW.match, lines) if m}
