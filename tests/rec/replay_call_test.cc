// One recorded call replayed through the library onto the reference host:
// the inputs are put as the recorder puts them, replay_call reads them back
// into the entry point's own types, calls it, and puts what it wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "put_values.hh"
#include "sdk_slots.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sdk.hh"
#include "vorn_sim.hh"

namespace {

using vorn_rec::ByteSink;
using vorn_rec::Cursor;
using vorn_rec::entry_shapes;
namespace kinds = vorn_rec::kinds;
namespace c_kinds = vorn_rec::c_kinds;
namespace sdk_kinds = vorn_rec::sdk_kinds;

const unsigned char mac_a[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char router_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
const unsigned char next_hop_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x99};

Usp port(unsigned int n) { return Usp(1, 1, n); }

// The replayer's observers: they count what the card reports.
int link_changes = 0;
int mac_updates = 0;
void on_link_change(LinkStatus*, Usp*) { ++link_changes; }
void on_link_change_c(ctype_link_status_s*, usp_s*) { ++link_changes; }
void on_mac_update(L2Addr*, int, void*) { ++mac_updates; }
void on_rx_packet(RxPacket*, void*) {}
void on_rx_packet_c(ctype_rx_packet_s*, void*) {}
void on_mac_update_c(ctype_l2_addr_s*, int, void*) {}

// Stand-ins for the recording process's own callbacks: only their addresses
// reach the file.
void recorded_link_callback(LinkStatus*, Usp*) {}
void recorded_link_callback_c(ctype_link_status_s*, usp_s*) {}

vorn_rec::CallbackReplacement observers()
{
    vorn_rec::CallbackReplacement replacement;
    replacement.rx_packet = reinterpret_cast<void*>(&on_rx_packet);
    replacement.rx_packet_c = reinterpret_cast<void*>(&on_rx_packet_c);
    replacement.link_change = reinterpret_cast<void*>(&on_link_change);
    replacement.link_change_c = reinterpret_cast<void*>(&on_link_change_c);
    replacement.mac_update = reinterpret_cast<void*>(&on_mac_update);
    replacement.mac_update_c = reinterpret_cast<void*>(&on_mac_update_c);
    return replacement;
}

std::size_t index_of(const std::string& name)
{
    const std::vector<vorn_rec::EntryShape>& shapes = entry_shapes();
    for (std::size_t i = 0; i < shapes.size(); ++i)
        if (shapes[i].name == name) return i;
    ADD_FAILURE() << name << " is not in entry_shapes()";
    return shapes.size();
}

// SDK operations called directly on the card's object, as the replayer
// calls an sdk.* record.
template <auto Slot, class... A>
bool on_card(A... args)
{
    VornSdkBase* sdk = nullptr;
    return vornsdk_get_sdk_instance(sdk) && (sdk->*Slot)(args...);
}

// What replaying one call gave: its result and each output as "name=text".
struct Replayed {
    bool read = false;
    std::int32_t result = -1;
    std::vector<std::string> outputs;
    std::string why;
};

// Puts the arguments as the recorder does, then replays them as entry `name`.
template <const vorn_meta::DirKind* Kinds, class... A>
Replayed replay(const std::string& name, const A&... args)
{
    ByteSink inputs;
    vorn_rec::put_inputs<Kinds>(inputs, true, args...);
    Cursor cursor(inputs.bytes().data(), inputs.bytes().size(), false);
    ByteSink outputs;
    Replayed replayed;
    const std::size_t index = index_of(name);
    replayed.read = vorn_rec::replay_call(index, cursor, observers(), replayed.result, outputs, replayed.why);
    if (!replayed.read) return replayed;
    EXPECT_EQ(cursor.left(), 0u) << name << ": inputs left unread";
    if (replayed.result == 0) {
        EXPECT_TRUE(outputs.bytes().empty()) << name << ": outputs of a failed call";
        return replayed;
    }
    Cursor written(outputs.bytes().data(), outputs.bytes().size(), false);
    for (const vorn_rec::ParamShape& param : entry_shapes()[index].params)
        if (vorn_meta::written(param.dir))
            replayed.outputs.push_back(std::string(param.name) + "=" + vorn_rec::read_value_text(written, param.kind));
    EXPECT_FALSE(written.failed()) << name << ": outputs cut short";
    EXPECT_EQ(written.left(), 0u) << name << ": bytes after the outputs";
    return replayed;
}

// A card with VLAN 10 (1/1/1 and 1/1/2 tagged, 1/1/3 untagged with PVID 10), VLAN 20,
// an L3 interface on it, a route through 1/1/1 and 1/1/3 mirrored to 1/1/4.
class ReplayCall : public testing::Test {
public:
    void SetUp() override { fresh_card(); }
    static void fresh_card()
    {
        vorn_sim::reset();
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        ASSERT_TRUE(vorn_create_vlan(10));
        ASSERT_TRUE(vorn_create_vlan(20));
        ASSERT_TRUE(vorn_add_ports_to_vlan(10, {port(1), port(2)}, {port(3)}));
        ASSERT_TRUE(vorn_set_port_pvid(port(3), 10));
        ASSERT_TRUE(vorn_create_l3_interface_with_id(router_mac, 10, 7, false));
        ASSERT_TRUE(vorn_add_l3_route_ip4(port(1), 0x0a000000, 0xff000000, next_hop_mac, 7, 10));
        ASSERT_TRUE(vorn_set_port_mirror(port(4), port(3), MIRROR_TYPE_EGRESS));
        of_flow_s flow;
        std::memset(&flow.match, 0, sizeof flow.match);
        ASSERT_TRUE(vorn_add_of_flow_with_id(flow, 5));
        link_changes = mac_updates = 0;
    }
    void TearDown() override
    {
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
    }
};

struct Case {
    const char* what;
    std::function<Replayed()> replay;
    std::int32_t result;
    std::vector<std::string> outputs;
};

TEST_F(ReplayCall, GivesTheResultAndTheOutputsTheCardAnswers)
{
    const usp_s c_port1 = {1, 1, 1};
    const usp_s c_port3 = {1, 1, 3};
    usp_s c_tagged[2] = {{1, 1, 4}, {1, 1, 5}};
    usp_s c_members[8] = {};
    unsigned int eight = 8;
    unsigned int none = 0;
    int unset = 0;
    bool flag = false;
    Usp usp_out;
    std::list<Usp> tagged, untagged;
    unsigned char mac_out[6] = {};
    unsigned char ipv6[16] = {0x20, 0x01, 0x0d, 0xb8};
    unsigned char bitmap[512] = {};
    bitmap[10 / 8] |= 1 << (10 % 8);
    of_flow_s flow;
    std::memset(&flow.match, 0, sizeof flow.match);
    flow.in_port = port(2);
    flow.match.eth_type = 0x0800;
    flow.match.match_flags = OF_MATCH_IN_PORT | OF_MATCH_ETH_TYPE;
    const of_flow_qualify_udf_s udf = {{1, 2, 3, 4}};
    ctype_of_flow_s c_flow = {};
    c_flow.in_port = usp_s{1, 1, 5};
    c_flow.match_flags = OF_MATCH_IN_PORT;
    ctype_of_flow_qualify_udf_s c_udf = {{5, 6, 7, 8}};
    Packet packet;
    packet.set_type(1);
    packet.set_data(std::vector<unsigned char>(60, 0xab));
    const unsigned char c_frame[60] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    ctype_packet_s c_packet = {sizeof c_frame, 1, c_frame};
    const Mp hardware_port3(0, 3);

    const std::vector<Case> cases = {
        {"single-port getter", [&] { return replay<kinds::get_port_pvid>("vorn_get_port_pvid", port(3), none); },
         1, {"pvid=10"}},
        {"single-port getter, C", [&] { return replay<c_kinds::get_port_pvid>("ctype_vorn_get_port_pvid", &c_port3, &none); },
         1, {"pvid=10"}},
        {"single-port setter", [&] { return replay<kinds::set_port_mtu>("vorn_set_port_mtu", port(3), 9000u); },
         1, {}},
        {"a refusal gives no outputs", [&] { return replay<kinds::get_port_pvid>("vorn_get_port_pvid", Usp(1, 1, 49), none); },
         0, {}},
        {"two outputs, one input between them",
         [&] { return replay<kinds::get_port_mirror>("vorn_get_port_mirror", usp_out, port(3), unset); },
         1, {"target=1/1/4", "type=2"}},
        {"port lists", [&] { return replay<kinds::get_vlan_info>("vorn_get_vlan_info", 10u, tagged, untagged); },
         1, {"tagged=[1/1/1,1/1/2]", "untagged=[1/1/3]"}},
        {"port list input", [&] { return replay<kinds::set_ports_mtu>("vorn_set_ports_mtu", std::list<Usp>{port(1), port(2)}, 1500u); },
         1, {}},
        {"C arrays with their counts",
         [&] { return replay<c_kinds::add_ports_to_vlan>("ctype_vorn_add_ports_to_vlan", 20u, c_tagged, 2, c_tagged, 0); },
         1, {}},
        {"C arrays sized by their in_out counts",
         [&] {
             return replay<c_kinds::get_vlan_info>("ctype_vorn_get_vlan_info", 10u, c_members, &eight, c_members, &eight);
         },
         1, {"tagged=[1/1/1,1/1/2]", "tagged_count=2", "untagged=[1/1/3]", "untagged_count=1"}},
        {"mac pointer", [&] { return replay<kinds::add_system_mac>("vorn_add_system_mac", mac_a, 10u); }, 1, {}},
        {"a null pointer input", [&] {
             return replay<kinds::add_system_mac>("vorn_add_system_mac", static_cast<const unsigned char*>(nullptr), 10u);
         }, 0, {}},
        {"ipv6 pointer", [&] { return replay<kinds::set_ipv6_subnet_vlan>("vorn_set_ipv6_subnet_vlan", ipv6, 32u, 10u, 1u); },
         1, {}},
        {"vlan bitmap pointer",
         [&] { return replay<kinds::add_system_mac_vlan_bitmap>("vorn_add_system_mac_vlan_bitmap", mac_a, bitmap); },
         1, {}},
        {"mac output and number output",
         [&] { return replay<kinds::get_l3_interface>("vorn_get_l3_interface", 7u, none, mac_out); },
         1, {"vlan=10", "mac=02:00:00:00:00:01"}},
        {"mac output through an array reference",
         [&] {
             return replay<kinds::get_l3_route_by_subnet_ip4>("vorn_get_l3_route_by_subnet_ip4", 0x0a000000u,
                                                               0xff000000u, port(1), mac_out, none, none);
         },
         1, {"mac=02:00:00:00:00:99", "interface_id=7", "vlan=10"}},
        {"C outputs of a route",
         [&] {
             return replay<c_kinds::get_l3_route_by_subnet_ip4>("ctype_vorn_get_l3_route_by_subnet_ip4", 0x0a000000u,
                                                                 0xff000000u, &c_port1, mac_out, &none, &none);
         },
         1, {"mac=02:00:00:00:00:99", "interface_id=7", "vlan=10"}},
        {"flow", [&] { return replay<kinds::add_of_flow>("vorn_add_of_flow", flow, none, udf); }, 1, {"flow_id=1"}},
        {"flow, C", [&] { return replay<c_kinds::add_of_flow>("ctype_vorn_add_of_flow", &c_flow, &none, &c_udf); },
         1, {"flow_id=2"}},
        {"packet", [&] { return replay<kinds::send_packet_from_cpu>("vorn_send_packet_from_cpu", packet); }, 1, {}},
        {"packet, C", [&] { return replay<c_kinds::send_packet_from_cpu>("ctype_vorn_send_packet_from_cpu", &c_packet); },
         1, {}},
        {"flag output", [&] { return replay<kinds::get_port_state>("vorn_get_port_state", port(3), flag); },
         1, {"enabled=true"}},
        {"SDK slot", [&] { return replay<sdk_kinds::get_port_pvid>("sdk.get_port_pvid", hardware_port3, none); },
         1, {"pvid=10"}},
        {"SDK slot with port lists",
         [&] {
             std::list<Mp> members, untagged_members;
             return replay<sdk_kinds::get_vlan_info>("sdk.get_vlan_info", 10u, members, untagged_members);
         },
         1, {"tagged=[0:1,0:2]", "untagged=[0:3]"}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const Replayed replayed = each.replay();
        ASSERT_TRUE(replayed.read) << replayed.why;
        EXPECT_EQ(replayed.result, each.result);
        EXPECT_EQ(replayed.outputs, each.result ? each.outputs : std::vector<std::string>{});
    }
}

// Counters: what the card answers directly, put the way the recorder puts it.
template <const vorn_meta::DirKind* Kinds, class... A>
std::string outputs_of(const A&... args)
{
    ByteSink sink;
    vorn_rec::put_outputs<Kinds>(sink, true, args...);
    Cursor cursor(sink.bytes().data(), sink.bytes().size(), false);
    return vorn_rec::read_value_text(cursor, vorn_meta::Kind::counters);
}

TEST_F(ReplayCall, CounterListsAndArraysComeBackAsTheCardCountsThem)
{
    ASSERT_TRUE(vorn_sim::receive_frame(port(3), 10, std::vector<unsigned char>(64, 0x11)));
    std::list<StatCounter64> direct;
    ASSERT_TRUE(vorn_get_port_stat_counter_all64(port(3), direct));
    ASSERT_FALSE(direct.empty());
    const std::string expected = outputs_of<kinds::get_port_stat_counter_all64>(port(3), direct);

    std::list<StatCounter64> counters;
    Replayed replayed = replay<kinds::get_port_stat_counter_all64>("vorn_get_port_stat_counter_all64", port(3), counters);
    ASSERT_TRUE(replayed.read) << replayed.why;
    EXPECT_EQ(replayed.outputs, std::vector<std::string>{"counters=" + expected});

    // The array form fills as many records as the recorded count allows.
    StatCounter64 room[64] = {};
    unsigned int capacity = 2;
    replayed = replay<kinds::get_port_stat_counter_all64_ext>("vorn_get_port_stat_counter_all64_ext", port(3), room,
                                                              capacity);
    ASSERT_TRUE(replayed.read) << replayed.why;
    ASSERT_EQ(replayed.outputs.size(), 2u);
    EXPECT_EQ(replayed.outputs[1], "count=2");
    EXPECT_EQ(replayed.outputs[0].rfind("counters=[", 0), 0u) << replayed.outputs[0];
    EXPECT_EQ(std::count(replayed.outputs[0].begin(), replayed.outputs[0].end(), ','), 1) << replayed.outputs[0];
}

TEST_F(ReplayCall, RecordedInputsReachTheCard)
{
    const usp_s c_port = {1, 1, 2};
    const Replayed setter = replay<kinds::set_port_pvid>("vorn_set_port_pvid", port(1), 10u);
    ASSERT_TRUE(setter.read) << setter.why;
    const Replayed c_setter = replay<c_kinds::set_port_speed>("ctype_vorn_set_port_speed", &c_port, SPEED_100M);
    ASSERT_TRUE(c_setter.read) << c_setter.why;
    const Replayed sdk_setter = replay<sdk_kinds::set_port_mtu>("sdk.set_port_mtu", Mp(0, 4), 2000u);
    ASSERT_TRUE(sdk_setter.read) << sdk_setter.why;

    unsigned int pvid = 0, mtu = 0;
    speed_type_t speed = SPEED_10M;
    EXPECT_TRUE(vorn_get_port_pvid(port(1), pvid));
    EXPECT_EQ(pvid, 10u);
    EXPECT_TRUE(vorn_get_port_speed(port(2), speed));
    EXPECT_EQ(speed, SPEED_100M);
    EXPECT_TRUE(vorn_get_port_mtu(port(4), mtu));
    EXPECT_EQ(mtu, 2000u);

    const std::vector<unsigned char> frame(60, 0xab);
    Packet packet;
    packet.set_type(1);
    packet.set_data(frame);
    ASSERT_TRUE(replay<kinds::send_packet_by_port>("vorn_send_packet_by_port", std::list<Usp>{}, std::list<Usp>{port(3)},
                                                   packet).read);
    ASSERT_FALSE(vorn_sim::sent_packets().empty());
    EXPECT_EQ(vorn_sim::sent_packets().back().data, frame);
    EXPECT_EQ(vorn_sim::sent_packets().back().untagged, std::vector<Mp>{Mp(0, 3)});
}

// The SDK operations a call makes, as the card traces them.
template <class Call>
std::string sdk_trace_of(Call&& call)
{
    std::ostringstream trace;
    vorn_sim::set_trace_stream(&trace);
    EXPECT_TRUE(vorn_set_lcmgr_trace("trace_level_sdk", true));
    trace.str("");
    call();
    vorn_set_lcmgr_trace("trace_level_sdk", false);
    vorn_sim::set_trace_stream(nullptr);
    return trace.str();
}

// The entry point called with `args` directly and replayed from their
// recording, each on a fresh card: the card sees the same operations with
// the same arguments.
template <const vorn_meta::DirKind* Kinds, auto F, class... A>
void reaches_the_card_as_called(const std::string& name, A... args)
{
    SCOPED_TRACE(name);
    ReplayCall::fresh_card();
    const std::string direct = sdk_trace_of([&] { F(args...); });
    ReplayCall::fresh_card();
    const std::string replayed = sdk_trace_of([&] { EXPECT_TRUE(replay<Kinds>(name, args...).read); });
    EXPECT_NE(direct, "");
    EXPECT_EQ(replayed, direct);
}

TEST_F(ReplayCall, TheCardSeesTheRecordedArgumentsOfEveryKind)
{
    of_flow_s flow;
    std::memset(&flow.match, 0, sizeof flow.match);
    flow.in_port = port(2);
    const unsigned char dst[6] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05};
    std::memcpy(flow.match.dst_mac, dst, 6);
    flow.match.vlan_id = 10;
    flow.match.vlan_pcp = 3;
    flow.match.eth_type = 0x0800;
    flow.match.src_ip = 0x0a000001;
    flow.match.dst_ip_mask = 0xffffff00;
    flow.match.ip_proto = 6;
    flow.match.l4_dst_port = 80;
    flow.match.match_flags = OF_MATCH_IN_PORT | OF_MATCH_DST_MAC | OF_MATCH_L4_DST_PORT;
    const of_flow_qualify_udf_s udf = {{1, 2, 3, 4}};
    ctype_of_flow_s c_flow = {};
    c_flow.in_port = usp_s{1, 1, 5};
    c_flow.vlan_pcp = 2;
    c_flow.ip_tos = 4;
    c_flow.l4_src_port = 1234;
    c_flow.match_flags = OF_MATCH_IN_PORT | OF_MATCH_L4_SRC_PORT;
    ctype_of_flow_qualify_udf_s c_udf = {{5, 6, 7, 8}};
    of_flow_mp_s mp_flow;
    std::memset(&mp_flow.match, 0, sizeof mp_flow.match);
    mp_flow.in_port = Mp(0, 6);
    mp_flow.match.eth_type = 0x86dd;
    const of_action_param_s to_port = {{9, 0, 0}};
    const ctype_of_action_param_s c_to_port = {{10, 0, 0}};
    unsigned int id = 0;
    const unsigned char ipv6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const unsigned char prefix[16] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    unsigned char bitmap[512] = {};
    bitmap[10 / 8] |= 1 << (10 % 8);
    bitmap[20 / 8] |= 1 << (20 % 8);
    usp_s c_ports[3] = {{1, 1, 6}, {1, 1, 7}, {1, 1, 8}};
    usp_s c_port = {1, 1, 3};
    Packet packet;
    packet.set_type(1);
    packet.set_data(std::vector<unsigned char>(64, 0x5a));
    const unsigned char c_frame[64] = {0x01, 0x00, 0x5e};
    ctype_packet_s c_packet = {sizeof c_frame, 2, c_frame};

    reaches_the_card_as_called<kinds::add_of_flow, &vorn_add_of_flow>("vorn_add_of_flow", flow, id, udf);
    reaches_the_card_as_called<c_kinds::add_of_flow, &ctype_vorn_add_of_flow>("ctype_vorn_add_of_flow", &c_flow, &id,
                                                                              &c_udf);
    reaches_the_card_as_called<sdk_kinds::add_of_flow_with_id, &on_card<&VornSdkBase::add_of_flow_with_id, of_flow_mp_s&, unsigned int>>(
        "sdk.add_of_flow_with_id", mp_flow, 9u);
    reaches_the_card_as_called<kinds::add_of_flow_action, &vorn_add_of_flow_action>(
        "vorn_add_of_flow_action", 5u, OF_ACTION_OUTPUT, to_port);
    reaches_the_card_as_called<c_kinds::delete_of_flow_action, &ctype_vorn_delete_of_flow_action>(
        "ctype_vorn_delete_of_flow_action", 5u, CTYPE_OF_ACTION_OUTPUT, c_to_port);
    reaches_the_card_as_called<kinds::add_l3_route_ip6, &vorn_add_l3_route_ip6>("vorn_add_l3_route_ip6", port(1), ipv6,
                                                                                 prefix, next_hop_mac, 7u);
    reaches_the_card_as_called<c_kinds::add_l3_host_ip6, &ctype_vorn_add_l3_host_ip6>(
        "ctype_vorn_add_l3_host_ip6", &c_port, ipv6, next_hop_mac, 7u);
    reaches_the_card_as_called<kinds::set_ipv4_subnet_vlan, &vorn_set_ipv4_subnet_vlan>(
        "vorn_set_ipv4_subnet_vlan", 0xc0a80000u, 0xffff0000u, 10u, 5u);
    reaches_the_card_as_called<kinds::add_system_mac_vlan_bitmap, &vorn_add_system_mac_vlan_bitmap>(
        "vorn_add_system_mac_vlan_bitmap", mac_a, bitmap);
    reaches_the_card_as_called<c_kinds::add_ports_to_vlan, &ctype_vorn_add_ports_to_vlan>(
        "ctype_vorn_add_ports_to_vlan", 20u, c_ports, 2, c_ports + 2, 1);
    reaches_the_card_as_called<kinds::set_ports_flow_control_8023x, &vorn_set_ports_flow_control_8023x>(
        "vorn_set_ports_flow_control_8023x", std::list<Usp>{port(1), port(5)}, true, false);
    reaches_the_card_as_called<kinds::set_port_protocol_vlan, &vorn_set_port_protocol_vlan>(
        "vorn_set_port_protocol_vlan", port(3), FRAME_TYPE_ETHERNET2, static_cast<unsigned short>(0x88cc), 20u);
    reaches_the_card_as_called<kinds::send_packet_by_port, &vorn_send_packet_by_port>(
        "vorn_send_packet_by_port", std::list<Usp>{port(1)}, std::list<Usp>{port(3)}, packet);
    reaches_the_card_as_called<c_kinds::send_packet_by_port, &ctype_vorn_send_packet_by_port>(
        "ctype_vorn_send_packet_by_port", c_ports, 0, &c_port, 1, &c_packet);
    reaches_the_card_as_called<sdk_kinds::add_l3_route_ip4, &on_card<&VornSdkBase::add_l3_route_ip4, const Mp&, bool, unsigned int, unsigned int, const unsigned char*, unsigned int, unsigned int>>(
        "sdk.add_l3_route_ip4", Mp(0, 2), false, 0x0b000000u, 0xff000000u, next_hop_mac, 7u, 10u);
}

TEST_F(ReplayCall, PacketBytesLeftOutReplayAsZerosOfTheRecordedLength)
{
    Packet packet;
    packet.set_type(1);
    packet.set_data(std::vector<unsigned char>(60, 0xab));
    ByteSink inputs;
    vorn_rec::put_inputs<kinds::send_packet_from_cpu>(inputs, false, packet);
    Cursor cursor(inputs.bytes().data(), inputs.bytes().size(), false);
    ByteSink outputs;
    std::int32_t result = -1;
    std::string why;
    ASSERT_TRUE(vorn_rec::replay_call(index_of("vorn_send_packet_from_cpu"), cursor, observers(), result, outputs, why))
        << why;
    EXPECT_EQ(result, 1);
    ASSERT_FALSE(vorn_sim::sent_packets().empty());
    EXPECT_EQ(vorn_sim::sent_packets().back().data, std::vector<unsigned char>(60, 0));
}

TEST_F(ReplayCall, CallbacksAreTheReplayersObserversAndDeregisterAsRegistered)
{
    void (*recorded)(LinkStatus*, Usp*) = &recorded_link_callback;
    ASSERT_EQ(replay<kinds::register_link_change_callback>("vorn_register_link_change_callback", recorded).result, 1);
    ASSERT_TRUE(vorn_sim::set_cable(port(3), false));
    EXPECT_EQ(link_changes, 1);

    void* recorded_address = reinterpret_cast<void*>(recorded);
    const Replayed deregistered = replay<kinds::deregister_event_callback>(
        "vorn_deregister_event_callback", LCMGR_EVENT_LINK_CHANGE, recorded_address, static_cast<void*>(nullptr));
    ASSERT_TRUE(deregistered.read) << deregistered.why;
    EXPECT_EQ(deregistered.result, 1);
    ASSERT_TRUE(vorn_sim::set_cable(port(3), true));
    EXPECT_EQ(link_changes, 1) << "the observer is still registered";

    // A C registration: its deregistration gets the C observer back.
    void (*recorded_c)(ctype_link_status_s*, usp_s*) = &recorded_link_callback_c;
    ASSERT_EQ(replay<c_kinds::register_link_change_callback>("ctype_vorn_register_link_change_callback", recorded_c)
                  .result,
              1);
    ASSERT_TRUE(vorn_sim::set_cable(port(3), false));
    EXPECT_EQ(link_changes, 2);
    void* recorded_c_address = reinterpret_cast<void*>(recorded_c);
    EXPECT_EQ(replay<c_kinds::deregister_event_callback>("ctype_vorn_deregister_event_callback", LCMGR_EVENT_LINK_CHANGE,
                                                         recorded_c_address, static_cast<void*>(nullptr))
                  .result,
              1);
    ASSERT_TRUE(vorn_sim::set_cable(port(3), true));
    EXPECT_EQ(link_changes, 2) << "the C observer is still registered";

    // The visitor of a traverse is the card's to call: a recorded one is
    // replaced by one that looks at nothing, so the traverse succeeds.
    ASSERT_TRUE(vorn_add_mac_to_port(port(3), mac_a, 10));
    void* visitor = reinterpret_cast<void*>(&on_mac_update);
    EXPECT_EQ(replay<kinds::traverse_mac_table>("vorn_traverse_mac_table", visitor).result, 1);
    EXPECT_EQ(replay<c_kinds::traverse_mac_table>("ctype_vorn_traverse_mac_table", visitor).result, 1);
    EXPECT_EQ(mac_updates, 0) << "the recorded user data reached the card";
}

TEST_F(ReplayCall, InputsThatCannotBeReadAreRefusedByParameter)
{
    ByteSink inputs;
    vorn_rec::put_inputs<kinds::set_port_pvid>(inputs, true, port(3), 20u);
    ByteSink outputs;
    std::int32_t result = -1;
    std::string why;
    const std::size_t set_pvid = index_of("vorn_set_port_pvid");

    Cursor cut(inputs.bytes().data(), inputs.bytes().size() - 1, false);
    EXPECT_FALSE(vorn_rec::replay_call(set_pvid, cut, observers(), result, outputs, why));
    EXPECT_EQ(why, "vorn_set_port_pvid: pvid: value cut short");

    std::vector<unsigned char> bad_tag = inputs.bytes();
    bad_tag[0] = 7;
    Cursor damaged(bad_tag.data(), bad_tag.size(), false);
    EXPECT_FALSE(vorn_rec::replay_call(set_pvid, damaged, observers(), result, outputs, why));
    EXPECT_EQ(why, "vorn_set_port_pvid: port: tag 7 is neither absent nor present");

    // A list whose count is beyond its bytes.
    ByteSink list;
    list.put_u8(1);
    list.put_u32(1000000);
    list.put_u8(1);
    list.put_u64(1500);
    Cursor lying(list.bytes().data(), list.bytes().size(), false);
    EXPECT_FALSE(vorn_rec::replay_call(index_of("vorn_set_ports_mtu"), lying, observers(), result, outputs, why));
    EXPECT_EQ(why, "vorn_set_ports_mtu: ports: value cut short");

    Cursor empty;
    EXPECT_FALSE(vorn_rec::replay_call(entry_shapes().size(), empty, observers(), result, outputs, why));
    EXPECT_NE(why.find("no entry point at index"), std::string::npos) << why;

    unsigned int pvid = 0;
    EXPECT_TRUE(vorn_get_port_pvid(port(3), pvid));
    EXPECT_EQ(pvid, 10u) << "a refused replay called the entry point";
}

// Every entry of the tables has its replay, at its own index: with no
// inputs at all, an entry point that reads any refuses by its own name and
// its first input; one that reads none is called.
TEST_F(ReplayCall, EveryEntryPointOfTheTablesReplays)
{
    const std::vector<vorn_rec::EntryShape>& shapes = entry_shapes();
    for (std::size_t index = 0; index < shapes.size(); ++index) {
        const vorn_rec::EntryShape& shape = shapes[index];
        SCOPED_TRACE(shape.name);
        const vorn_rec::ParamShape* first_input = nullptr;
        for (const vorn_rec::ParamShape& param : shape.params)
            if (param.dir != vorn_meta::Dir::out) {
                first_input = &param;
                break;
            }
        Cursor nothing;
        ByteSink outputs;
        std::int32_t result = -1;
        std::string why;
        const bool read = vorn_rec::replay_call(index, nothing, observers(), result, outputs, why);
        if (first_input) {
            EXPECT_FALSE(read);
            EXPECT_EQ(why, shape.name + ": " + first_input->name + ": value cut short");
        } else {
            EXPECT_TRUE(read) << why;
            EXPECT_TRUE(result == 0 || result == 1) << result;
        }
    }
}

}  // namespace
