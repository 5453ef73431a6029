/*
 * The C binding of libvornlcapi: every ctype_vorn_* entry point converts its
 * C arguments, calls the API entry point of the same name (without the
 * prefix) and answers 1 for success, 0 for failure.
 *
 * Conventions:
 * - A port is a usp_s*; a port list is a usp_s array and an int count (0 is
 *   an empty list; the call is still made).
 * - Outputs are written only on success, unless an entry point says so.
 * - Nothing is checked here: NULL pointers, short arrays and wrong counts
 *   reach the library as given.
 * - A bool argument counts by its low byte only.
 *
 * Valid as C99, C++11 and later.  C programs include this header only.
 */
#ifndef VORN_CAPI_H
#define VORN_CAPI_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "vorn_crecords.h"
#include "vorn_enums.h"
#include "vorn_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- Lifecycle and callbacks ------------------------------------------ */
VORN_API int ctype_vorn_lcmgr_api_init(int* line_card);
VORN_API int ctype_vorn_lcmgr_api_terminate(void);
/* Calls the host's port-mapping initialisation directly; writes *out even
 * when it fails (the value is then undefined). */
VORN_API int ctype_vorn_init_line_card(int* out);
VORN_API int ctype_vorn_register_rx_packet_callback(void (*callback)(ctype_rx_packet_s*, void*),
                                                    void* user_data);
VORN_API int ctype_vorn_register_link_change_callback(void (*callback)(ctype_link_status_s*,
                                                                       usp_s*));
VORN_API int ctype_vorn_register_mac_update_callback(void (*callback)(ctype_l2_addr_s*, int,
                                                                      void*),
                                                     void* user_data);
VORN_API int ctype_vorn_deregister_event_callback(lcmgr_report_event_t event, void* callback,
                                                  void* user_data);

/* --- Spanning tree -------------------------------------------------------- */
VORN_API int ctype_vorn_get_port_stp_state(usp_s* port, stp_state_t* state);
VORN_API int ctype_vorn_set_port_stp_state(usp_s* port, stp_state_t state);
VORN_API int ctype_vorn_get_port_mstp_state(usp_s* port, mstp_state_t* state,
                                            unsigned int instance);
VORN_API int ctype_vorn_set_port_mstp_state(usp_s* port, mstp_state_t state,
                                            unsigned int instance);
