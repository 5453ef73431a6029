// The library end to end over the reference host: every call goes through
// libvornlcapi into the virtual line card, as a real control plane's would.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "sdk_slots.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_lag_list.hh"
#include "vorn_sdk.hh"
#include "vorn_sim.hh"

namespace {

using vorn_meta::Slot;
using vorn_meta::slot;

const unsigned char mac_a[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char mac_b[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x66};

Usp port(unsigned int n) { return Usp(1, 1, n); }
Usp lag(unsigned int n) { return Usp(0, vorn_sim::lag_slot, n); }
Usp vlan_interface(unsigned int vlan) { return Usp(0, vorn_sim::vlan_interface_slot, vlan); }

std::vector<unsigned char> frame_from(const unsigned char* source)
{
    std::vector<unsigned char> frame(64, 0);
    std::memset(frame.data(), 0xff, 6);
    std::memcpy(frame.data() + 6, source, 6);
    return frame;
}

class Card : public testing::Test {
protected:
    void SetUp() override
    {
        vorn_sim::reset();
        vorn_sim::configure(vorn_sim::Config());
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        ASSERT_EQ(ports, 48);
    }
    void TearDown() override
    {
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
    }
};

TEST_F(Card, VlanMembershipReadsBackThroughBothBindings)
{
    ASSERT_TRUE(vorn_create_vlan(10));
    ASSERT_TRUE(vorn_add_ports_to_vlan(10, {port(1), port(2)}, {port(5)}));
    std::list<Usp> tagged, untagged;
    ASSERT_TRUE(vorn_get_vlan_info(10, tagged, untagged));
    EXPECT_EQ(tagged, (std::list<Usp>{port(1), port(2)}));
    EXPECT_EQ(untagged, (std::list<Usp>{port(5)}));

    // Moving a port between the lists; removal names no list.
    ASSERT_TRUE(vorn_add_ports_to_vlan(10, {port(5)}, {}));
    ASSERT_TRUE(vorn_delete_ports_from_vlan(10, {port(1)}));
    usp_s c_tagged[48], c_untagged[48];
    unsigned int tagged_count = 48, untagged_count = 48;
    ASSERT_EQ(ctype_vorn_get_vlan_info(10, c_tagged, &tagged_count, c_untagged, &untagged_count), 1);
    ASSERT_EQ(tagged_count, 2u);
    EXPECT_EQ(untagged_count, 0u);
    EXPECT_EQ(c_tagged[0].port, 2u);
    EXPECT_EQ(c_tagged[1].port, 5u);
}

TEST_F(Card, LagLifecycleKeepsSdkListAndMappingInStep)
{
    unsigned int lag_id = 99;
    ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(3), port(4)}));  // creates it
    ASSERT_TRUE(vorn_lag_usp_to_lag_id(lag(1), lag_id));
    EXPECT_EQ(lag_id, 0u);  // ids from 0, in creation order
    ASSERT_EQ(lag_list.size(), 1u);
    EXPECT_EQ(lag_list.front().members(), (std::list<Mp>{Mp(0, 3), Mp(0, 4)}));

    ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(5)}));
    ASSERT_TRUE(vorn_set_lag_balancing_strategy(lag(1), LAG_PSC_SRC_DST_IP));
    lag_psc_t psc = LAG_PSC_SRC_MAC;
    ASSERT_TRUE(vorn_get_lag_balancing_strategy(lag(1), psc));
    EXPECT_EQ(psc, LAG_PSC_SRC_DST_IP);
    ASSERT_TRUE(vorn_set_port_pvid(lag(1), 10) == false);  // no VLAN 10 yet: refused by the SDK
    ASSERT_TRUE(vorn_set_port_mtu(lag(1), 9000));          // every member
    unsigned int mtu = 0;
    ASSERT_TRUE(vorn_get_port_mtu(port(5), mtu));
    EXPECT_EQ(mtu, 9000u);

    ASSERT_TRUE(vorn_delete_ports_from_lag(lag(1), {port(3)}));
    EXPECT_EQ(lag_list.front().members(), (std::list<Mp>{Mp(0, 4), Mp(0, 5)}));
    // A port of one LAG cannot join another.
    EXPECT_FALSE(vorn_add_ports_to_lag(lag(2), {port(4)}));

    ASSERT_TRUE(vorn_delete_lag(lag(1)));
    EXPECT_FALSE(vorn_lag_usp_to_lag_id(lag(1), lag_id));
    EXPECT_EQ(lag_list.size(), 1u);  // lag(2) was created before its ports were refused
    EXPECT_TRUE(vorn_delete_lag(lag(2)));
    EXPECT_TRUE(lag_list.empty());
}

TEST_F(Card, LeavingTheSpanningTreeFlushesWhatThePortLearned)
{
    ASSERT_TRUE(vorn_create_vlan(10));
    ASSERT_TRUE(vorn_add_ports_to_vlan(10, {}, {port(1), port(2)}));
    ASSERT_TRUE(vorn_sim::receive_frame(port(1), 10, frame_from(mac_a)));
    ASSERT_TRUE(vorn_sim::receive_frame(port(2), 10, frame_from(mac_b)));
    int entries = 0;
    static int* counter;
    counter = &entries;
    auto count = [](L2Addr*, int, void*) { ++*counter; };
    ASSERT_TRUE(vorn_traverse_mac_table(reinterpret_cast<void*>(+count)));
    EXPECT_EQ(entries, 2);

    ASSERT_TRUE(vorn_set_port_stp_state(port(1), STP_STATE_DISABLED));
    entries = 0;
    ASSERT_TRUE(vorn_traverse_mac_table(reinterpret_cast<void*>(+count)));
    EXPECT_EQ(entries, 1);  // only what port 2 learned is left
}

