// Argument values in a recording: put by put_inputs/put_outputs (the
// recorder's side) and read back by read_value_text, read_call_fields and
// read_event (the replayer's side), in this machine's byte order and in the
// other one; the entry points' shapes against the three tables.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <list>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "c_entry_points.hh"
#include "codec.hh"
#include "entry_points.hh"
#include "put_values.hh"
#include "sdk_slots.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sdk.hh"

namespace {

using vorn_meta::Kind;
using vorn_rec::ByteSink;
using vorn_rec::Cursor;
namespace kinds = vorn_rec::kinds;
namespace c_kinds = vorn_rec::c_kinds;
namespace sdk_kinds = vorn_rec::sdk_kinds;

// Puts into a ByteSink in this machine's order, or turned round: what a
// machine of the other byte order would have written.
class OrderSink {
public:
    explicit OrderSink(bool swap) : swap_(swap) {}
    void put_u8(std::uint8_t value) { bytes_.put_u8(value); }
    void put_u16(std::uint16_t value) { bytes_.put_u16(swap_ ? __builtin_bswap16(value) : value); }
    void put_u32(std::uint32_t value) { bytes_.put_u32(swap_ ? __builtin_bswap32(value) : value); }
    void put_u64(std::uint64_t value) { bytes_.put_u64(swap_ ? __builtin_bswap64(value) : value); }
    void put_bytes(const void* data, std::size_t size) { bytes_.put_bytes(data, size); }
    const std::vector<unsigned char>& bytes() const { return bytes_.bytes(); }
    bool swapped() const { return swap_; }

private:
    ByteSink bytes_;
    bool swap_;
};

using Putter = std::function<void(OrderSink&)>;

// The values a putter put, read back by kind, in both byte orders; every
// byte must be read and none missing.
void expect_texts(const std::string& what, const Putter& put, const std::vector<Kind>& value_kinds,
                  const std::vector<std::string>& expected)
{
    for (const bool swap : {false, true}) {
        OrderSink sink(swap);
        put(sink);
        Cursor in(sink.bytes().data(), sink.bytes().size(), swap);
        std::vector<std::string> texts;
        for (const Kind kind : value_kinds) texts.push_back(vorn_rec::read_value_text(in, kind));
        const std::string order = swap ? " (other byte order)" : "";
        EXPECT_EQ(texts, expected) << what << order;
        EXPECT_FALSE(in.failed()) << what << order;
        EXPECT_EQ(in.left(), 0u) << what << order;
    }
}

struct KindCase {
    const char* what;
    Putter put;
    std::vector<Kind> kinds;
    std::vector<std::string> expected;
};

const unsigned char mac[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};

std::vector<unsigned char> ipv6(unsigned char last)
{
    std::vector<unsigned char> bytes(16, 0);
    bytes[0] = 0x20, bytes[1] = 0x01, bytes[2] = 0x0d, bytes[3] = 0xb8, bytes[15] = last;
    return bytes;
}

template <class Flow>
void fill_match(Flow& flow)
{
    for (unsigned char i = 0; i < 6; ++i) flow.dst_mac[i] = i + 1, flow.src_mac[i] = 0xa0 + i;
    flow.vlan_id = 10, flow.vlan_pcp = 3, flow.eth_type = 0x0800;
    flow.src_ip = 0x0a000001, flow.src_ip_mask = 0xffffff00;
    flow.dst_ip = 0x0a000102, flow.dst_ip_mask = 0xffff0000;
    flow.ip_proto = 6, flow.ip_tos = 4, flow.l4_src_port = 1234, flow.l4_dst_port = 80;
    flow.match_flags = 0x0fff;
}

of_flow_s cpp_flow()
{
    of_flow_s flow;
    flow.in_port = Usp(1, 1, 3);
    fill_match(flow.match);
    return flow;
}

void rx_callback(RxPacket*, void*) {}

TEST(PutValues, EveryKindReadsBackToItsTextInBothByteOrders)
{
    const std::vector<unsigned char> address = ipv6(1), mask = ipv6(0);
    static unsigned char bitmap[512] = {};
    bitmap[0] = 0x22;                       // 1, 5
    bitmap[1] = 0x1c;                       // 10-12
    const unsigned char frame[] = {0x00, 0x11, 0xaa};
    Packet packet;
    packet.set_type(2048);
    packet.set_data({frame, frame + 3});
    const ctype_packet_s c_packet{3, 2048, frame};
    of_flow_mp_s sdk_flow;
    sdk_flow.in_port = Mp(0, 3);
    fill_match(sdk_flow.match);
    ctype_of_flow_s c_flow{};
    c_flow.in_port = usp_s{1, 1, 3};
    fill_match(c_flow);
    const of_flow_qualify_udf_s udf{{1, 2, 3, 4}};
    usp_s ports[3] = {{1, 1, 1}, {1, 1, 2}, {1, 1, 3}};
    int user_data = 0;
    const std::string rx_address = vorn_meta::encode<Kind::callback>(&rx_callback);
    const std::string data_address = vorn_meta::encode<Kind::user_data>(static_cast<void*>(&user_data));

    const std::vector<KindCase> cases = {
        {"usp and unsigned number", [](OrderSink& s) { vorn_rec::put_inputs<kinds::set_port_pvid>(s, true, Usp(2, 1, 3), 10u); },
         {Kind::usp, Kind::number}, {"2/1/3", "10"}},
        {"negative int sign-extended", [](OrderSink& s) { vorn_rec::put_inputs<kinds::set_port_mac_limit>(s, true, Usp(1, 1, 3), -5); },
         {Kind::usp, Kind::number}, {"1/1/3", "-5"}},
        {"enumeration", [](OrderSink& s) { vorn_rec::put_inputs<kinds::set_port_stp_state>(s, true, Usp(1, 1, 3), STP_STATE_FORWARDING); },
         {Kind::usp, Kind::number}, {"1/1/3", "4"}},
        {"64-bit output", [](OrderSink& s) {
             vorn_rec::put_outputs<kinds::get_port_stat_counter>(s, true, Usp(1, 1, 3), STAT_IF_IN_OCTETS, 1ull << 40); },
         {Kind::number}, {"1099511627776"}},
        {"flags", [](OrderSink& s) { vorn_rec::put_inputs<kinds::set_port_mac_lock_ext>(s, true, Usp(1, 1, 3), true, false); },
         {Kind::usp, Kind::flag, Kind::flag}, {"1/1/3", "true", "false"}},
        {"a flag by its low byte", [](OrderSink& s) {
             bool flag;  // a byte of 2, as a C caller may leave it: never loaded as a bool
             const unsigned char two = 2;
             std::memcpy(&flag, &two, 1);
             vorn_rec::put_inputs<c_kinds::clear_fdb_table>(s, true, flag); },
         {Kind::flag}, {"true"}},
        {"text", [](OrderSink& s) { vorn_rec::put_inputs<kinds::set_lcmgr_trace>(s, true, std::string("trace \"all\"\n"), true); },
         {Kind::text, Kind::flag}, {"\"trace \\\"all\\\"\\n\"", "true"}},
        {"hardware port", [](OrderSink& s) { vorn_rec::put_inputs<sdk_kinds::set_port_pvid>(s, true, Mp(0, 3), 10u); },
         {Kind::port, Kind::number}, {"0:3", "10"}},
        {"port lists", [](OrderSink& s) {
             std::list<Mp> tagged = {Mp(0, 1), Mp(0, 2)}, untagged;
             vorn_rec::put_inputs<sdk_kinds::add_ports_to_vlan>(s, true, 10u, tagged, untagged); },
         {Kind::number, Kind::port_list, Kind::port_list}, {"10", "[0:1,0:2]", "[]"}},
        {"usp list", [](OrderSink& s) {
             vorn_rec::put_inputs<kinds::set_ports_pvid>(s, true, std::list<Usp>{Usp(1, 2, 1), Usp(3, 1, 2)}, 20u); },
         {Kind::usp_list, Kind::number}, {"[1/2/1,3/1/2]", "20"}},
        {"C port array takes the count after it", [&](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::set_port_flood_blocking_cpu>(s, true, ports, 2, FLOOD_BLOCK_UNKNOWN_UNICAST); },
         {Kind::usp_list, Kind::number, Kind::number}, {"[1/1/1,1/1/2]", "2", std::to_string(FLOOD_BLOCK_UNKNOWN_UNICAST)}},
        {"C port array with a negative count is empty", [&](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::delete_ports_from_vlan>(s, true, 10u, ports, -1); },
         {Kind::number, Kind::usp_list, Kind::number}, {"10", "[]", "-1"}},
        {"mac", [](OrderSink& s) { vorn_rec::put_inputs<kinds::add_system_mac>(s, true, mac, 10u); },
         {Kind::mac, Kind::number}, {"00:1b:21:0a:0b:0c", "10"}},
        {"ipv4", [](OrderSink& s) { vorn_rec::put_inputs<kinds::add_arp_filter>(s, true, 0xc0a80001u, 0xffffff00u); },
         {Kind::ipv4, Kind::ipv4}, {"192.168.0.1", "255.255.255.0"}},
        {"ipv6 and mask", [&](OrderSink& s) {
             vorn_rec::put_inputs<kinds::delete_l3_route_by_subnet_ip6>(s, true, address.data(), mask.data(), Usp(1, 1, 3)); },
         {Kind::ipv6, Kind::ipv6_mask, Kind::usp},
         {"2001:0db8:0000:0000:0000:0000:0000:0001", "2001:0db8:0000:0000:0000:0000:0000:0000", "1/1/3"}},
        {"vlan bitmap", [&](OrderSink& s) { vorn_rec::put_inputs<c_kinds::add_system_mac_vlan_bitmap>(s, true, mac, bitmap); },
         {Kind::mac, Kind::vlan_bitmap}, {"00:1b:21:0a:0b:0c", "[1,5,10-12]"}},
        {"mac output array", [](OrderSink& s) {
             unsigned char out[6] = {1, 2, 3, 4, 5, 6};
             unsigned int id = 7, vlan = 8;
             vorn_rec::put_outputs<kinds::get_l3_route_by_subnet_ip4>(s, true, 1u, 2u, Usp(1, 1, 3), out, id, vlan); },
         {Kind::mac, Kind::number, Kind::number}, {"01:02:03:04:05:06", "7", "8"}},
        {"packet", [&](OrderSink& s) { vorn_rec::put_inputs<kinds::send_packet_from_cpu>(s, true, packet); },
         {Kind::packet}, {"{type=2048,length=3,data=0011aa}"}},
        {"C packet", [&](OrderSink& s) { vorn_rec::put_inputs<c_kinds::send_packet_from_cpu>(s, true, &c_packet); },
         {Kind::packet}, {"{type=2048,length=3,data=0011aa}"}},
        {"flow with a hardware in-port", [&](OrderSink& s) { vorn_rec::put_inputs<sdk_kinds::add_of_flow_with_id>(s, true, sdk_flow, 9u); },
         {Kind::flow, Kind::number}, {vorn_meta::encode<Kind::flow>(sdk_flow), "9"}},
        {"flow and qualifier", [&](OrderSink& s) {
             unsigned int id = 0;
             vorn_rec::put_inputs<kinds::add_of_flow>(s, true, cpp_flow(), id, udf); },
         {Kind::flow_usp, Kind::flow_udf}, {vorn_meta::encode<Kind::flow_usp>(cpp_flow()), "[1,2,3,4]"}},
        {"C flow", [&](OrderSink& s) { vorn_rec::put_inputs<c_kinds::add_of_flow_with_id>(s, true, &c_flow, 9u); },
         {Kind::flow_usp, Kind::number}, {vorn_meta::encode<Kind::flow_usp>(cpp_flow()), "9"}},
        {"action parameter", [](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::add_of_flow_action>(s, true, 5u, CTYPE_OF_ACTION_OUTPUT, ctype_of_action_param_s{{-1, 2, 3}}); },
         {Kind::number, Kind::number, Kind::action_param}, {"5", "0", "[-1,2,3]"}},
        {"counter list output", [](OrderSink& s) {
             std::list<StatCounter64> counters = {{STAT_IF_IN_OCTETS, 0, 5}, {STAT_IF_OUT_OCTETS, 0, 1ull << 33}};
             vorn_rec::put_outputs<kinds::get_port_stat_counter_all64>(s, true, Usp(1, 1, 3), counters); },
         {Kind::counters}, {"[0=5,7=8589934592]"}},
        {"counter array takes the count after it", [](OrderSink& s) {
             StatCounter32 counters[3] = {{STAT_IF_IN_OCTETS, 5}, {STAT_IF_IN_UCAST_PKTS, 6}, {STAT_IF_IN_DISCARDS, 7}};
             unsigned int count = 2;
             vorn_rec::put_outputs<kinds::get_port_stat_counter_all32_ext>(s, true, Usp(1, 1, 3), counters, count); },
         {Kind::counters, Kind::number}, {"[0=5,1=6]", "2"}},
        {"counter list by value is an input", [](OrderSink& s) {
             vorn_rec::put_inputs<kinds::get_port_brief_stat_counter_all32>(
                 s, true, Usp(1, 1, 3), std::list<BriefStatCounter32>{{BRIEF_STAT_RX_PACKETS, 3}}); },
         {Kind::usp, Kind::counters}, {"1/1/3", "[" + std::to_string(BRIEF_STAT_RX_PACKETS) + "=3]"}},
        {"callback and user data", [&](OrderSink& s) {
             vorn_rec::put_inputs<kinds::register_rx_packet_callback>(s, true, &rx_callback, static_cast<void*>(&user_data)); },
         {Kind::callback, Kind::user_data}, {rx_address, data_address}},
    };
    for (const KindCase& each : cases) expect_texts(each.what, each.put, each.kinds, each.expected);
}

TEST(PutValues, NullPointersAreAbsent)
{
    using Null = std::nullptr_t;
    const usp_s port{1, 1, 3};
    const std::vector<KindCase> cases = {
        {"port", [](OrderSink& s) { vorn_rec::put_inputs<c_kinds::set_port_pvid>(s, true, static_cast<usp_s*>(Null{}), 10u); },
         {Kind::usp, Kind::number}, {"null", "10"}},
        {"output number", [&](OrderSink& s) {
             vorn_rec::put_outputs<c_kinds::get_port_pvid>(s, true, &port, static_cast<unsigned int*>(Null{})); },
         {Kind::number}, {"null"}},
        {"mac", [](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::add_system_mac>(s, true, static_cast<unsigned char*>(Null{}), 10u); },
         {Kind::mac, Kind::number}, {"null", "10"}},
        {"port array", [](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::delete_ports_from_vlan>(s, true, 10u, static_cast<usp_s*>(Null{}), 0); },
         {Kind::number, Kind::usp_list, Kind::number}, {"10", "null", "0"}},
        {"packet", [](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::send_packet_from_cpu>(s, true, static_cast<ctype_packet_s*>(Null{})); },
         {Kind::packet}, {"null"}},
        {"callback and user data", [](OrderSink& s) {
             vorn_rec::put_inputs<kinds::register_rx_packet_callback>(s, true, static_cast<void (*)(RxPacket*, void*)>(Null{}),
                                                                     static_cast<void*>(Null{})); },
         {Kind::callback, Kind::user_data}, {"null", "null"}},
    };
    for (const KindCase& each : cases) expect_texts(each.what, each.put, each.kinds, each.expected);
}

TEST(PutValues, PacketsLeftOutKeepTypeAndLengthOnly)
{
    const unsigned char frame[] = {0x00, 0x11, 0xaa};
    const ctype_packet_s packet{3, 2048, frame};
    ByteSink with, without;
    vorn_rec::put_inputs<c_kinds::send_packet_from_cpu>(with, true, &packet);
    vorn_rec::put_inputs<c_kinds::send_packet_from_cpu>(without, false, &packet);
    EXPECT_EQ(with.bytes().size(), without.bytes().size() + sizeof frame);
    expect_texts("C packet", [&](OrderSink& s) { vorn_rec::put_inputs<c_kinds::send_packet_from_cpu>(s, false, &packet); },
                 {Kind::packet}, {"{type=2048,length=3}"});
    Packet cpp;
    cpp.set_type(34525);
    cpp.set_data({frame, frame + 3});
    expect_texts("packet", [&](OrderSink& s) { vorn_rec::put_inputs<kinds::send_packet_from_cpu>(s, false, cpp); },
                 {Kind::packet}, {"{type=34525,length=3}"});
}

// --- Call records: which side each argument goes to --------------------------

struct CallRecord {
    std::vector<unsigned char> body;
    vorn_rec::Record record;
};

// time 7, duration 3, result 1, the inputs, and the outputs when given.
CallRecord call_record(bool swap, const Putter& inputs, const Putter* outputs)
{
    OrderSink sink(swap);
    sink.put_u64(7);
    sink.put_u32(3);
    sink.put_u32(1);
    inputs(sink);
    if (outputs) (*outputs)(sink);
    CallRecord call{sink.bytes(), {}};
    call.record.type = vorn_rec::RecordType::call;
    call.record.flags = outputs ? vorn_rec::RecordFlag::outputs : 0;
    return call;
}

std::vector<std::string> named(const std::vector<vorn_rec::FieldText>& fields)
{
    std::vector<std::string> texts;
    for (const vorn_rec::FieldText& field : fields) texts.push_back(field.name + "=" + field.text);
    return texts;
}

struct SidesCase {
    const char* entry;
    Putter inputs, outputs;
    std::vector<std::string> expected_inputs, expected_outputs;
};

TEST(CallFields, InputsAreTheReadArgumentsAndOutputsTheWrittenOnes)
{
    static usp_s tagged[2] = {{1, 1, 1}, {1, 1, 2}};
    static usp_s untagged[1] = {{1, 1, 5}};
    const std::vector<SidesCase> cases = {
        {"vorn_get_port_mirror",
         [](OrderSink& s) {
             Usp target(0, 0, 0);
             mirror_type_t type{};
             vorn_rec::put_inputs<kinds::get_port_mirror>(s, true, target, Usp(1, 1, 2), type);
         },
         [](OrderSink& s) {
             mirror_type_t type = MIRROR_TYPE_BOTH;
             vorn_rec::put_outputs<kinds::get_port_mirror>(s, true, Usp(1, 1, 9), Usp(1, 1, 2), type);
         },
         {"source=1/1/2"},
         {"target=1/1/9", "type=" + std::to_string(MIRROR_TYPE_BOTH)}},
        {"ctype_vorn_get_vlan_info",
         [](OrderSink& s) {  // the caller's room
             unsigned int tagged_room = 100, untagged_room = 50;
             vorn_rec::put_inputs<c_kinds::get_vlan_info>(s, true, 10u, tagged, &tagged_room, untagged, &untagged_room);
         },
         [](OrderSink& s) {  // the counts as the call left them
             unsigned int tagged_count = 2, untagged_count = 1;
             vorn_rec::put_outputs<c_kinds::get_vlan_info>(s, true, 10u, tagged, &tagged_count, untagged, &untagged_count);
         },
         {"vlan=10", "tagged_count=100", "untagged_count=50"},
         {"tagged=[1/1/1,1/1/2]", "tagged_count=2", "untagged=[1/1/5]", "untagged_count=1"}},
        {"ctype_vorn_get_port_stat_counter_all64",
         [](OrderSink& s) {
             unsigned int count = 4;
             vorn_rec::put_inputs<c_kinds::get_port_stat_counter_all64>(s, true, &tagged[0], static_cast<void*>(nullptr), &count);
         },
         [](OrderSink&) {},
         {"port=1/1/1", "counters=null", "count=0x"},  // an address: checked by prefix below
         {}},
    };
    for (const SidesCase& each : cases) {
        const vorn_rec::EntryShape* entry = vorn_rec::find_entry(each.entry);
        ASSERT_NE(entry, nullptr) << each.entry;
        for (const bool swap : {false, true}) {
            CallRecord call = call_record(swap, each.inputs, &each.outputs);
            call.record.body = Cursor(call.body.data(), call.body.size(), swap);
            std::vector<vorn_rec::FieldText> inputs, outputs;
            std::int32_t result = 0;
            std::uint64_t time = 0;
            std::uint32_t duration = 0;
            std::string why;
            ASSERT_TRUE(vorn_rec::read_call_fields(*entry, call.record, inputs, outputs, result, time, duration, why))
                << each.entry << ": " << why;
            EXPECT_EQ(time, 7u);
            EXPECT_EQ(duration, 3u);
            EXPECT_EQ(result, 1);
            std::vector<std::string> read = named(inputs);
            for (std::size_t i = 0; i < read.size() && i < each.expected_inputs.size(); ++i)
                if (each.expected_inputs[i] == "count=0x") read[i] = read[i].substr(0, 8);
            EXPECT_EQ(read, each.expected_inputs) << each.entry << (swap ? " (other byte order)" : "");
            EXPECT_EQ(named(outputs), each.expected_outputs) << each.entry << (swap ? " (other byte order)" : "");
        }
    }
}

TEST(CallFields, ADamagedOrCutRecordIsRefusedNamingWhere)
{
    const vorn_rec::EntryShape* entry = vorn_rec::find_entry("vorn_get_port_pvid");
    ASSERT_NE(entry, nullptr);
    const Putter inputs = [](OrderSink& s) { vorn_rec::put_inputs<kinds::get_port_pvid>(s, true, Usp(1, 1, 3), 0u); };
    const Putter outputs = [](OrderSink& s) { vorn_rec::put_outputs<kinds::get_port_pvid>(s, true, Usp(1, 1, 3), 10u); };
    const CallRecord whole = call_record(false, inputs, &outputs);
    struct Damage {
        const char* what;
        std::function<void(std::vector<unsigned char>&)> apply;
        const char* why_contains;
    };
    const std::vector<Damage> damages = {
        {"cut in the output", [](std::vector<unsigned char>& b) { b.resize(b.size() - 3); }, "output pvid"},
        {"cut in the input", [](std::vector<unsigned char>& b) { b.resize(16 + 6); }, "input port"},
        {"cut in the head", [](std::vector<unsigned char>& b) { b.resize(10); }, "cut short"},
        {"a tag neither 0 nor 1", [](std::vector<unsigned char>& b) { b[16] = 2; }, "input port"},
        {"bytes after the last value", [](std::vector<unsigned char>& b) { b.push_back(0); }, "1 bytes after"},
    };
    for (const Damage& damage : damages) {
        std::vector<unsigned char> body = whole.body;
        damage.apply(body);
        vorn_rec::Record record = whole.record;
        record.body = Cursor(body.data(), body.size(), false);
        std::vector<vorn_rec::FieldText> in, out;
        std::int32_t result = 0;
        std::uint64_t time = 0;
        std::uint32_t duration = 0;
        std::string why;
        EXPECT_FALSE(vorn_rec::read_call_fields(*entry, record, in, out, result, time, duration, why)) << damage.what;
        EXPECT_NE(why.find(damage.why_contains), std::string::npos) << damage.what << ": " << why;
    }
}

TEST(ReadValueText, DamagedValuesFailTheCursorWithoutReadingOn)
{
    struct Damaged {
        const char* what;
        std::vector<unsigned char> bytes;
        Kind kind;
    };
    const std::vector<Damaged> cases = {
        {"list count beyond the body", {1, 0xff, 0xff, 0xff, 0xff, 0, 0, 0}, Kind::usp_list},
        {"counters count beyond the body", {1, 0xff, 0xff, 0xff, 0x7f}, Kind::counters},
        {"packet data beyond the body", {1, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0x7f, 1, 0}, Kind::packet},
        {"flag neither 0 nor 1", {1, 3}, Kind::flag},
        {"tag neither 0 nor 1", {7, 0, 0, 0, 0}, Kind::ipv4},
        {"text cut short", {1, 9, 0, 'a'}, Kind::text},
        {"nothing at all", {}, Kind::number},
    };
    for (const Damaged& each : cases) {
        Cursor in(each.bytes.data(), each.bytes.size(), false);
        EXPECT_EQ(vorn_rec::read_value_text(in, each.kind), "") << each.what;
        EXPECT_TRUE(in.failed()) << each.what;
    }
}

// --- Events -------------------------------------------------------------------------

struct EventCase {
    const char* what;
    vorn_rec::EventKind kind;
    Putter put;
    std::string text;
};

TEST(Events, EveryEventReadsBackInBothByteOrders)
{
    static const unsigned char frame[] = {0xde, 0xad, 0xbe, 0xef};
    const usp_s c_port{1, 1, 4};
    const std::vector<EventCase> cases = {
        {"link change", vorn_rec::EventKind::link_change,
         [](OrderSink& s) { vorn_rec::put_link_change(s, Usp(1, 1, 3), LinkStatus{PHY_STATE_UP, SPEED_10G, DUPLEX_FULL}); },
         "link_change 1/1/3 state=" + std::to_string(PHY_STATE_UP) + " speed=" + std::to_string(SPEED_10G) +
             " duplex=" + std::to_string(DUPLEX_FULL)},
        {"C link change", vorn_rec::EventKind::link_change,
         [&](OrderSink& s) { vorn_rec::put_link_change(s, &c_port, ctype_link_status_s{PHY_STATE_DOWN, SPEED_1G, DUPLEX_HALF}); },
         "link_change 1/1/4 state=" + std::to_string(PHY_STATE_DOWN) + " speed=" + std::to_string(SPEED_1G) +
             " duplex=" + std::to_string(DUPLEX_HALF)},
        {"C link change without a port", vorn_rec::EventKind::link_change,
         [](OrderSink& s) { vorn_rec::put_link_change(s, static_cast<const usp_s*>(nullptr), ctype_link_status_s{PHY_STATE_UP, SPEED_1G, DUPLEX_FULL}); },
         "link_change 0/0/0 state=" + std::to_string(PHY_STATE_UP) + " speed=" + std::to_string(SPEED_1G) +
             " duplex=" + std::to_string(DUPLEX_FULL)},
        {"mac update", vorn_rec::EventKind::mac_update,
         [](OrderSink& s) { vorn_rec::put_mac_update(s, L2Addr{{0, 0x1b, 0x21, 0xa, 0xb, 0xc}, 3, 10, Usp(1, 1, 3)}, -2); },
         "mac_update 00:1b:21:0a:0b:0c flags=3 vlan=10 port=1/1/3 reason=-2"},
        {"C mac update", vorn_rec::EventKind::mac_update,
         [](OrderSink& s) { vorn_rec::put_mac_update(s, ctype_l2_addr_s{{2, 0, 0, 0, 0, 1}, 1, 4094, {1, 2, 3}}, 1); },
         "mac_update 02:00:00:00:00:01 flags=1 vlan=4094 port=1/2/3 reason=1"},
        {"received frame", vorn_rec::EventKind::rx_packet,
         [](OrderSink& s) { vorn_rec::put_rx_packet(s, RxPacket{Usp(1, 1, 3), 10, 4, frame}, true); },
         "rx_packet 1/1/3 vlan=10 length=4 data=deadbeef"},
        {"received frame, packets left out", vorn_rec::EventKind::rx_packet,
         [](OrderSink& s) { vorn_rec::put_rx_packet(s, RxPacket{Usp(1, 1, 3), 10, 4, frame}, false); },
         "rx_packet 1/1/3 vlan=10 length=4"},
        {"C received frame", vorn_rec::EventKind::rx_packet,
         [](OrderSink& s) { vorn_rec::put_rx_packet(s, ctype_rx_packet_s{{1, 1, 2}, 20, 2, frame}, true); },
         "rx_packet 1/1/2 vlan=20 length=2 data=dead"},
    };
    for (const EventCase& each : cases) {
        for (const bool swap : {false, true}) {
            OrderSink sink(swap);
            sink.put_u64(123456789);
            each.put(sink);
            vorn_rec::Record record;
            record.type = vorn_rec::RecordType::event;
            record.entry = static_cast<std::uint16_t>(each.kind);
            record.body = Cursor(sink.bytes().data(), sink.bytes().size(), swap);
            vorn_rec::EventValues event;
            std::string why;
            const std::string order = swap ? " (other byte order)" : "";
            ASSERT_TRUE(vorn_rec::read_event(record, event, why)) << each.what << order << ": " << why;
            EXPECT_EQ(event.kind, each.kind) << each.what << order;
            EXPECT_EQ(event.time, 123456789u) << each.what << order;
            EXPECT_EQ(vorn_rec::event_text(event), each.text) << each.what << order;

            record.body = Cursor(sink.bytes().data(), sink.bytes().size() - 1, swap);
            EXPECT_FALSE(vorn_rec::read_event(record, event, why)) << each.what << order << ": cut by a byte";
        }
    }
}

TEST(Events, AnUnknownEventKindIsRefusedByNumber)
{
    const unsigned char body[8] = {};
    vorn_rec::Record record;
    record.type = vorn_rec::RecordType::event;
    record.entry = 9;
    record.body = Cursor(body, sizeof body, false);
    vorn_rec::EventValues event;
    std::string why;
    EXPECT_FALSE(vorn_rec::read_event(record, event, why));
    EXPECT_EQ(why, "unknown event kind 9");
}

// --- The entry points' shapes ------------------------------------------------------

void expect_rows(const std::vector<vorn_rec::EntryShape>& shapes, std::size_t& at,
                 const std::vector<vorn_meta::EntryPoint>& rows, const std::string& prefix, bool c_binding)
{
    for (const vorn_meta::EntryPoint& row : rows) {
        ASSERT_LT(at, shapes.size());
        const vorn_rec::EntryShape& shape = shapes[at++];
        EXPECT_EQ(shape.name, prefix + row.name);
        EXPECT_EQ(shape.c_binding, c_binding) << shape.name;
        EXPECT_EQ(shape.getter, row.name.compare(0, 4, "get_") == 0) << shape.name;
        ASSERT_EQ(shape.params.size(), row.params.size()) << shape.name;
        for (std::size_t i = 0; i < row.params.size(); ++i) {
            EXPECT_EQ(shape.params[i].name, row.params[i].name) << shape.name;
            EXPECT_EQ(shape.params[i].dir, row.params[i].dir) << shape.name << " " << row.params[i].name;
            EXPECT_EQ(shape.params[i].kind, row.params[i].kind) << shape.name << " " << row.params[i].name;
        }
    }
}

TEST(EntryShapes, EveryRowOfTheThreeTablesInOrderWithItsKinds)
{
    const auto& shapes = vorn_rec::entry_shapes();
    ASSERT_EQ(shapes.size(), vorn_meta::entry_points().size() + vorn_meta::c_entry_points().size() +
                                 static_cast<std::size_t>(vorn_meta::slot_count));
    std::size_t at = 0;
    expect_rows(shapes, at, vorn_meta::entry_points(), "vorn_", false);
    expect_rows(shapes, at, vorn_meta::c_entry_points(), "ctype_vorn_", true);
    for (int slot = 0; slot < vorn_meta::slot_count; ++slot) {
        const auto which = static_cast<vorn_meta::Slot>(slot);
        const vorn_rec::EntryShape& shape = shapes[at++];
        EXPECT_EQ(shape.name, std::string("sdk.") + vorn_meta::slot_name(which));
        EXPECT_FALSE(shape.c_binding) << shape.name;
        const vorn_meta::ArgList args = vorn_meta::slot_args(which);
        ASSERT_EQ(shape.params.size(), args.size()) << shape.name;
        for (std::size_t i = 0; i < args.size(); ++i) {
            EXPECT_STREQ(shape.params[i].name, args[i].name) << shape.name;
            EXPECT_EQ(shape.params[i].dir, args[i].dir) << shape.name;
            EXPECT_EQ(shape.params[i].kind, args[i].kind) << shape.name;
        }
    }
    const std::vector<std::string> names = vorn_rec::entry_names();
    ASSERT_EQ(names.size(), shapes.size());
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        EXPECT_EQ(names[i], shapes[i].name);
        EXPECT_EQ(vorn_rec::find_entry(names[i]), &shapes[i]) << names[i];
    }
    EXPECT_EQ(vorn_rec::find_entry("vorn_no_such_entry"), nullptr);
    EXPECT_EQ(vorn_rec::find_entry("get_port_pvid"), nullptr);
}

