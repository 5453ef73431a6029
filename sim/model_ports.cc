// The model's ports: physical settings, traffic controls, VLAN settings,
// spanning tree and statistics.
#include "model_impl.hh"

namespace vorn_sim {

namespace {

const port_ability_type_t all_abilities = static_cast<port_ability_type_t>(
    PORT_ABILITY_10MB_HD | PORT_ABILITY_10MB_FD | PORT_ABILITY_100MB_HD | PORT_ABILITY_100MB_FD |
    PORT_ABILITY_1000MB_HD | PORT_ABILITY_1000MB_FD | PORT_ABILITY_PAUSE_TX |
    PORT_ABILITY_PAUSE_RX | PORT_ABILITY_AUTONEG);

// Runs `change` on the port's state when the port is a physical one.
template <class Change>
bool on_port(PortState* state, Change&& change)
{
    return state && change(*state);
}

port_ability_type_t speed_ability(speed_type_t speed, duplex_type_t duplex)
{
    const bool full = duplex == DUPLEX_FULL;
    switch (speed) {
    case SPEED_10M: return full ? PORT_ABILITY_10MB_FD : PORT_ABILITY_10MB_HD;
    case SPEED_100M: return full ? PORT_ABILITY_100MB_FD : PORT_ABILITY_100MB_HD;
    case SPEED_1G: return full ? PORT_ABILITY_1000MB_FD : PORT_ABILITY_1000MB_HD;
    default: return PORT_ABILITY_10GB_FD;
    }
}

}  // namespace

std::size_t Ipv6Hash::operator()(const Ipv6Key& key) const
{
    std::size_t hash = 1469598103u;
    for (unsigned char byte : key.address) hash = (hash ^ byte) * 1099511628211u;
    return hash;
}

SwitchModel::SwitchModel(const Config& config)
    : config_(config),
      ports_(config.units * config.slots * config.ports_per_slot),
      routes4_(33),
      routes6_(129)
{
    for (PortState& port : ports_) port.advertised = all_abilities;
    vlans_[1];  // the default VLAN
}

bool SwitchModel::physical(const Mp& port) const
{
    return port.module() < config_.units && port.port() >= 1 &&
           port.port() <= config_.slots * config_.ports_per_slot;
}

unsigned int SwitchModel::index_of(const Mp& port) const
{
    return port.module() * config_.slots * config_.ports_per_slot + port.port() - 1;
}

PortState* SwitchModel::port_or_null(const Mp& port)
{
    return physical(port) ? &ports_[index_of(port)] : nullptr;
}

PortState* SwitchModel::port_state(const Mp& port) { return port_or_null(port); }

bool SwitchModel::all_physical(const std::list<Mp>& ports) const
{
    for (const Mp& port : ports)
        if (!physical(port)) return false;
    return true;
}

// --- Physical settings.
bool SwitchModel::set_port_state(const Mp& p, bool enabled)
{
    return op(18, "set_port_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.admin = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_state(const Mp& p, bool& enabled)
{
    return op(19, "get_port_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.admin, true; });
    }, p);
}

bool SwitchModel::set_port_autoneg(const Mp& p, bool enabled)
{
    return op(22, "set_port_autoneg", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.autoneg = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_autoneg(const Mp& p, bool& enabled)
{
    return op(23, "get_port_autoneg", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.autoneg, true; });
    }, p);
}

bool SwitchModel::set_port_speed(const Mp& p, speed_type_t speed)
{
    return op(24, "set_port_speed", [&] {
        return speed >= SPEED_10M && speed <= SPEED_100G &&
               on_port(port_or_null(p), [&](PortState& s) { return s.speed = speed, true; });
    }, p, speed);
}

bool SwitchModel::get_port_speed(const Mp& p, speed_type_t& speed)
{
    return op(25, "get_port_speed", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return speed = s.speed, true; });
    }, p);
}

bool SwitchModel::set_port_duplex(const Mp& p, duplex_type_t duplex)
{
    return op(26, "set_port_duplex", [&] {
        return (duplex == DUPLEX_HALF || duplex == DUPLEX_FULL) &&
               on_port(port_or_null(p), [&](PortState& s) { return s.duplex = duplex, true; });
    }, p, duplex);
}