TEST_F(Card, CpuPacketsLeaveOnlyThroughPortsWhoseLinkIsUp)
{
    ASSERT_TRUE(vorn_create_vlan(20));
    ASSERT_TRUE(vorn_add_ports_to_vlan(20, {}, {port(1), port(2), port(3)}));
    ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(7), port(8)}));
    ASSERT_TRUE(vorn_sim::set_cable(port(2), false));
    ASSERT_TRUE(vorn_sim::set_cable(port(7), false));
    Packet packet;
    packet.set_data(std::vector<unsigned char>(60, 0xab));
    ASSERT_TRUE(vorn_send_packet_by_port({vlan_interface(20), lag(1)}, {port(9)}, packet));
    const auto& sent = vorn_sim::sent_packets();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].tagged, (std::vector<Mp>{Mp(0, 1), Mp(0, 3), Mp(0, 8)}));
    EXPECT_EQ(sent[0].untagged, (std::vector<Mp>{Mp(0, 9)}));
}

// A card that serves for days keeps only its latest CPU packets: the
// oldest half goes when 8192 are held, and the newest is always last.
TEST_F(Card, CpuPacketsKeptAreTheLatestOnly)
{
    Packet packet;
    for (unsigned int i = 0; i < 8193; ++i) {
        packet.set_data(std::vector<unsigned char>(60, static_cast<unsigned char>(i)));
        ASSERT_TRUE(vorn_send_packet_by_port({}, {port(1)}, packet));
    }
    const auto& sent = vorn_sim::sent_packets();
    ASSERT_EQ(sent.size(), 4097u);
    EXPECT_EQ(sent.front().data[0], static_cast<unsigned char>(4096));
    EXPECT_EQ(sent.back().data[0], static_cast<unsigned char>(8192));
}

TEST_F(Card, RoutesAnswerLongestPrefixLookups)
{
    ASSERT_TRUE(vorn_create_vlan(30));
    unsigned int interface_id = 0;
    ASSERT_TRUE(vorn_create_l3_interface(mac_a, 30, interface_id));
    ASSERT_TRUE(vorn_add_l3_route_ip4(port(1), 0x0a000000, 0xff000000, mac_b, interface_id, 30));
    ASSERT_TRUE(vorn_add_l3_route_ip4(port(2), 0x0a010000, 0xffff0000, mac_b, interface_id, 30));
    ASSERT_TRUE(vorn_add_l3_route_ip4(port(3), 0, 0, mac_b, interface_id, 30));
    vorn_sim::RouteMatch match;
    ASSERT_TRUE(vorn_sim::lookup_route_ip4(0x0a010203, match));
    EXPECT_EQ(match.prefix_length, 16u);
    EXPECT_EQ(match.port, port(2));
    ASSERT_TRUE(vorn_sim::lookup_route_ip4(0x0a7f0001, match));
    EXPECT_EQ(match.port, port(1));
    ASSERT_TRUE(vorn_sim::lookup_route_ip4(0xc0a80001, match));
    EXPECT_EQ(match.prefix_length, 0u);

    unsigned char address6[16] = {0x20, 0x01, 0x0d, 0xb8};
    unsigned char mask6[16] = {0xff, 0xff, 0xff, 0xff};
    ASSERT_TRUE(vorn_add_l3_route_ip6(port(4), address6, mask6, mac_b, interface_id));
    unsigned char inside[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 1};
    ASSERT_TRUE(vorn_sim::lookup_route_ip6(inside, match));
    EXPECT_EQ(match.prefix_length, 32u);
    EXPECT_EQ(match.port, port(4));

    unsigned char mac[6] = {};
    unsigned int id = 0, vlan = 0;
    ASSERT_TRUE(vorn_get_l3_route_by_subnet_ip4(0x0a010000, 0xffff0000, port(2), mac, id, vlan));
    EXPECT_EQ(std::memcmp(mac, mac_b, 6), 0);
    EXPECT_TRUE(vorn_delete_l3_route_by_subnet_ip4(0x0a010000, 0xffff0000, port(2)));
    ASSERT_TRUE(vorn_sim::lookup_route_ip4(0x0a010203, match));
    EXPECT_EQ(match.prefix_length, 8u);
}

