"""Checking what a card sent: expected frames, masks of fields a test does
not care about, and the queues of what each port emitted.

    from vornlcapi.testing import Mask, verify_packet, verify_no_other_packets

    ports.send("1/1/1", frame)
    verify_packet("1/1/2", Mask(routed).ignore("IP.chksum"))
    verify_no_other_packets()

Frames are bytes, bytearrays or anything bytes() accepts (scapy packets).
The per-frame path does no scapy work when a test hands over bytes: scapy
is imported only to explain a failure or to find a masked field.
"""
import collections
import functools

__all__ = ["Mask", "Ports", "current_ports", "verify_packet", "verify_no_packet",
           "verify_no_other_packets", "verify_packets", "verify_cpu_packet"]


def _scapy():
    import scapy.all  # pylint: disable=import-outside-toplevel
    return scapy.all


def frame_bytes(frame):
    """The bytes of a frame given as bytes, a bytearray or a scapy packet."""
    if type(frame) is bytes:  # pylint: disable=unidiomatic-typecheck
        return frame
    if isinstance(frame, Mask):
        raise TypeError("a Mask describes frames to expect, it cannot be sent")
    try:
        return bytes(frame)
    except TypeError:
        raise TypeError("a frame must be bytes, a bytearray or a scapy packet, not %s"
                        % type(frame).__name__) from None


# --- What the bytes of a frame are --------------------------------------------

Span = collections.namedtuple("Span", "start end name")  # bit offsets, "IP.ttl"


@functools.lru_cache(maxsize=256)
def field_spans(data):
    """Where each field of an Ethernet frame lies, as scapy dissects it:
    Spans in bit offsets, named "Layer.field", in frame order."""
    spans = []
    offset = 0
    layer = _scapy().Ether(data)
    while layer is not None and layer.fields_desc and layer.raw_packet_cache is not None:
        header = layer.raw_packet_cache
        rest = header
        for field in layer.fields_desc:
            start = len(header) * 8 - _bits_left(rest)
            rest, _ = field.getfield(layer, rest)
            end = len(header) * 8 - _bits_left(rest)
            spans.append(Span(offset * 8 + start, offset * 8 + end, "%s.%s" % (type(layer).__name__, field.name)))
        offset += len(header)
        layer = layer.payload
    return tuple(spans)


def _bits_left(rest):
    """What a scapy field left undissected: bytes, or (bytes, bits used)."""
    if isinstance(rest, tuple):
        return len(rest[0]) * 8 - rest[1]
    return len(rest) * 8


def field_at(data, offset):
    """The name of the field byte `offset` of `data` falls in, or None."""
    try:
        spans = field_spans(bytes(data))
    except Exception:  # pylint: disable=broad-except
        return None
    for span in spans:
        if span.start < (offset + 1) * 8 and offset * 8 < span.end:
            return span.name
    return None


def summary(data):
    """scapy's one-line summary of a frame, with its length."""
    try:
        text = _scapy().Ether(bytes(data)).summary()
    except Exception:  # pylint: disable=broad-except
        text = bytes(data[:32]).hex() + ("..." if len(data) > 32 else "")
    return "%s (%d bytes)" % (text, len(data))


# --- Masks ----------------------------------------------------------------------

class Mask:
    """An expected frame whose ignored fields and bytes match anything.

        Mask(routed).ignore("IP.ttl", "IP.chksum").ignore_bytes(60, 4)

    A field name is scapy's "Layer.field" as the frame dissects; it covers
    every occurrence of that layer.  The frame's length must match."""

    def __init__(self, frame):
        self.frame = frame_bytes(frame)
        self._care = (1 << (8 * len(self.frame))) - 1
        self._compiled = None

    def ignore(self, *fields):
        """Ignores fields by scapy name ("IP.ttl", "Dot1Q.prio", "UDP.chksum")."""
        spans = field_spans(self.frame)
        for name in fields:
            found = [span for span in spans if span.name == name]
            if not found:
                raise ValueError("Mask.ignore: no field %r in %s; its fields: %s"
                                 % (name, summary(self.frame), " ".join(dict.fromkeys(s.name for s in spans))))
            for span in found:
                self._drop_bits(span.start, span.end)
        return self

    def ignore_bytes(self, offset, length):
        """Ignores `length` bytes from byte `offset`."""
        if not (isinstance(offset, int) and isinstance(length, int)) or offset < 0 or length < 0 \
                or offset + length > len(self.frame):
            raise ValueError("Mask.ignore_bytes(%r, %r): not a byte range of the %d-byte frame"
                             % (offset, length, len(self.frame)))
        self._drop_bits(offset * 8, (offset + length) * 8)
        return self

    def _drop_bits(self, start, end):
        size = 8 * len(self.frame)
        self._care &= ~(((1 << (end - start)) - 1) << (size - end))
        self._compiled = None

    def _expected(self):
        if self._compiled is None:
            self._compiled = int.from_bytes(self.frame, "big") & self._care
        return self._compiled

    def cares(self, offset):
        """True when byte `offset` is compared, in part or in full."""
        size = 8 * len(self.frame)
        return bool((self._care >> (size - 8 * (offset + 1))) & 0xff)

    def matches(self, data):
        return len(data) == len(self.frame) and int.from_bytes(data, "big") & self._care == self._expected()

    def first_difference(self, data):
        """The first byte offset where `data` does not match, or None."""
        size = 8 * len(self.frame)
        for offset in range(min(len(data), len(self.frame))):
            care = (self._care >> (size - 8 * (offset + 1))) & 0xff
            if (data[offset] ^ self.frame[offset]) & care:
                return offset
        return None if len(data) == len(self.frame) else min(len(data), len(self.frame))

    def __repr__(self):
        ignored = sum(1 for offset in range(len(self.frame)) if not self.cares(offset))
        return "Mask(%s, %d bytes ignored in part or in full)" % (summary(self.frame), ignored)


