// --- C port entry points: one port, a pair of ports or a port array.
#include "convert.hh"

using namespace vorn::capi;

// Spanning tree.
int ctype_vorn_get_port_stp_state(usp_s* port, stp_state_t* state)
{
    return get_port_value(vorn_get_port_stp_state, port, state);
}

int ctype_vorn_set_port_stp_state(usp_s* port, stp_state_t state)
{
    return to_int(vorn_set_port_stp_state(to_usp(port), state));
}

int ctype_vorn_get_port_mstp_state(usp_s* port, mstp_state_t* state, unsigned int instance)
{
    return copy_out_on_success(state, [&](mstp_state_t& value) {
        return vorn_get_port_mstp_state(to_usp(port), value, instance);
    });
}

int ctype_vorn_set_port_mstp_state(usp_s* port, mstp_state_t state, unsigned int instance)
{
    return to_int(vorn_set_port_mstp_state(to_usp(port), state, instance));
}

int ctype_vorn_get_port_bpdu_processing(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_bpdu_processing, port, enabled);
}

int ctype_vorn_set_port_bpdu_processing(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_bpdu_processing(to_usp(port), low_byte(enabled)));
}

// Statistics.
int ctype_vorn_get_port_stat_counter(usp_s* port, stat_type_t type, unsigned long long* value)
{
    return copy_out_on_success(value, [&](unsigned long long& counter) {
        return vorn_get_port_stat_counter(to_usp(port), type, counter);
    });
}

int ctype_vorn_get_port_stat_counter32(usp_s* port, stat_type_t type, unsigned int* value)
{
    return copy_out_on_success(value, [&](unsigned int& counter) {
        return vorn_get_port_stat_counter32(to_usp(port), type, counter);
    });
}

int ctype_vorn_get_port_brief_stat_counter64(usp_s* port, brief_stat_type_t type,
                                             unsigned long long* value)
{
    return copy_out_on_success(value, [&](unsigned long long& counter) {
        return vorn_get_port_brief_stat_counter64(to_usp(port), type, counter);
    });
}

int ctype_vorn_get_port_brief_stat_counter32(usp_s* port, brief_stat_type_t type,
                                             unsigned int* value)
{
    return copy_out_on_success(value, [&](unsigned int& counter) {
        return vorn_get_port_brief_stat_counter32(to_usp(port), type, counter);
    });
}

// The counter-list getters report success only: the counters collected into
// this call's own list are never copied to the caller's buffer or count.
// Kept as published.
template <class Counter, class List>
static int discard_counters(bool (*api)(const Usp&, List), usp_s* port)
{
    std::list<Counter> counters;
    return to_int(api(to_usp(port), counters));
}

int ctype_vorn_get_port_stat_counter_all64(usp_s* port, void*, unsigned int*)
{
    return discard_counters<StatCounter64>(vorn_get_port_stat_counter_all64, port);
}

int ctype_vorn_get_port_stat_counter_all32(usp_s* port, void*, unsigned int*)
{
    return discard_counters<StatCounter32>(vorn_get_port_stat_counter_all32, port);
}

int ctype_vorn_get_port_brief_stat_counter_all64(usp_s* port, void*, unsigned int*)
{
    return discard_counters<BriefStatCounter64>(vorn_get_port_brief_stat_counter_all64, port);
}

int ctype_vorn_get_port_brief_stat_counter_all32(usp_s* port, void*, unsigned int*)
{
    return discard_counters<BriefStatCounter32>(vorn_get_port_brief_stat_counter_all32, port);
}

int ctype_vorn_clear_port_stat_counter(usp_s* port)
{
    return to_int(vorn_clear_port_stat_counter(to_usp(port)));
}

int ctype_vorn_get_port_stat_enabled(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_stat_enabled, port, enabled);
}

int ctype_vorn_set_port_stat_enable(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_stat_enable(to_usp(port), low_byte(enabled)));
}

// Traffic controls.
int ctype_vorn_get_port_unicast_control(usp_s* port, unsigned int* rate)
{
    return get_port_value(vorn_get_port_unicast_control, port, rate);
}

int ctype_vorn_set_port_unicast_control(usp_s* port, unsigned int rate)
{
    return to_int(vorn_set_port_unicast_control(to_usp(port), rate));
}

int ctype_vorn_get_port_multicast_control(usp_s* port, unsigned int* rate)
{
    return get_port_value(vorn_get_port_multicast_control, port, rate);
}

int ctype_vorn_set_port_multicast_control(usp_s* port, unsigned int rate)
{
    return to_int(vorn_set_port_multicast_control(to_usp(port), rate));
}

// Callers may rely only on 0 meaning failure; this build answers 1 on success.
int ctype_vorn_get_port_broadcast_control(usp_s* port, unsigned int* rate)
{
    return get_port_value(vorn_get_port_broadcast_control, port, rate);
}

int ctype_vorn_set_port_broadcast_control(usp_s* port, unsigned int rate)
{
    return to_int(vorn_set_port_broadcast_control(to_usp(port), rate));
}