TEST_F(Card, BadInputIsRefusedWithoutDamage)
{
    unsigned int pvid = 0;
    EXPECT_FALSE(vorn_create_vlan(0));
    EXPECT_FALSE(vorn_create_vlan(4095));
    EXPECT_FALSE(vorn_create_vlan(1));                         // exists already
    EXPECT_FALSE(vorn_add_ports_to_vlan(77, {port(1)}, {}));    // no such VLAN
    EXPECT_FALSE(vorn_set_port_pvid(Usp(1, 1, 49), 1));        // no such port
    EXPECT_FALSE(vorn_set_port_pvid(port(1), 5000));
    ASSERT_TRUE(vorn_get_port_pvid(port(1), pvid));
    EXPECT_EQ(pvid, 1u);
    EXPECT_FALSE(vorn_add_mac_to_port(port(1), nullptr, 1));
    EXPECT_FALSE(vorn_add_system_mac(mac_a, 999));
    EXPECT_FALSE(vorn_delete_of_flow(12));
    EXPECT_FALSE(vorn_add_l3_host_ip4(port(1), 0x0a000001, mac_a, 42));  // no interface 42
    ASSERT_TRUE(vorn_create_vlan(40));
    EXPECT_FALSE(vorn_add_ports_to_vlan(40, {port(1), Usp(2, 1, 1)}, {}));  // one bad port: none added
    std::list<Usp> tagged, untagged;
    ASSERT_TRUE(vorn_get_vlan_info(40, tagged, untagged));
    EXPECT_TRUE(tagged.empty());
}

TEST_F(Card, InjectedFaultsStopAFanOutWhereTheyHit)
{
    ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(1), port(2), port(3)}));
    vorn_sim::fail_slot_for_port(slot(Slot::set_port_pvid), Mp(0, 2));  // on the second member
    ASSERT_TRUE(vorn_create_vlan(50));
    EXPECT_FALSE(vorn_set_port_pvid(lag(1), 50));
    unsigned int pvid = 0;
    ASSERT_TRUE(vorn_get_port_pvid(port(1), pvid));
    EXPECT_EQ(pvid, 50u);
    ASSERT_TRUE(vorn_get_port_pvid(port(3), pvid));
    EXPECT_EQ(pvid, 1u);  // never reached

    vorn_sim::clear_faults();
    vorn_sim::fail_slot(slot(Slot::create_vlan), 2);  // the second from now
    EXPECT_TRUE(vorn_create_vlan(51));
    EXPECT_FALSE(vorn_create_vlan(52));
    EXPECT_TRUE(vorn_create_vlan(53));
}

TEST_F(Card, AgingRunsOnTheHostsClockAndEventsReachBothBindings)
{
    static std::vector<int> mac_events;
    static std::vector<unsigned int> link_events;
    mac_events.clear();
    link_events.clear();
    ASSERT_TRUE(vorn_register_mac_update_callback(
        [](L2Addr*, int what, void*) { mac_events.push_back(what); }, nullptr));
    ASSERT_TRUE(vorn_register_link_change_callback_c(
        [](ctype_link_status_s* status, usp_s* where) {
            link_events.push_back(where->port * 10 + status->state);
        }));
    ASSERT_TRUE(vorn_set_fdb_aging_time(60));
    ASSERT_TRUE(vorn_add_ports_to_vlan(1, {}, {port(6)}));
    ASSERT_TRUE(vorn_sim::receive_frame(port(6), 1, frame_from(mac_a)));
    vorn_sim::advance_clock(59);
    EXPECT_EQ(mac_events, (std::vector<int>{LCMGR_MAC_LEARNED}));
    vorn_sim::advance_clock(1);
    EXPECT_EQ(mac_events, (std::vector<int>{LCMGR_MAC_LEARNED, LCMGR_MAC_AGED}));

    ASSERT_TRUE(vorn_sim::set_cable(port(6), false));
    ASSERT_TRUE(vorn_sim::set_cable(port(6), true));
    EXPECT_EQ(link_events, (std::vector<unsigned int>{60, 61}));
}

TEST_F(Card, TraceWritesOneLinePerSdkOperation)
{
    std::ostringstream trace;
    vorn_sim::set_trace_stream(&trace);
    ASSERT_TRUE(vorn_set_lcmgr_trace("trace_level_sdk", true));
    unsigned int pvid = 0;
    vorn_get_port_pvid(port(3), pvid);
    vorn_create_vlan(0);
    ASSERT_TRUE(vorn_set_lcmgr_trace("trace_level_all", false));
    vorn_create_vlan(2);
    vorn_sim::set_trace_stream(nullptr);
    EXPECT_EQ(trace.str(),
              "sdk 178 set_lcmgr_trace(\"trace_level_sdk\", true) -> true\n"
              "sdk 81 get_port_pvid(0:3) -> true pvid=1\n"
              "sdk 0 create_vlan(0) -> false\n"
              "sdk 178 set_lcmgr_trace(\"trace_level_all\", false) -> true\n");
}

// Calls an SDK operation with every argument value-initialised (0, false,
// null pointers, empty lists): enough to pass through the operation frame.
template <class... Params>
void call_with_defaults(VornSdkBase& sdk, bool (VornSdkBase::*operation)(Params...))
{
    std::tuple<std::decay_t<Params>...> arguments{};
    std::apply([&](auto&... argument) { (sdk.*operation)(argument...); }, arguments);
}