bool SwitchModel::get_port_duplex(const Mp& p, duplex_type_t& duplex)
{
    return op(27, "get_port_duplex", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return duplex = s.duplex, true; });
    }, p);
}

bool SwitchModel::set_port_flow_control_8023x(const Mp& p, bool receive, bool transmit)
{
    return op(28, "set_port_flow_control_8023x", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            s.flow_control_rx = receive;
            s.flow_control_tx = transmit;
            return true;
        });
    }, p, receive, transmit);
}

bool SwitchModel::get_port_flow_control_8023x(const Mp& p, unsigned int& receive,
                                              unsigned int& transmit)
{
    return op(29, "get_port_flow_control_8023x", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            receive = s.flow_control_rx ? 1 : 0;
            transmit = s.flow_control_tx ? 1 : 0;
            return true;
        });
    }, p);
}

bool SwitchModel::set_port_jaming_control(const Mp& p, bool enabled)
{
    return op(30, "set_port_jaming_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.jamming = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_jaming_control(const Mp& p, bool& enabled)
{
    return op(31, "get_port_jaming_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.jamming, true; });
    }, p);
}

bool SwitchModel::set_port_mtu(const Mp& p, unsigned int mtu)
{
    return op(34, "set_port_mtu", [&] {
        return mtu >= 64 && mtu <= 9216 &&
               on_port(port_or_null(p), [&](PortState& s) { return s.mtu = mtu, true; });
    }, p, mtu);
}

bool SwitchModel::get_port_mtu(const Mp& p, unsigned int& mtu)
{
    return op(35, "get_port_mtu", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return mtu = s.mtu, true; });
    }, p);
}

bool SwitchModel::set_port_link_state(const Mp& p, phy_state_t state)
{
    return op(64, "set_port_link_state", [&] {
        return (state == PHY_STATE_DOWN || state == PHY_STATE_UP) &&
               on_port(port_or_null(p), [&](PortState& s) { return s.link = state, true; });
    }, p, state);
}

// A port whose administrative state is down has no link.
bool SwitchModel::get_port_link_state(const Mp& p, phy_state_t& state)
{
    return op(65, "get_port_link_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            state = s.admin ? s.link : PHY_STATE_DOWN;
            return true;
        });
    }, p);
}

bool SwitchModel::get_port_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(96, "get_port_ability", [&] {
        return on_port(port_or_null(p), [&](PortState&) { return ability = all_abilities, true; });
    }, p);
}

bool SwitchModel::set_port_advertising_ability(const Mp& p, port_ability_type_t ability)
{
    return op(97, "set_port_advertising_ability", [&] {
        return (ability & ~all_abilities) == 0 &&
               on_port(port_or_null(p), [&](PortState& s) { return s.advertised = ability, true; });
    }, p, ability);
}

bool SwitchModel::get_port_advertising_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(98, "get_port_advertising_ability", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return ability = s.advertised, true; });
    }, p);
}

bool SwitchModel::get_port_current_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(99, "get_port_current_ability", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            ability = speed_ability(s.speed, s.duplex);
            return true;
        });
    }, p);
}

// The link partner advertises everything while the link is up.
bool SwitchModel::get_port_peer_ability(Mp p, port_ability_type_t& ability)
{
    return op(100, "get_port_peer_ability", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            ability = s.link == PHY_STATE_UP ? all_abilities : PORT_ABILITY_NONE;
            return true;
        });
    }, p);
}

// --- Traffic controls.
bool SwitchModel::set_port_mirror(const Mp& target, const Mp& source, mirror_type_t type)
{
    return op(16, "set_port_mirror", [&] {
        PortState* s = port_or_null(source);
        if (!s || !physical(target) || target == source || type < MIRROR_TYPE_NONE ||
            type > MIRROR_TYPE_BOTH)
            return false;
        s->mirrored = type != MIRROR_TYPE_NONE;
        s->mirror_target = target;
        s->mirror_type = type;
        return true;
    }, target, source, type);
}

bool SwitchModel::get_port_mirror(Mp& target, const Mp& source, mirror_type_t& type)
{
    return op(17, "get_port_mirror", [&] {
        PortState* s = port_or_null(source);
        if (!s || !s->mirrored) return false;
        target = s->mirror_target;
        type = s->mirror_type;
        return true;
    }, source);
}

