"""The card's tables in Python's terms, over card.api: card.vlan, card.port(...),
card.lag, card.fdb, card.l3, card.flow, card.filter and card.cpu."""

from . import enums, values


class _Family:
    def __init__(self, card):
        self._api = card.api


# --- VLANs ------------------------------------------------------------------------------
class Vlans(_Family):
    def create(self, vlan):
        self._api.create_vlan(vlan)

    def delete(self, vlan):
        self._api.delete_vlan(vlan)

    def add_ports(self, vlan, tagged=(), untagged=()):
        self._api.add_ports_to_vlan(vlan, list(tagged), list(untagged))

    def remove_ports(self, vlan, ports):
        self._api.delete_ports_from_vlan(vlan, list(ports))

    def members(self, vlan):
        """(tagged, untagged): the VLAN's member ports."""
        return self._api.get_vlan_info(vlan)


# --- Ports --------------------------------------------------------------------------------
# A port's settings: property name, getter and setter entry points (None: the C
# binding has none).
PORT_SETTINGS = (
    ("pvid", "get_port_pvid", "set_port_pvid"),
    ("stp_state", "get_port_stp_state", "set_port_stp_state"),
    ("admin", "get_port_state", "set_port_state"),
    ("link", "get_port_link_state", "set_port_link_state"),
    ("speed", "get_port_speed", "set_port_speed"),
    ("duplex", "get_port_duplex", "set_port_duplex"),
    ("autoneg", "get_port_autoneg", "set_port_autoneg"),
    ("mtu", None, "set_port_mtu"),
    ("bpdu_processing", "get_port_bpdu_processing", "set_port_bpdu_processing"),
    ("mac_lock", "get_port_mac_lock", "set_port_mac_lock"),
    ("mac_limit", "get_port_mac_limit", "set_port_mac_limit"),
    ("tagged_only", "get_port_vlan_accept_frame", "set_port_vlan_accept_frame"),
    ("ingress_discarding", "get_port_ingress_discarding", "set_port_ingress_discarding"),
    ("egress_admin", "get_port_egress_admin_state", "set_port_egress_admin_state"),
    ("l2_enable", None, "set_port_l2_enable"),
    ("stat_enabled", "get_port_stat_enabled", "set_port_stat_enable"),
    ("unicast_control", "get_port_unicast_control", "set_port_unicast_control"),
    ("multicast_control", "get_port_multicast_control", "set_port_multicast_control"),
    ("broadcast_control", "get_port_broadcast_control", "set_port_broadcast_control"),
    ("unknown_unicast_to_cpu", "get_port_switch_unknown_unicast_to_cpu",
     "set_port_switch_unknown_unicast_to_cpu"),
    ("jaming_control", "get_port_jaming_control", "set_port_jaming_control"),
    ("ability", "get_port_ability", None),
    ("advertising_ability", "get_port_advertising_ability", "set_port_advertising_ability"),
    ("current_ability", "get_port_current_ability", None),
    ("peer_ability", "get_port_peer_ability", None),
)


def _setting(name, getter, setter):
    def get(view):
        if getter is None:
            raise AttributeError("port %s: %s cannot be read through the C binding" % (view.port, name))
        return getattr(view._api, getter)(view.port)

    def put(view, value):
        if setter is None:
            raise AttributeError("port %s: %s cannot be set" % (view.port, name))
        getattr(view._api, setter)(view.port, value)

    return property(get, put, doc="%s (%s / %s)" % (name, getter, setter))


class PortView:
    """One port's settings as properties, its counters and STP state per instance."""

    __slots__ = ("_api", "port")

    def __init__(self, card, port):
        self._api, self.port = card.api, values.Port(port)

    def __repr__(self):
        return "<port %s>" % self.port

    def counter(self, name):
        """A counter by its name ("if_in_ucast_pkts": StatType.IF_IN_UCAST_PKTS) or StatType."""
        if isinstance(name, str):
            try:
                name = enums.StatType[name.upper()]
            except KeyError:
                raise ValueError("unknown counter %r: one of %s" % (
                    name, ", ".join(member.name.lower() for member in enums.StatType))) from None
        return self._api.get_port_stat_counter(self.port, name)

    def clear_counters(self):
        self._api.clear_port_stat_counter(self.port)

    def mstp_state(self, instance):
        return self._api.get_port_mstp_state(self.port, instance)

    def set_mstp_state(self, instance, state):
        self._api.set_port_mstp_state(self.port, state, instance)


for _name, _getter, _setter in PORT_SETTINGS:
    setattr(PortView, _name, _setting(_name, _getter, _setter))


# --- LAGs -----------------------------------------------------------------------------------
class Lags(_Family):
    def create(self, lag):
        self._api.create_lag(lag)

    def delete(self, lag):
        self._api.delete_lag(lag)

    def add_ports(self, lag, ports):
        self._api.add_ports_to_lag(lag, list(ports))

    def remove_ports(self, lag, ports):
        self._api.delete_ports_from_lag(lag, list(ports))

    def id(self, lag):
        return self._api.lag_usp_to_lag_id(lag)

    def balancing(self, lag, strategy=None):
        """The LAG's balancing strategy (LagPsc); with a strategy, sets it."""
        if strategy is None:
            return self._api.get_lag_balancing_strategy(lag)
        self._api.set_lag_balancing_strategy(lag, strategy)
        return strategy