// Each operation of the model, called through the SDK object's table of
// virtual functions, traces under the slot the slot table gives the method it
// overrides, with what it wrote into each of its outputs; the free slots
// trace nothing.
TEST_F(Card, EveryOperationTracesUnderItsOwnSlot)
{
    struct Operation {
        Slot slot;
        void (*call)(VornSdkBase& sdk);
    };
    const Operation operations[] = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) \
    {Slot::name, [](VornSdkBase& sdk) { call_with_defaults(sdk, &VornSdkBase::name); }},
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
    };
    VornSdkBase* sdk = nullptr;
    ASSERT_TRUE(vornsdk_get_sdk_instance(sdk));
    std::ostringstream trace;
    vorn_sim::set_trace_stream(&trace);
    for (const Operation& operation : operations) {
        const std::string name = slot_name(operation.slot);
        SCOPED_TRACE(name);
        EXPECT_TRUE(sdk->set_lcmgr_trace("trace_level_sdk", true));  // not ASSERT: the stream is unset below
        trace.str("");
        operation.call(*sdk);
        const std::string text = trace.str();
        if (name.rfind("unused_slot_", 0) == 0) {
            EXPECT_EQ(text, "");
            continue;
        }
        const std::string head = "sdk " + std::to_string(slot(operation.slot)) + " " + name + "(";
        EXPECT_EQ(text.substr(0, head.size()), head);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        const std::string after_result = text.substr(std::min(text.find(") -> "), text.size()));
        for (const vorn_meta::Arg& arg : vorn_meta::slot_args(operation.slot)) {
            if (arg.dir == vorn_meta::Dir::in) continue;
            EXPECT_NE(after_result.find(std::string(" ") + arg.name + "="), std::string::npos)
                << "output " << arg.name << " missing: " << text;
        }
    }
    vorn_sim::set_trace_stream(nullptr);
}

TEST_F(Card, RefusalsAreCountedPerOperationAndForgottenOnReset)
{
    EXPECT_EQ(vorn_sim::refusal_count(), 0u);
    EXPECT_EQ(vorn_sim::last_refusal().operation, "");
    vorn_sim::fail_slot(slot(Slot::create_vlan));
    EXPECT_FALSE(vorn_create_vlan(60));
    EXPECT_EQ(vorn_sim::refusal_count(), 1u);
    EXPECT_EQ(vorn_sim::last_refusal().slot, slot(Slot::create_vlan));
    EXPECT_EQ(vorn_sim::last_refusal().operation, "create_vlan");
    EXPECT_EQ(vorn_sim::last_refusal().reason, "injected fault");
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::create_vlan)), "injected fault");

    // A host-side refusal is the latest one, but the SDK slot keeps its own.
    EXPECT_FALSE(vorn_sim::set_cable(Usp(1, 1, 49), false));
    EXPECT_EQ(vorn_sim::refusal_count(), 2u);
    EXPECT_EQ(vorn_sim::last_refusal().slot, -1);
    EXPECT_EQ(vorn_sim::last_refusal().operation, "set_cable");
    EXPECT_EQ(vorn_sim::last_refusal().reason, "unknown port 1/1/49");
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::create_vlan)), "injected fault");
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::delete_vlan)), "");

    vorn_sim::clear_faults();
    EXPECT_TRUE(vorn_create_vlan(60));
    EXPECT_EQ(vorn_sim::refusal_count(), 2u);  // nothing refused, nothing counted

    vorn_sim::reset();
    EXPECT_EQ(vorn_sim::refusal_count(), 0u);
    EXPECT_EQ(vorn_sim::last_refusal().reason, "");
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::create_vlan)), "");
}

