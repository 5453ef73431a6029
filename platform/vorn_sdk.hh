// The switch SDK as libvornlcapi needs it from the host process.
//
// The host (the line-card manager) owns exactly one object of a class
// derived from VornSdkBase and hands it out through the accessor functions
// declared at the end of this file.  The library calls the object only
// through its table of virtual functions, by position: the ORDER of the
// operations below is the calling interface and must never change.  Every
// position holds exactly one operation; positions the library never calls
// keep a placeholder so that the later ones keep their places.  Nothing
// virtual may precede operation 178; the destructor therefore comes last.
//
// Conventions for implementers:
// - Every operation returns true when it did what was asked, false
//   otherwise; the library passes the answer on to its caller unchanged.
// - Ports arrive as hardware ports (Mp).  Where an operation also takes a
//   `trunk` flag, true means that the Mp has module 0 and carries a LAG
//   number in its port field.
// - Output references and pointers belong to the caller; write them only
//   when answering true.
// - The library validates nothing that the SDK validates: unknown ports,
//   VLANs out of range, null pointers and unknown ids reach the SDK as the
//   caller gave them.
//
// Valid as C++11 and later.
#ifndef VORN_SDK_HH
#define VORN_SDK_HH

#include <list>
#include <string>

#include "vorn_export.h"
#include "vorn_types.hh"

class VORN_API VornSdkBase {
public:
    // --- VLANs (0-6).  The two member lists keep their order: the first
    // list holds the tagged members, the second the untagged ones.
    /*   0 */ virtual bool create_vlan(unsigned int vlan) = 0;
    /*   1 */ virtual bool delete_vlan(unsigned int vlan) = 0;
    /*   2 */ virtual bool add_ports_to_vlan(unsigned int vlan, std::list<Mp>& tagged,
                                             std::list<Mp>& untagged) = 0;
    /*   3 */ virtual bool unused_slot_3() { return false; }
    /*   4 */ virtual bool delete_ports_from_vlan(unsigned int vlan, std::list<Mp>& ports) = 0;
    /*   5 */ virtual bool unused_slot_5() { return false; }
    /*   6 */ virtual bool get_vlan_info(unsigned int vlan, std::list<Mp>& tagged,
                                         std::list<Mp>& untagged) = 0;

    // --- Multiple spanning tree: the instance comes before the port.
    /*   7 */ virtual bool set_port_mstp_state(unsigned int instance, const Mp& port,
                                               mstp_state_t state) = 0;
    /*   8 */ virtual bool get_port_mstp_state(unsigned int instance, const Mp& port,
                                               mstp_state_t& state) = 0;

    // --- LAGs, by the LAG id that create_lag allocates.
    /*   9 */ virtual bool create_lag(unsigned int& lag_id) = 0;
    /*  10 */ virtual bool delete_lag(unsigned int lag_id) = 0;
    // The list is the LAG's complete new member set (current members first).
    /*  11 */ virtual bool add_ports_to_lag(unsigned int lag_id, std::list<Mp>& ports) = 0;
    /*  12 */ virtual bool delete_ports_from_lag(unsigned int lag_id, std::list<Mp>& ports) = 0;
    /*  13 */ virtual bool set_lag_balancing_strategy(unsigned int lag_id, lag_psc_t psc) = 0;
    /*  14 */ virtual bool get_lag_balancing_strategy(unsigned int lag_id, lag_psc_t& psc) = 0;
    /*  15 */ virtual bool unused_slot_15() { return false; }

