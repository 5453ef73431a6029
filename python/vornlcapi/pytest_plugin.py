"""pytest fixtures for tests of control planes on the virtual line card.

Load with `pytest -p vornlcapi.pytest_plugin` (the installed package
registers it with pytest by itself).

    @pytest.mark.card(ports=4)
    def test_flooding(card, ports):
        card.vlan.create(10)
        card.vlan.add_ports(10, untagged=["1/1/1", "1/1/2", "1/1/3"])
        ports.send("1/1/1", frame)
        ports.verify_packets(frame, ["1/1/2", "1/1/3"])

Fixtures: `card` (a fresh vornlcapi.Card per test, closed after it, sized
by the `card` marker over `--vorn-card` / the `vorn_card` ini option over
ports=8), `ports` (vornlcapi.testing.Ports bound to the card; the verify
functions of vornlcapi.testing act on it), `events` (the card's events) and
`linux_ports` (ports on TAP interfaces in a namespace of the test's own:
`@pytest.mark.linux_ports("1/1/2")` or `linux_ports.attach("1/1/2")`).
"""
import os

import pytest

DEFAULT_CARD = {"ports": 8}


def pytest_addoption(parser):
    group = parser.getgroup("vornlcapi", "virtual line card")
    group.addoption("--vorn-card", dest="vorn_card", default=None, metavar="SETTINGS",
                    help='default size of the card fixture, e.g. "ports=16 lags=8"')
    parser.addini("vorn_card", 'default size of the card fixture, e.g. "ports=16 lags=8"', default="")


def pytest_configure(config):
    config.addinivalue_line("markers", "card(**settings): the card fixture's settings (ports=8, lags=..., ...)")
    config.addinivalue_line("markers", "linux_ports(*ports): card ports on TAP interfaces in a network "
                                       "namespace of the test's own (needs root)")
    settings_text(config)  # a bad default stops the run before any test


def pytest_collection_modifyitems(items):
    """A test marked linux_ports gets the fixture without asking for it."""
    for item in items:
        if item.get_closest_marker("linux_ports") is not None and "linux_ports" not in item.fixturenames:
            item.fixturenames.append("linux_ports")


def settings_text(config):
    """The default card settings: the option over the ini value, as a dict."""
    text = config.getoption("vorn_card") or config.getini("vorn_card") or ""
    settings = dict(DEFAULT_CARD)
    for word in text.split():
        name, equals, value = word.partition("=")
        if not equals or not name or not value.isdigit():
            raise pytest.UsageError("--vorn-card / vorn_card: %r is not NAME=NUMBER (in %r)" % (word, text))
        settings[name] = int(value)
    return settings


@pytest.fixture
def card(request):
    """A fresh card for the test, closed after it whatever happened."""
    import vornlcapi  # pylint: disable=import-outside-toplevel

    settings = settings_text(request.config)
    marker = request.node.get_closest_marker("card")
    if marker is not None:
        if marker.args:
            raise pytest.UsageError("@pytest.mark.card takes settings by name, e.g. card(ports=4)")
        settings.update(marker.kwargs)
    opened = vornlcapi.Card(**settings)
    try:
        yield opened
    finally:
        opened.close()


@pytest.fixture
def ports(card):
    """What the card's ports emit, and the verify helpers."""
    from vornlcapi import testing  # pylint: disable=import-outside-toplevel

    bound = testing.Ports(card)
    testing.use_ports(bound)
    try:
        yield bound
    finally:
        testing.use_ports(None)


@pytest.fixture
def events(card):
    """The events the card reported, as they arrived."""
    return card.events


def unavailable(reason):
    """Skips the test for a missing privilege or tool, or fails it in CI."""
    if os.environ.get("CI") == "true":
        pytest.fail("CI: Linux ports need " + reason, pytrace=False)
    pytest.skip("Linux ports need " + reason)


@pytest.fixture
def linux_ports(request, card, ports):
    """Card ports on TAP interfaces in a network namespace of the test's own:
    those the linux_ports marker names, and any attach()ed."""
    from vornlcapi import linux  # pylint: disable=import-outside-toplevel

    missing = linux.missing_requirements()
    if missing:
        unavailable("; ".join(missing))
    try:
        attached = linux.LinuxPorts(card, ports)
    except linux.Unavailable as error:
        unavailable(str(error))
    try:
        marker = request.node.get_closest_marker("linux_ports")
        for port in marker.args if marker is not None else ():
            attached.attach(port)
        yield attached
    finally:
        attached.close()