// Each family of refusal names the element in the user's numbering, under
// the operation that refused.
TEST_F(Card, RefusalsSayWhyAndNameTheElement)
{
    ASSERT_TRUE(vorn_create_vlan(10));
    ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(3)}));
    unsigned int interface_id = 0;
    ASSERT_TRUE(vorn_create_l3_interface(mac_a, 10, interface_id));
    ASSERT_TRUE(vorn_add_l3_route_ip4(port(2), 0x0a010000, 0xffff0000, mac_b, interface_id, 10));
    VornSdkBase* sdk = nullptr;
    ASSERT_TRUE(vornsdk_get_sdk_instance(sdk));
    const int host_side = -1;
    const unsigned char host6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

    struct Case {
        const char* what;
        std::function<bool()> call;
        int slot;
        const char* operation;
        const char* reason;
    };
    const Case cases[] = {
        {"VLAN id out of range", [] { return vorn_create_vlan(4095); },
         slot(Slot::create_vlan), "create_vlan", "VLAN 4095 is outside 1-4094"},
        {"VLAN id out of range where a VLAN must exist", [] { return vorn_set_port_pvid(port(1), 70000); },
         slot(Slot::set_port_pvid), "set_port_pvid", "VLAN 70000 is outside 1-4094"},
        {"duplicate", [] { return vorn_create_vlan(10); },
         slot(Slot::create_vlan), "create_vlan", "VLAN 10 already exists"},
        {"missing VLAN", [] { return vorn_add_ports_to_vlan(77, {port(1)}, {}); },
         slot(Slot::add_ports_to_vlan), "add_ports_to_vlan", "VLAN 77 does not exist"},
        {"value out of range", [] { return vorn_set_port_mtu(port(4), 10); },
         slot(Slot::set_port_mtu), "set_port_mtu", "MTU 10 is out of range (64-9216)"},
        {"port in another LAG", [] { return vorn_add_ports_to_lag(lag(2), {port(3)}); },
         slot(Slot::add_ports_to_lag), "add_ports_to_lag", "port 1/1/3 is already in LAG 0/1/1"},
        {"missing LAG", [&] { return sdk->set_lag_balancing_strategy(7, LAG_PSC_SRC_MAC); },
         slot(Slot::set_lag_balancing_strategy), "set_lag_balancing_strategy", "LAG 0/1/8 does not exist"},
        {"unknown hardware port", [&] { return sdk->set_port_state(Mp(0, 49), true); },
         slot(Slot::set_port_state), "set_port_state", "unknown hardware port 0:49"},
        {"null pointer", [] { return vorn_add_mac_to_port(port(1), nullptr, 1); },
         slot(Slot::add_mac_to_port), "add_mac_to_port", "no MAC address given (null pointer)"},
        {"missing flow", [] { return vorn_delete_of_flow(12); },
         slot(Slot::delete_of_flow), "delete_of_flow", "flow 12 does not exist"},
        {"missing L3 interface", [] { return vorn_add_l3_host_ip4(port(1), 0x0a000001, mac_a, 42); },
         slot(Slot::add_l3_host_ip4), "add_l3_host_ip4", "L3 interface 42 does not exist"},
        {"entry elsewhere", [] { return vorn_delete_l3_route_by_subnet_ip4(0x0a010000, 0xffff0000, port(5)); },
         slot(Slot::delete_l3_route_by_subnet_ip4), "delete_l3_route_by_subnet_ip4", "route 10.1.0.0/16 leads to port 1/1/2, not port 1/1/5"},
        {"missing IPv6 host", [&] { return sdk->delete_l3_host_by_addr_ip6(host6, Mp(0, 1), false); },
         slot(Slot::delete_l3_host_by_addr_ip6), "delete_l3_host_by_addr_ip6", "host 2001:db8::1 does not exist"},
        {"missing protocol VLAN", [&] { return sdk->delete_port_protocol_vlan(Mp(0, 3), FRAME_TYPE_ETHERNET2, 0x0800); },
         slot(Slot::delete_port_protocol_vlan), "delete_port_protocol_vlan", "port 1/1/3 has no VLAN for protocol 0x0800 in Ethernet II frames"},
        {"mask with holes", [] { return vorn_delete_l3_route_by_subnet_ip4(0x0a010000, 0xff00ff00, port(2)); },
         slot(Slot::delete_l3_route_by_subnet_ip4), "delete_l3_route_by_subnet_ip4", "mask 255.0.255.0 is not contiguous"},
        {"port MAC limit on a LAG, which arrives as no port", [] { return vorn_set_port_mac_limit(lag(1), 100); },
         slot(Slot::set_system_mac_limit), "set_system_mac_limit", "unknown hardware port 0:0"},
        {"port mapping", [] { return vorn_set_port_pvid(Usp(1, 1, 49), 1); },
         host_side, "port mapping", "unknown port 1/1/49"},
        {"LAG interface where a port is needed", [] { return vorn_set_port_mirror(lag(1), port(1), MIRROR_TYPE_BOTH); },
         host_side, "port mapping", "0/1/1 is a LAG interface, not a physical port"},
        {"VLAN interface of a missing VLAN", [] { return vorn_set_port_pvid(vlan_interface(77), 1); },
         host_side, "port mapping", "VLAN interface 0/2/77: VLAN 77 does not exist"},
        {"LAG interface beyond the card's", [] { return vorn_set_port_pvid(lag(65), 1); },
         host_side, "port mapping", "LAG interface 0/1/65 is outside 0/1/1-0/1/64"},
        {"cable of an unknown port", [] { return vorn_sim::set_cable(Usp(1, 2, 1), false); },
         host_side, "set_cable", "unknown port 1/2/1"},
        {"frame in a missing VLAN", [] { return vorn_sim::receive_frame(port(1), 99, frame_from(mac_a)); },
         host_side, "receive_frame", "VLAN 99 does not exist"},
        {"runt frame", [] { return vorn_sim::receive_frame(port(1), 10, {1, 2, 3}); },
         host_side, "receive_frame", "frame of 3 bytes is shorter than an Ethernet header (14)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const unsigned long before = vorn_sim::refusal_count();
        EXPECT_FALSE(c.call());
        EXPECT_GT(vorn_sim::refusal_count(), before);
        EXPECT_EQ(vorn_sim::last_refusal().slot, c.slot);
        EXPECT_EQ(vorn_sim::last_refusal().operation, c.operation);
        EXPECT_EQ(vorn_sim::last_refusal().reason, c.reason);
        if (c.slot >= 0) {
            EXPECT_EQ(vorn_sim::last_reason(c.slot), c.reason);
        }
    }
}

