// The software switch behind the reference host's SDK object.  One class
// owns the tables (ports, VLANs, LAGs, FDB, L3, flows and filters, event
// callbacks) and implements every SDK operation the library calls: validate
// like hardware would (unknown ports and ids, VLANs outside 1-4094, null
// pointers, duplicates, missing entries, full tables are refused with false
// and change nothing), apply, report.
#ifndef VORN_SIM_MODEL_HH
#define VORN_SIM_MODEL_HH

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "addresses.hh"
#include "event_registry.hh"
#include "flow_table.hh"
#include "format.hh"
#include "l3_tables.hh"
#include "lag_table.hh"
#include "mac_table.hh"
#include "model_hooks.hh"
#include "pipeline.hh"
#include "port_table.hh"
#include "refuser.hh"
#include "sdk_slots.hh"
#include "vlan_table.hh"
#include "vorn_sdk.hh"
#include "vorn_sim.hh"

namespace vorn_sim {

class SwitchModel : public VornSdkBase {
    friend class DataPlane;  // reads the tables, learns, counts

public:
    explicit SwitchModel(const Config& config, ModelHooks hooks = ModelHooks());

    bool create_vlan(unsigned int vlan) override;
    bool delete_vlan(unsigned int vlan) override;
    bool add_ports_to_vlan(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) override;
    bool delete_ports_from_vlan(unsigned int vlan, std::list<Mp>& ports) override;
    bool get_vlan_info(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) override;
    bool set_port_mstp_state(unsigned int instance, const Mp& port, mstp_state_t state) override;
    bool get_port_mstp_state(unsigned int instance, const Mp& port, mstp_state_t& state) override;
    bool create_lag(unsigned int& lag_id) override;
    bool delete_lag(unsigned int lag_id) override;
    bool add_ports_to_lag(unsigned int lag_id, std::list<Mp>& ports) override;
    bool delete_ports_from_lag(unsigned int lag_id, std::list<Mp>& ports) override;
    bool set_lag_balancing_strategy(unsigned int lag_id, lag_psc_t psc) override;
    bool get_lag_balancing_strategy(unsigned int lag_id, lag_psc_t& psc) override;
    bool set_port_mirror(const Mp& target, const Mp& source, mirror_type_t type) override;
    bool get_port_mirror(Mp& target, const Mp& source, mirror_type_t& type) override;
    bool set_port_state(const Mp& port, bool enabled) override;
    bool get_port_state(const Mp& port, bool& enabled) override;
    bool set_port_autoneg(const Mp& port, bool enabled) override;
    bool get_port_autoneg(const Mp& port, bool& enabled) override;
    bool set_port_speed(const Mp& port, speed_type_t speed) override;
    bool get_port_speed(const Mp& port, speed_type_t& speed) override;
    bool set_port_duplex(const Mp& port, duplex_type_t duplex) override;
    bool get_port_duplex(const Mp& port, duplex_type_t& duplex) override;
    bool set_port_flow_control_8023x(const Mp& port, bool receive, bool transmit) override;
    bool get_port_flow_control_8023x(const Mp& port, unsigned int& receive, unsigned int& transmit) override;
    bool set_port_jaming_control(const Mp& port, bool enabled) override;
    bool get_port_jaming_control(const Mp& port, bool& enabled) override;
    bool set_port_mtu(const Mp& port, unsigned int mtu) override;
    bool get_port_mtu(const Mp& port, unsigned int& mtu) override;
    bool set_port_stat_enable(const Mp& port, bool enabled) override;
    bool get_port_stat_enabled(const Mp& port, bool& enabled) override;
    bool get_port_stat_counter(const Mp& port, stat_type_t type, unsigned long long& value) override;
    bool get_port_stat_counter32(const Mp& port, stat_type_t type, unsigned int& value) override;
    bool get_port_stat_counter_all64(const Mp& port, std::list<StatCounter64>& counters) override;
    bool get_port_stat_counter_all32(const Mp& port, std::list<StatCounter32>& counters) override;
    bool get_port_stat_counter_all64_ext(const Mp& port, StatCounter64* counters, unsigned int& count) override;
    bool get_port_stat_counter_all32_ext(const Mp& port, StatCounter32* counters, unsigned int& count) override;
    bool get_port_brief_stat_counter64(const Mp& port, brief_stat_type_t type, unsigned long long& value) override;
    bool get_port_brief_stat_counter32(const Mp& port, brief_stat_type_t type, unsigned int& value) override;
    bool get_port_brief_stat_counter_all64(const Mp& port, std::list<BriefStatCounter64>& counters) override;
    bool clear_port_stat_counter(const Mp& port) override;
    bool set_port_stp_state(const Mp& port, stp_state_t state) override;
    bool get_port_stp_state(const Mp& port, stp_state_t& state) override;
    bool set_port_bpdu_processing(const Mp& port, bool enabled) override;
    bool get_port_bpdu_processing(const Mp& port, bool& enabled) override;
    bool add_mac_to_port(const Mp& port, const unsigned char* mac, unsigned int vlan, bool trunk) override;
    bool add_system_mac(const unsigned char* mac, unsigned int vlan) override;
    bool add_system_mac_vlan_bitmap(const unsigned char* mac, const unsigned char* vlan_bitmap) override;
    bool delete_mac(const unsigned char* mac, unsigned int vlan) override;
    bool delete_mac_vlan_bitmap(const unsigned char* mac, unsigned char* vlan_bitmap) override;
    bool delete_mac_by_mac(const unsigned char* mac) override;
    bool clear_fdb_by_port(const Mp& port, bool trunk, bool static_too) override;
    bool clear_fdb_by_vlan(unsigned int vlan, bool static_too) override;
    bool clear_fdb_table(bool static_too) override;
    bool set_fdb_aging_time(int seconds) override;
    bool get_fdb_aging_time(int& seconds) override;
    bool set_port_link_state(const Mp& port, phy_state_t state) override;
    bool get_port_link_state(const Mp& port, phy_state_t& state) override;
    bool set_port_mac_lock(const Mp& port, bool locked) override;
    bool get_port_mac_lock(const Mp& port, bool& locked) override;
    bool set_port_mac_lock_ext(const Mp& port, bool locked, bool drop_unknown) override;
    bool get_port_mac_lock_ext(const Mp& port, bool& locked, bool& drop_unknown) override;
    bool set_port_broadcast_control(const Mp& port, unsigned int rate) override;
    bool get_port_broadcast_control(const Mp& port, unsigned int& rate) override;
    bool set_port_multicast_control(const Mp& port, unsigned int rate) override;
    bool get_port_multicast_control(const Mp& port, unsigned int& rate) override;
    bool set_port_unicast_control(const Mp& port, unsigned int rate) override;
    bool get_port_unicast_control(const Mp& port, unsigned int& rate) override;
    bool set_port_egress_admin_state(const Mp& port, bool enabled) override;
    bool get_port_egress_admin_state(const Mp& port, bool& enabled) override;
    bool set_port_ingress_discarding(const Mp& port, ingress_discard_type_t type) override;
    bool get_port_ingress_discarding(const Mp& port, ingress_discard_type_t& type) override;
    bool set_port_pvid(const Mp& port, unsigned int pvid) override;
    bool get_port_pvid(const Mp& port, unsigned int& pvid) override;
    bool set_port_vlan_priority(const Mp& port, unsigned int key, unsigned int priority) override;
    bool get_port_vlan_priority(const Mp& port, unsigned int key, unsigned int& priority) override;
    bool set_port_vlan_accept_frame(const Mp& port, bool tagged_only) override;
    bool get_port_vlan_accept_frame(const Mp& port, bool& tagged_only) override;
    bool set_system_mac_limit(const Mp& port, int limit, unsigned int kind) override;
    bool get_system_mac_limit(const Mp& port, int& limit, unsigned int kind) override;
    bool set_port_protocol_vlan(const Mp& port, frame_type_t frame, unsigned short protocol, unsigned int vlan) override;
    bool delete_port_protocol_vlan(const Mp& port, frame_type_t frame, unsigned short protocol) override;
    bool delete_port_protocol_vlan_all(const Mp& port) override;
    bool set_mac_vlan(const unsigned char* mac, unsigned int vlan, unsigned int priority) override;
    bool set_ipv4_subnet_vlan(unsigned int address, unsigned int mask, unsigned int vlan, unsigned int priority) override;
    bool set_ipv6_subnet_vlan(const unsigned char* address, unsigned int prefix_length, unsigned int vlan, unsigned int priority) override;
    bool send_packet_by_port(std::list<Mp>& tagged, std::list<Mp>& untagged, const Packet& packet) override;
    bool send_packet_from_cpu(const Packet& packet) override;
    bool get_port_ability(const Mp& port, port_ability_type_t& ability) override;
    bool set_port_advertising_ability(const Mp& port, port_ability_type_t ability) override;
    bool get_port_advertising_ability(const Mp& port, port_ability_type_t& ability) override;
    bool get_port_current_ability(const Mp& port, port_ability_type_t& ability) override;
    bool get_port_peer_ability(Mp port, port_ability_type_t& ability) override;
    bool set_port_flood_blocking(const Mp& port, const Mp& other, flood_block_type_t type) override;
    bool get_port_flood_blocking(const Mp& port, const Mp& other, flood_block_type_t& type) override;
    bool set_port_flood_blocking_cpu(const Mp& port, flood_block_type_t type) override;
    bool get_port_flood_blocking_cpu(const Mp& port, flood_block_type_t& type) override;
    bool set_port_cos_mapping(const Mp& port, unsigned int key, unsigned int queue) override;
    bool get_port_cos_mapping(const Mp& port, unsigned int key, unsigned int& queue) override;
    bool get_line_card_usp(Usp& usp) override;
    bool free_call(int arg) override;
    bool set_switch_forward_mode(unsigned int mode) override;
    bool get_switch_forward_mode(unsigned int& mode) override;
    bool add_arp_filter(unsigned int address, unsigned int mask) override;
    bool delete_arp_filter(unsigned int address, unsigned int mask) override;
    bool delete_arp_filter_all() override;
    bool add_ip_protocol_filter(unsigned int protocol) override;
    bool delete_ip_protocol_filter(unsigned int protocol) override;
    bool delete_ip_protocol_filter_all() override;
    bool add_l4_destination_port_filter(unsigned int port) override;
    bool delete_l4_destination_port_filter(unsigned int port) override;
    bool delete_l4_destination_port_filter_all() override;
    bool set_port_l2_enable(const Mp& port, bool enabled) override;
    bool set_port_switch_unknown_unicast_to_cpu(const Mp& port, bool enabled) override;
    bool get_port_switch_unknown_unicast_to_cpu(const Mp& port, bool& enabled) override;
    bool set_switch_unknown_unicast_to_cpu(bool enabled) override;
    bool get_switch_unknown_unicast_to_cpu(bool& enabled) override;
    bool add_of_flow(of_flow_mp_s& flow, unsigned int& flow_id, const of_flow_qualify_udf_s& udf) override;
    bool add_of_flow_with_id(of_flow_mp_s& flow, unsigned int flow_id) override;
    bool delete_of_flow(unsigned int flow_id) override;
    bool clear_of_flow_table() override;
    bool add_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param, const Mp& port) override;
    bool delete_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param, const Mp& port) override;
    bool clear_of_flow_action(unsigned int flow_id) override;
    bool set_of_flow_priority(unsigned int flow_id, int priority) override;
    bool get_of_flow_priority(unsigned int flow_id, int& priority) override;
    bool get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets) override;
    bool get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets) override;
    bool register_mac_update_callback(void (*callback)(L2Addr*, int, void*), void* user_data) override;
    bool register_mac_update_callback_c(void (*callback)(ctype_l2_addr_s*, int, void*), void* user_data) override;
    bool register_link_change_callback(void (*callback)(LinkStatus*, Usp*), void* user_data) override;
    bool register_link_change_callback_c(void (*callback)(ctype_link_status_s*, usp_s*), void* user_data) override;
    bool register_rx_packet_callback(void (*callback)(RxPacket*, void*), void* user_data) override;
    bool register_rx_packet_callback_c(void (*callback)(ctype_rx_packet_s*, void*), void* user_data) override;
    bool deregister_event_callback(lcmgr_report_event_t event, void* callback, void* user_data) override;
    bool traverse_mac_table(void* arg) override;
    bool create_l3_interface(const unsigned char* mac, unsigned int vlan, unsigned int& interface_id) override;
    bool create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan, unsigned int interface_id, bool replace) override;
    bool get_l3_interface(unsigned int interface_id, unsigned int& vlan, unsigned char* mac) override;
    bool delete_l3_interface(const unsigned char* mac, unsigned int vlan) override;
    bool delete_l3_interface_by_id(unsigned int interface_id) override;
    bool delete_l3_interface_all() override;
    bool add_l3_host_ip4(Mp port, bool trunk, unsigned int address, const unsigned char* mac, unsigned int interface_id) override;
    bool add_l3_host_ip6(Mp port, bool trunk, const unsigned char* address, const unsigned char* mac, unsigned int interface_id) override;
    bool get_l3_host_ip4(unsigned int address, Mp port, unsigned char* mac, unsigned int& interface_id, bool trunk) override;
    bool get_l3_host_ip6(const unsigned char* address, Mp port, unsigned char* mac, unsigned int& interface_id, bool trunk) override;
    bool get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Mp& port, bool trunk, unsigned char* mac, unsigned int& interface_id, unsigned int& vlan) override;
    bool get_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask, const Mp& port, bool trunk, unsigned int& interface_id, unsigned char* mac) override;
    bool delete_l3_host_by_interface(unsigned int interface_id, bool static_too) override;
    bool delete_l3_host_by_network_ip4(unsigned int address) override;
    bool delete_l3_host_by_network_ip6(const unsigned char* address) override;
    bool delete_l3_host_by_addr_ip4(unsigned int address, const Mp& port, bool trunk) override;
    bool delete_l3_host_by_addr_ip6(const unsigned char* address, const Mp& port, bool trunk) override;
    bool clear_l3_host_table() override;
    bool add_l3_route_ip4(const Mp& port, bool trunk, unsigned int address, unsigned int mask, const unsigned char* mac, unsigned int interface_id, unsigned int vlan) override;
    bool add_l3_route_ip6(const Mp& port, bool trunk, const unsigned char* address, const unsigned char* mask, const unsigned char* mac, unsigned int interface_id) override;
    bool delete_l3_route_by_interface(unsigned int interface_id, bool static_too) override;
    bool delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Mp& port, bool trunk) override;
    bool delete_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask, const Mp& port, bool trunk) override;
    bool clear_l3_route_table() override;
    bool set_lcmgr_trace(const std::string& target, bool on) override;

    // --- Host side.
    // The data plane: a frame off the wire (or explained, with commit
    // false), the VLANs' MSTP instances, capture, port back ends, the clock
    // of aging and storm control.
    bool inject(const Mp& port, const Usp& usp, const unsigned char* frame, std::size_t size, bool commit,
                FrameResult* result);
    bool set_vlan_instance(unsigned int vlan, unsigned int instance);
    bool start_capture(const std::vector<Mp>& ports, const std::vector<Usp>& names, const std::string& path);
    void stop_capture() { dataplane_.stop_capture(); }
    bool set_port_backend(const Mp& port, const Usp& usp, std::shared_ptr<PortBackend> backend);
    // Frames handed to port back ends meanwhile go out together at the release.
    void hold_transmit() { dataplane_.hold_transmit(); }
    void release_transmit() { dataplane_.release_transmit(); }
    void pass_time(unsigned int seconds);
    bool physical(const Mp& port) const { return ports_.physical(port); }
    PortState* port_state(const Mp& port) { return ports_.find(port); }
    const std::map<unsigned int, Vlan>& vlans() const { return vlans_.vlans(); }
    bool vlan_exists(unsigned int vlan) const { return vlans_.exists(vlan); }
    bool cable(const Mp& port, const Usp& usp, bool plugged);
    bool receive(const Mp& port, const Usp& usp, unsigned int vlan,
                 const std::vector<unsigned char>& frame);
    void advance_clock(unsigned int seconds);
    bool lookup_route_ip4(unsigned int address, RouteMatch& match) const;
    bool lookup_route_ip6(const unsigned char* address, RouteMatch& match) const;
    const std::vector<SentPacket>& sent() const { return events_.sent(); }

    // Read-only views of the tables, for the shell's show commands.
    const std::map<unsigned int, Lag>& lags() const { return lags_.lags(); }
    // A sorted copy: the table itself is kept for lookups, not for listing.
    FdbTable fdb() const { return fdb_.entries(); }
    int aging_seconds() const { return fdb_.aging_seconds(); }
    const std::map<unsigned int, L3Interface>& l3_interfaces() const { return l3_.interfaces(); }
    const std::unordered_map<unsigned int, L3Target>& hosts4() const { return l3_.hosts4(); }
    const std::unordered_map<Ipv6Key, L3Target, Ipv6Hash>& hosts6() const { return l3_.hosts6(); }
    const std::vector<std::unordered_map<unsigned int, L3Target>>& routes4() const { return l3_.routes4(); }
    const std::vector<std::unordered_map<Ipv6Key, L3Target, Ipv6Hash>>& routes6() const { return l3_.routes6(); }
    const std::map<unsigned int, Flow>& flows() const { return flows_.flows(); }
    const std::set<std::pair<unsigned int, unsigned int>>& arp_filters() const { return flows_.arp_filters(); }
    const std::set<unsigned int>& ip_protocol_filters() const { return flows_.ip_protocol_filters(); }
    const std::set<unsigned int>& l4_port_filters() const { return flows_.l4_port_filters(); }
    // VLAN classification (MAC, IPv4 and IPv6 subnet: VLAN and priority) and
    // the switch-wide MAC limit, for the shell's running configuration.
    const std::map<MacAddress, std::pair<unsigned int, unsigned int>>& mac_vlans() const { return vlans_.mac_vlans(); }
    const std::map<std::pair<unsigned int, unsigned int>, std::pair<unsigned int, unsigned int>>& ipv4_subnet_vlans() const
    {
        return vlans_.ipv4_subnet_vlans();
    }
    const std::map<std::pair<Ipv6Address, unsigned int>, std::pair<unsigned int, unsigned int>>& ipv6_subnet_vlans() const
    {
        return vlans_.ipv6_subnet_vlans();
    }
    int system_mac_limit() const { return fdb_.system_limit(); }
    unsigned int vlan_instance(unsigned int vlan) const { return dataplane_.vlan_instance(vlan); }
    Usp usp_of(const Mp& port, bool trunk) const { return names_.usp_of(port, trunk); }

