"""Values by kind: ports, MACs, IP addresses, VLAN bitmaps, frames and flows,
from the forms a Python caller writes to what the C interface takes, and back.

Each converter raises ValueError or TypeError naming the value it could not
read; the entry-point wrappers prefix the call and the parameter."""

import socket

from ._library import ffi

_UINT32 = 0xFFFFFFFF


def text_of(pointer):
    """The text of a C string the host handed out ("" for NULL)."""
    return ffi.string(pointer).decode("utf-8", "replace") if pointer else ""


# --- Ports ---------------------------------------------------------------------
def _port_numbers(form):
    if isinstance(form, str):
        words = form.split("/")
        if len(words) != 3 or not all(word.isdigit() and word.isascii() for word in words):
            raise ValueError("bad port %r: expected unit/slot/port, e.g. 1/1/3" % form)
        return tuple(int(word) for word in words)
    if isinstance(form, (tuple, list)) and len(form) == 3 and all(
            isinstance(number, int) and not isinstance(number, bool) for number in form):
        if not all(0 <= number <= _UINT32 for number in form):
            raise ValueError("bad port %r: numbers from 0 to %d" % (tuple(form), _UINT32))
        return tuple(form)
    raise TypeError("bad port %r: expected 'unit/slot/port', (unit, slot, port) or a Port" % (form,))


class Port(str):
    """A logical port "unit/slot/port" (LAG interfaces are 0/1/n), equal to its text."""

    def __new__(cls, form):
        if type(form) is cls:
            return form
        numbers = _port_numbers(form)
        port = str.__new__(cls, "%d/%d/%d" % numbers)
        port.unit, port.slot, port.port = numbers
        return port

    def __repr__(self):
        return "Port(%s)" % str.__repr__(self)

    def __reduce__(self):
        return (Port, (str(self),))


_ports_out = {}


def port_of(usp):
    """The Port of a usp_s (cdata), cached by its numbers."""
    numbers = (usp.unit, usp.slot, usp.port)
    port = _ports_out.get(numbers)
    if port is None:
        port = _ports_out[numbers] = Port(numbers)
    return port


class PortCache(dict):
    """Port forms ("1/1/3", (1, 1, 3), Port) to prepared usp_s* cdata, for inputs only:
    the library never writes an input port."""

    def convert(self, form):
        port = Port(form)
        usp = ffi.new("usp_s *", (port.unit, port.slot, port.port))
        if isinstance(form, (str, tuple)):
            self[form] = usp
        return usp

    def list(self, forms):
        """(usp_s[] cdata, count) of a list of port forms."""
        if isinstance(forms, (str, bytes)) or not hasattr(forms, "__iter__"):
            raise TypeError("bad port list %r: expected a list of ports" % (forms,))
        numbers = [Port(form) for form in forms]
        array = ffi.new("usp_s[]", len(numbers) or 1)
        for index, port in enumerate(numbers):
            array[index].unit, array[index].slot, array[index].port = port.unit, port.slot, port.port
        return array, len(numbers)


# --- MAC and IP addresses ----------------------------------------------------------
_macs = {}


def mac_in(form):
    """6 bytes of a MAC "00:11:22:33:44:55" (or '-' separated), or of 6 bytes."""
    value = _macs.get(form) if isinstance(form, (str, bytes)) else None
    if value is not None:
        return value
    if isinstance(form, (bytes, bytearray)):
        if len(form) != 6:
            raise ValueError("bad MAC %r: expected 6 bytes, got %d" % (bytes(form), len(form)))
        value = bytes(form)
    elif isinstance(form, str):
        words = form.replace("-", ":").split(":")
        try:
            if len(words) != 6 or not all(1 <= len(word) <= 2 for word in words):
                raise ValueError
            value = bytes(int(word, 16) for word in words)
        except ValueError:
            raise ValueError("bad MAC %r: expected six hex bytes, e.g. 00:1b:21:0a:0b:0c" % form) from None
    else:
        raise TypeError("bad MAC %r: expected text or 6 bytes" % (form,))
    if isinstance(form, (str, bytes)):
        _macs[form] = value
    return value


def mac_text(data):
    return ":".join("%02x" % byte for byte in bytes(data))


