// The model's ports: physical settings and traffic controls.
#include "model_impl.hh"

namespace vorn_sim {

namespace {

const port_ability_type_t all_abilities = PortTable::all_abilities();

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

SwitchModel::SwitchModel(const Config& config, ModelHooks hooks)
    : hooks_(std::move(hooks)),
      refuser_(hooks_.refusal),
      names_(config, hooks_.lag_interface),
      ports_(config),
      lags_(config.max_lags, config.max_lag_members),
      fdb_(config.mac_entries),
      l3_(config),
      flows_(config.flows, config.filters),
      dataplane_(*this, ports_.size())
{
}

// --- Checks that refuse with a reason.
bool SwitchModel::known_target(const Mp& port, bool trunk)
{
    return trunk ? lags_.known(refuser_, names_, port.port()) : known_port(port);
}


// --- Physical settings.
bool SwitchModel::set_port_state(const Mp& p, bool enabled)
{
    return op(Slot::set_port_state, [&] {
        return on_port(p, [&](PortState& s) {
            s.admin = enabled;
            dataplane_.admin_state(ports_.index_of(p), enabled);
            return true;
        });
    }, p, enabled);
}

bool SwitchModel::get_port_state(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_state, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.admin, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_autoneg(const Mp& p, bool enabled)
{
    return op(Slot::set_port_autoneg, [&] {
        return on_port(p, [&](PortState& s) { return s.autoneg = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_autoneg(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_autoneg, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.autoneg, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_speed(const Mp& p, speed_type_t speed)
{
    return op(Slot::set_port_speed, [&] {
        return within("speed", speed, SPEED_10M, SPEED_100G) &&
               on_port(p, [&](PortState& s) { return s.speed = speed, true; });
    }, p, speed);
}

bool SwitchModel::get_port_speed(const Mp& p, speed_type_t& speed)
{
    return op(Slot::get_port_speed, [&] {
        return on_port(p, [&](PortState& s) { return speed = s.speed, true; });
    }, p, speed);
}

bool SwitchModel::set_port_duplex(const Mp& p, duplex_type_t duplex)
{
    return op(Slot::set_port_duplex, [&] {
        return within("duplex", duplex, DUPLEX_HALF, DUPLEX_FULL) &&
               on_port(p, [&](PortState& s) { return s.duplex = duplex, true; });
    }, p, duplex);
}

bool SwitchModel::get_port_duplex(const Mp& p, duplex_type_t& duplex)
{
    return op(Slot::get_port_duplex, [&] {
        return on_port(p, [&](PortState& s) { return duplex = s.duplex, true; });
    }, p, duplex);
}

bool SwitchModel::set_port_flow_control_8023x(const Mp& p, bool receive, bool transmit)
{
    return op(Slot::set_port_flow_control_8023x, [&] {
        return on_port(p, [&](PortState& s) {
            s.flow_control_rx = receive;
            s.flow_control_tx = transmit;
            return true;
        });
    }, p, receive, transmit);
}

bool SwitchModel::get_port_flow_control_8023x(const Mp& p, unsigned int& receive,
                                              unsigned int& transmit)
{
    return op(Slot::get_port_flow_control_8023x, [&] {
        return on_port(p, [&](PortState& s) {
            receive = s.flow_control_rx ? 1 : 0;
            transmit = s.flow_control_tx ? 1 : 0;
            return true;
        });
    }, p, receive, transmit);
}

bool SwitchModel::set_port_jaming_control(const Mp& p, bool enabled)
{
    return op(Slot::set_port_jaming_control, [&] {
        return on_port(p, [&](PortState& s) { return s.jamming = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_jaming_control(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_jaming_control, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.jamming, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_mtu(const Mp& p, unsigned int mtu)
{
    return op(Slot::set_port_mtu, [&] {
        return within("MTU", mtu, 64, 9216) &&
               on_port(p, [&](PortState& s) { return s.mtu = mtu, true; });
    }, p, mtu);
}

bool SwitchModel::get_port_mtu(const Mp& p, unsigned int& mtu)
{
    return op(Slot::get_port_mtu, [&] {
        return on_port(p, [&](PortState& s) { return mtu = s.mtu, true; });
    }, p, mtu);
}

bool SwitchModel::set_port_link_state(const Mp& p, phy_state_t state)
{
    return op(Slot::set_port_link_state, [&] {
        return within("link state", state, PHY_STATE_DOWN, PHY_STATE_UP) &&
               on_port(p, [&](PortState& s) { return s.link = state, true; });
    }, p, state);
}

// A port whose administrative state is down has no link.
bool SwitchModel::get_port_link_state(const Mp& p, phy_state_t& state)
{
    return op(Slot::get_port_link_state, [&] {
        return on_port(p, [&](PortState& s) {
            state = s.admin ? s.link : PHY_STATE_DOWN;
            return true;
        });
    }, p, state);
}

bool SwitchModel::get_port_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(Slot::get_port_ability, [&] {
        return on_port(p, [&](PortState&) { return ability = all_abilities, true; });
    }, p, ability);
}

bool SwitchModel::set_port_advertising_ability(const Mp& p, port_ability_type_t ability)
{
    return op(Slot::set_port_advertising_ability, [&] {
        return flags_within("ability set", ability, all_abilities) &&
               on_port(p, [&](PortState& s) { return s.advertised = ability, true; });
    }, p, ability);
}

bool SwitchModel::get_port_advertising_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(Slot::get_port_advertising_ability, [&] {
        return on_port(p, [&](PortState& s) { return ability = s.advertised, true; });
    }, p, ability);
}

bool SwitchModel::get_port_current_ability(const Mp& p, port_ability_type_t& ability)
{
    return op(Slot::get_port_current_ability, [&] {
        return on_port(p, [&](PortState& s) {
            ability = speed_ability(s.speed, s.duplex);
            return true;
        });
    }, p, ability);
}

// The link partner advertises everything while the link is up.
bool SwitchModel::get_port_peer_ability(Mp p, port_ability_type_t& ability)
{
    return op(Slot::get_port_peer_ability, [&] {
        return on_port(p, [&](PortState& s) {
            ability = s.link == PHY_STATE_UP ? all_abilities : PORT_ABILITY_NONE;
            return true;
        });
    }, p, ability);
}

// --- Traffic controls.
bool SwitchModel::set_port_mirror(const Mp& target, const Mp& source, mirror_type_t type)
{
    return op(Slot::set_port_mirror, [&] {
        if (!known_port(source) || !known_port(target) ||
            !within("mirror type", type, MIRROR_TYPE_NONE, MIRROR_TYPE_BOTH))
            return false;
        if (target == source) return refuse("port ", names_.port(source), " cannot mirror to itself");
        PortState* s = ports_.find(source);
        s->mirrored = type != MIRROR_TYPE_NONE;
        s->mirror_target = target;
        s->mirror_type = type;
        return true;
    }, target, source, type);
}

// A port that mirrors nothing reads back type none and target Mp(0, 0), "no
// port".
bool SwitchModel::get_port_mirror(Mp& target, const Mp& source, mirror_type_t& type)
{
    return op(Slot::get_port_mirror, [&] {
        return on_port(source, [&](PortState& s) {
            target = s.mirrored ? s.mirror_target : Mp(0, 0);
            type = s.mirrored ? s.mirror_type : MIRROR_TYPE_NONE;
            return true;
        });
    }, target, source, type);
}

bool SwitchModel::set_port_broadcast_control(const Mp& p, unsigned int rate)
{
    return op(Slot::set_port_broadcast_control, [&] {
        return on_port(p, [&](PortState& s) { return s.broadcast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_broadcast_control(const Mp& p, unsigned int& rate)
{
    return op(Slot::get_port_broadcast_control, [&] {
        return on_port(p, [&](PortState& s) { return rate = s.broadcast_rate, true; });
    }, p, rate);
}

bool SwitchModel::set_port_multicast_control(const Mp& p, unsigned int rate)
{
    return op(Slot::set_port_multicast_control, [&] {
        return on_port(p, [&](PortState& s) { return s.multicast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_multicast_control(const Mp& p, unsigned int& rate)
{
    return op(Slot::get_port_multicast_control, [&] {
        return on_port(p, [&](PortState& s) { return rate = s.multicast_rate, true; });
    }, p, rate);
}

bool SwitchModel::set_port_unicast_control(const Mp& p, unsigned int rate)
{
    return op(Slot::set_port_unicast_control, [&] {
        return on_port(p, [&](PortState& s) { return s.unicast_rate = rate, true; });
    }, p, rate);
}

bool SwitchModel::get_port_unicast_control(const Mp& p, unsigned int& rate)
{
    return op(Slot::get_port_unicast_control, [&] {
        return on_port(p, [&](PortState& s) { return rate = s.unicast_rate, true; });
    }, p, rate);
}

bool SwitchModel::set_port_egress_admin_state(const Mp& p, bool enabled)
{
    return op(Slot::set_port_egress_admin_state, [&] {
        return on_port(p, [&](PortState& s) { return s.egress = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_egress_admin_state(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_egress_admin_state, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.egress, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_ingress_discarding(const Mp& p, ingress_discard_type_t type)
{
    return op(Slot::set_port_ingress_discarding, [&] {
        return within("ingress discard type", type, INGRESS_DISCARD_NONE, INGRESS_DISCARD_ALL) &&
               on_port(p, [&](PortState& s) { return s.ingress_discard = type, true; });
    }, p, type);
}

bool SwitchModel::get_port_ingress_discarding(const Mp& p, ingress_discard_type_t& type)
{
    return op(Slot::get_port_ingress_discarding, [&] {
        return on_port(p, [&](PortState& s) { return type = s.ingress_discard, true; });
    }, p, type);
}

bool SwitchModel::set_port_flood_blocking(const Mp& p, const Mp& other, flood_block_type_t type)
{
    return op(Slot::set_port_flood_blocking, [&] {
        return known_port(other) && flags_within("flood blocking type", type, FLOOD_BLOCK_ALL) &&
               on_port(p, [&](PortState& s) {
                   return s.flood_blocking[ports_.index_of(other)] = type, true;
               });
    }, p, other, type);
}

bool SwitchModel::get_port_flood_blocking(const Mp& p, const Mp& other, flood_block_type_t& type)
{
    return op(Slot::get_port_flood_blocking, [&] {
        return known_port(other) && on_port(p, [&](PortState& s) {
                   auto found = s.flood_blocking.find(ports_.index_of(other));
                   type = found == s.flood_blocking.end() ? FLOOD_BLOCK_NONE : found->second;
                   return true;
               });
    }, p, other, type);
}

bool SwitchModel::set_port_flood_blocking_cpu(const Mp& p, flood_block_type_t type)
{
    return op(Slot::set_port_flood_blocking_cpu, [&] {
        return flags_within("flood blocking type", type, FLOOD_BLOCK_ALL) && on_port(p, [&](PortState& s) {
                   return s.flood_blocking_cpu = type, true;
               });
    }, p, type);
}

bool SwitchModel::get_port_flood_blocking_cpu(const Mp& p, flood_block_type_t& type)
{
    return op(Slot::get_port_flood_blocking_cpu, [&] {
        return on_port(p, [&](PortState& s) { return type = s.flood_blocking_cpu, true; });
    }, p, type);
}

bool SwitchModel::set_port_cos_mapping(const Mp& p, unsigned int key, unsigned int queue)
{
    return op(Slot::set_port_cos_mapping, [&] {
        return within("priority", key, 0, 7) && within("queue", queue, 0, 7) &&
               on_port(p, [&](PortState& s) { return s.cos_map[key] = queue, true; });
    }, p, key, queue);
}

// Unmapped priorities go to the queue of their own number.
bool SwitchModel::get_port_cos_mapping(const Mp& p, unsigned int key, unsigned int& queue)
{
    return op(Slot::get_port_cos_mapping, [&] {
        return within("priority", key, 0, 7) && on_port(p, [&](PortState& s) {
                   auto found = s.cos_map.find(key);
                   queue = found == s.cos_map.end() ? key : found->second;
                   return true;
               });
    }, p, key, queue);
}

bool SwitchModel::set_port_switch_unknown_unicast_to_cpu(const Mp& p, bool enabled)
{
    return op(Slot::set_port_switch_unknown_unicast_to_cpu, [&] {
        return on_port(p, [&](PortState& s) {
            return s.unknown_unicast_to_cpu = enabled, true;
        });
    }, p, enabled);
}

bool SwitchModel::get_port_switch_unknown_unicast_to_cpu(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_switch_unknown_unicast_to_cpu, [&] {
        return on_port(p, [&](PortState& s) {
            return enabled = s.unknown_unicast_to_cpu, true;
        });
    }, p, enabled);
}

bool SwitchModel::set_port_l2_enable(const Mp& p, bool enabled)
{
    return op(Slot::set_port_l2_enable, [&] {
        return on_port(p, [&](PortState& s) { return s.l2 = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::set_port_mac_lock(const Mp& p, bool locked)
{
    return op(Slot::set_port_mac_lock, [&] {
        return on_port(p, [&](PortState& s) { return s.mac_lock = locked, true; });
    }, p, locked);
}

bool SwitchModel::get_port_mac_lock(const Mp& p, bool& locked)
{
    return op(Slot::get_port_mac_lock, [&] {
        return on_port(p, [&](PortState& s) { return locked = s.mac_lock, true; });
    }, p, locked);
}

bool SwitchModel::set_port_mac_lock_ext(const Mp& p, bool locked, bool drop_unknown)
{
    return op(Slot::set_port_mac_lock_ext, [&] {
        return on_port(p, [&](PortState& s) {
            s.mac_lock = locked;
            s.drop_unknown = drop_unknown;
            return true;
        });
    }, p, locked, drop_unknown);
}

bool SwitchModel::get_port_mac_lock_ext(const Mp& p, bool& locked, bool& drop_unknown)
{
    return op(Slot::get_port_mac_lock_ext, [&] {
        return on_port(p, [&](PortState& s) {
            locked = s.mac_lock;
            drop_unknown = s.drop_unknown;
            return true;
        });
    }, p, locked, drop_unknown);
}

}  // namespace vorn_sim