// --- Every entry point: what put_inputs/put_outputs write is what the reader
// reads for the entry's shape, to the last byte -------------------------------------

// An argument of any parameter type, zeroed; pointers point at zeroed room.
template <class P>
struct Zeroed {
    std::remove_cv_t<std::remove_reference_t<P>> value{};
    auto& get() { return value; }
};
template <class T>
struct Zeroed<T*> {
    std::remove_const_t<T> target{};
    T* get() { return &target; }
};
template <class Byte>
struct ZeroedBytes {
    unsigned char bytes[512] = {};
    Byte* get() { return bytes; }
};
template <>
struct Zeroed<unsigned char*> : ZeroedBytes<unsigned char> {
};
template <>
struct Zeroed<const unsigned char*> : ZeroedBytes<const unsigned char> {
};
template <>
struct Zeroed<void*> {
    void* get() { return nullptr; }
};
template <class R, class... A>
struct Zeroed<R (*)(A...)> {
    R (*get())(A...) { return nullptr; }
};

struct Checked {
    std::string name;
    std::function<void(OrderSink&)> inputs, outputs;
};

template <const vorn_meta::DirKind* Kinds, class... A>
Checked checked(const std::string& name)
{
    return {name,
            [](OrderSink& s) {
                std::tuple<Zeroed<A>...> args;
                std::apply([&](auto&... each) { vorn_rec::put_inputs<Kinds>(s, true, each.get()...); }, args);
            },
            [](OrderSink& s) {
                std::tuple<Zeroed<A>...> args;
                std::apply([&](auto&... each) { vorn_rec::put_outputs<Kinds>(s, true, each.get()...); }, args);
            }};
}

