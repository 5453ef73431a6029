// --- Port traffic controls: storm control, mirroring, flood blocking,
// unknown unicast to the CPU, CoS mapping, MAC lock and limit, per-port VLAN
// settings, BPDU processing, ingress discarding, egress state, L2 enable.
#include "port_patterns.hh"
#include "vorn_api.hh"
#include "vorn_contract.hh"

using namespace vorn;

bool vorn_get_port_unicast_control(const Usp& port, unsigned int& rate)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_unicast_control, rate);
}

bool vorn_set_port_unicast_control(const Usp& port, unsigned int rate)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_unicast_control, rate);
}

bool vorn_get_port_multicast_control(const Usp& port, unsigned int& rate)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_multicast_control, rate);
}

bool vorn_set_port_multicast_control(const Usp& port, unsigned int rate)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_multicast_control, rate);
}

bool vorn_get_port_broadcast_control(const Usp& port, unsigned int& rate)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_broadcast_control, rate);
}

bool vorn_set_port_broadcast_control(const Usp& port, unsigned int rate)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_broadcast_control, rate);
}

// Both ports are translated before the lookup; neither may be a LAG or a
// VLAN interface.
bool vorn_set_port_mirror(const Usp& target, const Usp& source, mirror_type_t type)
{
    Mp target_mp(0, 0);
    Mp source_mp(0, 0);
    if (!vorn_usp_to_mp(target, target_mp) || !vorn_usp_to_mp(source, source_mp)) return false;
    return with_sdk([&](VornSdkBase& sdk) { return sdk.set_port_mirror(target_mp, source_mp, type); });
}

// Keyed by the mirrored port; the mirror-to port comes back as a Usp.  When
// it does not map back, `type` has been written all the same.
bool vorn_get_port_mirror(Usp& target, const Usp& source, mirror_type_t& type)
{
    Mp target_mp(0, 0);
    return single_port(LookupFirst, source, [&](VornSdkBase& sdk, const Mp& source_mp) {
        return sdk.get_port_mirror(target_mp, source_mp, type) && vorn_mp_to_usp(target_mp, target);
    });
}

bool vorn_get_port_flood_blocking_cpu(const Usp& port, flood_block_type_t& type)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_flood_blocking_cpu, type);
}

// A multi-port setter, although its name is singular.
bool vorn_set_port_flood_blocking_cpu(const std::list<Usp>& ports, flood_block_type_t type)
{
    return each_port(ports, &VornSdkBase::set_port_flood_blocking_cpu, type);
}

bool vorn_get_port_flood_blocking(const Usp& port, const Usp& other, flood_block_type_t& type)
{
    Mp other_mp(0, 0);
    return single_port(LookupFirst, port, [&](VornSdkBase& sdk, const Mp& mp) {
        return vorn_usp_to_mp(other, other_mp) && sdk.get_port_flood_blocking(mp, other_mp, type);
    });
}

// The lookup, then `other`, then the list: each list port takes the getter's
// first place.
bool vorn_set_port_flood_blocking(const std::list<Usp>& ports, const Usp& other,
                                  flood_block_type_t type)
{
    Mp other_mp(0, 0);
    std::list<Mp> mps;
    VornSdkBase* sdk = nullptr;
    if (!locate(LookupFirst, sdk, [&] {
            return vorn_usp_to_mp(other, other_mp) && vorn_usp_list_to_mp_list(ports, mps);
        }))
        return false;
    auto block = [&](VornSdkBase& s, const Mp& mp) {
        return s.set_port_flood_blocking(mp, other_mp, type);
    };
    return call_each(*sdk, mps, block);
}

bool vorn_get_port_switch_unknown_unicast_to_cpu(const Usp& port, bool& enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_switch_unknown_unicast_to_cpu,
                       enabled);
}

bool vorn_set_port_switch_unknown_unicast_to_cpu(const Usp& port, bool enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_switch_unknown_unicast_to_cpu,
                       enabled);
}

bool vorn_get_port_cos_mapping(const Usp& port, unsigned int key, unsigned int& queue)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_cos_mapping, key, queue);
}

bool vorn_set_port_cos_mapping(const Usp& port, unsigned int key, unsigned int queue)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_cos_mapping, key, queue);
}

bool vorn_get_port_mac_lock(const Usp& port, bool& locked)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_mac_lock, locked);
}