    // --- Port settings.  `port` is always one hardware port.
    // Mirroring is keyed by the mirrored port (`source`); `target` receives
    // the copies.
    /*  16 */ virtual bool set_port_mirror(const Mp& target, const Mp& source,
                                           mirror_type_t type) = 0;
    /*  17 */ virtual bool get_port_mirror(Mp& target, const Mp& source, mirror_type_t& type) = 0;
    /*  18 */ virtual bool set_port_state(const Mp& port, bool enabled) = 0;
    /*  19 */ virtual bool get_port_state(const Mp& port, bool& enabled) = 0;
    /*  20 */ virtual bool unused_slot_20() { return false; }
    /*  21 */ virtual bool unused_slot_21() { return false; }
    /*  22 */ virtual bool set_port_autoneg(const Mp& port, bool enabled) = 0;
    /*  23 */ virtual bool get_port_autoneg(const Mp& port, bool& enabled) = 0;
    /*  24 */ virtual bool set_port_speed(const Mp& port, speed_type_t speed) = 0;
    /*  25 */ virtual bool get_port_speed(const Mp& port, speed_type_t& speed) = 0;
    /*  26 */ virtual bool set_port_duplex(const Mp& port, duplex_type_t duplex) = 0;
    /*  27 */ virtual bool get_port_duplex(const Mp& port, duplex_type_t& duplex) = 0;
    /*  28 */ virtual bool set_port_flow_control_8023x(const Mp& port, bool receive,
                                                       bool transmit) = 0;
    // Reports each direction as a word; exactly 1 means enabled.
    /*  29 */ virtual bool get_port_flow_control_8023x(const Mp& port, unsigned int& receive,
                                                       unsigned int& transmit) = 0;
    /*  30 */ virtual bool set_port_jaming_control(const Mp& port, bool enabled) = 0;
    /*  31 */ virtual bool get_port_jaming_control(const Mp& port, bool& enabled) = 0;
    /*  32 */ virtual bool unused_slot_32() { return false; }
    /*  33 */ virtual bool unused_slot_33() { return false; }
    /*  34 */ virtual bool set_port_mtu(const Mp& port, unsigned int mtu) = 0;
    /*  35 */ virtual bool get_port_mtu(const Mp& port, unsigned int& mtu) = 0;

    // --- Port statistics.
    /*  36 */ virtual bool set_port_stat_enable(const Mp& port, bool enabled) = 0;
    /*  37 */ virtual bool get_port_stat_enabled(const Mp& port, bool& enabled) = 0;
    /*  38 */ virtual bool get_port_stat_counter(const Mp& port, stat_type_t type,
                                                 unsigned long long& value) = 0;
    /*  39 */ virtual bool get_port_stat_counter32(const Mp& port, stat_type_t type,
                                                   unsigned int& value) = 0;
    /*  40 */ virtual bool get_port_stat_counter_all64(const Mp& port,
                                                       std::list<StatCounter64>& counters) = 0;
    /*  41 */ virtual bool get_port_stat_counter_all32(const Mp& port,
                                                       std::list<StatCounter32>& counters) = 0;
    // `count`: the array's capacity in, the number of records filled out.
    /*  42 */ virtual bool get_port_stat_counter_all64_ext(const Mp& port, StatCounter64* counters,
                                                           unsigned int& count) = 0;
    /*  43 */ virtual bool get_port_stat_counter_all32_ext(const Mp& port, StatCounter32* counters,
                                                           unsigned int& count) = 0;
    /*  44 */ virtual bool get_port_brief_stat_counter64(const Mp& port, brief_stat_type_t type,
                                                         unsigned long long& value) = 0;
    /*  45 */ virtual bool get_port_brief_stat_counter32(const Mp& port, brief_stat_type_t type,
                                                         unsigned int& value) = 0;
    /*  46 */ virtual bool get_port_brief_stat_counter_all64(
        const Mp& port, std::list<BriefStatCounter64>& counters) = 0;
    /*  47 */ virtual bool unused_slot_47() { return false; }
    /*  48 */ virtual bool clear_port_stat_counter(const Mp& port) = 0;

    // --- Spanning tree.
    /*  49 */ virtual bool set_port_stp_state(const Mp& port, stp_state_t state) = 0;
    /*  50 */ virtual bool get_port_stp_state(const Mp& port, stp_state_t& state) = 0;
    /*  51 */ virtual bool set_port_bpdu_processing(const Mp& port, bool enabled) = 0;
    /*  52 */ virtual bool get_port_bpdu_processing(const Mp& port, bool& enabled) = 0;

    // --- MAC table and FDB.  `mac` points to 6 bytes; a VLAN bitmap has one
    // bit per VLAN, VLAN v in byte v / 8, bit v % 8 (512 bytes).
    /*  53 */ virtual bool add_mac_to_port(const Mp& port, const unsigned char* mac,
                                           unsigned int vlan, bool trunk) = 0;
    /*  54 */ virtual bool add_system_mac(const unsigned char* mac, unsigned int vlan) = 0;
    /*  55 */ virtual bool add_system_mac_vlan_bitmap(const unsigned char* mac,
                                                      const unsigned char* vlan_bitmap) = 0;
    /*  56 */ virtual bool delete_mac(const unsigned char* mac, unsigned int vlan) = 0;
    /*  57 */ virtual bool delete_mac_vlan_bitmap(const unsigned char* mac,
                                                  unsigned char* vlan_bitmap) = 0;
    /*  58 */ virtual bool delete_mac_by_mac(const unsigned char* mac) = 0;
    // `static_too`: also remove static entries, not only learned ones.
    /*  59 */ virtual bool clear_fdb_by_port(const Mp& port, bool trunk, bool static_too) = 0;
    /*  60 */ virtual bool clear_fdb_by_vlan(unsigned int vlan, bool static_too) = 0;
    /*  61 */ virtual bool clear_fdb_table(bool static_too) = 0;
    /*  62 */ virtual bool set_fdb_aging_time(int seconds) = 0;
    /*  63 */ virtual bool get_fdb_aging_time(int& seconds) = 0;