# --- MAC table ------------------------------------------------------------------------------
class Fdb(_Family):
    def add(self, port, mac, vlan):
        self._api.add_mac_to_port(port, mac, vlan)

    def delete(self, mac, vlan):
        self._api.delete_mac(vlan, mac)

    def clear(self, static_too=False, vlan=None, port=None):
        if vlan is not None:
            self._api.clear_fdb_by_vlan(vlan, static_too)
        elif port is not None:
            self._api.clear_fdb_by_port(port, static_too)
        else:
            self._api.clear_fdb_table(static_too)

    @property
    def aging_time(self):
        return self._api.get_fdb_aging_time()

    @aging_time.setter
    def aging_time(self, seconds):
        self._api.set_fdb_aging_time(seconds)


# --- L3 ---------------------------------------------------------------------------------------
def _version(address):
    return 6 if isinstance(address, str) and ":" in address or isinstance(address, bytes) and len(address) == 16 else 4


class L3(_Family):
    def add_interface(self, mac, vlan):
        """The new interface's id."""
        return self._api.create_l3_interface(mac, vlan)

    def delete_interface(self, interface):
        self._api.delete_l3_interface_by_id(interface)

    def add_host(self, port, address, mac, interface):
        """A host entry, IPv4 or IPv6 by the address."""
        if _version(address) == 6:
            self._api.add_l3_host_ip6(port, address, mac, interface)
        else:
            self._api.add_l3_host_ip4(port, address, mac, interface)

    def add_route(self, port, prefix, mac, interface, vlan=0):
        """A route to "10.2.0.0/16" or "2001:db8::/32" (IPv6 routes take no VLAN)."""
        version, address, length = values.prefix_in(prefix)
        if version == 6:
            if vlan:
                raise ValueError("route %s: IPv6 routes take no VLAN" % prefix)
            self._api.add_l3_route_ip6(port, address, length, mac, interface)
        else:
            self._api.add_l3_route_ip4(port, address, values.ipv4_mask(length), mac, interface, vlan)

    def delete_route(self, port, prefix):
        version, address, length = values.prefix_in(prefix)
        if version == 6:
            self._api.delete_l3_route_by_subnet_ip6(address, length, port)
        else:
            self._api.delete_l3_route_by_subnet_ip4(address, values.ipv4_mask(length), port)


# --- Flows and filters --------------------------------------------------------------------------
# Flow port numbers: n >= 8 names physical port 1/1/(n - 7).
_FLOW_PORT_BASE = 7
_PORT_ACTIONS = {enums.OfAction.OUTPUT, enums.OfAction.MIRROR}


def _action(action):
    kind, parameter = (action, 0) if isinstance(action, (str, int)) else action
    if isinstance(kind, str):
        try:
            kind = enums.OfAction[kind.upper()]
        except KeyError:
            raise ValueError("unknown flow action %r: one of %s" % (
                kind, ", ".join(member.name.lower() for member in enums.OfAction))) from None
    if kind in _PORT_ACTIONS and not isinstance(parameter, int):
        port = values.Port(parameter)
        if (port.unit, port.slot) != (1, 1):
            raise ValueError("flow action %s: port %s has no flow port number (1/1/n only)"
                             % (kind.name.lower(), port))
        parameter = port.port + _FLOW_PORT_BASE
    return kind, parameter


class Flows(_Family):
    def add(self, match=None, priority=None, actions=(), **fields):
        """A flow matching `match` (a Flow or dict) and/or match fields given as keywords,
        with its priority and actions ([("output", "1/1/2"), "drop", ("set_vlan", 20)]):
        its id."""
        flow = values.Flow(match or {}, **fields)
        steps = [_action(action) for action in actions]
        flow_id = self._api.add_of_flow(flow)
        try:
            if priority is not None:
                self._api.set_of_flow_priority(flow_id, priority)
            for kind, parameter in steps:
                self._api.add_of_flow_action(flow_id, kind, parameter)
        except BaseException:
            self._api.delete_of_flow(flow_id)
            raise
        return flow_id

    def delete(self, flow_id):
        self._api.delete_of_flow(flow_id)

    def clear(self):
        self._api.clear_of_flow_table()

    def priority(self, flow_id):
        return self._api.get_of_flow_priority(flow_id)

    def packets(self, flow_id):
        return self._api.get_of_flow_stat_counter64(flow_id)


class Filters(_Family):
    """Packet filters copying what they match to the CPU.  The C binding cannot add an L4
    destination-port filter (its add removes one): only removals are offered here."""

    def add_arp(self, address, mask="255.255.255.255"):
        self._api.add_arp_filter(address, mask)

    def delete_arp(self, address, mask="255.255.255.255"):
        self._api.delete_arp_filter(address, mask)

    def add_ip_protocol(self, protocol):
        self._api.add_ip_protocol_filter(protocol)

    def delete_ip_protocol(self, protocol):
        self._api.delete_ip_protocol_filter(protocol)

    def delete_l4_destination_port(self, port):
        self._api.delete_l4_destination_port_filter(port)

    def clear(self):
        self._api.delete_arp_filter_all()
        self._api.delete_ip_protocol_filter_all()
        self._api.delete_l4_destination_port_filter_all()


# --- CPU packets ------------------------------------------------------------------------------
class Cpu(_Family):
    """Frames the CPU sends; what left the ports is read with card.collect()."""

    def send(self, frame, tagged=(), untagged=()):
        self._api.send_packet_by_port(list(tagged), list(untagged), frame)

    def send_switched(self, frame):
        """Forwarded by L2 in the frame's VLAN (its tag, else VLAN 1)."""
        self._api.send_packet_from_cpu(frame)


def attach(card):
    card.vlan, card.lag, card.fdb, card.l3 = Vlans(card), Lags(card), Fdb(card), L3(card)
    card.flow, card.filter, card.cpu = Flows(card), Filters(card), Cpu(card)
