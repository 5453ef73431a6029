// The API entry points of libvornlcapi.
//
// Every entry point finds the host's SDK object anew, translates logical
// ports (Usp) into hardware ports (Mp) through the host's port mapping,
// calls one SDK operation (per member port where it fans out) and returns
// true when every step succeeded, false on any failure: no SDK object, a
// port that does not translate, or the SDK's refusal.  Outputs are written
// by the SDK directly.  Nothing is cached between calls and nothing is
// validated here that the SDK validates.
//
// Valid as C++11 and later.
#ifndef VORN_API_HH
#define VORN_API_HH

#include <list>
#include <string>

#include "vorn_crecords.h"
#include "vorn_enums.h"
#include "vorn_export.h"
#include "vorn_types.hh"

// --- Lifecycle and trace ---------------------------------------------------
VORN_API bool vorn_lcmgr_api_init(int& line_card);
VORN_API bool vorn_lcmgr_api_terminate();
VORN_API bool vorn_get_line_card_usp(Usp& usp);
VORN_API bool vorn_free_call(int arg);
// "trace_level_api" switches only api_trace_enabled (the SDK is not asked),
// "trace_level_all" switches it and the SDK's trace, any other name only the
// SDK's.
VORN_API bool vorn_set_lcmgr_trace(const std::string& target, bool on);
VORN_API extern bool api_trace_enabled;
VORN_API bool vorn_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id);
VORN_API bool vorn_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag);

// --- Event callbacks --------------------------------------------------------
VORN_API bool vorn_register_rx_packet_callback(void (*callback)(RxPacket*, void*),
                                               void* user_data);
VORN_API bool vorn_register_rx_packet_callback_c(void (*callback)(ctype_rx_packet_s*, void*),
                                                 void* user_data);
VORN_API bool vorn_register_link_change_callback(void (*callback)(LinkStatus*, Usp*));
VORN_API bool vorn_register_link_change_callback_c(void (*callback)(ctype_link_status_s*,
                                                                    usp_s*));
VORN_API bool vorn_register_mac_update_callback(void (*callback)(L2Addr*, int, void*),
                                                void* user_data);
VORN_API bool vorn_register_mac_update_callback_c(void (*callback)(ctype_l2_addr_s*, int, void*),
                                                  void* user_data);
// A link-change callback is deregistered with null user data.
VORN_API bool vorn_deregister_event_callback(lcmgr_report_event_t event, void* callback,
                                             void* user_data);

// --- Spanning tree -----------------------------------------------------------
// Setting a port or LAG to STP_STATE_DISABLED also flushes its FDB entries;
// the multi-port form never flushes.
VORN_API bool vorn_get_port_stp_state(const Usp& port, stp_state_t& state);
VORN_API bool vorn_set_port_stp_state(const Usp& port, stp_state_t state);
VORN_API bool vorn_set_ports_stp_state(const std::list<Usp>& ports, stp_state_t state);
VORN_API bool vorn_get_port_mstp_state(const Usp& port, mstp_state_t& state,
                                       unsigned int instance);
VORN_API bool vorn_set_port_mstp_state(const Usp& port, mstp_state_t state,
                                       unsigned int instance);
VORN_API bool vorn_set_ports_mstp_state(const std::list<Usp>& ports, mstp_state_t state,
                                        unsigned int instance);

// --- Port statistics -----------------------------------------------------
VORN_API bool vorn_get_port_stat_counter(const Usp& port, stat_type_t type,
                                         unsigned long long& value);
VORN_API bool vorn_get_port_stat_counter32(const Usp& port, stat_type_t type,
                                           unsigned int& value);
VORN_API bool vorn_get_port_stat_counter_all64(const Usp& port,
                                               std::list<StatCounter64>& counters);
VORN_API bool vorn_get_port_stat_counter_all32(const Usp& port,
                                               std::list<StatCounter32>& counters);
VORN_API bool vorn_get_port_stat_counter_all64_ext(const Usp& port, StatCounter64* counters,
                                                   unsigned int& count);
