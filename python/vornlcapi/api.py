"""card.api: one Python function per C entry point, made from the entry-point table.

Each function's source is built from its arguments' directions and kinds and
compiled once per process (as collections.namedtuple does), so that a call is
one Python call, the conversions its kinds need, the cffi call and a check of
the answer.  Every name the function uses is a closure cell: nothing is looked
up by attribute name inside it.  Port inputs come from a per-card cache of
prepared usp_s* cdata (never handed to an output); outputs are written to the
function's own buffers, made once per card and read before it returns (the
card is single-threaded).

A call that answers 0 raises Refused (with the reference host's reason when it
refused); inputs are converted by kind, outputs returned: one as the value,
several as a tuple, none as None."""

import keyword

from . import enums, values
from ._entry_points import ENTRY_POINTS
from ._library import ffi, host, library
from .errors import Refused

# Entry points whose answer says nothing of success (kept as published, and
# visible): they never raise and return None.
ALWAYS_ZERO = frozenset({"get_system_mac_limit"})  # answers 0 in every case

# What every function's cells are bound to (the per-card ones, _ports and
# _capacity, are given when a card makes its functions).
_COMMON_CELLS = {
    "_new": ffi.new, "_buffer": ffi.buffer,
    "_port_of": values.port_of, "_mac": values.mac_in, "_mac_text": values.mac_text,
    "_ipv4": values.ipv4_in, "_ipv6": values.ipv6_in, "_ipv6_mask": values.ipv6_mask_in,
    "_vlan_bitmap": values.vlan_bitmap_in, "_packet": values.packet_in, "_flow": values.flow_in,
    "_udf": values.flow_udf_in, "_action_param": values.action_param_in,
    "_pointer": values.user_data_in, "_text": lambda text: text.encode(),
}
_CARD_CELLS = ("_ports", "_capacity")


def refused(call):
    """The Refused of a call that answered 0, with the reference host's reason when it
    refused.  Every failed call takes the host's refusal, so what is taken is this
    call's; nothing to take means the library alone said no."""
    refusal = ffi.new("vornsim_refusal *")
    if not host.vornsim_take_refusal(refusal):
        return Refused(call)
    return Refused(call, values.text_of(refusal.operation), refusal.slot, values.text_of(refusal.reason))


def bad_argument(call, parameter, error, unconverted):
    """The error of a call whose arguments could not be converted: `parameter` is the one
    being converted, or None when cffi refused one of `unconverted` ((parameter, ctype,
    value), the arguments handed over as given)."""
    if parameter is None:
        for name, ctype, value in unconverted:
            try:
                ffi.new(ffi.getctype(ctype, "*"))[0] = value
            except (TypeError, OverflowError) as found:
                parameter, error = name, found
                break
    kind = TypeError if isinstance(error, TypeError) else ValueError
    return kind("%s: %s%s" % (call, "%s: " % parameter if parameter else "", error))


class _Source:
    """The function of one entry point as it is being written."""

    def __init__(self, name, symbol, arguments):
        self.name, self.arguments = name, arguments
        self.function = getattr(library, symbol)
        self.c_types = ffi.typeof(self.function).args
        self.parameters, self.lines, self.c_args, self.outputs = [], [], [], []
        self.buffers = []  # made once per card: the function's own output buffers
        self.unconverted = []
        self.cells = {"_f": self.function}

    def cell(self, prefix, value):
        name = "%s%d" % (prefix, len(self.cells))
        self.cells[name] = value
        return name

    def parameter(self, name, default=False):
        if keyword.iskeyword(name):
            name += "_"
        self.parameters.append(name + ("=None" if default else ""))
        return name

    def convert(self, python, line):
        self.lines += ["_at = %r" % python, line]

    def output_value(self, index, c_name):
        """The output expression of a pointer to a number, flag or enumeration."""
        item = self.c_types[index].item
        enumeration = enums.BY_C_NAME.get(item.cname) if item.kind == "enum" else None
        if enumeration is None:
            return "%s[0]" % c_name
        return "%s(%s[0])" % (self.cell("_enum", enums.from_c(enumeration)), c_name)

    def source(self):
        defaults = [p for p in self.parameters if p.endswith("=None")]
        if defaults and self.parameters[-len(defaults):] != defaults:
            raise RuntimeError("%s: optional parameters before required ones" % self.name)
        checks = "(%s,)" % ", ".join("(%r, %s, %s)" % item for item in self.unconverted) \
            if self.unconverted else "()"
        body = self.lines + ["_at = None", "_rc = _f(%s)" % ", ".join(self.c_args)]
        text = ["def %s(%s):" % (self.name, ", ".join(self.parameters)),
                "    try:"] + ["        " + line for line in body] + [
                "    except (ValueError, TypeError, OverflowError) as _e:",
                "        raise _bad(%r, _at, _e, None if _at else %s) from None" % (self.name, checks)]
        if self.name in ALWAYS_ZERO:
            text.append("    return None")
            return text
        text += ["    if not _rc:", "        raise _refused(%r)" % self.name]
        if self.outputs:
            result = self.outputs[0] if len(self.outputs) == 1 else "(%s,)" % ", ".join(self.outputs)
            text.append("    return " + result)
        return text


# --- Arguments by direction and kind ---------------------------------------------------
def _in_as_given(source, index, name):
    python = source.parameter(name)
    source.c_args.append(python)
    source.unconverted.append((python, source.cell("_T", source.c_types[index]), python))


def _in_usp(source, index, name):
    python = source.parameter(name)
    source.lines += ["_at = %r" % python, "try:", "    c_%s = _ports[%s]" % (python, python),
                     "except (KeyError, TypeError):", "    c_%s = _ports.convert(%s)" % (python, python)]
    source.c_args.append("c_" + python)