def _expectation(expected):
    """bytes or a Mask, from what a test hands a verify."""
    if isinstance(expected, Mask) or type(expected) is bytes:  # pylint: disable=unidiomatic-typecheck
        return expected
    return frame_bytes(expected)


def _matches(expected, data):
    if type(expected) is bytes:  # pylint: disable=unidiomatic-typecheck
        return data == expected
    return expected.matches(data)


def _difference(expected, data):
    """How `data` differs from `expected`, in words."""
    frame = expected.frame if isinstance(expected, Mask) else expected
    if isinstance(expected, Mask):
        offset = expected.first_difference(data)
    else:
        offset = next((i for i, (a, b) in enumerate(zip(frame, data)) if a != b), min(len(frame), len(data)))
    lines = ["  expected: %s%s" % (summary(frame), ", masked" if isinstance(expected, Mask) else ""),
             "  got:      %s" % summary(data)]
    if offset >= min(len(frame), len(data)):
        lines.append("  lengths differ: expected %d bytes, got %d; the first %d are the same"
                     % (len(frame), len(data), offset))
    else:
        field = field_at(frame, offset)
        lines.append("  first difference at byte %d%s: expected 0x%02x, got 0x%02x"
                     % (offset, " (%s)" % field if field else "", frame[offset], data[offset]))
    return lines


# --- The queues of what left each port --------------------------------------------