bool vorn_set_port_mac_lock(const Usp& port, bool locked)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_mac_lock, locked);
}

bool vorn_get_port_mac_lock_ext(const Usp& port, bool& locked, bool& drop_unknown)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_mac_lock_ext, locked,
                       drop_unknown);
}

bool vorn_set_port_mac_lock_ext(const Usp& port, bool locked, bool drop_unknown)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_mac_lock_ext, locked,
                       drop_unknown);
}


// A LAG is presented by its LAG id, a VLAN interface by its own port number,
// each on module 0.
bool vorn_get_port_mac_limit(const Usp& port, int& limit)
{
    Mp mp(0, 0);
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int kind = vorn_contract::mac_limit_port;
        if (vorn_usp_to_mp(port, mp)) {
            kind = vorn_contract::mac_limit_port;
        } else if (is_port_logical_lag(port)) {
            unsigned int lag_id = 0;
            if (!vornsdk_lag_usp_to_lag_id(port, lag_id)) return false;
            mp.set_port(lag_id);
            kind = vorn_contract::mac_limit_lag;
        } else if (is_port_logical_vlan(port)) {
            mp.set_port(port.port());
            kind = vorn_contract::mac_limit_vlan_interface;
        } else {
            return false;
        }
        return sdk.get_system_mac_limit(mp, limit, kind);
    });
}

// Unlike the getter, the setter ignores whether the translation succeeded: a
// LAG or VLAN interface reaches the SDK as Mp(0, 0) of kind 1.  Kept as
// published.
bool vorn_set_port_mac_limit(const Usp& port, int limit)
{
    Mp mp(0, 0);
    return with_sdk([&](VornSdkBase& sdk) {
        (void)vorn_usp_to_mp(port, mp);
        return sdk.set_system_mac_limit(mp, limit, vorn_contract::mac_limit_port);
    });
}

bool vorn_get_port_pvid(const Usp& port, unsigned int& pvid)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_pvid, pvid);
}

bool vorn_set_port_pvid(const Usp& port, unsigned int pvid)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_pvid, pvid);
}

bool vorn_set_ports_pvid(const std::list<Usp>& ports, unsigned int pvid)
{
    return each_port(ports, &VornSdkBase::set_port_pvid, pvid);
}

bool vorn_get_port_vlan_priority(const Usp& port, unsigned int key, unsigned int& priority)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_vlan_priority, key, priority);
}

bool vorn_set_port_vlan_priority(const Usp& port, unsigned int key, unsigned int priority)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_vlan_priority, key, priority);
}

bool vorn_get_port_vlan_accept_frame(const Usp& port, bool& tagged_only)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_vlan_accept_frame,
                       tagged_only);
}

bool vorn_set_port_vlan_accept_frame(const Usp& port, bool tagged_only)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_vlan_accept_frame,
                       tagged_only);
}

bool vorn_set_port_protocol_vlan(const Usp& port, frame_type_t frame, unsigned short protocol,
                                 unsigned int vlan)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_protocol_vlan, frame, protocol,
                       vlan);
}

bool vorn_delete_port_protocol_vlan(const Usp& port, frame_type_t frame, unsigned short protocol)
{
    return each_member(TranslateFirst, port, &VornSdkBase::delete_port_protocol_vlan, frame,
                       protocol);
}

bool vorn_delete_port_protocol_vlan_all(const Usp& port)
{
    return each_member(TranslateFirst, port, &VornSdkBase::delete_port_protocol_vlan_all);
}

bool vorn_get_port_bpdu_processing(const Usp& port, bool& enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_bpdu_processing, enabled);
}

bool vorn_set_port_bpdu_processing(const Usp& port, bool enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_bpdu_processing, enabled);
}

bool vorn_get_port_ingress_discarding(const Usp& port, ingress_discard_type_t& type)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_ingress_discarding, type);
}

bool vorn_set_port_ingress_discarding(const Usp& port, ingress_discard_type_t type)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_ingress_discarding, type);
}

bool vorn_get_port_egress_admin_state(const Usp& port, bool& enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_egress_admin_state, enabled);
}

bool vorn_set_port_egress_admin_state(const Usp& port, bool enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_egress_admin_state, enabled);
}

bool vorn_set_port_l2_enable(const Usp& port, bool enabled)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_l2_enable, enabled);
}