    // --- Link, MAC lock, storm control, egress and ingress settings.
    /*  64 */ virtual bool set_port_link_state(const Mp& port, phy_state_t state) = 0;
    /*  65 */ virtual bool get_port_link_state(const Mp& port, phy_state_t& state) = 0;
    /*  66 */ virtual bool set_port_mac_lock(const Mp& port, bool locked) = 0;
    /*  67 */ virtual bool get_port_mac_lock(const Mp& port, bool& locked) = 0;
    // `locked`: stop learning; `drop_unknown`: drop frames from unknown sources.
    /*  68 */ virtual bool set_port_mac_lock_ext(const Mp& port, bool locked,
                                                 bool drop_unknown) = 0;
    /*  69 */ virtual bool get_port_mac_lock_ext(const Mp& port, bool& locked,
                                                 bool& drop_unknown) = 0;
    // Storm control rates in packets per second; 0 switches control off.
    /*  70 */ virtual bool set_port_broadcast_control(const Mp& port, unsigned int rate) = 0;
    /*  71 */ virtual bool get_port_broadcast_control(const Mp& port, unsigned int& rate) = 0;
    /*  72 */ virtual bool set_port_multicast_control(const Mp& port, unsigned int rate) = 0;
    /*  73 */ virtual bool get_port_multicast_control(const Mp& port, unsigned int& rate) = 0;
    /*  74 */ virtual bool set_port_unicast_control(const Mp& port, unsigned int rate) = 0;
    /*  75 */ virtual bool get_port_unicast_control(const Mp& port, unsigned int& rate) = 0;
    /*  76 */ virtual bool set_port_egress_admin_state(const Mp& port, bool enabled) = 0;
    /*  77 */ virtual bool get_port_egress_admin_state(const Mp& port, bool& enabled) = 0;
    /*  78 */ virtual bool set_port_ingress_discarding(const Mp& port,
                                                       ingress_discard_type_t type) = 0;
    /*  79 */ virtual bool get_port_ingress_discarding(const Mp& port,
                                                       ingress_discard_type_t& type) = 0;

    // --- Port VLAN settings.
    /*  80 */ virtual bool set_port_pvid(const Mp& port, unsigned int pvid) = 0;
    /*  81 */ virtual bool get_port_pvid(const Mp& port, unsigned int& pvid) = 0;
    // Maps a received 802.1p priority (key) to an internal priority.
    /*  82 */ virtual bool set_port_vlan_priority(const Mp& port, unsigned int key,
                                                  unsigned int priority) = 0;
    /*  83 */ virtual bool get_port_vlan_priority(const Mp& port, unsigned int key,
                                                  unsigned int& priority) = 0;
    // true: accept tagged frames only.
    /*  84 */ virtual bool set_port_vlan_accept_frame(const Mp& port, bool tagged_only) = 0;
    /*  85 */ virtual bool get_port_vlan_accept_frame(const Mp& port, bool& tagged_only) = 0;

    // --- MAC learning limits.  `kind`: 1 physical port, 2 LAG (module 0,
    // port = LAG id), 3 VLAN interface (module 0, port = VLAN id), 4 the whole
    // switch (module 0, port 0).  A limit of 0 means no limit.  The getter
    // must not depend on `kind` for the switch-wide limit: callers pass it
    // unset there.
    /*  86 */ virtual bool set_system_mac_limit(const Mp& port, int limit, unsigned int kind) = 0;
    /*  87 */ virtual bool get_system_mac_limit(const Mp& port, int& limit, unsigned int kind) = 0;