bool SwitchModel::set_port_broadcast_control(const Mp& p, unsigned int rate)
{
    return op(70, "set_port_broadcast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.broadcast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_broadcast_control(const Mp& p, unsigned int& rate)
{
    return op(71, "get_port_broadcast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return rate = s.broadcast_rate, true; });
    }, p);
}

bool SwitchModel::set_port_multicast_control(const Mp& p, unsigned int rate)
{
    return op(72, "set_port_multicast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.multicast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_multicast_control(const Mp& p, unsigned int& rate)
{
    return op(73, "get_port_multicast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return rate = s.multicast_rate, true; });
    }, p);
}

bool SwitchModel::set_port_unicast_control(const Mp& p, unsigned int rate)
{
    return op(74, "set_port_unicast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.unicast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_unicast_control(const Mp& p, unsigned int& rate)
{
    return op(75, "get_port_unicast_control", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return rate = s.unicast_rate, true; });
    }, p);
}

bool SwitchModel::set_port_egress_admin_state(const Mp& p, bool enabled)
{
    return op(76, "set_port_egress_admin_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.egress = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_egress_admin_state(const Mp& p, bool& enabled)
{
    return op(77, "get_port_egress_admin_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.egress, true; });
    }, p);
}

bool SwitchModel::set_port_ingress_discarding(const Mp& p, ingress_discard_type_t type)
{
    return op(78, "set_port_ingress_discarding", [&] {
        return type >= INGRESS_DISCARD_NONE && type <= INGRESS_DISCARD_ALL &&
               on_port(port_or_null(p), [&](PortState& s) { return s.ingress_discard = type, true; });
    }, p, type);
}

bool SwitchModel::get_port_ingress_discarding(const Mp& p, ingress_discard_type_t& type)
{
    return op(79, "get_port_ingress_discarding", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return type = s.ingress_discard, true; });
    }, p);
}

bool SwitchModel::set_port_flood_blocking(const Mp& p, const Mp& other, flood_block_type_t type)
{
    return op(101, "set_port_flood_blocking", [&] {
        return physical(other) && (type & ~FLOOD_BLOCK_ALL) == 0 &&
               on_port(port_or_null(p), [&](PortState& s) {
                   return s.flood_blocking[index_of(other)] = type, true;
               });
    }, p, other, type);
}

bool SwitchModel::get_port_flood_blocking(const Mp& p, const Mp& other, flood_block_type_t& type)
{
    return op(102, "get_port_flood_blocking", [&] {
        return physical(other) && on_port(port_or_null(p), [&](PortState& s) {
                   auto found = s.flood_blocking.find(index_of(other));
                   type = found == s.flood_blocking.end() ? FLOOD_BLOCK_NONE : found->second;
                   return true;
               });
    }, p, other);
}

bool SwitchModel::set_port_flood_blocking_cpu(const Mp& p, flood_block_type_t type)
{
    return op(103, "set_port_flood_blocking_cpu", [&] {
        return (type & ~FLOOD_BLOCK_ALL) == 0 && on_port(port_or_null(p), [&](PortState& s) {
                   return s.flood_blocking_cpu = type, true;
               });
    }, p, type);
}

bool SwitchModel::get_port_flood_blocking_cpu(const Mp& p, flood_block_type_t& type)
{
    return op(104, "get_port_flood_blocking_cpu", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return type = s.flood_blocking_cpu, true; });
    }, p);
}

bool SwitchModel::set_port_cos_mapping(const Mp& p, unsigned int key, unsigned int queue)
{
    return op(105, "set_port_cos_mapping", [&] {
        return key <= 7 && queue <= 7 &&
               on_port(port_or_null(p), [&](PortState& s) { return s.cos_map[key] = queue, true; });
    }, p, key, queue);
}

// Unmapped priorities go to the queue of their own number.
bool SwitchModel::get_port_cos_mapping(const Mp& p, unsigned int key, unsigned int& queue)
{
    return op(106, "get_port_cos_mapping", [&] {
        return key <= 7 && on_port(port_or_null(p), [&](PortState& s) {
                   auto found = s.cos_map.find(key);
                   queue = found == s.cos_map.end() ? key : found->second;
                   return true;
               });
    }, p, key);
}