def _in_usp_list(source, index, name):
    following = source.arguments[index + 1] if index + 1 < len(source.arguments) else None
    if following is None or following[1:] != ("in", "number"):
        raise RuntimeError("%s: port list %s is not followed by its count" % (source.name, name))
    python = source.parameter(name)
    source.convert(python, "c_%s, n_%s = _ports.list(%s)" % (python, python, python))
    source.c_args += ["c_" + python, "n_" + python]
    return 1  # the count is taken


def _converted(converter, default=False):
    def handle(source, index, name):
        python = source.parameter(name, default)
        source.convert(python, "c_%s = %s(%s)" % (python, converter, python))
        source.c_args.append("c_" + python)
    return handle


def _in_packet(source, index, name):
    python = source.parameter(name)
    source.convert(python, "c_%s, k_%s = _packet(%s)" % (python, python, python))
    source.c_args.append("c_" + python)


def _in_flow(source, index, name):
    python = source.parameter(name)
    source.convert(python, "c_%s = _flow(%s, _ports)" % (python, python))
    source.c_args.append("c_" + python)


def _out_value(source, index, name):
    c_name = "o_" + name
    source.buffers.append("%s = _new(%s)" % (c_name, source.cell("_T", source.c_types[index])))
    source.c_args.append(c_name)
    source.outputs.append(source.output_value(index, c_name))


def _out_usp(source, index, name):
    source.buffers.append("o_%s = _new(%s)" % (name, source.cell("_T", source.c_types[index])))
    source.c_args.append("o_" + name)
    source.outputs.append("_port_of(o_%s)" % name)


def _out_mac(source, index, name):
    source.buffers.append("o_%s = _new(%s)" % (name, source.cell("_T", ffi.typeof("unsigned char[6]"))))
    source.c_args.append("o_" + name)
    source.outputs.append("_mac_text(_buffer(o_%s))" % name)


def _out_usp_list(source, index, name):
    following = source.arguments[index + 1] if index + 1 < len(source.arguments) else None
    if following is None or following[1:] != ("in_out", "number"):
        raise RuntimeError("%s: port list %s is not followed by its count" % (source.name, name))
    array = source.cell("_T", ffi.getctype(source.c_types[index].item, "[]"))
    count = source.cell("_T", source.c_types[index + 1])
    source.buffers += ["o_%s = _new(%s, _capacity)" % (name, array), "n_%s = _new(%s)" % (name, count)]
    source.lines.append("n_%s[0] = _capacity" % name)
    source.c_args += ["o_" + name, "n_" + name]
    source.outputs.append("[_port_of(o_%s[k]) for k in range(n_%s[0])]" % (name, name))
    return 1  # the count is taken


def _in_out_value(source, index, name):
    python = source.parameter(name)
    source.buffers.append("o_%s = _new(%s)" % (name, source.cell("_T", source.c_types[index])))
    source.convert(python, "o_%s[0] = %s" % (name, python))
    source.c_args.append("o_" + name)
    source.outputs.append(source.output_value(index, "o_" + name))


_HANDLERS = {
    ("in", "number"): _in_as_given, ("in", "flag"): _in_as_given,
    ("in", "text"): _converted("_text"),
    ("in", "usp"): _in_usp, ("in", "usp_list"): _in_usp_list,
    ("in", "mac"): _converted("_mac"), ("in", "ipv4"): _converted("_ipv4"),
    ("in", "ipv6"): _converted("_ipv6"), ("in", "ipv6_mask"): _converted("_ipv6_mask"),
    ("in", "vlan_bitmap"): _converted("_vlan_bitmap"), ("in", "packet"): _in_packet,
    ("in", "flow_usp"): _in_flow, ("in", "flow_udf"): _converted("_udf", default=True),
    ("in", "action_param"): _converted("_action_param"),
    ("in", "callback"): _converted("_pointer"), ("in", "user_data"): _converted("_pointer", default=True),
    ("out", "number"): _out_value, ("out", "flag"): _out_value, ("out", "usp"): _out_usp,
    ("out", "mac"): _out_mac, ("out", "usp_list"): _out_usp_list,
    ("in_out", "number"): _in_out_value,
}


def _factory(name, symbol, arguments):
    """(factory, cell names): the factory takes the cells and returns the function."""
    source = _Source(name, symbol, arguments)
    index = 0
    while index < len(arguments):
        parameter, direction, kind = arguments[index]
        handler = _HANDLERS.get((direction, kind))
        if handler is None:
            raise RuntimeError("%s: no conversion for %s(%s) argument %s" % (name, direction, kind, parameter))
        index += 1 + (handler(source, index, parameter) or 0)
    cells = dict(_COMMON_CELLS, _bad=bad_argument, _refused=refused, **source.cells)
    names = sorted(cells) + list(_CARD_CELLS)
    text = "def _make(%s):\n" % ", ".join(names) + "".join(
        "    %s\n" % line for line in source.buffers + source.source()) + "    return %s\n" % name
    namespace = {}
    exec(compile(text, "<vornlcapi.api %s>" % name, "exec"), namespace)
    return namespace["_make"], cells, text


# name: (factory, the cells common to every card, source text), in the table's order.
FACTORIES = {name: _factory(name, symbol, arguments) for name, symbol, arguments in ENTRY_POINTS}


class Api:
    """Every C entry point of the library, by its name without "ctype_vorn_"."""

    def __init__(self, ports, capacity):
        for name, (make, cells, _) in FACTORIES.items():
            setattr(self, name, make(_ports=ports, _capacity=capacity, **cells))

    def __dir__(self):
        return list(FACTORIES)

    @staticmethod
    def source(name):
        """The Python source of an entry point's function."""
        return FACTORIES[name][2]
