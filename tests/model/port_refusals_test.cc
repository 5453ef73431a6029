// Refusals of the port operations: physical settings, traffic controls,
// spanning tree and statistics.
#include <gtest/gtest.h>

#include "refusal_cases.hh"

namespace refusal_cases {

namespace {
const std::string unknown = "unknown hardware port 0:99";
}  // namespace

const std::vector<RefusalCase>& port_refusals()
{
    static const std::vector<RefusalCase> cases = {
        {Slot::set_port_mirror, unknown,
         [](Model& m) { return m.set_port_mirror(nowhere, port1, MIRROR_TYPE_BOTH); }},
        {Slot::set_port_mirror, unknown,
         [](Model& m) { return m.set_port_mirror(port1, nowhere, MIRROR_TYPE_BOTH); }},
        {Slot::set_port_mirror, "mirror type 4 is out of range (0-3)",
         [](Model& m) { return m.set_port_mirror(port1, port2, mirror_type_t(4)); }},
        {Slot::set_port_mirror, "port 1/1/2 cannot mirror to itself",
         [](Model& m) { return m.set_port_mirror(port2, port2, MIRROR_TYPE_INGRESS); }},
        {Slot::get_port_mirror, unknown,
         [](Model& m) {
             return m.get_port_mirror(ignored<Mp>(), nowhere, ignored<mirror_type_t>());
         }},
        {Slot::set_port_state, unknown, [](Model& m) { return m.set_port_state(nowhere, false); }},
        {Slot::get_port_state, unknown,
         [](Model& m) { return m.get_port_state(nowhere, ignored<bool>()); }},
        {Slot::set_port_autoneg, unknown,
         [](Model& m) { return m.set_port_autoneg(nowhere, false); }},
        {Slot::get_port_autoneg, unknown,
         [](Model& m) { return m.get_port_autoneg(nowhere, ignored<bool>()); }},
        {Slot::set_port_speed, unknown,
         [](Model& m) { return m.set_port_speed(nowhere, SPEED_10G); }},
        {Slot::set_port_speed, "speed 7 is out of range (0-6)",
         [](Model& m) { return m.set_port_speed(port1, speed_type_t(7)); }},
        {Slot::get_port_speed, unknown,
         [](Model& m) { return m.get_port_speed(nowhere, ignored<speed_type_t>()); }},
        {Slot::set_port_duplex, unknown,
         [](Model& m) { return m.set_port_duplex(nowhere, DUPLEX_HALF); }},
        {Slot::set_port_duplex, "duplex -1 is out of range (0-1)",
         [](Model& m) { return m.set_port_duplex(port1, duplex_type_t(-1)); }},
        {Slot::get_port_duplex, unknown,
         [](Model& m) { return m.get_port_duplex(nowhere, ignored<duplex_type_t>()); }},
        {Slot::set_port_flow_control_8023x, unknown,
         [](Model& m) { return m.set_port_flow_control_8023x(nowhere, true, true); }},
        {Slot::get_port_flow_control_8023x, unknown,
         [](Model& m) {
             return m.get_port_flow_control_8023x(nowhere, ignored<unsigned int>(),
                                                  ignored<unsigned int>());
         }},
        {Slot::set_port_jaming_control, unknown,
         [](Model& m) { return m.set_port_jaming_control(nowhere, true); }},
        {Slot::get_port_jaming_control, unknown,
         [](Model& m) { return m.get_port_jaming_control(nowhere, ignored<bool>()); }},
        {Slot::set_port_mtu, unknown, [](Model& m) { return m.set_port_mtu(nowhere, 1500); }},
        {Slot::set_port_mtu, "MTU 63 is out of range (64-9216)",
         [](Model& m) { return m.set_port_mtu(port2, 63); }},
        {Slot::set_port_mtu, "MTU 9217 is out of range (64-9216)",
         [](Model& m) { return m.set_port_mtu(port2, 9217); }},
        {Slot::get_port_mtu, unknown,
         [](Model& m) { return m.get_port_mtu(nowhere, ignored<unsigned int>()); }},
        {Slot::set_port_link_state, unknown,
         [](Model& m) { return m.set_port_link_state(nowhere, PHY_STATE_DOWN); }},
        {Slot::set_port_link_state, "link state 2 is out of range (0-1)",
         [](Model& m) { return m.set_port_link_state(port1, phy_state_t(2)); }},
        {Slot::get_port_link_state, unknown,
         [](Model& m) { return m.get_port_link_state(nowhere, ignored<phy_state_t>()); }},
        {Slot::get_port_ability, unknown,
         [](Model& m) { return m.get_port_ability(nowhere, ignored<port_ability_type_t>()); }},
        {Slot::set_port_advertising_ability, unknown,
         [](Model& m) { return m.set_port_advertising_ability(nowhere, PORT_ABILITY_10MB_FD); }},
        {Slot::set_port_advertising_ability, "ability set 64 has bits outside",
         [](Model& m) { return m.set_port_advertising_ability(port1, PORT_ABILITY_10GB_FD); }},
        {Slot::get_port_advertising_ability, unknown,
         [](Model& m) {
             return m.get_port_advertising_ability(nowhere, ignored<port_ability_type_t>());
         }},
        {Slot::get_port_current_ability, unknown,
         [](Model& m) {
             return m.get_port_current_ability(nowhere, ignored<port_ability_type_t>());
         }},
        {Slot::get_port_peer_ability, unknown,
         [](Model& m) { return m.get_port_peer_ability(nowhere, ignored<port_ability_type_t>()); }},
        {Slot::set_port_broadcast_control, unknown,
         [](Model& m) { return m.set_port_broadcast_control(nowhere, 10); }},
        {Slot::get_port_broadcast_control, unknown,
         [](Model& m) { return m.get_port_broadcast_control(nowhere, ignored<unsigned int>()); }},
        {Slot::set_port_multicast_control, unknown,
         [](Model& m) { return m.set_port_multicast_control(nowhere, 10); }},
        {Slot::get_port_multicast_control, unknown,
         [](Model& m) { return m.get_port_multicast_control(nowhere, ignored<unsigned int>()); }},
        {Slot::set_port_unicast_control, unknown,
         [](Model& m) { return m.set_port_unicast_control(nowhere, 10); }},
        {Slot::get_port_unicast_control, unknown,
         [](Model& m) { return m.get_port_unicast_control(nowhere, ignored<unsigned int>()); }},
        {Slot::set_port_egress_admin_state, unknown,
         [](Model& m) { return m.set_port_egress_admin_state(nowhere, false); }},
        {Slot::get_port_egress_admin_state, unknown,
         [](Model& m) { return m.get_port_egress_admin_state(nowhere, ignored<bool>()); }},
        {Slot::set_port_ingress_discarding, unknown,
         [](Model& m) { return m.set_port_ingress_discarding(nowhere, INGRESS_DISCARD_ALL); }},
        {Slot::set_port_ingress_discarding, "ingress discard type 4 is out of range (0-3)",
         [](Model& m) { return m.set_port_ingress_discarding(port1, ingress_discard_type_t(4)); }},
        {Slot::get_port_ingress_discarding, unknown,
         [](Model& m) {
             return m.get_port_ingress_discarding(nowhere, ignored<ingress_discard_type_t>());
         }},
        {Slot::set_port_flood_blocking, unknown,
         [](Model& m) { return m.set_port_flood_blocking(nowhere, port2, FLOOD_BLOCK_ALL); }},
        {Slot::set_port_flood_blocking, unknown,
         [](Model& m) { return m.set_port_flood_blocking(port1, nowhere, FLOOD_BLOCK_ALL); }},
        {Slot::set_port_flood_blocking, "flood blocking type 8 has bits outside 7",
         [](Model& m) { return m.set_port_flood_blocking(port1, port2, flood_block_type_t(8)); }},
        {Slot::get_port_flood_blocking, unknown,
         [](Model& m) {
             return m.get_port_flood_blocking(port1, nowhere, ignored<flood_block_type_t>());
         }},
        {Slot::set_port_flood_blocking_cpu, unknown,
         [](Model& m) { return m.set_port_flood_blocking_cpu(nowhere, FLOOD_BLOCK_ALL); }},
        {Slot::set_port_flood_blocking_cpu, "flood blocking type 9 has bits outside 7",
         [](Model& m) { return m.set_port_flood_blocking_cpu(port2, flood_block_type_t(9)); }},
        {Slot::get_port_flood_blocking_cpu, unknown,
         [](Model& m) {
             return m.get_port_flood_blocking_cpu(nowhere, ignored<flood_block_type_t>());
         }},
        {Slot::set_port_cos_mapping, unknown,
         [](Model& m) { return m.set_port_cos_mapping(nowhere, 2, 2); }},
        {Slot::set_port_cos_mapping, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.set_port_cos_mapping(port1, 8, 2); }},
        {Slot::set_port_cos_mapping, "queue 8 is out of range (0-7)",
         [](Model& m) { return m.set_port_cos_mapping(port1, 2, 8); }},
        {Slot::get_port_cos_mapping, unknown,
         [](Model& m) { return m.get_port_cos_mapping(nowhere, 2, ignored<unsigned int>()); }},
        {Slot::get_port_cos_mapping, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.get_port_cos_mapping(port1, 8, ignored<unsigned int>()); }},
        {Slot::set_port_switch_unknown_unicast_to_cpu, unknown,
         [](Model& m) { return m.set_port_switch_unknown_unicast_to_cpu(nowhere, true); }},
        {Slot::get_port_switch_unknown_unicast_to_cpu, unknown,
         [](Model& m) {
             return m.get_port_switch_unknown_unicast_to_cpu(nowhere, ignored<bool>());
         }},
        {Slot::set_port_l2_enable, unknown,
         [](Model& m) { return m.set_port_l2_enable(nowhere, false); }},
        {Slot::set_port_mac_lock, unknown,
         [](Model& m) { return m.set_port_mac_lock(nowhere, true); }},
        {Slot::get_port_mac_lock, unknown,
         [](Model& m) { return m.get_port_mac_lock(nowhere, ignored<bool>()); }},
        {Slot::set_port_mac_lock_ext, unknown,
         [](Model& m) { return m.set_port_mac_lock_ext(nowhere, true, true); }},
        {Slot::get_port_mac_lock_ext, unknown,
         [](Model& m) {
             return m.get_port_mac_lock_ext(nowhere, ignored<bool>(), ignored<bool>());
         }},
        // Spanning tree.
        {Slot::set_port_stp_state, unknown,
         [](Model& m) { return m.set_port_stp_state(nowhere, STP_STATE_BLOCKING); }},
        {Slot::set_port_stp_state, "STP state 5 is out of range (0-4)",
         [](Model& m) { return m.set_port_stp_state(port1, stp_state_t(5)); }},
        {Slot::get_port_stp_state, unknown,
         [](Model& m) { return m.get_port_stp_state(nowhere, ignored<stp_state_t>()); }},
        {Slot::set_port_bpdu_processing, unknown,
         [](Model& m) { return m.set_port_bpdu_processing(nowhere, false); }},
        {Slot::get_port_bpdu_processing, unknown,
         [](Model& m) { return m.get_port_bpdu_processing(nowhere, ignored<bool>()); }},
        // Statistics.
        {Slot::set_port_stat_enable, unknown,
         [](Model& m) { return m.set_port_stat_enable(nowhere, false); }},
        {Slot::get_port_stat_enabled, unknown,
         [](Model& m) { return m.get_port_stat_enabled(nowhere, ignored<bool>()); }},
        {Slot::get_port_stat_counter, unknown,
         [](Model& m) {
             return m.get_port_stat_counter(nowhere, STAT_IF_IN_OCTETS,
                                            ignored<unsigned long long>());
         }},
        {Slot::get_port_stat_counter, "counter type 21 is out of range (0-20)",
         [](Model& m) {
             return m.get_port_stat_counter(port1, STAT_TYPE_COUNT, ignored<unsigned long long>());
         }},
        {Slot::get_port_stat_counter32, unknown,
         [](Model& m) {
             return m.get_port_stat_counter32(nowhere, STAT_IF_IN_OCTETS, ignored<unsigned int>());
         }},
        {Slot::get_port_stat_counter32, "counter type -1 is out of range (0-20)",
         [](Model& m) {
             return m.get_port_stat_counter32(port1, stat_type_t(-1), ignored<unsigned int>());
         }},
        {Slot::get_port_stat_counter_all64, unknown,
         [](Model& m) {
             return m.get_port_stat_counter_all64(nowhere, ignored<std::list<StatCounter64>>());
         }},
        {Slot::get_port_stat_counter_all32, unknown,
         [](Model& m) {
             return m.get_port_stat_counter_all32(nowhere, ignored<std::list<StatCounter32>>());
         }},
        {Slot::get_port_stat_counter_all64_ext, unknown,
         [](Model& m) {
             StatCounter64 v[STAT_TYPE_COUNT];
             unsigned int count = STAT_TYPE_COUNT;
             return m.get_port_stat_counter_all64_ext(nowhere, v, count);
         }},
        {Slot::get_port_stat_counter_all64_ext, "no counter array given (null pointer)",
         [](Model& m) {
             unsigned int count = STAT_TYPE_COUNT;
             return m.get_port_stat_counter_all64_ext(port1, nullptr, count);
         }},
        {Slot::get_port_stat_counter_all32_ext, unknown,
         [](Model& m) {
             StatCounter32 v[STAT_TYPE_COUNT];
             unsigned int count = STAT_TYPE_COUNT;
             return m.get_port_stat_counter_all32_ext(nowhere, v, count);
         }},
        {Slot::get_port_stat_counter_all32_ext, "no counter array given (null pointer)",
         [](Model& m) {
             unsigned int count = STAT_TYPE_COUNT;
             return m.get_port_stat_counter_all32_ext(port1, nullptr, count);
         }},
        {Slot::get_port_brief_stat_counter64, unknown,
         [](Model& m) {
             return m.get_port_brief_stat_counter64(nowhere, BRIEF_STAT_RX_BYTES,
                                                    ignored<unsigned long long>());
         }},
        {Slot::get_port_brief_stat_counter64, "brief counter type 8 is out of range (0-7)",
         [](Model& m) {
             return m.get_port_brief_stat_counter64(port1, BRIEF_STAT_TYPE_COUNT,
                                                    ignored<unsigned long long>());
         }},
        {Slot::get_port_brief_stat_counter32, unknown,
         [](Model& m) {
             return m.get_port_brief_stat_counter32(nowhere, BRIEF_STAT_RX_BYTES,
                                                    ignored<unsigned int>());
         }},
        {Slot::get_port_brief_stat_counter32, "brief counter type 8 is out of range (0-7)",
         [](Model& m) {
             return m.get_port_brief_stat_counter32(port1, BRIEF_STAT_TYPE_COUNT,
                                                    ignored<unsigned int>());
         }},
        {Slot::get_port_brief_stat_counter_all64, unknown,
         [](Model& m) {
             return m.get_port_brief_stat_counter_all64(nowhere,
                                                        ignored<std::list<BriefStatCounter64>>());
         }},
        {Slot::clear_port_stat_counter, unknown,
         [](Model& m) { return m.clear_port_stat_counter(nowhere); }},
    };
    return cases;
}

}  // namespace refusal_cases

namespace {

TEST(Refusals, PortOperationsRefuseAndChangeNothing)
{
    refusal_cases::check_refusals(refusal_cases::port_refusals());
}

}  // namespace