bool SwitchModel::set_port_switch_unknown_unicast_to_cpu(const Mp& p, bool enabled)
{
    return op(121, "set_port_switch_unknown_unicast_to_cpu", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            return s.unknown_unicast_to_cpu = enabled, true;
        });
    }, p, enabled);
}

bool SwitchModel::get_port_switch_unknown_unicast_to_cpu(const Mp& p, bool& enabled)
{
    return op(122, "get_port_switch_unknown_unicast_to_cpu", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            return enabled = s.unknown_unicast_to_cpu, true;
        });
    }, p);
}

bool SwitchModel::set_port_l2_enable(const Mp& p, bool enabled)
{
    return op(120, "set_port_l2_enable", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.l2 = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_mac_lock(const Mp& p, bool locked)
{
    return op(66, "set_port_mac_lock", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.mac_lock = locked, true; });
    }, p, locked);
}

bool SwitchModel::get_port_mac_lock(const Mp& p, bool& locked)
{
    return op(67, "get_port_mac_lock", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return locked = s.mac_lock, true; });
    }, p);
}

bool SwitchModel::set_port_mac_lock_ext(const Mp& p, bool locked, bool drop_unknown)
{
    return op(68, "set_port_mac_lock_ext", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            s.mac_lock = locked;
            s.drop_unknown = drop_unknown;
            return true;
        });
    }, p, locked, drop_unknown);
}

bool SwitchModel::get_port_mac_lock_ext(const Mp& p, bool& locked, bool& drop_unknown)
{
    return op(69, "get_port_mac_lock_ext", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            locked = s.mac_lock;
            drop_unknown = s.drop_unknown;
            return true;
        });
    }, p);
}

// --- VLAN settings of a port.
bool SwitchModel::set_port_pvid(const Mp& p, unsigned int pvid)
{
    return op(80, "set_port_pvid", [&] {
        return vlan_exists(pvid) &&
               on_port(port_or_null(p), [&](PortState& s) { return s.pvid = pvid, true; });
    }, p, pvid);
}

bool SwitchModel::get_port_pvid(const Mp& p, unsigned int& pvid)
{
    return op(81, "get_port_pvid", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return pvid = s.pvid, true; });
    }, p);
}

bool SwitchModel::set_port_vlan_priority(const Mp& p, unsigned int key, unsigned int priority)
{
    return op(82, "set_port_vlan_priority", [&] {
        return key <= 7 && priority <= 7 && on_port(port_or_null(p), [&](PortState& s) {
                   return s.vlan_priority[key] = priority, true;
               });
    }, p, key, priority);
}

bool SwitchModel::get_port_vlan_priority(const Mp& p, unsigned int key, unsigned int& priority)
{
    return op(83, "get_port_vlan_priority", [&] {
        return key <= 7 && on_port(port_or_null(p), [&](PortState& s) {
                   auto found = s.vlan_priority.find(key);
                   priority = found == s.vlan_priority.end() ? key : found->second;
                   return true;
               });
    }, p, key);
}

bool SwitchModel::set_port_vlan_accept_frame(const Mp& p, bool tagged_only)
{
    return op(84, "set_port_vlan_accept_frame", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.tagged_only = tagged_only, true; });
    }, p, tagged_only);
}

bool SwitchModel::get_port_vlan_accept_frame(const Mp& p, bool& tagged_only)
{
    return op(85, "get_port_vlan_accept_frame", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return tagged_only = s.tagged_only, true; });
    }, p);
}

bool SwitchModel::set_port_protocol_vlan(const Mp& p, frame_type_t frame, unsigned short protocol,
                                         unsigned int vlan)
{
    return op(88, "set_port_protocol_vlan", [&] {
        return frame >= FRAME_TYPE_ETHERNET2 && frame <= FRAME_TYPE_SNAP && vlan_exists(vlan) &&
               on_port(port_or_null(p), [&](PortState& s) {
                   return s.protocol_vlans[std::make_pair(static_cast<int>(frame), protocol)] = vlan,
                          true;
               });
    }, p, frame, protocol, vlan);
}