TEST_F(Card, FullTablesRefuseFurtherAddsAndSayHowBigTheyAre)
{
    vorn_lcmgr_api_terminate();
    vorn_sim::Config small;
    small.mac_entries = 2;
    small.max_lags = 1;
    vorn_sim::configure(small);
    int ports = 0;
    ASSERT_TRUE(vorn_lcmgr_api_init(ports));
    const unsigned char third[6] = {0, 0, 0, 0, 0, 3};
    ASSERT_TRUE(vorn_add_mac_to_port(port(1), mac_a, 1));
    ASSERT_TRUE(vorn_add_mac_to_port(port(1), mac_b, 1));
    EXPECT_FALSE(vorn_add_mac_to_port(port(1), third, 1));
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::add_mac_to_port)), "MAC table full (2 entries)");
    VornSdkBase* sdk = nullptr;
    ASSERT_TRUE(vornsdk_get_sdk_instance(sdk));
    unsigned int lag_id = 0;
    ASSERT_TRUE(sdk->create_lag(lag_id));
    EXPECT_FALSE(sdk->create_lag(lag_id));
    EXPECT_EQ(vorn_sim::last_reason(slot(Slot::create_lag)), "LAG table full (1 LAGs)");
}

std::vector<unsigned char> frame_to(const unsigned char* destination)
{
    std::vector<unsigned char> frame = frame_from(mac_a);
    std::memcpy(frame.data(), destination, 6);
    return frame;
}

unsigned long long counter(const Usp& at, stat_type_t type)
{
    unsigned long long value = ~0ull;
    EXPECT_TRUE(vorn_get_port_stat_counter(at, type, value));
    return value;
}

const unsigned char broadcast[6] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
const unsigned char multicast[6] = {0x01, 0x00, 0x5e, 0x00, 0x00, 0x01};
const unsigned char bridge_group[6] = {0x01, 0x80, 0xc2, 0x00, 0x00, 0x00};

TEST_F(Card, ReceivedFramesCountByTheirDestination)
{
    struct Case {
        const char* what;
        const unsigned char* destination;
        stat_type_t counted;
    };
    const Case cases[] = {
        {"broadcast", broadcast, STAT_IF_IN_BROADCAST_PKTS},
        {"multicast", multicast, STAT_IF_IN_MULTICAST_PKTS},
        {"unicast", mac_b, STAT_IF_IN_UCAST_PKTS},
    };
    const stat_type_t kinds[] = {STAT_IF_IN_BROADCAST_PKTS, STAT_IF_IN_MULTICAST_PKTS, STAT_IF_IN_UCAST_PKTS};
    unsigned int n = 10;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Usp at = port(n++);
        ASSERT_TRUE(vorn_add_ports_to_vlan(1, {}, {at}));
        ASSERT_TRUE(vorn_sim::receive_frame(at, 1, frame_to(c.destination)));
        for (stat_type_t kind : kinds) EXPECT_EQ(counter(at, kind), kind == c.counted ? 1u : 0u) << kind;
    }
}

// What the VLAN's ingress filter or the spanning tree drops never reaches
// the CPU and counts as a discard; BPDUs are trapped whatever the state.
TEST_F(Card, OnlyForwardedFramesAndBpdusReachTheCpu)
{
    static int delivered;
    delivered = 0;
    ASSERT_TRUE(vorn_register_rx_packet_callback([](RxPacket*, void*) { ++delivered; }, nullptr));
    ASSERT_TRUE(vorn_create_vlan(20));
    struct Case {
        const char* what;
        bool member;
        stp_state_t stp;
        const unsigned char* destination;
        bool reaches_cpu;
    };
    const Case cases[] = {
        {"member, forwarding", true, STP_STATE_FORWARDING, broadcast, true},
        {"not a member", false, STP_STATE_FORWARDING, broadcast, false},
        {"blocking", true, STP_STATE_BLOCKING, broadcast, false},
        {"learning", true, STP_STATE_LEARNING, mac_b, false},
        {"disabled", true, STP_STATE_DISABLED, multicast, false},
        {"BPDU while blocking", true, STP_STATE_BLOCKING, bridge_group, true},
        {"BPDU on a non-member", false, STP_STATE_FORWARDING, bridge_group, true},
    };
    unsigned int n = 20;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Usp at = port(n++);
        if (c.member) {
            ASSERT_TRUE(vorn_add_ports_to_vlan(20, {at}, {}));
        }
        ASSERT_TRUE(vorn_set_port_stp_state(at, c.stp));
        delivered = 0;
        ASSERT_TRUE(vorn_sim::receive_frame(at, 20, frame_to(c.destination)));
        EXPECT_EQ(delivered, c.reaches_cpu ? 1 : 0);
        EXPECT_EQ(counter(at, STAT_IF_IN_DISCARDS), c.reaches_cpu ? 0u : 1u);
    }
}

