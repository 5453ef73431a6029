"""The package's own test suite: the run ends with GoogleTest's summary
lines, which the project's test report counts."""


def pytest_terminal_summary(terminalreporter):
    stats = terminalreporter.stats
    failed = sorted({report.nodeid for kind in ("failed", "error") for report in stats.get(kind, ())})
    passed = {report.nodeid for report in stats.get("passed", ())} - set(failed)
    terminalreporter.write_line("[  PASSED  ] %d tests." % len(passed))
    if failed:
        terminalreporter.write_line("[  FAILED  ] %d tests, listed below:" % len(failed))
        for nodeid in failed:
            terminalreporter.write_line("[  FAILED  ] " + nodeid)