    // --- Protocol and classification VLANs.
    /*  88 */ virtual bool set_port_protocol_vlan(const Mp& port, frame_type_t frame,
                                                  unsigned short protocol, unsigned int vlan) = 0;
    /*  89 */ virtual bool delete_port_protocol_vlan(const Mp& port, frame_type_t frame,
                                                     unsigned short protocol) = 0;
    /*  90 */ virtual bool delete_port_protocol_vlan_all(const Mp& port) = 0;
    /*  91 */ virtual bool set_mac_vlan(const unsigned char* mac, unsigned int vlan,
                                        unsigned int priority) = 0;
    /*  92 */ virtual bool set_ipv4_subnet_vlan(unsigned int address, unsigned int mask,
                                                unsigned int vlan, unsigned int priority) = 0;
    /*  93 */ virtual bool set_ipv6_subnet_vlan(const unsigned char* address,
                                                unsigned int prefix_length, unsigned int vlan,
                                                unsigned int priority) = 0;

    // --- CPU packets.  The first list sends tagged copies, the second
    // untagged ones.
    /*  94 */ virtual bool send_packet_by_port(std::list<Mp>& tagged, std::list<Mp>& untagged,
                                               const Packet& packet) = 0;
    /*  95 */ virtual bool send_packet_from_cpu(const Packet& packet) = 0;

    // --- Abilities (bit masks of port_ability_type_t).
    /*  96 */ virtual bool get_port_ability(const Mp& port, port_ability_type_t& ability) = 0;
    /*  97 */ virtual bool set_port_advertising_ability(const Mp& port,
                                                        port_ability_type_t ability) = 0;
    /*  98 */ virtual bool get_port_advertising_ability(const Mp& port,
                                                        port_ability_type_t& ability) = 0;
    /*  99 */ virtual bool get_port_current_ability(const Mp& port,
                                                    port_ability_type_t& ability) = 0;
    // The only port operation that takes its Mp by value.
    /* 100 */ virtual bool get_port_peer_ability(Mp port, port_ability_type_t& ability) = 0;

    // --- Flood blocking: traffic from `port` is not flooded to `other`.
    /* 101 */ virtual bool set_port_flood_blocking(const Mp& port, const Mp& other,
                                                   flood_block_type_t type) = 0;
    /* 102 */ virtual bool get_port_flood_blocking(const Mp& port, const Mp& other,
                                                   flood_block_type_t& type) = 0;
    /* 103 */ virtual bool set_port_flood_blocking_cpu(const Mp& port,
                                                       flood_block_type_t type) = 0;
    /* 104 */ virtual bool get_port_flood_blocking_cpu(const Mp& port,
                                                       flood_block_type_t& type) = 0;
    // Maps an internal priority (key) to an egress queue.
    /* 105 */ virtual bool set_port_cos_mapping(const Mp& port, unsigned int key,
                                                unsigned int queue) = 0;
    /* 106 */ virtual bool get_port_cos_mapping(const Mp& port, unsigned int key,
                                                unsigned int& queue) = 0;

    // --- Line card and switch-wide settings.
    /* 107 */ virtual bool get_line_card_usp(Usp& usp) = 0;
    /* 108 */ virtual bool free_call(int arg) = 0;
    /* 109 */ virtual bool set_switch_forward_mode(unsigned int mode) = 0;
    /* 110 */ virtual bool get_switch_forward_mode(unsigned int& mode) = 0;

    // --- Packet filters (matching frames are copied to the CPU).
    /* 111 */ virtual bool add_arp_filter(unsigned int address, unsigned int mask) = 0;
    /* 112 */ virtual bool delete_arp_filter(unsigned int address, unsigned int mask) = 0;
    /* 113 */ virtual bool delete_arp_filter_all() = 0;
    /* 114 */ virtual bool add_ip_protocol_filter(unsigned int protocol) = 0;
    /* 115 */ virtual bool delete_ip_protocol_filter(unsigned int protocol) = 0;
    /* 116 */ virtual bool delete_ip_protocol_filter_all() = 0;
    /* 117 */ virtual bool add_l4_destination_port_filter(unsigned int port) = 0;
    /* 118 */ virtual bool delete_l4_destination_port_filter(unsigned int port) = 0;
    /* 119 */ virtual bool delete_l4_destination_port_filter_all() = 0;
    /* 120 */ virtual bool set_port_l2_enable(const Mp& port, bool enabled) = 0;
    /* 121 */ virtual bool set_port_switch_unknown_unicast_to_cpu(const Mp& port, bool enabled) = 0;
    /* 122 */ virtual bool get_port_switch_unknown_unicast_to_cpu(const Mp& port,
                                                                  bool& enabled) = 0;
    /* 123 */ virtual bool set_switch_unknown_unicast_to_cpu(bool enabled) = 0;
    /* 124 */ virtual bool get_switch_unknown_unicast_to_cpu(bool& enabled) = 0;