template <const vorn_meta::DirKind* Kinds, class R, class... A>
Checked checked_function(const std::string& name, R (*)(A...))
{
    return checked<Kinds, A...>(name);
}

template <const vorn_meta::DirKind* Kinds, class R, class C, class... A>
Checked checked_slot(const std::string& name, R (C::*)(A...))
{
    return checked<Kinds, A...>(name);
}

// Every entry point of the three tables in entry_shapes() order.  Only their
// types are taken (a null pointer of each): the test links no library, also
// unoptimised.
std::vector<Checked> every_entry()
{
    return {
#define VORN_ENTRY_POINT(name, parameters, column) checked_function<kinds::name>("vorn_" #name, decltype(&vorn_##name){}),
#include "entry_points.def"
#undef VORN_ENTRY_POINT
#define VORN_C_ENTRY_POINT(name, parameters, column) \
    checked_function<c_kinds::name>("ctype_vorn_" #name, decltype(&ctype_vorn_##name){}),
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
#define VORN_SDK_SLOT(slot, name, params, args, column) \
    checked_slot<sdk_kinds::name>("sdk." #name, decltype(&VornSdkBase::name){}),
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
    };
}

TEST(EveryEntryPoint, WhatIsPutIsReadBackForItsShapeToTheLastByte)
{
    const std::vector<Checked> entries = every_entry();
    ASSERT_EQ(entries.size(), vorn_rec::entry_shapes().size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const vorn_rec::EntryShape& shape = vorn_rec::entry_shapes()[i];
        ASSERT_EQ(entries[i].name, shape.name);
        std::size_t taken_inputs = 0, taken_outputs = 0;
        for (const vorn_rec::ParamShape& param : shape.params) {
            taken_inputs += param.dir != vorn_meta::Dir::out;
            taken_outputs += vorn_meta::written(param.dir);
        }
        for (const bool swap : {false, true}) {
            CallRecord call = call_record(swap, entries[i].inputs, &entries[i].outputs);
            call.record.body = Cursor(call.body.data(), call.body.size(), swap);
            std::vector<vorn_rec::FieldText> inputs, outputs;
            std::int32_t result = 0;
            std::uint64_t time = 0;
            std::uint32_t duration = 0;
            std::string why;
            EXPECT_TRUE(vorn_rec::read_call_fields(shape, call.record, inputs, outputs, result, time, duration, why))
                << shape.name << ": " << why;
            EXPECT_EQ(inputs.size(), taken_inputs) << shape.name;
            EXPECT_EQ(outputs.size(), taken_outputs) << shape.name;
        }
    }
}

// --- The budget: a single-port call's record within 64 bytes ---------------------

TEST(RecordSize, ASinglePortCallFitsIn64Bytes)
{
    constexpr std::size_t head = 8 + 8 + 4 + 4;  // record head, time, duration, result
    usp_s c_port{1, 1, 3};
    unsigned int c_pvid = 10;
    const std::vector<std::pair<const char*, Putter>> calls = {
        {"vorn_set_port_pvid", [](OrderSink& s) {
             vorn_rec::put_inputs<kinds::set_port_pvid>(s, false, Usp(1, 1, 3), 10u);
             vorn_rec::put_outputs<kinds::set_port_pvid>(s, false, Usp(1, 1, 3), 10u); }},
        {"vorn_get_port_pvid", [](OrderSink& s) {
             unsigned int pvid = 10;
             vorn_rec::put_inputs<kinds::get_port_pvid>(s, false, Usp(1, 1, 3), pvid);
             vorn_rec::put_outputs<kinds::get_port_pvid>(s, false, Usp(1, 1, 3), pvid); }},
        {"ctype_vorn_set_port_pvid", [&](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::set_port_pvid>(s, false, &c_port, c_pvid);
             vorn_rec::put_outputs<c_kinds::set_port_pvid>(s, false, &c_port, c_pvid); }},
        {"ctype_vorn_get_port_pvid", [&](OrderSink& s) {
             vorn_rec::put_inputs<c_kinds::get_port_pvid>(s, false, &c_port, &c_pvid);
             vorn_rec::put_outputs<c_kinds::get_port_pvid>(s, false, &c_port, &c_pvid); }},
    };
    for (const auto& call : calls) {
        OrderSink sink(false);
        call.second(sink);
        EXPECT_LE(head + sink.bytes().size(), 64u) << call.first;
        EXPECT_GE(sink.bytes().size(), 13u + 9u) << call.first << ": the port and the pvid";
    }
}

}  // namespace