VORN_API bool vorn_get_port_stat_counter_all32_ext(const Usp& port, StatCounter32* counters,
                                                   unsigned int& count);
VORN_API bool vorn_get_port_brief_stat_counter64(const Usp& port, brief_stat_type_t type,
                                                 unsigned long long& value);
VORN_API bool vorn_get_port_brief_stat_counter32(const Usp& port, brief_stat_type_t type,
                                                 unsigned int& value);
// Both brief "all" getters take their list by value, so the caller never sees
// counters; the 32-bit one clears the port's counters instead.  Kept as
// published.
VORN_API bool vorn_get_port_brief_stat_counter_all64(const Usp& port,
                                                     std::list<BriefStatCounter64> counters);
VORN_API bool vorn_get_port_brief_stat_counter_all32(const Usp& port,
                                                     std::list<BriefStatCounter32> counters);
VORN_API bool vorn_clear_port_stat_counter(const Usp& port);
VORN_API bool vorn_get_port_stat_enabled(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_stat_enable(const Usp& port, bool enabled);

// --- Port traffic controls -------------------------------------------------
VORN_API bool vorn_get_port_unicast_control(const Usp& port, unsigned int& rate);
VORN_API bool vorn_set_port_unicast_control(const Usp& port, unsigned int rate);
VORN_API bool vorn_get_port_multicast_control(const Usp& port, unsigned int& rate);
VORN_API bool vorn_set_port_multicast_control(const Usp& port, unsigned int rate);
VORN_API bool vorn_get_port_broadcast_control(const Usp& port, unsigned int& rate);
VORN_API bool vorn_set_port_broadcast_control(const Usp& port, unsigned int rate);
VORN_API bool vorn_set_port_mirror(const Usp& target, const Usp& source, mirror_type_t type);
VORN_API bool vorn_get_port_mirror(Usp& target, const Usp& source, mirror_type_t& type);
VORN_API bool vorn_get_port_flood_blocking_cpu(const Usp& port, flood_block_type_t& type);
VORN_API bool vorn_set_port_flood_blocking_cpu(const std::list<Usp>& ports,
                                               flood_block_type_t type);
VORN_API bool vorn_get_port_flood_blocking(const Usp& port, const Usp& other,
                                           flood_block_type_t& type);
VORN_API bool vorn_set_port_flood_blocking(const std::list<Usp>& ports, const Usp& other,
                                           flood_block_type_t type);
VORN_API bool vorn_get_port_switch_unknown_unicast_to_cpu(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_switch_unknown_unicast_to_cpu(const Usp& port, bool enabled);
VORN_API bool vorn_get_port_cos_mapping(const Usp& port, unsigned int key, unsigned int& queue);
VORN_API bool vorn_set_port_cos_mapping(const Usp& port, unsigned int key, unsigned int queue);
VORN_API bool vorn_get_port_mac_lock(const Usp& port, bool& locked);
VORN_API bool vorn_set_port_mac_lock(const Usp& port, bool locked);
VORN_API bool vorn_get_port_mac_lock_ext(const Usp& port, bool& locked, bool& drop_unknown);
VORN_API bool vorn_set_port_mac_lock_ext(const Usp& port, bool locked, bool drop_unknown);
VORN_API bool vorn_get_port_mac_limit(const Usp& port, int& limit);
VORN_API bool vorn_set_port_mac_limit(const Usp& port, int limit);
VORN_API bool vorn_get_port_pvid(const Usp& port, unsigned int& pvid);
VORN_API bool vorn_set_port_pvid(const Usp& port, unsigned int pvid);
VORN_API bool vorn_set_ports_pvid(const std::list<Usp>& ports, unsigned int pvid);
VORN_API bool vorn_get_port_vlan_priority(const Usp& port, unsigned int key,
                                          unsigned int& priority);
VORN_API bool vorn_set_port_vlan_priority(const Usp& port, unsigned int key,
                                          unsigned int priority);
VORN_API bool vorn_get_port_vlan_accept_frame(const Usp& port, bool& tagged_only);
VORN_API bool vorn_set_port_vlan_accept_frame(const Usp& port, bool tagged_only);
VORN_API bool vorn_set_port_protocol_vlan(const Usp& port, frame_type_t frame,
                                          unsigned short protocol, unsigned int vlan);
VORN_API bool vorn_delete_port_protocol_vlan(const Usp& port, frame_type_t frame,
                                             unsigned short protocol);
VORN_API bool vorn_delete_port_protocol_vlan_all(const Usp& port);
VORN_API bool vorn_get_port_bpdu_processing(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_bpdu_processing(const Usp& port, bool enabled);
VORN_API bool vorn_get_port_ingress_discarding(const Usp& port, ingress_discard_type_t& type);
VORN_API bool vorn_set_port_ingress_discarding(const Usp& port, ingress_discard_type_t type);
VORN_API bool vorn_get_port_egress_admin_state(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_egress_admin_state(const Usp& port, bool enabled);
VORN_API bool vorn_set_port_l2_enable(const Usp& port, bool enabled);

// --- Port physical settings ------------------------------------------------
VORN_API bool vorn_get_port_speed(const Usp& port, speed_type_t& speed);
VORN_API bool vorn_set_port_speed(const Usp& port, speed_type_t speed);
VORN_API bool vorn_get_port_duplex(const Usp& port, duplex_type_t& duplex);
VORN_API bool vorn_set_port_duplex(const Usp& port, duplex_type_t duplex);
VORN_API bool vorn_get_port_autoneg(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_autoneg(const Usp& port, bool enabled);
VORN_API bool vorn_get_port_link_state(const Usp& port, phy_state_t& state);
VORN_API bool vorn_set_port_link_state(const Usp& port, phy_state_t state);
VORN_API bool vorn_get_port_mtu(const Usp& port, unsigned int& mtu);
VORN_API bool vorn_set_port_mtu(const Usp& port, unsigned int mtu);
VORN_API bool vorn_set_ports_mtu(const std::list<Usp>& ports, unsigned int mtu);
VORN_API bool vorn_get_port_state(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_state(const Usp& port, bool enabled);
VORN_API bool vorn_set_ports_state(const std::list<Usp>& ports, bool enabled);
VORN_API bool vorn_get_port_ability(const Usp& port, port_ability_type_t& ability);
VORN_API bool vorn_set_port_advertising_ability(const Usp& port, port_ability_type_t ability);
VORN_API bool vorn_get_port_advertising_ability(const Usp& port, port_ability_type_t& ability);
VORN_API bool vorn_get_port_current_ability(const Usp& port, port_ability_type_t& ability);
VORN_API bool vorn_get_port_peer_ability(const Usp& port, port_ability_type_t& ability);
VORN_API bool vorn_get_port_flow_control_8023x(const Usp& port, bool& receive, bool& transmit);
VORN_API bool vorn_set_port_flow_control_8023x(const Usp& port, bool receive, bool transmit);
// Passes the two flags to the SDK in reverse order, unlike the per-port
// setter; kept as published.
VORN_API bool vorn_set_ports_flow_control_8023x(const std::list<Usp>& ports, bool receive,
                                                bool transmit);
VORN_API bool vorn_get_port_jaming_control(const Usp& port, bool& enabled);
VORN_API bool vorn_set_port_jaming_control(const Usp& port, bool enabled);

// --- VLANs --------------------------------------------------------------------
VORN_API bool vorn_create_vlan(unsigned int vlan);
VORN_API bool vorn_delete_vlan(unsigned int vlan);
VORN_API bool vorn_add_ports_to_vlan(unsigned int vlan, const std::list<Usp>& tagged,
                                     const std::list<Usp>& untagged);
VORN_API bool vorn_delete_ports_from_vlan(unsigned int vlan, const std::list<Usp>& ports);
VORN_API bool vorn_get_vlan_info(unsigned int vlan, std::list<Usp>& tagged,
                                 std::list<Usp>& untagged);
VORN_API bool vorn_set_mac_vlan(const unsigned char* mac, unsigned int vlan,
                                unsigned int priority);
VORN_API bool vorn_set_ipv4_subnet_vlan(unsigned int address, unsigned int mask,
                                        unsigned int vlan, unsigned int priority);
VORN_API bool vorn_set_ipv6_subnet_vlan(const unsigned char* address,
                                        unsigned int prefix_length, unsigned int vlan,
                                        unsigned int priority);

// --- Link aggregation --------------------------------------------------------
VORN_API bool vorn_create_lag(const Usp& lag);
VORN_API bool vorn_delete_lag(const Usp& lag);
VORN_API bool vorn_add_ports_to_lag(const Usp& lag, const std::list<Usp>& ports);
VORN_API bool vorn_delete_ports_from_lag(const Usp& lag, const std::list<Usp>& ports);
VORN_API bool vorn_set_lag_balancing_strategy(const Usp& lag, lag_psc_t psc);
VORN_API bool vorn_get_lag_balancing_strategy(const Usp& lag, lag_psc_t& psc);

// --- MAC table and FDB -------------------------------------------------------
VORN_API bool vorn_add_system_mac(const unsigned char* mac, unsigned int vlan);
VORN_API bool vorn_add_system_mac_vlan_bitmap(const unsigned char* mac,
                                              const unsigned char* vlan_bitmap);
// Takes (vlan, mac); the SDK operation takes (mac, vlan).
VORN_API bool vorn_delete_mac(unsigned int vlan, const unsigned char* mac);
VORN_API bool vorn_delete_mac_vlan_bitmap(const unsigned char* mac, unsigned char* vlan_bitmap);
VORN_API bool vorn_delete_mac_by_mac(const unsigned char* mac);
VORN_API bool vorn_add_mac_to_port(const Usp& port, const unsigned char* mac, unsigned int vlan);
// Does nothing and answers true.
VORN_API bool vorn_delete_mac_from_port_all(const Usp& port, unsigned int vlan);
VORN_API bool vorn_traverse_mac_table(void* arg);
VORN_API bool vorn_get_fdb_aging_time(int& seconds);
VORN_API bool vorn_set_fdb_aging_time(int seconds);
VORN_API bool vorn_clear_fdb_table(bool static_too);
VORN_API bool vorn_clear_fdb_by_vlan(unsigned int vlan, bool static_too);
VORN_API bool vorn_clear_fdb_by_port(const Usp& port, bool static_too);
VORN_API bool vorn_set_system_mac_limit(int limit);
// Answers false in every case; read `limit` for the SDK's value.
VORN_API bool vorn_get_system_mac_limit(int& limit);

// --- L3 interfaces, hosts and routes ----------------------------------------
VORN_API bool vorn_create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                       unsigned int& interface_id);
VORN_API bool vorn_create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                               unsigned int interface_id, bool replace);
VORN_API bool vorn_get_l3_interface(unsigned int interface_id, unsigned int& vlan,
                                    unsigned char* mac);
VORN_API bool vorn_delete_l3_interface(const unsigned char* mac, unsigned int vlan);
VORN_API bool vorn_delete_l3_interface_by_id(unsigned int interface_id);
VORN_API bool vorn_delete_l3_interface_all();
VORN_API bool vorn_add_l3_host_ip4(const Usp& port, unsigned int address, const unsigned char* mac,
                                   unsigned int interface_id);
VORN_API bool vorn_add_l3_host_ip6(const Usp& port, const unsigned char* address,
                                   const unsigned char* mac, unsigned int interface_id);
VORN_API bool vorn_get_l3_host_ip4(unsigned int address, const Usp& port, unsigned char* mac,
                                   unsigned int& interface_id);
VORN_API bool vorn_get_l3_host_ip6(const unsigned char* address, const Usp& port,
                                   unsigned char* mac, unsigned int& interface_id);
VORN_API bool vorn_get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                              const Usp& port, unsigned char (&mac)[6],
                                              unsigned int& interface_id, unsigned int& vlan);
VORN_API bool vorn_get_l3_route_by_subnet_ip6(const unsigned char* address,
                                              const unsigned char* mask, const Usp& port,
                                              unsigned int& interface_id, unsigned char* mac);
VORN_API bool vorn_delete_l3_host_by_interface(unsigned int interface_id, bool static_too);
VORN_API bool vorn_delete_l3_host_by_network_ip4(unsigned int address);
VORN_API bool vorn_delete_l3_host_by_network_ip6(const unsigned char* address);
VORN_API bool vorn_delete_l3_host_by_addr_ip4(unsigned int address, const Usp& port);
VORN_API bool vorn_delete_l3_host_by_addr_ip6(const unsigned char* address, const Usp& port);
VORN_API bool vorn_clear_l3_host_table();
VORN_API bool vorn_add_l3_route_ip4(const Usp& port, unsigned int address, unsigned int mask,
                                    const unsigned char* mac, unsigned int interface_id,
                                    unsigned int vlan);
VORN_API bool vorn_add_l3_route_ip6(const Usp& port, const unsigned char* address,
                                    const unsigned char* mask, const unsigned char* mac,
                                    unsigned int interface_id);
VORN_API bool vorn_delete_l3_route_by_interface(unsigned int interface_id, bool static_too);
VORN_API bool vorn_delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                 const Usp& port);
VORN_API bool vorn_delete_l3_route_by_subnet_ip6(const unsigned char* address,
                                                 const unsigned char* mask, const Usp& port);
VORN_API bool vorn_clear_l3_route_table();

// --- Flow table and switch-wide settings -------------------------------------
VORN_API bool vorn_add_of_flow(const of_flow_s& flow, unsigned int& flow_id,
                               const of_flow_qualify_udf_s& udf);
VORN_API bool vorn_add_of_flow_with_id(const of_flow_s& flow, unsigned int flow_id);
VORN_API bool vorn_delete_of_flow(unsigned int flow_id);
VORN_API bool vorn_clear_of_flow_table();
// For OF_ACTION_OUTPUT a flow port number n above 6 names port 1/1/(n - 7).
VORN_API bool vorn_add_of_flow_action(unsigned int flow_id, of_action_t kind,
                                      of_action_param_s param);
VORN_API bool vorn_delete_of_flow_action(unsigned int flow_id, of_action_t kind,
                                         of_action_param_s param);
VORN_API bool vorn_clear_of_flow_action(unsigned int flow_id);
VORN_API bool vorn_set_of_flow_priority(unsigned int flow_id, int priority);
VORN_API bool vorn_get_of_flow_priority(unsigned int flow_id, int& priority);
VORN_API bool vorn_get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets);
VORN_API bool vorn_get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets);
VORN_API bool vorn_set_switch_forward_mode(unsigned int mode);
VORN_API bool vorn_get_switch_forward_mode(unsigned int& mode);
VORN_API bool vorn_set_switch_unknown_unicast_to_cpu(bool enabled);
VORN_API bool vorn_get_switch_unknown_unicast_to_cpu(bool& enabled);
VORN_API bool vorn_add_arp_filter(unsigned int address, unsigned int mask);
VORN_API bool vorn_delete_arp_filter(unsigned int address, unsigned int mask);
VORN_API bool vorn_delete_arp_filter_all();
VORN_API bool vorn_add_ip_protocol_filter(unsigned int protocol);
VORN_API bool vorn_delete_ip_protocol_filter(unsigned int protocol);
VORN_API bool vorn_delete_ip_protocol_filter_all();
VORN_API bool vorn_add_l4_destination_port_filter(unsigned int port);
VORN_API bool vorn_delete_l4_destination_port_filter(unsigned int port);
VORN_API bool vorn_delete_l4_destination_port_filter_all();

// --- CPU packets ---------------------------------------------------------------
// Sends out of the given ports whose link is up: a VLAN interface's members
// that are up, a LAG's first member that is up.
VORN_API bool vorn_send_packet_by_port(const std::list<Usp>& tagged,
                                       const std::list<Usp>& untagged, const Packet& packet);
VORN_API bool vorn_send_packet_from_cpu(const Packet& packet);

#endif