    // --- Flow table.  Action parameters arrive with the hardware port that
    // an output action names (module 0, port 0 when it names none).
    /* 125 */ virtual bool add_of_flow(of_flow_mp_s& flow, unsigned int& flow_id,
                                       const of_flow_qualify_udf_s& udf) = 0;
    /* 126 */ virtual bool add_of_flow_with_id(of_flow_mp_s& flow, unsigned int flow_id) = 0;
    /* 127 */ virtual bool delete_of_flow(unsigned int flow_id) = 0;
    /* 128 */ virtual bool clear_of_flow_table() = 0;
    /* 129 */ virtual bool add_of_flow_action(unsigned int flow_id, of_action_t kind,
                                              of_action_param_s param, const Mp& port) = 0;
    /* 130 */ virtual bool delete_of_flow_action(unsigned int flow_id, of_action_t kind,
                                                 of_action_param_s param, const Mp& port) = 0;
    /* 131 */ virtual bool clear_of_flow_action(unsigned int flow_id) = 0;
    /* 132 */ virtual bool set_of_flow_priority(unsigned int flow_id, int priority) = 0;
    /* 133 */ virtual bool get_of_flow_priority(unsigned int flow_id, int& priority) = 0;
    /* 134 */ virtual bool get_of_flow_stat_counter64(unsigned int flow_id,
                                                      unsigned long long& packets) = 0;
    /* 135 */ virtual bool get_of_flow_stat_counter32(unsigned int flow_id,
                                                      unsigned int& packets) = 0;

    // --- Event callbacks.  The SDK keeps the registrations and calls them
    // from its own context; the records it passes live for the call only.
    /* 136 */ virtual bool register_mac_update_callback(void (*callback)(L2Addr*, int, void*),
                                                        void* user_data) = 0;
    /* 137 */ virtual bool register_mac_update_callback_c(
        void (*callback)(ctype_l2_addr_s*, int, void*), void* user_data) = 0;
    // Link-change callbacks take no user data; `user_data` is always null.
    /* 138 */ virtual bool register_link_change_callback(void (*callback)(LinkStatus*, Usp*),
                                                         void* user_data) = 0;
    /* 139 */ virtual bool register_link_change_callback_c(
        void (*callback)(ctype_link_status_s*, usp_s*), void* user_data) = 0;
    /* 140 */ virtual bool register_rx_packet_callback(void (*callback)(RxPacket*, void*),
                                                       void* user_data) = 0;
    /* 141 */ virtual bool register_rx_packet_callback_c(
        void (*callback)(ctype_rx_packet_s*, void*), void* user_data) = 0;
    // Removes the registration of `callback` with `user_data` for `event`,
    // whichever binding it was made through.
    /* 142 */ virtual bool deregister_event_callback(lcmgr_report_event_t event, void* callback,
                                                     void* user_data) = 0;
    /* 143 */ virtual bool unused_slot_143() { return false; }
    /* 144 */ virtual bool unused_slot_144() { return false; }
    // `arg` is a void (*)(L2Addr*, int, void*) called once per entry with
    // LCMGR_MAC_LEARNED (dynamic) or 0 (static) and a null user-data pointer.
    /* 145 */ virtual bool traverse_mac_table(void* arg) = 0;
    /* 146 */ virtual bool unused_slot_146() { return false; }
    /* 147 */ virtual bool unused_slot_147() { return false; }
    /* 148 */ virtual bool unused_slot_148() { return false; }
    /* 149 */ virtual bool unused_slot_149() { return false; }
    /* 150 */ virtual bool unused_slot_150() { return false; }
    /* 151 */ virtual bool unused_slot_151() { return false; }

