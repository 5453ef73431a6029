"""The virtual line card: its lifecycle, the reference host's operations on it
(frames in and out, cables, the clock, faults, capture, Linux ports) and the
event callbacks."""

import collections
import os

from . import api, enums, families, values
from ._library import ffi, host, library
from .errors import Error, Refused
from .events import Events, LinkEvent, MacEvent, RxPacket

Frame = collections.namedtuple("Frame", "port data")
CpuFrame = collections.namedtuple("CpuFrame", "port vlan reason data")
Refusal = collections.namedtuple("Refusal", "slot operation reason")


class Result:
    """What a frame did: `egress` (Frame: port, data) in the order the frames left,
    `cpu` (CpuFrame: port, vlan, reason, data), `drop` (why it went nowhere, else "")
    and `trace` (one line per decision)."""

    __slots__ = ("egress", "cpu", "drop", "trace")

    def __init__(self, egress, cpu, drop, trace):
        self.egress, self.cpu, self.drop, self.trace = egress, cpu, drop, trace

    def __repr__(self):
        return "Result(egress=%r, cpu=%r, drop=%r)" % (self.egress, self.cpu, self.drop)


def _result(record, port_of=values.port_of, buffer=ffi.buffer, string=values.text_of):
    egress = [Frame(port_of(frame.port), buffer(frame.data, frame.size)[:])
              for frame in record.egress[0:record.egress_count]] if record.egress_count else []
    cpu = [CpuFrame(port_of(frame.port), frame.vlan, string(frame.reason), buffer(frame.data, frame.size)[:])
           for frame in record.cpu[0:record.cpu_count]] if record.cpu_count else []
    trace = [string(line) for line in record.trace[0:record.trace_count]] if record.trace_count else []
    return Result(egress, cpu, string(record.drop), trace)


# The settings a card starts from where Card() names none: the host's own.
DEFAULT_SETTINGS = dict(word.split("=", 1) for word in values.text_of(host.vornsim_settings()).split())
_SPEED = enums.from_c(enums.SpeedType)
_DUPLEX = enums.from_c(enums.DuplexType)
_MAC_WHAT = {library.LCMGR_MAC_LEARNED: "learned", library.LCMGR_MAC_AGED: "aged",
             library.LCMGR_MAC_DELETED: "deleted"}


def _settings_text(settings):
    unknown = sorted(set(settings) - set(DEFAULT_SETTINGS))
    if unknown:
        raise ValueError("unknown card setting %r: one of %s" % (unknown[0], ", ".join(DEFAULT_SETTINGS)))
    for name, value in settings.items():
        if not isinstance(value, int) or isinstance(value, bool) or value <= 0:
            raise ValueError("bad card setting %s=%r: a positive number" % (name, value))
    return " ".join("%s=%s" % (name, settings.get(name, default)) for name, default in DEFAULT_SETTINGS.items())