def ipv4_in(form):
    """An IPv4 address (or mask) in host order from "10.0.0.1" or an int."""
    if isinstance(form, int) and not isinstance(form, bool):
        if not 0 <= form <= _UINT32:
            raise ValueError("bad IPv4 address %d: from 0 to %d" % (form, _UINT32))
        return form
    if isinstance(form, str):
        try:
            return int.from_bytes(socket.inet_pton(socket.AF_INET, form), "big")
        except OSError:
            raise ValueError("bad IPv4 address %r: expected a dotted quad, e.g. 10.0.0.1" % form) from None
    raise TypeError("bad IPv4 address %r: expected text or an int" % (form,))


def ipv4_text(value):
    return socket.inet_ntop(socket.AF_INET, value.to_bytes(4, "big"))


def ipv4_mask(length):
    if not 0 <= length <= 32:
        raise ValueError("bad IPv4 prefix length %d: from 0 to 32" % length)
    return (_UINT32 << (32 - length)) & _UINT32


def ipv6_in(form):
    """16 bytes of an IPv6 address from "2001:db8::1" or 16 bytes."""
    if isinstance(form, (bytes, bytearray)):
        if len(form) != 16:
            raise ValueError("bad IPv6 address %r: expected 16 bytes, got %d" % (bytes(form), len(form)))
        return bytes(form)
    if isinstance(form, str):
        try:
            return socket.inet_pton(socket.AF_INET6, form)
        except OSError:
            raise ValueError("bad IPv6 address %r: expected e.g. 2001:db8::1" % form) from None
    raise TypeError("bad IPv6 address %r: expected text or 16 bytes" % (form,))


def ipv6_text(data):
    return socket.inet_ntop(socket.AF_INET6, bytes(data))


def ipv6_mask_in(form):
    """16 bytes of leading ones from a prefix length (int or "64", "/64") or a mask's text."""
    if isinstance(form, str) and form.lstrip("/").isdigit():
        form = int(form.lstrip("/"))
    if isinstance(form, int) and not isinstance(form, bool):
        if not 0 <= form <= 128:
            raise ValueError("bad IPv6 prefix length %d: from 0 to 128" % form)
        return ((1 << 128) - (1 << (128 - form))).to_bytes(16, "big")
    try:
        mask = ipv6_in(form)
    except ValueError:
        raise ValueError("bad IPv6 mask %r: expected a prefix length or a mask, e.g. 64 or ffff:ffff::"
                         % (form,)) from None
    bits = int.from_bytes(mask, "big")
    ones = bin(bits).count("1")
    if bits != (1 << 128) - (1 << (128 - ones)):
        raise ValueError("bad IPv6 mask %r: its ones are not leading" % (form,))
    return mask


def prefix_in(text):
    """(version, address, prefix length) of "10.2.0.0/16" or "2001:db8::/32"."""
    if not isinstance(text, str) or text.count("/") != 1:
        raise ValueError("bad prefix %r: expected address/length, e.g. 10.2.0.0/16" % (text,))
    address, length = text.split("/")
    if not length.isdigit():
        raise ValueError("bad prefix %r: the length is not a number" % text)
    if ":" in address:
        return 6, ipv6_in(address), int(length)
    return 4, ipv4_in(address), int(length)