    // --- L3 interfaces (a router MAC on a VLAN, known by an interface id).
    /* 152 */ virtual bool create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                               unsigned int& interface_id) = 0;
    /* 153 */ virtual bool create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                                       unsigned int interface_id,
                                                       bool replace) = 0;
    /* 154 */ virtual bool get_l3_interface(unsigned int interface_id, unsigned int& vlan,
                                            unsigned char* mac) = 0;
    /* 155 */ virtual bool delete_l3_interface(const unsigned char* mac, unsigned int vlan) = 0;
    /* 156 */ virtual bool delete_l3_interface_by_id(unsigned int interface_id) = 0;
    /* 157 */ virtual bool delete_l3_interface_all() = 0;

    // --- L3 hosts and routes.  Addresses: IPv4 as a host-order word, IPv6
    // as 16 bytes.  The trailing word is the L3 interface id of the egress.
    /* 158 */ virtual bool add_l3_host_ip4(Mp port, bool trunk, unsigned int address,
                                           const unsigned char* mac,
                                           unsigned int interface_id) = 0;
    /* 159 */ virtual bool add_l3_host_ip6(Mp port, bool trunk, const unsigned char* address,
                                           const unsigned char* mac,
                                           unsigned int interface_id) = 0;
    /* 160 */ virtual bool get_l3_host_ip4(unsigned int address, Mp port, unsigned char* mac,
                                           unsigned int& interface_id, bool trunk) = 0;
    /* 161 */ virtual bool get_l3_host_ip6(const unsigned char* address, Mp port,
                                           unsigned char* mac, unsigned int& interface_id,
                                           bool trunk) = 0;
    /* 162 */ virtual bool get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                      const Mp& port, bool trunk,
                                                      unsigned char* mac,
                                                      unsigned int& interface_id,
                                                      unsigned int& vlan) = 0;
    /* 163 */ virtual bool get_l3_route_by_subnet_ip6(const unsigned char* address,
                                                      const unsigned char* mask, const Mp& port,
                                                      bool trunk, unsigned int& interface_id,
                                                      unsigned char* mac) = 0;
    /* 164 */ virtual bool delete_l3_host_by_interface(unsigned int interface_id,
                                                       bool static_too) = 0;
    /* 165 */ virtual bool delete_l3_host_by_network_ip4(unsigned int address) = 0;
    /* 166 */ virtual bool delete_l3_host_by_network_ip6(const unsigned char* address) = 0;
    /* 167 */ virtual bool delete_l3_host_by_addr_ip4(unsigned int address, const Mp& port,
                                                      bool trunk) = 0;
    /* 168 */ virtual bool delete_l3_host_by_addr_ip6(const unsigned char* address,
                                                      const Mp& port, bool trunk) = 0;
    /* 169 */ virtual bool clear_l3_host_table() = 0;
    /* 170 */ virtual bool unused_slot_170() { return false; }
    /* 171 */ virtual bool unused_slot_171() { return false; }
    /* 172 */ virtual bool add_l3_route_ip4(const Mp& port, bool trunk, unsigned int address,
                                            unsigned int mask, const unsigned char* mac,
                                            unsigned int interface_id, unsigned int vlan) = 0;
    /* 173 */ virtual bool add_l3_route_ip6(const Mp& port, bool trunk,
                                            const unsigned char* address,
                                            const unsigned char* mask, const unsigned char* mac,
                                            unsigned int interface_id) = 0;
    /* 174 */ virtual bool delete_l3_route_by_interface(unsigned int interface_id,
                                                        bool static_too) = 0;
    /* 175 */ virtual bool delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                         const Mp& port, bool trunk) = 0;
    /* 176 */ virtual bool delete_l3_route_by_subnet_ip6(const unsigned char* address,
                                                         const unsigned char* mask,
                                                         const Mp& port, bool trunk) = 0;
    /* 177 */ virtual bool clear_l3_route_table() = 0;

    // --- Tracing: "trace_level_sdk" and "trace_level_all" switch the SDK's
    // own trace; other names are the SDK's to interpret.
    /* 178 */ virtual bool set_lcmgr_trace(const std::string& target, bool on) = 0;

    // After the last operation, so that it moves no operation.
    virtual ~VornSdkBase() {}
};

// Accessors of the host's one SDK object.
// Stores the object and answers true; false when there is none.
VORN_API bool vornsdk_get_sdk_instance(VornSdkBase*& sdk);
VORN_API bool vornsdk_create_sdk_instance();
VORN_API bool vornsdk_delete_sdk_instance(VornSdkBase* sdk);

// The SDK's mapping between a LAG interface (logical port) and its LAG id.
VORN_API bool vornsdk_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id);
VORN_API bool vornsdk_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag);
VORN_API bool vornsdk_add_lag_mapping(const Usp& lag, unsigned int lag_id);
VORN_API bool vornsdk_delete_lag_mapping(const Usp& lag, unsigned int lag_id);

#endif