bool SwitchModel::delete_port_protocol_vlan(const Mp& p, frame_type_t frame, unsigned short protocol)
{
    return op(89, "delete_port_protocol_vlan", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            return s.protocol_vlans.erase(std::make_pair(static_cast<int>(frame), protocol)) == 1;
        });
    }, p, frame, protocol);
}

bool SwitchModel::delete_port_protocol_vlan_all(const Mp& p)
{
    return op(90, "delete_port_protocol_vlan_all", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.protocol_vlans.clear(), true; });
    }, p);
}

// --- Spanning tree.
bool SwitchModel::set_port_stp_state(const Mp& p, stp_state_t state)
{
    return op(49, "set_port_stp_state", [&] {
        return state >= STP_STATE_DISABLED && state <= STP_STATE_FORWARDING &&
               on_port(port_or_null(p), [&](PortState& s) { return s.stp = state, true; });
    }, p, state);
}

bool SwitchModel::get_port_stp_state(const Mp& p, stp_state_t& state)
{
    return op(50, "get_port_stp_state", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return state = s.stp, true; });
    }, p);
}

bool SwitchModel::set_port_mstp_state(unsigned int instance, const Mp& p, mstp_state_t state)
{
    return op(7, "set_port_mstp_state", [&] {
        return instance <= 4094 && state >= MSTP_STATE_DISCARDING &&
               state <= MSTP_STATE_FORWARDING &&
               on_port(port_or_null(p), [&](PortState& s) { return s.mstp[instance] = state, true; });
    }, instance, p, state);
}

// An instance never set forwards.
bool SwitchModel::get_port_mstp_state(unsigned int instance, const Mp& p, mstp_state_t& state)
{
    return op(8, "get_port_mstp_state", [&] {
        return instance <= 4094 && on_port(port_or_null(p), [&](PortState& s) {
                   auto found = s.mstp.find(instance);
                   state = found == s.mstp.end() ? MSTP_STATE_FORWARDING : found->second;
                   return true;
               });
    }, instance, p);
}

bool SwitchModel::set_port_bpdu_processing(const Mp& p, bool enabled)
{
    return op(51, "set_port_bpdu_processing", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.bpdu_processing = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_bpdu_processing(const Mp& p, bool& enabled)
{
    return op(52, "get_port_bpdu_processing", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.bpdu_processing, true; });
    }, p);
}

// --- Statistics.
bool SwitchModel::set_port_stat_enable(const Mp& p, bool enabled)
{
    return op(36, "set_port_stat_enable", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.stats_enabled = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_stat_enabled(const Mp& p, bool& enabled)
{
    return op(37, "get_port_stat_enabled", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return enabled = s.stats_enabled, true; });
    }, p);
}

bool SwitchModel::get_port_stat_counter(const Mp& p, stat_type_t type, unsigned long long& value)
{
    return op(38, "get_port_stat_counter", [&] {
        return type >= 0 && type < STAT_TYPE_COUNT &&
               on_port(port_or_null(p), [&](PortState& s) { return value = s.counters[type], true; });
    }, p, type);
}

bool SwitchModel::get_port_stat_counter32(const Mp& p, stat_type_t type, unsigned int& value)
{
    return op(39, "get_port_stat_counter32", [&] {
        return type >= 0 && type < STAT_TYPE_COUNT && on_port(port_or_null(p), [&](PortState& s) {
                   value = static_cast<unsigned int>(s.counters[type]);
                   return true;
               });
    }, p, type);
}

bool SwitchModel::get_port_stat_counter_all64(const Mp& p, std::list<StatCounter64>& counters)
{
    return op(40, "get_port_stat_counter_all64", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            for (int type = 0; type < STAT_TYPE_COUNT; ++type)
                counters.push_back(StatCounter64{static_cast<stat_type_t>(type), 0, s.counters[type]});
            return true;
        });
    }, p);
}

bool SwitchModel::get_port_stat_counter_all32(const Mp& p, std::list<StatCounter32>& counters)
{
    return op(41, "get_port_stat_counter_all32", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            for (int type = 0; type < STAT_TYPE_COUNT; ++type)
                counters.push_back(StatCounter32{static_cast<stat_type_t>(type),
                                                 static_cast<unsigned int>(s.counters[type])});
            return true;
        });
    }, p);
}