# --- VLAN bitmaps and frames ---------------------------------------------------------
def vlan_bitmap_in(vlans):
    """512 bytes, bit (vlan % 8) of byte (vlan / 8), from an iterable of VLAN ids."""
    if isinstance(vlans, (str, bytes)) or not hasattr(vlans, "__iter__"):
        raise TypeError("bad VLAN set %r: expected an iterable of VLAN ids" % (vlans,))
    bitmap = bytearray(512)
    for vlan in vlans:
        if not isinstance(vlan, int) or isinstance(vlan, bool) or not 0 <= vlan < 4096:
            raise ValueError("bad VLAN %r in a VLAN set: from 0 to 4095" % (vlan,))
        bitmap[vlan // 8] |= 1 << (vlan % 8)
    return bytes(bitmap)


def frame_in(frame):
    """The bytes of a frame: bytes, bytearray, or anything bytes() reads (a scapy packet)."""
    if type(frame) is bytes:
        return frame
    if isinstance(frame, (str, int)) or frame is None:
        raise TypeError("bad frame %r: expected bytes or a packet" % (frame,))
    try:
        return bytes(frame)
    except TypeError:
        raise TypeError("bad frame of type %s: bytes() cannot read it" % type(frame).__name__) from None


def packet_in(frame):
    """(ctype_packet_s*, the bytes it points at: keep them alive for the call)."""
    data = ffi.from_buffer("unsigned char[]", frame_in(frame))
    return ffi.new("ctype_packet_s *", {"length": len(data), "type": 0, "data": data}), data


# --- Flows -------------------------------------------------------------------------
# Match fields of a flow and their bits in match_flags, in the record's order.
_FLOW_FIELDS = (
    ("in_port", 1 << 0), ("dst_mac", 1 << 1), ("src_mac", 1 << 2), ("vlan_id", 1 << 3),
    ("vlan_pcp", 1 << 4), ("eth_type", 1 << 5), ("src_ip", 1 << 6), ("dst_ip", 1 << 7),
    ("ip_proto", 1 << 8), ("ip_tos", 1 << 9), ("l4_src_port", 1 << 10), ("l4_dst_port", 1 << 11),
)
FLOW_MATCH_BITS = dict(_FLOW_FIELDS)
_FLOW_EXTRA = ("src_ip_mask", "dst_ip_mask", "match_flags")


class Flow(dict):
    """The match of a flow: Flow(in_port="1/1/1", eth_type=0x0806, dst_ip="10.2.0.0/16").
    Every field given takes part in the match (match_flags, unless given, says so); an
    IP field takes an address with a prefix length, or an address and its *_mask."""

    def __init__(self, fields=(), **more):
        super().__init__(fields, **more)
        unknown = sorted(set(self) - set(FLOW_MATCH_BITS) - set(_FLOW_EXTRA))
        if unknown:
            raise ValueError("unknown flow match field %r: one of %s"
                             % (unknown[0], ", ".join(list(FLOW_MATCH_BITS) + list(_FLOW_EXTRA))))

    def match_flags(self):
        flags = self.get("match_flags")
        if flags is None:
            flags = sum(bit for name, bit in _FLOW_FIELDS if name in self)
        return flags


def _flow_ip(flow, name):
    value = flow.get(name, 0)
    mask = flow.get(name + "_mask")
    if isinstance(value, str) and "/" in value:
        version, address, length = prefix_in(value)
        if version != 4:
            raise ValueError("bad %s %r: flows match IPv4 addresses" % (name, value))
        value, mask = address, ipv4_mask(length) if mask is None else mask
    return ipv4_in(value), ipv4_in(_UINT32 if mask is None else mask)


def flow_in(flow, ports):
    """ctype_of_flow_s* of a Flow or a dict of match fields."""
    if not isinstance(flow, Flow):
        if not isinstance(flow, dict):
            raise TypeError("bad flow %r: expected a Flow or a dict of match fields" % (flow,))
        flow = Flow(flow)
    record = ffi.new("ctype_of_flow_s *")
    if "in_port" in flow:
        record.in_port = ports.convert(flow["in_port"])[0]
    for name in ("dst_mac", "src_mac"):
        if name in flow:
            setattr(record, name, list(mac_in(flow[name])))
    for name in ("vlan_id", "vlan_pcp", "eth_type", "ip_proto", "ip_tos", "l4_src_port", "l4_dst_port"):
        try:
            setattr(record, name, flow.get(name, 0))
        except (TypeError, OverflowError) as error:
            raise ValueError("bad flow %s %r: %s" % (name, flow.get(name), error)) from None
    record.src_ip, record.src_ip_mask = _flow_ip(flow, "src_ip")
    record.dst_ip, record.dst_ip_mask = _flow_ip(flow, "dst_ip")
    record.match_flags = flow.match_flags()
    return record


def flow_udf_in(words):
    """ctype_of_flow_qualify_udf_s* of up to four words; None is four zeros (the library
    reads the qualifier, NULL included)."""
    return ffi.new("ctype_of_flow_qualify_udf_s *", [list(words or ())])


def action_param_in(words):
    """ctype_of_action_param_s (by value) of an int (the first word) or up to three words."""
    if isinstance(words, int):
        words = [words]
    return ffi.new("ctype_of_action_param_s *", [list(words)])[0]


def user_data_in(value):
    """An untyped pointer handed over unread: None is NULL, else a cdata pointer."""
    return ffi.NULL if value is None else value
