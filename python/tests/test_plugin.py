"""The pytest plugin itself, from the outside: each case runs a small test
file in a pytest of its own and reads the outcome."""
import os

import pytest

pytest_plugins = ["pytester"]

CONFTEST = os.path.join(os.path.dirname(os.path.abspath(__file__)), "conftest.py")

SIZE_TESTS = """
import pytest
import vornlcapi

def usable(card, port):
    try:
        card.port(port).pvid = 1
        return True
    except vornlcapi.Refused:
        return False

def test_default(card):
    assert (usable(card, "1/1/%(last)d"), usable(card, "1/1/%(beyond)d")) == (True, False)

@pytest.mark.card(ports=4)
def test_marker(card):
    assert (usable(card, "1/1/4"), usable(card, "1/1/5")) == (True, False)
"""


def run(pytester, source, *args):
    pytester.makeconftest(open(CONFTEST).read())
    pytester.makepyfile(source)
    return pytester.runpytest_subprocess("-p", "vornlcapi.pytest_plugin", "-p", "no:cacheprovider", *args)


@pytest.mark.parametrize("args, ini, last", [
    ((), None, 8),
    (("--vorn-card", "ports=16 lags=4"), None, 16),
    ((), "ports=12", 12),
    (("--vorn-card", "ports=20"), "ports=12", 20),
], ids=["default", "option", "ini", "option-over-ini"])
def test_the_card_size_comes_from_the_marker_the_option_the_ini_file_or_the_default(pytester, args, ini, last):
    if ini:
        pytester.makeini("[pytest]\nvorn_card = %s\n" % ini)
    result = run(pytester, SIZE_TESTS % {"last": last, "beyond": last + 1}, *args)
    result.assert_outcomes(passed=2)


@pytest.mark.parametrize("text, word", [("ports", "ports"), ("ports=many", "ports=many"), ("=3", "=3")])
def test_a_bad_default_size_stops_the_run_naming_the_word(pytester, text, word):
    result = run(pytester, "def test_nothing(card):\n    pass\n", "--vorn-card", text)
    assert result.ret != 0
    result.stderr.fnmatch_lines(["*--vorn-card / vorn_card: %r is not NAME=NUMBER*" % word])


def test_an_unknown_setting_in_the_marker_fails_that_test_naming_it(pytester):
    result = run(pytester, "import pytest\n@pytest.mark.card(colour=3)\ndef test_it(card):\n    pass\n")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*unknown card setting 'colour'*"])


def test_each_test_gets_a_fresh_card_closed_even_when_the_test_failed(pytester):
    result = run(pytester, """
def test_fails_holding_vlan_10(card):
    card.vlan.create(10)
    assert False, "on purpose"

def test_creates_vlan_10_again(card, events):
    card.vlan.create(10)
    assert events == []
""")
    result.assert_outcomes(passed=1, failed=1)


def test_the_run_ends_with_googletests_summary_lines(pytester):
    result = run(pytester, """
import pytest

def test_passes(ports):
    pass

def test_fails(ports):
    ports.verify_packet("1/1/1", b"\\x00" * 14)

@pytest.fixture
def broken():
    raise RuntimeError("setup fails")

def test_errors(broken):
    pass

@pytest.fixture
def broken_after():
    yield
    raise RuntimeError("teardown fails")

def test_errors_after_passing(broken_after):
    pass

def test_skips():
    pytest.skip("not counted")
""")
    result.stdout.fnmatch_lines(["[[]  PASSED  []] 1 tests.",
                                 "[[]  FAILED  []] 3 tests, listed below:",
                                 "[[]  FAILED  []] test_the_run_ends_with_googletests_summary_lines.py::test_errors",
                                 "[[]  FAILED  []] test_the_run_ends_with_googletests_summary_lines.py::test_errors_after_passing",
                                 "[[]  FAILED  []] test_the_run_ends_with_googletests_summary_lines.py::test_fails"])

