"""The package's own test suite: the run ends with GoogleTest's summary
lines, which the project's test report counts."""
import pytest


@pytest.fixture
def vlan_of(card):
    """vlan_of(vlan, untagged, tagged=()): `vlan` created with its member
    ports; it becomes the PVID of the untagged ones."""
    def make(vlan, untagged, tagged=()):
        card.vlan.create(vlan)
        card.vlan.add_ports(vlan, tagged=list(tagged), untagged=list(untagged))
        for port in untagged:
            card.port(port).pvid = vlan
    return make


def pytest_terminal_summary(terminalreporter):
    stats = terminalreporter.stats
    failed = sorted({report.nodeid for kind in ("failed", "error") for report in stats.get(kind, ())})
    passed = {report.nodeid for report in stats.get("passed", ())} - set(failed)
    terminalreporter.write_line("[  PASSED  ] %d tests." % len(passed))
    if failed:
        terminalreporter.write_line("[  FAILED  ] %d tests, listed below:" % len(failed))
        for nodeid in failed:
            terminalreporter.write_line("[  FAILED  ] " + nodeid)