// On success the type is stored first, then the mirror-to port.
int ctype_vorn_get_port_mirror(usp_s* target, usp_s* source, mirror_type_t* type)
{
    Usp mirror_to(0, 0, 0);
    mirror_type_t local_type{};
    if (!vorn_get_port_mirror(mirror_to, to_usp(source), local_type)) return 0;
    *type = local_type;
    store_usp(mirror_to, target);
    return 1;
}

int ctype_vorn_set_port_mirror(usp_s* target, usp_s* source, mirror_type_t type)
{
    return to_int(vorn_set_port_mirror(to_usp(target), to_usp(source), type));
}

int ctype_vorn_get_port_flood_blocking_cpu(usp_s* port, flood_block_type_t* type)
{
    return get_port_value(vorn_get_port_flood_blocking_cpu, port, type);
}

int ctype_vorn_set_port_flood_blocking_cpu(usp_s* ports, int count, flood_block_type_t type)
{
    return to_int(vorn_set_port_flood_blocking_cpu(to_list(ports, count), type));
}

int ctype_vorn_get_port_flood_blocking(usp_s* port, usp_s* other, flood_block_type_t* type)
{
    return copy_out_on_success(type, [&](flood_block_type_t& value) {
        return vorn_get_port_flood_blocking(to_usp(port), to_usp(other), value);
    });
}

// The list is built before the single port is converted.
int ctype_vorn_set_port_flood_blocking(usp_s* ports, int count, usp_s* other,
                                       flood_block_type_t type)
{
    const std::list<Usp> list = to_list(ports, count);
    return to_int(vorn_set_port_flood_blocking(list, to_usp(other), type));
}

int ctype_vorn_get_port_switch_unknown_unicast_to_cpu(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_switch_unknown_unicast_to_cpu, port, enabled);
}

int ctype_vorn_set_port_switch_unknown_unicast_to_cpu(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_switch_unknown_unicast_to_cpu(to_usp(port), low_byte(enabled)));
}

int ctype_vorn_get_port_cos_mapping(usp_s* port, unsigned int key, unsigned int* queue)
{
    return copy_out_on_success(queue, [&](unsigned int& value) {
        return vorn_get_port_cos_mapping(to_usp(port), key, value);
    });
}

int ctype_vorn_set_port_cos_mapping(usp_s* port, unsigned int key, unsigned int queue)
{
    return to_int(vorn_set_port_cos_mapping(to_usp(port), key, queue));
}

int ctype_vorn_get_port_mac_lock(usp_s* port, bool* locked)
{
    return get_port_value(vorn_get_port_mac_lock, port, locked);
}

int ctype_vorn_set_port_mac_lock(usp_s* port, bool locked)
{
    return to_int(vorn_set_port_mac_lock(to_usp(port), low_byte(locked)));
}

int ctype_vorn_get_port_mac_lock_ext(usp_s* port, bool* locked, bool* drop_unknown)
{
    return copy_both_out_on_success(locked, drop_unknown, [&](bool& first, bool& second) {
        return vorn_get_port_mac_lock_ext(to_usp(port), first, second);
    });
}

int ctype_vorn_set_port_mac_lock_ext(usp_s* port, bool locked, bool drop_unknown)
{
    return to_int(vorn_set_port_mac_lock_ext(to_usp(port), low_byte(locked), low_byte(drop_unknown)));
}

int ctype_vorn_get_port_mac_limit(usp_s* port, int* limit)
{
    return get_port_value(vorn_get_port_mac_limit, port, limit);
}

int ctype_vorn_set_port_mac_limit(usp_s* port, int limit)
{
    return to_int(vorn_set_port_mac_limit(to_usp(port), limit));
}

int ctype_vorn_get_port_pvid(usp_s* port, unsigned int* pvid)
{
    return get_port_value(vorn_get_port_pvid, port, pvid);
}

int ctype_vorn_set_port_pvid(usp_s* port, unsigned int pvid)
{
    return to_int(vorn_set_port_pvid(to_usp(port), pvid));
}

int ctype_vorn_get_port_vlan_priority(usp_s* port, unsigned int key, unsigned int* priority)
{
    return copy_out_on_success(priority, [&](unsigned int& value) {
        return vorn_get_port_vlan_priority(to_usp(port), key, value);
    });
}

int ctype_vorn_set_port_vlan_priority(usp_s* port, unsigned int key, unsigned int priority)
{
    return to_int(vorn_set_port_vlan_priority(to_usp(port), key, priority));
}

int ctype_vorn_get_port_vlan_accept_frame(usp_s* port, bool* tagged_only)
{
    return get_port_value(vorn_get_port_vlan_accept_frame, port, tagged_only);
}

int ctype_vorn_set_port_vlan_accept_frame(usp_s* port, bool tagged_only)
{
    return to_int(vorn_set_port_vlan_accept_frame(to_usp(port), low_byte(tagged_only)));
}