// `count`: capacity in, records written out.
bool SwitchModel::get_port_stat_counter_all64_ext(const Mp& p, StatCounter64* counters,
                                                  unsigned int& count)
{
    return op(42, "get_port_stat_counter_all64_ext", [&] {
        return counters && on_port(port_or_null(p), [&](PortState& s) {
                   unsigned int written = 0;
                   for (; written < count && written < STAT_TYPE_COUNT; ++written)
                       counters[written] = StatCounter64{static_cast<stat_type_t>(written), 0,
                                                         s.counters[written]};
                   count = written;
                   return true;
               });
    }, p, counters, count);
}

bool SwitchModel::get_port_stat_counter_all32_ext(const Mp& p, StatCounter32* counters,
                                                  unsigned int& count)
{
    return op(43, "get_port_stat_counter_all32_ext", [&] {
        return counters && on_port(port_or_null(p), [&](PortState& s) {
                   unsigned int written = 0;
                   for (; written < count && written < STAT_TYPE_COUNT; ++written)
                       counters[written] =
                           StatCounter32{static_cast<stat_type_t>(written),
                                         static_cast<unsigned int>(s.counters[written])};
                   count = written;
                   return true;
               });
    }, p, counters, count);
}

namespace {

// Brief counters are sums over the full set.
unsigned long long brief_value(const PortState& s, brief_stat_type_t type)
{
    const auto& c = s.counters;
    switch (type) {
    case BRIEF_STAT_RX_BYTES: return c[STAT_IF_IN_OCTETS];
    case BRIEF_STAT_RX_PACKETS:
        return c[STAT_IF_IN_UCAST_PKTS] + c[STAT_IF_IN_MULTICAST_PKTS] + c[STAT_IF_IN_BROADCAST_PKTS];
    case BRIEF_STAT_RX_ERRORS: return c[STAT_IF_IN_ERRORS];
    case BRIEF_STAT_RX_DROPS: return c[STAT_IF_IN_DISCARDS];
    case BRIEF_STAT_TX_BYTES: return c[STAT_IF_OUT_OCTETS];
    case BRIEF_STAT_TX_PACKETS:
        return c[STAT_IF_OUT_UCAST_PKTS] + c[STAT_IF_OUT_MULTICAST_PKTS] +
               c[STAT_IF_OUT_BROADCAST_PKTS];
    case BRIEF_STAT_TX_ERRORS: return c[STAT_IF_OUT_ERRORS];
    default: return c[STAT_IF_OUT_DISCARDS];
    }
}

}  // namespace

bool SwitchModel::get_port_brief_stat_counter64(const Mp& p, brief_stat_type_t type,
                                                unsigned long long& value)
{
    return op(44, "get_port_brief_stat_counter64", [&] {
        return type >= 0 && type < BRIEF_STAT_TYPE_COUNT &&
               on_port(port_or_null(p), [&](PortState& s) { return value = brief_value(s, type), true; });
    }, p, type);
}

bool SwitchModel::get_port_brief_stat_counter32(const Mp& p, brief_stat_type_t type,
                                                unsigned int& value)
{
    return op(45, "get_port_brief_stat_counter32", [&] {
        return type >= 0 && type < BRIEF_STAT_TYPE_COUNT && on_port(port_or_null(p), [&](PortState& s) {
                   value = static_cast<unsigned int>(brief_value(s, type));
                   return true;
               });
    }, p, type);
}

bool SwitchModel::get_port_brief_stat_counter_all64(const Mp& p,
                                                    std::list<BriefStatCounter64>& counters)
{
    return op(46, "get_port_brief_stat_counter_all64", [&] {
        return on_port(port_or_null(p), [&](PortState& s) {
            for (int type = 0; type < BRIEF_STAT_TYPE_COUNT; ++type)
                counters.push_back(BriefStatCounter64{static_cast<brief_stat_type_t>(type), 0,
                                                      brief_value(s, static_cast<brief_stat_type_t>(type))});
            return true;
        });
    }, p);
}

bool SwitchModel::clear_port_stat_counter(const Mp& p)
{
    return op(48, "clear_port_stat_counter", [&] {
        return on_port(port_or_null(p), [&](PortState& s) { return s.counters.fill(0), true; });
    }, p);
}

}  // namespace vorn_sim
