// The C binding over the host double: outputs written only on success,
// conversions that keep order and bytes, the shapes' deviations.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>

#include "host_double.hh"
#include "vorn_capi.h"

namespace vorn_test {
namespace {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::Return;
using testing::SetArgReferee;

// The C flow record and the C++ flow share one layout, field by field.
#define SAME_PLACE(c_field, cxx_field) \
    static_assert(offsetof(ctype_of_flow_s, c_field) == offsetof(of_flow_s, cxx_field), #c_field)
SAME_PLACE(dst_mac, match.dst_mac);
SAME_PLACE(src_mac, match.src_mac);
SAME_PLACE(vlan_id, match.vlan_id);
SAME_PLACE(eth_type, match.eth_type);
SAME_PLACE(src_ip, match.src_ip);
SAME_PLACE(dst_ip_mask, match.dst_ip_mask);
SAME_PLACE(ip_proto, match.ip_proto);
SAME_PLACE(l4_dst_port, match.l4_dst_port);
SAME_PLACE(match_flags, match.match_flags);
#undef SAME_PLACE
static_assert(sizeof(ctype_of_flow_s) == sizeof(of_flow_s), "60 bytes each");
static_assert(sizeof(ctype_of_action_param_s) == sizeof(of_action_param_s), "12 bytes each");
static_assert(sizeof(ctype_of_flow_qualify_udf_s) == sizeof(of_flow_qualify_udf_s), "16 bytes each");

usp_s port3 = {1, 1, 3};
usp_s unknown = {9, 9, 9};

class CBinding : public HostTest {};

// One row per output type: the call, the SDK scripted to answer with a value,
// and the check of the caller's variable.
TEST_F(CBinding, GettersWriteOnlyOnSuccess)
{
    struct Row {
        const char* name;
        std::function<void()> script;      // makes the SDK answer with a value
        std::function<int(usp_s*)> call;   // writes into `sentinel` storage
        std::function<bool()> written;     // whether the SDK's value arrived
        std::function<bool()> untouched;   // whether the sentinel is still there
    };
    unsigned int pvid = 0xdead;
    bool enabled = false;
    speed_type_t speed = SPEED_10M;
    int limit = -5;
    bool locked = true, drop = true;
    const Row rows[] = {
        {"pvid", [&] { ON_CALL(sdk(), get_port_pvid(_, _)).WillByDefault(DoAll(SetArgReferee<1>(30u), Return(true))); },
         [&](usp_s* p) { return ctype_vorn_get_port_pvid(p, &pvid); }, [&] { return pvid == 30; },
         [&] { return pvid == 0xdead; }},
        {"bool", [&] { ON_CALL(sdk(), get_port_autoneg(_, _)).WillByDefault(DoAll(SetArgReferee<1>(true), Return(true))); },
         [&](usp_s* p) { return ctype_vorn_get_port_autoneg(p, &enabled); }, [&] { return enabled; },
         [&] { return !enabled; }},
        {"enum", [&] { ON_CALL(sdk(), get_port_speed(_, _)).WillByDefault(DoAll(SetArgReferee<1>(SPEED_40G), Return(true))); },
         [&](usp_s* p) { return ctype_vorn_get_port_speed(p, &speed); }, [&] { return speed == SPEED_40G; },
         [&] { return speed == SPEED_10M; }},
        {"int", [&] { ON_CALL(sdk(), get_system_mac_limit(_, _, _)).WillByDefault(DoAll(SetArgReferee<1>(64), Return(true))); },
         [&](usp_s* p) { return ctype_vorn_get_port_mac_limit(p, &limit); }, [&] { return limit == 64; },
         [&] { return limit == -5; }},
        {"two outputs", [&] { ON_CALL(sdk(), get_port_mac_lock_ext(_, _, _)).WillByDefault(DoAll(SetArgReferee<1>(false), SetArgReferee<2>(false), Return(true))); },
         [&](usp_s* p) { return ctype_vorn_get_port_mac_lock_ext(p, &locked, &drop); },
         [&] { return !locked && !drop; }, [&] { return locked && drop; }},
    };
    for (const Row& row : rows) {
        row.script();
        EXPECT_EQ(row.call(&unknown), 0) << row.name;
        EXPECT_TRUE(row.untouched()) << row.name;
        EXPECT_EQ(row.call(&port3), 1) << row.name;
        EXPECT_TRUE(row.written()) << row.name;
    }
}

TEST_F(CBinding, SixtyFourBitOutputsArriveWholeHighWordFirstInMemoryOnBigEndian)
{
    const unsigned long long value = 0x0123456789abcdefULL;
    ON_CALL(sdk(), get_of_flow_stat_counter64(_, _)).WillByDefault(DoAll(SetArgReferee<1>(value), Return(true)));
    unsigned long long out = 0;
    ASSERT_EQ(ctype_vorn_get_of_flow_stat_counter64(1, &out), 1);
    EXPECT_EQ(out, value);
    unsigned int words[2];
    std::memcpy(words, &out, sizeof words);
    const unsigned int probe = 1;
    const bool big_endian = *reinterpret_cast<const unsigned char*>(&probe) == 0;
    EXPECT_EQ(words[big_endian ? 0 : 1], 0x01234567u);
}

TEST_F(CBinding, PortArraysKeepTheirOrderAndAnEmptyOneStillCalls)
{
    usp_s ports[3] = {{1, 1, 1}, {1, 1, 2}, {1, 1, 3}};
    usp_s reordered[3] = {ports[2], ports[0], ports[1]};
    EXPECT_EQ(ctype_vorn_set_port_flood_blocking_cpu(reordered, 3, FLOOD_BLOCK_ALL), 1);
    EXPECT_EQ(ctype_vorn_set_port_flood_blocking_cpu(ports, 0, FLOOD_BLOCK_ALL), 1);
    EXPECT_EQ(ctype_vorn_add_ports_to_vlan(10, nullptr, 0, nullptr, 0), 1);
    EXPECT_THAT(log_without_lookups(),
                ElementsAre("usp_list_to_mp_list([1/1/3,1/1/1,1/1/2])", "sdk.set_port_flood_blocking_cpu(0:3, 7)",
                            "sdk.set_port_flood_blocking_cpu(0:1, 7)", "sdk.set_port_flood_blocking_cpu(0:2, 7)",
                            "usp_list_to_mp_list([])", "usp_list_to_mp_list([])", "usp_list_to_mp_list([])",
                            "sdk.add_ports_to_vlan(10, [], [])"));
}

TEST_F(CBinding, VlanInfoStoresTheSmallerCountButWritesEveryMember)
{
    ON_CALL(sdk(), get_vlan_info(10, _, _))
        .WillByDefault([](unsigned int, std::list<Mp>& tagged, std::list<Mp>& untagged) {
            tagged = {Mp(0, 1), Mp(0, 2), Mp(0, 3), Mp(0, 4), Mp(0, 5)};
            untagged = {Mp(0, 6)};
            return true;
        });
    usp_s tagged[6] = {}, untagged[6] = {};
    unsigned int tagged_count = 2, untagged_count = 6;
    ASSERT_EQ(ctype_vorn_get_vlan_info(10, tagged, &tagged_count, untagged, &untagged_count), 1);
    EXPECT_EQ(tagged_count, 2u);
    EXPECT_EQ(untagged_count, 1u);
    EXPECT_EQ(tagged[4].port, 5u);  // written past the stored count
    EXPECT_EQ(untagged[0].port, 6u);
    EXPECT_EQ(tagged[5].port, 0u);

    usp_s sentinel[1] = {{7, 7, 7}};
    unsigned int count = 1;
    EXPECT_EQ(ctype_vorn_get_vlan_info(99, sentinel, &count, sentinel, &count), 1);  // unscripted: empty lists
    EXPECT_EQ(count, 0u);
    ON_CALL(sdk(), get_vlan_info(11, _, _)).WillByDefault(Return(false));
    count = 1;
    EXPECT_EQ(ctype_vorn_get_vlan_info(11, sentinel, &count, sentinel, &count), 0);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(sentinel[0].unit, 7u);
}

TEST_F(CBinding, FlowRecordFieldsArriveByNameAndTheGapIsNeverRead)
{
    ctype_of_flow_s record;
    std::memset(&record, 0, sizeof record);
    record.in_port = port3;
    record.dst_mac[5] = 0xdd;
    record.src_mac[0] = 0x5a;
    record.vlan_id = 10;
    record.vlan_pcp = 3;
    record.eth_type = 0x0800;
    record.src_ip = 0x0a000001;
    record.src_ip_mask = 0xffffff00;
    record.dst_ip = 0x0a000002;
    record.dst_ip_mask = 0xffffffff;
    record.ip_proto = 6;
    record.ip_tos = 4;
    record.l4_src_port = 1024;
    record.l4_dst_port = 179;
    record.match_flags = 1;
    static_assert(offsetof(ctype_of_flow_s, src_ip) == 32, "the gap is bytes 30 and 31");
    std::vector<of_flow_mp_s> seen;
    ON_CALL(sdk(), add_of_flow_with_id(_, _)).WillByDefault([&](of_flow_mp_s& flow, unsigned int) {
        seen.push_back(flow);
        return true;
    });
    ASSERT_EQ(ctype_vorn_add_of_flow_with_id(&record, 5), 1);
    reinterpret_cast<unsigned char*>(&record)[30] = 0xee;
    reinterpret_cast<unsigned char*>(&record)[31] = 0xee;
    ASSERT_EQ(ctype_vorn_add_of_flow_with_id(&record, 5), 1);
    ASSERT_EQ(seen.size(), 2u);
    for (const of_flow_mp_s& f : seen) {
        EXPECT_EQ(f.in_port, Mp(0, 3));
        EXPECT_EQ(f.match.dst_mac[5], 0xdd);
        EXPECT_EQ(f.match.src_mac[0], 0x5a);
        EXPECT_EQ(f.match.vlan_id, 10);
        EXPECT_EQ(f.match.vlan_pcp, 3);
        EXPECT_EQ(f.match.eth_type, 0x0800);
        EXPECT_EQ(f.match.src_ip, 0x0a000001u);
        EXPECT_EQ(f.match.src_ip_mask, 0xffffff00u);
        EXPECT_EQ(f.match.dst_ip, 0x0a000002u);
        EXPECT_EQ(f.match.dst_ip_mask, 0xffffffffu);
        EXPECT_EQ(f.match.ip_proto, 6);
        EXPECT_EQ(f.match.ip_tos, 4);
        EXPECT_EQ(f.match.l4_src_port, 1024);
        EXPECT_EQ(f.match.l4_dst_port, 179);
        EXPECT_EQ(f.match.match_flags, 1u);
    }
    unsigned int flow_id = 77;
    ctype_of_flow_qualify_udf_s udf = {{1, 2, 3, 4}};
    ON_CALL(sdk(), add_of_flow(_, _, _)).WillByDefault(Return(false));
    EXPECT_EQ(ctype_vorn_add_of_flow(&record, &flow_id, &udf), 0);
    EXPECT_EQ(flow_id, 77u);
}

TEST_F(CBinding, ActionParametersPassAsTheyStandToTheirOwnOperation)
{
    ctype_of_action_param_s param = {{6, -2, 0x7fffffff}};
    EXPECT_EQ(ctype_vorn_add_of_flow_action(3, CTYPE_OF_ACTION_OUTPUT, param), 1);
    EXPECT_EQ(ctype_vorn_delete_of_flow_action(3, CTYPE_OF_ACTION_DROP, param), 1);
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.add_of_flow_action(3, 0, param(6,-2,2147483647), 0:0)",
                                         "sdk.delete_of_flow_action(3, 1, param(6,-2,2147483647), 0:0)"));
}

TEST_F(CBinding, AnEmptyPacketReturnsZeroBeforeAnyCall)
{
    unsigned char bytes[3] = {1, 2, 3};
    ctype_packet_s empty = {0, 0, bytes};
    EXPECT_EQ(ctype_vorn_send_packet_from_cpu(&empty), 0);
    EXPECT_EQ(ctype_vorn_send_packet_by_port(&port3, 1, &port3, 1, &empty), 0);
    EXPECT_TRUE(log().empty());

    ctype_packet_s packet = {3, 9, bytes};
    ON_CALL(sdk(), send_packet_from_cpu(_)).WillByDefault([](const Packet& p) {
        return p.length() == 3 && p.type() == 9 && p.data() == std::vector<unsigned char>{1, 2, 3};
    });
    EXPECT_EQ(ctype_vorn_send_packet_from_cpu(&packet), 1);
}

TEST_F(CBinding, DeviationsKeptAsPublished)
{
    // The L4 filter "add" removes the filter.
    EXPECT_EQ(ctype_vorn_add_l4_destination_port_filter(80), 1);
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.delete_l4_destination_port_filter(80)"));

    // The line card's output is written even when its initialisation fails;
    // the API start leaves its output alone.
    host().fail("init_line_card");
    host().line_card_value = 17;
    int out = 0;
    EXPECT_EQ(ctype_vorn_init_line_card(&out), 0);
    EXPECT_EQ(out, 17);
    out = 0;
    EXPECT_EQ(ctype_vorn_lcmgr_api_init(&out), 0);
    EXPECT_EQ(out, 0);

    // The system MAC limit getter answers 0 and writes nothing.
    ON_CALL(sdk(), get_system_mac_limit(_, _, _)).WillByDefault(DoAll(SetArgReferee<1>(9), Return(true)));
    int limit = -1;
    EXPECT_EQ(ctype_vorn_get_system_mac_limit(&limit), 0);
    EXPECT_EQ(limit, -1);

    // The broadcast getter answers 1 in this build, like its siblings.
    unsigned int rate = 0;
    EXPECT_EQ(ctype_vorn_get_port_broadcast_control(&port3, &rate), 1);
}

TEST_F(CBinding, CounterListGettersReportSuccessOnly)
{
    ON_CALL(sdk(), get_port_stat_counter_all32(_, _)).WillByDefault([](const Mp&, std::list<StatCounter32>& l) {
        l.push_back({STAT_IF_IN_OCTETS, 5});
        return true;
    });
    using Getter = int (*)(usp_s*, void*, unsigned int*);
    for (Getter getter : {ctype_vorn_get_port_stat_counter_all32, ctype_vorn_get_port_stat_counter_all64,
                          ctype_vorn_get_port_brief_stat_counter_all32, ctype_vorn_get_port_brief_stat_counter_all64}) {
        unsigned char buffer[16];
        std::memset(buffer, 0xab, sizeof buffer);
        unsigned int count = 4;
        EXPECT_EQ(getter(&port3, buffer, &count), 1);
        EXPECT_EQ(getter(&unknown, buffer, &count), 0);
        EXPECT_EQ(count, 4u);
        for (unsigned char byte : buffer) EXPECT_EQ(byte, 0xab);
    }
}

TEST_F(CBinding, PortOutputsOnlyOnSuccess)
{
    usp_s target = {7, 7, 7};
    mirror_type_t type = MIRROR_TYPE_NONE;
    ON_CALL(sdk(), get_port_mirror(_, _, _))
        .WillByDefault(DoAll(SetArgReferee<0>(Mp(0, 3)), SetArgReferee<2>(MIRROR_TYPE_BOTH), Return(true)));
    usp_s source = {1, 1, 4};
    EXPECT_EQ(ctype_vorn_get_port_mirror(&target, &unknown, &type), 0);
    EXPECT_EQ(target.unit, 7u);
    EXPECT_EQ(type, MIRROR_TYPE_NONE);
    EXPECT_EQ(ctype_vorn_get_port_mirror(&target, &source, &type), 1);
    EXPECT_EQ(target.port, 3u);
    EXPECT_EQ(type, MIRROR_TYPE_BOTH);

    usp_s lag = {7, 7, 7};
    EXPECT_EQ(ctype_vorn_lag_id_to_lag_usp(99, &lag), 0);
    EXPECT_EQ(lag.unit, 7u);
    EXPECT_EQ(ctype_vorn_lag_id_to_lag_usp(3, &lag), 1);
    EXPECT_EQ(lag.slot, 2u);
}

TEST_F(CBinding, ABoolArgumentCountsByItsLowByte)
{
    // A caller that passes a wider word (no prototype, another compiler) is
    // read by the byte only.
    auto wide = reinterpret_cast<int (*)(usp_s*, unsigned int)>(
        reinterpret_cast<void (*)()>(&ctype_vorn_set_port_stat_enable));
    EXPECT_EQ(wide(&port3, 256), 1);
    EXPECT_EQ(wide(&port3, 257), 1);
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_stat_enable(0:3, false)", "sdk.set_port_stat_enable(0:3, true)"));
}

TEST_F(CBinding, L3AddressesAreCopiesWhileMacTableEntriesGetTheCallersPointer)
{
    unsigned char mac[6] = {0, 1, 2, 3, 4, 5};
    unsigned char address[16] = {0x20, 0x01, 0x0d, 0xb8};
    EXPECT_CALL(sdk(), add_l3_host_ip6(_, _, _, _, _))
        .WillOnce([&](Mp, bool, const unsigned char* a, const unsigned char* m, unsigned int) {
            return a != address && m != mac && std::memcmp(a, address, 16) == 0 && std::memcmp(m, mac, 6) == 0;
        });
    EXPECT_EQ(ctype_vorn_add_l3_host_ip6(&port3, address, mac, 1), 1);
    EXPECT_CALL(sdk(), delete_mac(mac, 10u)).WillOnce(Return(true));
    EXPECT_EQ(ctype_vorn_delete_mac(10, mac), 1);
}

}  // namespace
}  // namespace vorn_test