int ctype_vorn_set_port_protocol_vlan(usp_s* port, frame_type_t frame, unsigned short protocol,
                                      unsigned int vlan)
{
    return to_int(vorn_set_port_protocol_vlan(to_usp(port), frame, protocol, vlan));
}

int ctype_vorn_delete_port_protocol_vlan(usp_s* port, frame_type_t frame, unsigned short protocol)
{
    return to_int(vorn_delete_port_protocol_vlan(to_usp(port), frame, protocol));
}

int ctype_vorn_delete_port_protocol_vlan_all(usp_s* port)
{
    return to_int(vorn_delete_port_protocol_vlan_all(to_usp(port)));
}

int ctype_vorn_get_port_ingress_discarding(usp_s* port, ingress_discard_type_t* type)
{
    return get_port_value(vorn_get_port_ingress_discarding, port, type);
}

int ctype_vorn_set_port_ingress_discarding(usp_s* port, ingress_discard_type_t type)
{
    return to_int(vorn_set_port_ingress_discarding(to_usp(port), type));
}

int ctype_vorn_get_port_egress_admin_state(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_egress_admin_state, port, enabled);
}

int ctype_vorn_set_port_egress_admin_state(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_egress_admin_state(to_usp(port), low_byte(enabled)));
}

int ctype_vorn_set_port_l2_enable(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_l2_enable(to_usp(port), low_byte(enabled)));
}

// Physical settings.
int ctype_vorn_get_port_speed(usp_s* port, speed_type_t* speed)
{
    return get_port_value(vorn_get_port_speed, port, speed);
}

int ctype_vorn_set_port_speed(usp_s* port, speed_type_t speed)
{
    return to_int(vorn_set_port_speed(to_usp(port), speed));
}

int ctype_vorn_get_port_duplex(usp_s* port, duplex_type_t* duplex)
{
    return get_port_value(vorn_get_port_duplex, port, duplex);
}

int ctype_vorn_set_port_duplex(usp_s* port, duplex_type_t duplex)
{
    return to_int(vorn_set_port_duplex(to_usp(port), duplex));
}

int ctype_vorn_get_port_autoneg(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_autoneg, port, enabled);
}

int ctype_vorn_set_port_autoneg(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_autoneg(to_usp(port), low_byte(enabled)));
}

int ctype_vorn_get_port_link_state(usp_s* port, phy_state_t* state)
{
    return get_port_value(vorn_get_port_link_state, port, state);
}

int ctype_vorn_set_port_link_state(usp_s* port, phy_state_t state)
{
    return to_int(vorn_set_port_link_state(to_usp(port), state));
}

int ctype_vorn_set_port_mtu(usp_s* port, unsigned int mtu)
{
    return to_int(vorn_set_port_mtu(to_usp(port), mtu));
}

int ctype_vorn_get_port_state(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_state, port, enabled);
}

int ctype_vorn_set_port_state(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_state(to_usp(port), low_byte(enabled)));
}

int ctype_vorn_get_port_ability(usp_s* port, port_ability_type_t* ability)
{
    return get_port_value(vorn_get_port_ability, port, ability);
}

int ctype_vorn_set_port_advertising_ability(usp_s* port, port_ability_type_t ability)
{
    return to_int(vorn_set_port_advertising_ability(to_usp(port), ability));
}

int ctype_vorn_get_port_advertising_ability(usp_s* port, port_ability_type_t* ability)
{
    return get_port_value(vorn_get_port_advertising_ability, port, ability);
}

int ctype_vorn_get_port_current_ability(usp_s* port, port_ability_type_t* ability)
{
    return get_port_value(vorn_get_port_current_ability, port, ability);
}

int ctype_vorn_get_port_peer_ability(usp_s* port, port_ability_type_t* ability)
{
    return get_port_value(vorn_get_port_peer_ability, port, ability);
}

int ctype_vorn_get_port_flow_control_8023x(usp_s* port, bool* receive, bool* transmit)
{
    return copy_both_out_on_success(receive, transmit, [&](bool& first, bool& second) {
        return vorn_get_port_flow_control_8023x(to_usp(port), first, second);
    });
}

int ctype_vorn_set_port_flow_control_8023x(usp_s* port, bool receive, bool transmit)
{
    return to_int(vorn_set_port_flow_control_8023x(to_usp(port), low_byte(receive), low_byte(transmit)));
}

int ctype_vorn_get_port_jaming_control(usp_s* port, bool* enabled)
{
    return get_port_value(vorn_get_port_jaming_control, port, enabled);
}

int ctype_vorn_set_port_jaming_control(usp_s* port, bool enabled)
{
    return to_int(vorn_set_port_jaming_control(to_usp(port), low_byte(enabled)));
}

// LAG balancing strategy.
int ctype_vorn_get_lag_balancing_strategy(usp_s* lag, lag_psc_t* psc)
{
    return get_port_value(vorn_get_lag_balancing_strategy, lag, psc);
}

int ctype_vorn_set_lag_balancing_strategy(usp_s* lag, lag_psc_t psc)
{
    return to_int(vorn_set_lag_balancing_strategy(to_usp(lag), psc));
}