class Card:
    """A virtual line card brought up through the library (ctype_vorn_lcmgr_api_init) with
    the given settings (units, slots, ports, lags, lag_members, mac_entries,
    l3_interfaces, hosts, ipv4_routes, ipv6_routes, flows, filters; the host's defaults
    for the others).  One open card per process; close() (or leaving a with block)
    terminates the library and resets the host."""

    _open = None

    def __init__(self, **settings):
        if Card._open is not None:
            raise Error("a line card is already open in this process (%r): close it first" % Card._open)
        text = _settings_text(settings)
        self.settings = dict(kv.split("=") for kv in text.split())
        self.ffi, self.lib = ffi, _Both(library, host)
        self.events = Events()
        self.callback_errors = []
        self._closed = True
        self._ports = values.PortCache()
        self._result = ffi.new("vornsim_result *")
        host.vornsim_reset()
        self._host("configure", host.vornsim_configure, text.encode())
        line_card = ffi.new("int *")
        if not library.ctype_vorn_lcmgr_api_init(line_card):
            error = api.refused("lcmgr_api_init")
            host.vornsim_reset()
            raise error
        self._closed = False
        Card._open = self
        try:
            self._register_callbacks()
            ports = int(self.settings["units"]) * int(self.settings["slots"]) * int(self.settings["ports"])
            self.api = api.Api(self._ports, max(4094, ports + int(self.settings["lags"])))
            families.attach(self)
        except BaseException:
            self.close()
            raise

    def __repr__(self):
        given = ", ".join("%s=%s" % (name, value) for name, value in self.settings.items()
                          if value != DEFAULT_SETTINGS[name])
        return "Card(%s)%s" % (given, " (closed)" if self._closed else "")

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def close(self):
        if self._closed:
            return
        self._closed = True
        try:
            library.ctype_vorn_lcmgr_api_terminate()
        finally:
            host.vornsim_reset()
            if Card._open is self:
                Card._open = None

    @property
    def closed(self):
        return self._closed

    def port(self, port):
        """A view of one port's settings and counters."""
        return families.PortView(self, port)

    # --- Event callbacks ----------------------------------------------------------
    def _register_callbacks(self):
        def guarded(handler):
            def callback(*args):
                try:
                    handler(*args)
                except BaseException as error:  # never into C
                    self.callback_errors.append(error)
            return callback

        def rx_packet(packet, _user_data):
            self.events.append(RxPacket(values.port_of(packet.port), packet.vlan,
                                        ffi.buffer(packet.data, packet.length)[:]))

        def link_change(status, port):
            self.events.append(LinkEvent(values.port_of(port), status.state == library.PHY_STATE_UP,
                                         _SPEED(status.speed), _DUPLEX(status.duplex)))

        def mac_update(address, what, _user_data):
            self.events.append(MacEvent(values.mac_text(bytes(address.mac)), address.vlan,
                                        values.port_of(address.port), _MAC_WHAT.get(what, what),
                                        bool(address.flags & 1), bool(address.flags & 2)))

        # The cdata callbacks live as long as the card.
        self._callbacks = (
            ffi.callback("void(*)(ctype_rx_packet_s *, void *)", guarded(rx_packet)),
            ffi.callback("void(*)(ctype_link_status_s *, usp_s *)", guarded(link_change)),
            ffi.callback("void(*)(ctype_l2_addr_s *, int, void *)", guarded(mac_update)),
        )
        rx, link, mac = self._callbacks
        for name, call in (("register_rx_packet_callback", lambda: library.ctype_vorn_register_rx_packet_callback(rx, ffi.NULL)),
                           ("register_link_change_callback", lambda: library.ctype_vorn_register_link_change_callback(link)),
                           ("register_mac_update_callback", lambda: library.ctype_vorn_register_mac_update_callback(mac, ffi.NULL))):
            if not call():
                raise api.refused(name)

    # --- The reference host's operations --------------------------------------------
    def _host(self, call, function, *args):
        """Calls a host operation that answers 1 or 0; Refused with the host's reason on 0."""
        if not function(*args):
            raise api.refused(call)

    def _port(self, form):
        try:
            return self._ports[form]
        except (KeyError, TypeError):
            return self._ports.convert(form)

    def inject(self, port, frame):
        """A frame entering `port` off the wire (no FCS), through the pipeline: Result."""
        data = values.frame_in(frame)
        self._host("inject", host.vornsim_inject, self._port(port), data, len(data), self._result)
        return _result(self._result)

    def trace(self, port, frame):
        """The same frame explained decision by decision; nothing changes: Result."""
        data = values.frame_in(frame)
        self._host("trace", host.vornsim_trace_frame, self._port(port), data, len(data), self._result)
        return _result(self._result)

    def collect(self):
        """What left the ports and reached the CPU outside inject since the last collect."""
        host.vornsim_collect(self._result)
        return _result(self._result)

    def receive(self, port, vlan, frame):
        """A frame trapped to the CPU on `port` in `vlan`, past the pipeline."""
        data = values.frame_in(frame)
        self._host("receive", host.vornsim_receive_frame, self._port(port), vlan, data, len(data))

    def cable(self, port, plugged):
        self._host("cable", host.vornsim_set_cable, self._port(port), 1 if plugged else 0)

    def advance_clock(self, seconds):
        host.vornsim_advance_clock(seconds)

    def fail(self, operation, nth=0, port=None):
        """SDK operation `operation` ("create_vlan") fails on its nth call from now (0: on
        every call); with a port, only its calls count."""
        slot = host.vornsim_slot(operation.encode()) if isinstance(operation, str) else -1
        if slot < 0:
            raise ValueError("unknown SDK operation %r" % (operation,))
        if port is None:
            self._host("fail", host.vornsim_fail_slot, slot, nth)
        else:
            self._host("fail", host.vornsim_fail_slot_for_port, slot, self._port(port), nth)

    def clear_faults(self):
        host.vornsim_clear_faults()

    def set_vlan_instance(self, vlan, instance):
        self._host("set_vlan_instance", host.vornsim_set_vlan_instance, vlan, instance)

    def capture(self, ports, path):
        """Both directions of `ports` to a pcap file; replaces the capture running."""
        array, count = self._ports.list(ports)
        self._host("capture", host.vornsim_start_capture, array, count, _path(path))

    def stop_capture(self):
        host.vornsim_stop_capture()

    def sdk_trace(self, path):
        """One line per SDK operation to `path` (appended); None or "" stops."""
        self._host("sdk_trace", host.vornsim_set_trace_file, _path(path) if path else ffi.NULL)

    def attach_tap(self, port, name, netns=None):
        self._host("attach_tap", host.vornsim_attach_tap, self._port(port), _path(name),
                   _path(netns) if netns else ffi.NULL)

    def attach_device(self, port, name):
        self._host("attach_device", host.vornsim_attach_device, self._port(port), _path(name))

    def detach(self, port):
        self._host("detach", host.vornsim_detach, self._port(port))

    def serve(self, seconds):
        """Moves frames between attached interfaces and the pipeline for `seconds`; True
        when the time ran out.  What they did is collected (collect())."""
        return bool(host.vornsim_serve(seconds))

    def stop_serving(self):
        host.vornsim_stop_serving()

    @property
    def refusal_count(self):
        return host.vornsim_refusal_count()

    @property
    def last_refusal(self):
        """The host's most recent refusal (Refusal: slot, operation, reason), None if none."""
        refusal = ffi.new("vornsim_refusal *")
        if not host.vornsim_last_refusal(refusal):
            return None
        return Refusal(refusal.slot, values.text_of(refusal.operation), values.text_of(refusal.reason))


def _path(text):
    text = os.fspath(text)
    return text if isinstance(text, bytes) else text.encode()


class _Both:
    """The C functions of the library and of the reference host, as one object."""

    def __init__(self, *libraries):
        self._libraries = libraries

    def __getattr__(self, name):
        for lib in self._libraries:
            try:
                value = getattr(lib, name)
            except AttributeError:
                continue
            setattr(self, name, value)
            return value
        raise AttributeError("neither the library nor the reference host has %r" % name)

    def __dir__(self):
        return sorted(set().union(*(dir(lib) for lib in self._libraries)))