class Ports:
    """What a card emitted, port by port, as tests send frames in.

    send() injects a frame and queues every frame that left a port and every
    frame the CPU received; the verify helpers take from those queues.  A
    port given as "1/1/3", (1, 1, 3) or a Port names the same queue.  Frames
    sent outside send() (by the CPU, or arriving from Linux interfaces) are
    collected when a verify finds nothing pending where it looks."""

    def __init__(self, card):
        self.card = card
        self.cpu = collections.deque()
        self._pending = collections.defaultdict(collections.deque)
        self._names = {}
        self._linux = {}
        self._last = None

    def port(self, port):
        """The Port a port argument names."""
        try:
            return self._names[port]
        except (KeyError, TypeError):
            pass
        import vornlcapi  # pylint: disable=import-outside-toplevel
        named = vornlcapi.Port(port)
        try:
            self._names[port] = named
        except TypeError:
            pass
        return named

    def attach_linux(self, port, linux_port):
        """Frames sent to `port` come from `linux_port`'s Linux side, and
        frames verified on it are read there (see vornlcapi.linux)."""
        self._linux[self.port(port)] = linux_port

    def detach_linux(self, port):
        self._linux.pop(self.port(port), None)

    def linux(self, port):
        """The Linux interface `port` is on (vornlcapi.linux.LinuxPort), or None."""
        return self._linux.get(self.port(port))

    def send(self, port, frame):
        """`frame` enters `port` off the wire; returns what it did (a Result)."""
        port = self.port(port)
        data = frame_bytes(frame)
        linux = self._linux.get(port) if self._linux else None
        result = linux.send(data) if linux else self.card.inject(port, data)
        self._last = (port, result)
        self.take(result)
        return result

    def take(self, result):
        """Queues what a Result says left the ports and reached the CPU."""
        pending = self._pending
        for frame in result.egress:
            pending[frame.port].append(frame.data)
        if result.cpu:
            self.cpu.extend(result.cpu)

    def collect(self):
        """Queues what the card sent outside send() since the last collect."""
        self.take(self.card.collect())

    def sent_to(self, port):
        """The frames pending on `port`, oldest first (bytes)."""
        self.collect()
        return list(self._pending[self.port(port)])

    def clear(self):
        """Forgets every pending frame, on the ports and at the CPU."""
        self.collect()
        for port, linux in self._linux.items():
            for _ in self._pending[port]:
                linux.receive(port)
        self._pending.clear()
        self.cpu.clear()

    # --- Verifying -------------------------------------------------------------

    def verify_packet(self, port, expected):
        """The oldest frame pending on `port` is `expected` (bytes, a scapy
        packet or a Mask); it is taken off the queue and returned."""
        port = self.port(port)
        queue = self._pending[port]
        if not queue:
            self.collect()
        if not queue:
            self._fail("verify_packet on %s: no frame left that port" % port,
                       ["  expected: %s" % summary(_frame_of(expected))])
        data = queue.popleft()
        expected = _expectation(expected)
        if self._linux:
            linux = self._linux.get(port)
            if linux:
                data = linux.receive(port)
        if not _matches(expected, data):
            self._fail("verify_packet on %s: the frame that left differs from the one expected" % port,
                       _difference(expected, data))
        return data

    def verify_packets(self, expected, ports):
        """`expected` left each of `ports` (flooded, say), and nothing else is
        pending anywhere."""
        for port in ports:
            self.verify_packet(port, expected)
        self.verify_no_other_packets()

    def verify_no_packet(self, port, expected=None):
        """Nothing is pending on `port` (or, with `expected`, nothing that
        matches it); the queue is left as it is."""
        port = self.port(port)
        self.collect()
        queue = self._pending[port]
        if expected is None:
            if queue:
                self._fail("verify_no_packet on %s: %d frame(s) left that port" % (port, len(queue)),
                           ["  %s" % summary(data) for data in queue])
            return
        expected = _expectation(expected)
        for data in queue:
            if _matches(expected, data):
                self._fail("verify_no_packet on %s: the frame left that port" % port,
                           ["  %s" % summary(data)])

    def verify_cpu_packet(self, expected, reason=None):
        """The oldest frame the CPU received is `expected` (and, when given,
        was trapped for `reason`); taken off the queue and returned (a
        CpuFrame: port, vlan, reason, data)."""
        if not self.cpu:
            self.collect()
        if not self.cpu:
            self._fail("verify_cpu_packet: the CPU received nothing",
                       ["  expected: %s" % summary(_frame_of(expected))])
        received = self.cpu.popleft()
        expected = _expectation(expected)
        if not _matches(expected, received.data):
            self._fail("verify_cpu_packet: the frame the CPU received (on %s, VLAN %d, %s) differs"
                       % (received.port, received.vlan, received.reason), _difference(expected, received.data))
        if reason is not None and received.reason != reason:
            self._fail("verify_cpu_packet: the CPU received the frame for %r, expected %r"
                       % (received.reason, reason), ["  %s" % summary(received.data)])
        return received

    def verify_no_other_packets(self):
        """Nothing is pending on any port or at the CPU."""
        self.collect()
        if any(self._pending.values()) or self.cpu:
            self._fail("verify_no_other_packets: frames are still pending", [])

    def _fail(self, headline, details):
        lines = [headline] + list(details) + self._pending_lines()
        if self._last is not None:
            port, result = self._last
            if result.drop:
                lines.append("  the last frame sent (on %s) was dropped: %s" % (port, result.drop))
        raise AssertionError("\n".join(lines))

    def _pending_lines(self):
        lines = []
        for port in sorted(self._pending, key=_port_order):
            for data in self._pending[port]:
                lines.append("    %s: %s" % (port, summary(data)))
        for received in self.cpu:
            lines.append("    cpu (from %s, VLAN %d, %s): %s"
                         % (received.port, received.vlan, received.reason, summary(received.data)))
        return ["  pending:"] + lines if lines else ["  nothing else is pending on any port or at the CPU"]


def _frame_of(expected):
    return expected.frame if isinstance(expected, Mask) else frame_bytes(expected)


def _port_order(port):
    return tuple(int(part) for part in str(port).split("/"))


# --- The running test's ports -------------------------------------------------------

_current = None


def use_ports(ports):
    """Makes `ports` the running test's (the plugin's ports fixture does)."""
    global _current  # pylint: disable=global-statement
    _current = ports


def current_ports():
    if _current is None:
        raise RuntimeError("no test's ports are in use: ask for the `ports` fixture "
                           "(pytest -p vornlcapi.pytest_plugin)")
    return _current


def verify_packet(port, expected):
    return current_ports().verify_packet(port, expected)


def verify_packets(expected, ports):
    current_ports().verify_packets(expected, ports)


def verify_no_packet(port, expected=None):
    current_ports().verify_no_packet(port, expected)


def verify_no_other_packets():
    current_ports().verify_no_other_packets()


def verify_cpu_packet(expected, reason=None):
    return current_ports().verify_cpu_packet(expected, reason)