VORN_API int ctype_vorn_get_port_bpdu_processing(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_bpdu_processing(usp_s* port, bool enabled);

/* --- Port statistics ------------------------------------------------------ */
VORN_API int ctype_vorn_get_port_stat_counter(usp_s* port, stat_type_t type,
                                              unsigned long long* value);
VORN_API int ctype_vorn_get_port_stat_counter32(usp_s* port, stat_type_t type,
                                                unsigned int* value);
VORN_API int ctype_vorn_get_port_brief_stat_counter64(usp_s* port, brief_stat_type_t type,
                                                      unsigned long long* value);
VORN_API int ctype_vorn_get_port_brief_stat_counter32(usp_s* port, brief_stat_type_t type,
                                                      unsigned int* value);
/* These four report success or failure only: nothing is written to
 * `counters` or `count`.  Read counters one at a time with the getters above.
 * The brief 32-bit one clears the port's counters. */
VORN_API int ctype_vorn_get_port_stat_counter_all64(usp_s* port, void* counters,
                                                    unsigned int* count);
VORN_API int ctype_vorn_get_port_stat_counter_all32(usp_s* port, void* counters,
                                                    unsigned int* count);
VORN_API int ctype_vorn_get_port_brief_stat_counter_all64(usp_s* port, void* counters,
                                                          unsigned int* count);
VORN_API int ctype_vorn_get_port_brief_stat_counter_all32(usp_s* port, void* counters,
                                                          unsigned int* count);
VORN_API int ctype_vorn_clear_port_stat_counter(usp_s* port);
VORN_API int ctype_vorn_get_port_stat_enabled(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_stat_enable(usp_s* port, bool enabled);

/* --- Port traffic controls ------------------------------------------------ */
VORN_API int ctype_vorn_get_port_unicast_control(usp_s* port, unsigned int* rate);
VORN_API int ctype_vorn_set_port_unicast_control(usp_s* port, unsigned int rate);
VORN_API int ctype_vorn_get_port_multicast_control(usp_s* port, unsigned int* rate);
VORN_API int ctype_vorn_set_port_multicast_control(usp_s* port, unsigned int rate);
/* Only 0 is certain failure; callers must not compare the success result
 * with 1.  This build answers 1, like its siblings. */
VORN_API int ctype_vorn_get_port_broadcast_control(usp_s* port, unsigned int* rate);
VORN_API int ctype_vorn_set_port_broadcast_control(usp_s* port, unsigned int rate);
/* *target receives the mirror-to port of `source`. */
VORN_API int ctype_vorn_get_port_mirror(usp_s* target, usp_s* source, mirror_type_t* type);
VORN_API int ctype_vorn_set_port_mirror(usp_s* target, usp_s* source, mirror_type_t type);
VORN_API int ctype_vorn_get_port_flood_blocking_cpu(usp_s* port, flood_block_type_t* type);
VORN_API int ctype_vorn_set_port_flood_blocking_cpu(usp_s* ports, int count,
                                                    flood_block_type_t type);
VORN_API int ctype_vorn_get_port_flood_blocking(usp_s* port, usp_s* other,
                                                flood_block_type_t* type);
VORN_API int ctype_vorn_set_port_flood_blocking(usp_s* ports, int count, usp_s* other,
                                                flood_block_type_t type);
VORN_API int ctype_vorn_get_port_switch_unknown_unicast_to_cpu(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_switch_unknown_unicast_to_cpu(usp_s* port, bool enabled);
VORN_API int ctype_vorn_get_port_cos_mapping(usp_s* port, unsigned int key, unsigned int* queue);
VORN_API int ctype_vorn_set_port_cos_mapping(usp_s* port, unsigned int key, unsigned int queue);
VORN_API int ctype_vorn_get_port_mac_lock(usp_s* port, bool* locked);
VORN_API int ctype_vorn_set_port_mac_lock(usp_s* port, bool locked);
VORN_API int ctype_vorn_get_port_mac_lock_ext(usp_s* port, bool* locked, bool* drop_unknown);
VORN_API int ctype_vorn_set_port_mac_lock_ext(usp_s* port, bool locked, bool drop_unknown);
VORN_API int ctype_vorn_get_port_mac_limit(usp_s* port, int* limit);
VORN_API int ctype_vorn_set_port_mac_limit(usp_s* port, int limit);
VORN_API int ctype_vorn_get_port_pvid(usp_s* port, unsigned int* pvid);
VORN_API int ctype_vorn_set_port_pvid(usp_s* port, unsigned int pvid);
VORN_API int ctype_vorn_get_port_vlan_priority(usp_s* port, unsigned int key,
                                               unsigned int* priority);
VORN_API int ctype_vorn_set_port_vlan_priority(usp_s* port, unsigned int key,
                                               unsigned int priority);
VORN_API int ctype_vorn_get_port_vlan_accept_frame(usp_s* port, bool* tagged_only);
VORN_API int ctype_vorn_set_port_vlan_accept_frame(usp_s* port, bool tagged_only);
VORN_API int ctype_vorn_set_port_protocol_vlan(usp_s* port, frame_type_t frame,
                                               unsigned short protocol, unsigned int vlan);
VORN_API int ctype_vorn_delete_port_protocol_vlan(usp_s* port, frame_type_t frame,
                                                  unsigned short protocol);
VORN_API int ctype_vorn_delete_port_protocol_vlan_all(usp_s* port);
VORN_API int ctype_vorn_get_port_ingress_discarding(usp_s* port, ingress_discard_type_t* type);
VORN_API int ctype_vorn_set_port_ingress_discarding(usp_s* port, ingress_discard_type_t type);
VORN_API int ctype_vorn_get_port_egress_admin_state(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_egress_admin_state(usp_s* port, bool enabled);
VORN_API int ctype_vorn_set_port_l2_enable(usp_s* port, bool enabled);

/* --- Port physical settings ----------------------------------------------- */
VORN_API int ctype_vorn_get_port_speed(usp_s* port, speed_type_t* speed);
VORN_API int ctype_vorn_set_port_speed(usp_s* port, speed_type_t speed);
VORN_API int ctype_vorn_get_port_duplex(usp_s* port, duplex_type_t* duplex);
VORN_API int ctype_vorn_set_port_duplex(usp_s* port, duplex_type_t duplex);
VORN_API int ctype_vorn_get_port_autoneg(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_autoneg(usp_s* port, bool enabled);
VORN_API int ctype_vorn_get_port_link_state(usp_s* port, phy_state_t* state);
VORN_API int ctype_vorn_set_port_link_state(usp_s* port, phy_state_t state);
/* There is no MTU getter in the C binding. */
VORN_API int ctype_vorn_set_port_mtu(usp_s* port, unsigned int mtu);
VORN_API int ctype_vorn_get_port_state(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_state(usp_s* port, bool enabled);
VORN_API int ctype_vorn_get_port_ability(usp_s* port, port_ability_type_t* ability);
VORN_API int ctype_vorn_set_port_advertising_ability(usp_s* port, port_ability_type_t ability);
VORN_API int ctype_vorn_get_port_advertising_ability(usp_s* port, port_ability_type_t* ability);
VORN_API int ctype_vorn_get_port_current_ability(usp_s* port, port_ability_type_t* ability);
VORN_API int ctype_vorn_get_port_peer_ability(usp_s* port, port_ability_type_t* ability);
VORN_API int ctype_vorn_get_port_flow_control_8023x(usp_s* port, bool* receive, bool* transmit);
VORN_API int ctype_vorn_set_port_flow_control_8023x(usp_s* port, bool receive, bool transmit);
VORN_API int ctype_vorn_get_port_jaming_control(usp_s* port, bool* enabled);
VORN_API int ctype_vorn_set_port_jaming_control(usp_s* port, bool enabled);

/* --- VLANs ------------------------------------------------------------------ */
VORN_API int ctype_vorn_create_vlan(unsigned int vlan);
VORN_API int ctype_vorn_delete_vlan(unsigned int vlan);
VORN_API int ctype_vorn_add_ports_to_vlan(unsigned int vlan, usp_s* tagged, int tagged_count,
                                          usp_s* untagged, int untagged_count);
VORN_API int ctype_vorn_delete_ports_from_vlan(unsigned int vlan, usp_s* ports, int count);
/* On success each count becomes the smaller of itself and the number of
 * members, but EVERY member is written: pass arrays that can hold the whole
 * VLAN (4094 ports). */
VORN_API int ctype_vorn_get_vlan_info(unsigned int vlan, usp_s* tagged, unsigned int* tagged_count,
                                      usp_s* untagged, unsigned int* untagged_count);
VORN_API int ctype_vorn_set_mac_vlan(const unsigned char* mac, unsigned int vlan,
                                     unsigned int priority);
VORN_API int ctype_vorn_set_ipv4_subnet_vlan(unsigned int address, unsigned int mask,
                                             unsigned int vlan, unsigned int priority);
VORN_API int ctype_vorn_set_ipv6_subnet_vlan(const unsigned char* address,
                                             unsigned int prefix_length, unsigned int vlan,
                                             unsigned int priority);

/* --- Link aggregation --------------------------------------------------------- */
VORN_API int ctype_vorn_create_lag(usp_s* lag);
VORN_API int ctype_vorn_delete_lag(usp_s* lag);
VORN_API int ctype_vorn_add_ports_to_lag(usp_s* lag, usp_s* ports, int count);
VORN_API int ctype_vorn_delete_ports_from_lag(usp_s* lag, usp_s* ports, int count);
VORN_API int ctype_vorn_lag_usp_to_lag_id(usp_s* lag, unsigned int* lag_id);
VORN_API int ctype_vorn_lag_id_to_lag_usp(unsigned int lag_id, usp_s* lag);
VORN_API int ctype_vorn_get_lag_balancing_strategy(usp_s* lag, lag_psc_t* psc);
VORN_API int ctype_vorn_set_lag_balancing_strategy(usp_s* lag, lag_psc_t psc);

/* --- MAC table and FDB ----------------------------------------------------- */
VORN_API int ctype_vorn_add_system_mac(unsigned char* mac, unsigned int vlan);
VORN_API int ctype_vorn_add_system_mac_vlan_bitmap(unsigned char* mac, unsigned char* vlan_bitmap);
VORN_API int ctype_vorn_delete_mac(unsigned int vlan, unsigned char* mac);
VORN_API int ctype_vorn_delete_mac_vlan_bitmap(unsigned char* mac, unsigned char* vlan_bitmap);
VORN_API int ctype_vorn_delete_mac_by_mac(unsigned char* mac);
VORN_API int ctype_vorn_add_mac_to_port(usp_s* port, unsigned char* mac, unsigned int vlan);
VORN_API int ctype_vorn_traverse_mac_table(void* arg);
VORN_API int ctype_vorn_get_fdb_aging_time(int* seconds);
VORN_API int ctype_vorn_set_fdb_aging_time(int seconds);
VORN_API int ctype_vorn_clear_fdb_table(bool static_too);
VORN_API int ctype_vorn_clear_fdb_by_vlan(unsigned int vlan, bool static_too);
VORN_API int ctype_vorn_clear_fdb_by_port(usp_s* port, bool static_too);
VORN_API int ctype_vorn_set_system_mac_limit(int limit);
/* Answers 0 in every case, as the API entry point does. */
VORN_API int ctype_vorn_get_system_mac_limit(int* limit);
VORN_API int ctype_vorn_get_switch_forward_mode(unsigned int* mode);
VORN_API int ctype_vorn_set_switch_forward_mode(unsigned int mode);
VORN_API int ctype_vorn_get_switch_unknown_unicast_to_cpu(bool* enabled);
VORN_API int ctype_vorn_set_switch_unknown_unicast_to_cpu(bool enabled);

/* --- L3 interfaces, hosts and routes (MACs 6 bytes, IPv6 16 bytes) ---------- */
VORN_API int ctype_vorn_create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                            unsigned int* interface_id);
VORN_API int ctype_vorn_create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                                    unsigned int interface_id, bool replace);
VORN_API int ctype_vorn_get_l3_interface(unsigned int interface_id, unsigned int* vlan,
                                         unsigned char* mac);
VORN_API int ctype_vorn_delete_l3_interface(const unsigned char* mac, unsigned int vlan);
VORN_API int ctype_vorn_delete_l3_interface_by_id(unsigned int interface_id);
VORN_API int ctype_vorn_delete_l3_interface_all(void);
VORN_API int ctype_vorn_add_l3_host_ip4(usp_s* port, unsigned int address,
                                        const unsigned char* mac, unsigned int interface_id);
VORN_API int ctype_vorn_add_l3_host_ip6(usp_s* port, const unsigned char* address,
                                        const unsigned char* mac, unsigned int interface_id);
VORN_API int ctype_vorn_delete_l3_host_by_interface(unsigned int interface_id, bool static_too);
VORN_API int ctype_vorn_delete_l3_host_by_network_ip4(unsigned int address);
VORN_API int ctype_vorn_delete_l3_host_by_network_ip6(const unsigned char* address);
VORN_API int ctype_vorn_delete_l3_host_by_addr_ip4(unsigned int address, usp_s* port);
VORN_API int ctype_vorn_delete_l3_host_by_addr_ip6(const unsigned char* address, usp_s* port);
VORN_API int ctype_vorn_clear_l3_host_table(void);
VORN_API int ctype_vorn_add_l3_route_ip4(usp_s* port, unsigned int address, unsigned int mask,
                                         const unsigned char* mac, unsigned int interface_id,
                                         unsigned int vlan);
VORN_API int ctype_vorn_add_l3_route_ip6(usp_s* port, const unsigned char* address,
                                         const unsigned char* mask, const unsigned char* mac,
                                         unsigned int interface_id);
VORN_API int ctype_vorn_get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                   usp_s* port, unsigned char* mac,
                                                   unsigned int* interface_id,
                                                   unsigned int* vlan);
VORN_API int ctype_vorn_get_l3_route_by_subnet_ip6(const unsigned char* address,
                                                   const unsigned char* mask, usp_s* port,
                                                   unsigned int* interface_id,
                                                   unsigned char* mac);
VORN_API int ctype_vorn_delete_l3_route_by_interface(unsigned int interface_id, bool static_too);
VORN_API int ctype_vorn_delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                      usp_s* port);
VORN_API int ctype_vorn_delete_l3_route_by_subnet_ip6(const unsigned char* address,
                                                      const unsigned char* mask, usp_s* port);
VORN_API int ctype_vorn_clear_l3_route_table(void);

/* --- Flow table ------------------------------------------------------------- */
VORN_API int ctype_vorn_add_of_flow(ctype_of_flow_s* flow, unsigned int* flow_id,
                                    ctype_of_flow_qualify_udf_s* udf);
VORN_API int ctype_vorn_add_of_flow_with_id(ctype_of_flow_s* flow, unsigned int flow_id);
VORN_API int ctype_vorn_delete_of_flow(unsigned int flow_id);
VORN_API int ctype_vorn_clear_of_flow_table(void);
VORN_API int ctype_vorn_add_of_flow_action(unsigned int flow_id, ctype_of_action_t kind,
                                           ctype_of_action_param_s param);
VORN_API int ctype_vorn_clear_of_flow_action(unsigned int flow_id);
VORN_API int ctype_vorn_set_of_flow_priority(unsigned int flow_id, int priority);
VORN_API int ctype_vorn_get_of_flow_priority(unsigned int flow_id, int* priority);
VORN_API int ctype_vorn_get_of_flow_stat_counter64(unsigned int flow_id,
                                                   unsigned long long* packets);
VORN_API int ctype_vorn_get_of_flow_stat_counter32(unsigned int flow_id, unsigned int* packets);

/* --- Packet filters ------------------------------------------------------------ */
VORN_API int ctype_vorn_add_arp_filter(unsigned int address, unsigned int mask);
VORN_API int ctype_vorn_delete_arp_filter(unsigned int address, unsigned int mask);
VORN_API int ctype_vorn_delete_arp_filter_all(void);
VORN_API int ctype_vorn_add_ip_protocol_filter(unsigned int protocol);
VORN_API int ctype_vorn_delete_ip_protocol_filter(unsigned int protocol);
VORN_API int ctype_vorn_delete_ip_protocol_filter_all(void);
/* Through the C binding this REMOVES the filter for `port`: it calls the
 * delete.  Kept as published; C++ callers use vorn_add_l4_destination_port_filter. */
VORN_API int ctype_vorn_add_l4_destination_port_filter(unsigned int port);
VORN_API int ctype_vorn_delete_l4_destination_port_filter(unsigned int port);
VORN_API int ctype_vorn_delete_l4_destination_port_filter_all(void);

/* --- CPU packets (a zero-length packet answers 0 and sends nothing) --------- */
VORN_API int ctype_vorn_send_packet_from_cpu(ctype_packet_s* packet);
VORN_API int ctype_vorn_send_packet_by_port(usp_s* tagged, int tagged_count, usp_s* untagged,
                                            int untagged_count, ctype_packet_s* packet);

#ifdef __cplusplus
}

/* The one C entry point exported with C++ linkage, as published: a C program
 * cannot link it. */
VORN_API int ctype_vorn_delete_of_flow_action(unsigned int flow_id, ctype_of_action_t kind,
                                              ctype_of_action_param_s param);
#endif

#endif