private:
    // Every operation runs through here: injected faults, then the body, then
    // one trace line when tracing is on.  The slot's number and name come
    // from the slot table.
    template <class Body, class... Args>
    bool op(vorn_meta::Slot slot, Body&& body, const Args&... args);
    // Host-side actions (a cable, a received frame) run with slot -1.
    template <class Body>
    bool run(int slot, const char* name, Body&& body)
    {
        return refuser_.run(slot, name, body);
    }
    template <class... Parts>
    bool refuse(const Parts&... parts)
    {
        return refuser_(parts...);
    }
    bool plug(const Mp& port, const Usp& usp, bool plugged);
    bool take_in(const Mp& port, const Usp& usp, unsigned int vlan, const std::vector<unsigned char>& frame);

    // Checks of an operation's input: each one that fails refuses with a
    // reason naming what was wrong.
    bool known_port(const Mp& port) { return ports_.known(refuser_, names_, port); }
    bool known_ports(const std::list<Mp>& ports) { return ports_.known_all(refuser_, names_, ports); }
    template <class Change>
    bool on_port(const Mp& port, Change&& change)  // known_port, then change(state)
    {
        return ports_.on(refuser_, names_, port, change);
    }
    bool vlan_id(unsigned int vlan) { return VlanTable::id(refuser_, vlan); }       // 1-4094
    bool known_vlan(unsigned int vlan) { return vlans_.known(refuser_, vlan); }  // an existing VLAN
    bool known_target(const Mp& port, bool trunk);  // a port, or a LAG id with trunk
    bool within(const char* what, long long value, long long low, long long high)
    {
        return refuser_.within(what, value, low, high);
    }
    bool flags_within(const char* what, long long value, long long all)
    {
        return refuser_.flags_within(what, value, all);
    }
    bool given(const void* pointer, const char* what) { return refuser_.given(pointer, what); }
    bool room(const char* table, std::size_t used, std::size_t capacity)
    {
        return refuser_.room(table, used, capacity);
    }
    bool some_data(const Packet& packet);
    L2Addr l2_address(const FdbKey& key, const FdbEntry& entry) const;
    void notify_mac(const FdbKey& key, const FdbEntry& entry, int what);
    void notify_macs(const MacTable::Entries& entries, int what);
    void learn(const MacAddress& mac, unsigned int vlan, const Mp& port, bool trunk);
    std::size_t remove_fdb_if(bool static_too, const FdbKey* only_key,
                              bool (*match)(const FdbKey&, const FdbEntry&, const void*),
                              const void* context);
    bool flow_in_port(const of_flow_mp_s& flow);
    int* mac_limit(const Mp& port, unsigned int kind);  // the setting, or null after a refusal
    bool add_static_mac(const unsigned char* mac, unsigned int vlan, const Mp& port, bool trunk);
    bool flow_action(bool add, unsigned int flow_id, of_action_t kind, const of_action_param_s& param,
                     const Mp& port);

    ModelHooks hooks_;
    Refuser refuser_;
    Names names_;
    PortTable ports_;
    VlanTable vlans_;
    LagTable lags_;
    MacTable fdb_;
    L3Tables l3_;
    FlowTable flows_;
    unsigned int forward_mode_ = 0;
    bool unknown_unicast_to_cpu_ = false;
    EventRegistry events_;
    bool tracing_ = false;
    DataPlane dataplane_;  // last: it is built over the tables above
};

}  // namespace vorn_sim

#endif