// A getter answers for a setting never made with its default; only bad
// input is refused.
TEST_F(Card, EveryGetterAnswersOnAFreshCard)
{
    VornSdkBase* sdk = nullptr;
    ASSERT_TRUE(vornsdk_get_sdk_instance(sdk));
    const Mp p(0, 1), other(0, 2);
    struct Case {
        const char* what;
        std::function<bool(VornSdkBase&)> answers;  // with the default value
    };
    const Case cases[] = {
        {"get_vlan_info", [](VornSdkBase& s) { std::list<Mp> t, u; return s.get_vlan_info(1, t, u); }},
        {"get_port_mstp_state", [&](VornSdkBase& s) {
             mstp_state_t v = MSTP_STATE_DISCARDING;
             return s.get_port_mstp_state(5, p, v) && v == MSTP_STATE_FORWARDING;
         }},
        {"get_lag_balancing_strategy", [](VornSdkBase& s) {
             unsigned int id = 0;
             lag_psc_t v = LAG_PSC_SRC_MAC;
             return s.create_lag(id) && s.get_lag_balancing_strategy(id, v) && v == LAG_PSC_SRC_DST_MAC;
         }},
        {"get_port_mirror", [&](VornSdkBase& s) {
             Mp target(0, 9);
             mirror_type_t v = MIRROR_TYPE_BOTH;
             return s.get_port_mirror(target, p, v) && v == MIRROR_TYPE_NONE && target == Mp(0, 0);
         }},
        {"get_port_state", [&](VornSdkBase& s) { bool v = false; return s.get_port_state(p, v) && v; }},
        {"get_port_autoneg", [&](VornSdkBase& s) { bool v = false; return s.get_port_autoneg(p, v) && v; }},
        {"get_port_speed", [&](VornSdkBase& s) { speed_type_t v; return s.get_port_speed(p, v); }},
        {"get_port_duplex", [&](VornSdkBase& s) { duplex_type_t v; return s.get_port_duplex(p, v); }},
        {"get_port_flow_control_8023x", [&](VornSdkBase& s) {
             unsigned int rx = 1, tx = 1;
             return s.get_port_flow_control_8023x(p, rx, tx) && rx == 0 && tx == 0;
         }},
        {"get_port_jaming_control", [&](VornSdkBase& s) { bool v = true; return s.get_port_jaming_control(p, v) && !v; }},
        {"get_port_mtu", [&](VornSdkBase& s) { unsigned int v = 0; return s.get_port_mtu(p, v) && v == 1518; }},
        {"get_port_stat_enabled", [&](VornSdkBase& s) { bool v = false; return s.get_port_stat_enabled(p, v) && v; }},
        {"get_port_stat_counter", [&](VornSdkBase& s) {
             unsigned long long v = 1;
             return s.get_port_stat_counter(p, STAT_IF_IN_OCTETS, v) && v == 0;
         }},
        {"get_port_stat_counter32", [&](VornSdkBase& s) {
             unsigned int v = 1;
             return s.get_port_stat_counter32(p, STAT_IF_IN_OCTETS, v) && v == 0;
         }},
        {"get_port_stat_counter_all64", [&](VornSdkBase& s) { std::list<StatCounter64> v; return s.get_port_stat_counter_all64(p, v); }},
        {"get_port_stat_counter_all32", [&](VornSdkBase& s) { std::list<StatCounter32> v; return s.get_port_stat_counter_all32(p, v); }},
        {"get_port_stat_counter_all64_ext", [&](VornSdkBase& s) {
             StatCounter64 v[4];
             unsigned int count = 4;
             return s.get_port_stat_counter_all64_ext(p, v, count) && count == 4;
         }},
        {"get_port_stat_counter_all32_ext", [&](VornSdkBase& s) {
             StatCounter32 v[4];
             unsigned int count = 4;
             return s.get_port_stat_counter_all32_ext(p, v, count) && count == 4;
         }},
        {"get_port_brief_stat_counter64", [&](VornSdkBase& s) {
             unsigned long long v = 1;
             return s.get_port_brief_stat_counter64(p, BRIEF_STAT_RX_PACKETS, v) && v == 0;
         }},
        {"get_port_brief_stat_counter32", [&](VornSdkBase& s) {
             unsigned int v = 1;
             return s.get_port_brief_stat_counter32(p, BRIEF_STAT_RX_PACKETS, v) && v == 0;
         }},
        {"get_port_brief_stat_counter_all64", [&](VornSdkBase& s) {
             std::list<BriefStatCounter64> v;
             return s.get_port_brief_stat_counter_all64(p, v);
         }},
        {"get_port_stp_state", [&](VornSdkBase& s) {
             stp_state_t v = STP_STATE_DISABLED;
             return s.get_port_stp_state(p, v) && v == STP_STATE_FORWARDING;
         }},
        {"get_port_bpdu_processing", [&](VornSdkBase& s) { bool v = false; return s.get_port_bpdu_processing(p, v) && v; }},
        {"get_fdb_aging_time", [](VornSdkBase& s) { int v = 0; return s.get_fdb_aging_time(v) && v == 300; }},
        {"get_port_link_state", [&](VornSdkBase& s) {
             phy_state_t v = PHY_STATE_DOWN;
             return s.get_port_link_state(p, v) && v == PHY_STATE_UP;
         }},
        {"get_port_mac_lock", [&](VornSdkBase& s) { bool v = true; return s.get_port_mac_lock(p, v) && !v; }},
        {"get_port_mac_lock_ext", [&](VornSdkBase& s) {
             bool locked = true, drop = true;
             return s.get_port_mac_lock_ext(p, locked, drop) && !locked && !drop;
         }},
        {"get_port_broadcast_control", [&](VornSdkBase& s) { unsigned int v = 1; return s.get_port_broadcast_control(p, v) && v == 0; }},
        {"get_port_multicast_control", [&](VornSdkBase& s) { unsigned int v = 1; return s.get_port_multicast_control(p, v) && v == 0; }},
        {"get_port_unicast_control", [&](VornSdkBase& s) { unsigned int v = 1; return s.get_port_unicast_control(p, v) && v == 0; }},
        {"get_port_egress_admin_state", [&](VornSdkBase& s) { bool v = false; return s.get_port_egress_admin_state(p, v) && v; }},
        {"get_port_ingress_discarding", [&](VornSdkBase& s) {
             ingress_discard_type_t v = INGRESS_DISCARD_ALL;
             return s.get_port_ingress_discarding(p, v) && v == INGRESS_DISCARD_NONE;
         }},
        {"get_port_pvid", [&](VornSdkBase& s) { unsigned int v = 0; return s.get_port_pvid(p, v) && v == 1; }},
        {"get_port_vlan_priority", [&](VornSdkBase& s) {
             unsigned int v = 0;
             return s.get_port_vlan_priority(p, 6, v) && v == 6;
         }},
        {"get_port_vlan_accept_frame", [&](VornSdkBase& s) { bool v = true; return s.get_port_vlan_accept_frame(p, v) && !v; }},
        {"get_system_mac_limit of a port", [&](VornSdkBase& s) { int v = 1; return s.get_system_mac_limit(p, v, 1) && v == 0; }},
        {"get_system_mac_limit of a VLAN", [](VornSdkBase& s) { int v = 1; return s.get_system_mac_limit(Mp(0, 1), v, 3) && v == 0; }},
        {"get_system_mac_limit of the switch", [](VornSdkBase& s) { int v = 1; return s.get_system_mac_limit(Mp(0, 0), v, 4) && v == 0; }},
        {"get_port_ability", [&](VornSdkBase& s) { port_ability_type_t v; return s.get_port_ability(p, v); }},
        {"get_port_advertising_ability", [&](VornSdkBase& s) { port_ability_type_t v; return s.get_port_advertising_ability(p, v); }},
        {"get_port_current_ability", [&](VornSdkBase& s) { port_ability_type_t v; return s.get_port_current_ability(p, v); }},
        {"get_port_peer_ability", [&](VornSdkBase& s) { port_ability_type_t v; return s.get_port_peer_ability(p, v); }},
        {"get_port_flood_blocking", [&](VornSdkBase& s) {
             flood_block_type_t v = FLOOD_BLOCK_ALL;
             return s.get_port_flood_blocking(p, other, v) && v == FLOOD_BLOCK_NONE;
         }},
        {"get_port_flood_blocking_cpu", [&](VornSdkBase& s) {
             flood_block_type_t v = FLOOD_BLOCK_ALL;
             return s.get_port_flood_blocking_cpu(p, v) && v == FLOOD_BLOCK_NONE;
         }},
        {"get_port_cos_mapping", [&](VornSdkBase& s) { unsigned int v = 0; return s.get_port_cos_mapping(p, 3, v) && v == 3; }},
        {"get_line_card_usp", [](VornSdkBase& s) { Usp v; return s.get_line_card_usp(v); }},
        {"get_switch_forward_mode", [](VornSdkBase& s) { unsigned int v = 1; return s.get_switch_forward_mode(v) && v == 0; }},
        {"get_port_switch_unknown_unicast_to_cpu", [&](VornSdkBase& s) {
             bool v = true;
             return s.get_port_switch_unknown_unicast_to_cpu(p, v) && !v;
         }},
        {"get_switch_unknown_unicast_to_cpu", [](VornSdkBase& s) { bool v = true; return s.get_switch_unknown_unicast_to_cpu(v) && !v; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const unsigned long before = vorn_sim::refusal_count();
        EXPECT_TRUE(c.answers(*sdk)) << vorn_sim::last_refusal().reason;
        EXPECT_EQ(vorn_sim::refusal_count(), before);
    }
}

// Through the library too: a port that mirrors nothing has no target.
TEST_F(Card, APortThatMirrorsNothingReadsBackTypeNone)
{
    Usp target = port(9);
    mirror_type_t type = MIRROR_TYPE_BOTH;
    ASSERT_TRUE(vorn_get_port_mirror(target, port(1), type));
    EXPECT_EQ(type, MIRROR_TYPE_NONE);
    EXPECT_EQ(target, Usp(0, 0, 0));
    ASSERT_TRUE(vorn_set_port_mirror(port(4), port(1), MIRROR_TYPE_INGRESS));
    ASSERT_TRUE(vorn_get_port_mirror(target, port(1), type));
    EXPECT_EQ(type, MIRROR_TYPE_INGRESS);
    EXPECT_EQ(target, port(4));
}

TEST_F(Card, WithoutTheLineCardTheHostSaysSo)
{
    ASSERT_TRUE(vorn_lcmgr_api_terminate());
    const std::string down = "the line card is not up (the library is not initialised)";
    EXPECT_FALSE(vorn_create_vlan(5));
    EXPECT_EQ(vorn_sim::last_refusal().operation, "SDK object");
    EXPECT_EQ(vorn_sim::last_refusal().reason, down);
    EXPECT_FALSE(vorn_sim::set_cable(port(1), false));
    EXPECT_EQ(vorn_sim::last_refusal().operation, "set_cable");
    EXPECT_EQ(vorn_sim::last_refusal().reason, down);
}

}  // namespace
