// The port entry points with logic of their own: the spanning-tree flush,
// the brief-counter pair, mirroring, flood blocking between ports, the
// MAC-limit pair and the 802.3x flow-control words.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::Return;
using testing::SetArgReferee;
using Log = std::vector<std::string>;

const Usp Physical(1, 1, 3), Other(1, 1, 4), Lag(1, 2, 7), UnmappedLag(1, 2, 9), VlanIf(1, 3, 10);

const RegisterFramedCalls special_calls({
    {"vorn_set_port_stp_state", [] { return vorn_set_port_stp_state(Physical, STP_STATE_DISABLED); }},
    {"vorn_get_port_brief_stat_counter_all32", [] { return vorn_get_port_brief_stat_counter_all32(Physical, {}); }},
    {"vorn_get_port_brief_stat_counter_all64", [] { return vorn_get_port_brief_stat_counter_all64(Physical, {}); }},
    {"vorn_set_port_mirror", [] { return vorn_set_port_mirror(Physical, Other, MIRROR_TYPE_BOTH); }},
    {"vorn_get_port_mirror", [] { Usp u; mirror_type_t t{}; return vorn_get_port_mirror(u, Other, t); }},
    {"vorn_get_port_flood_blocking", [] { flood_block_type_t t{}; return vorn_get_port_flood_blocking(Physical, Other, t); }},
    {"vorn_set_port_flood_blocking", [] { return vorn_set_port_flood_blocking({Physical}, Other, FLOOD_BLOCK_ALL); }},
    {"vorn_get_port_mac_limit", [] { int l = 0; return vorn_get_port_mac_limit(Physical, l); }},
    {"vorn_set_port_mac_limit", [] { return vorn_set_port_mac_limit(Physical, 5); }},
});

class SpanningTree : public HostTest {};

TEST_F(SpanningTree, StateZeroOnAPhysicalPortFlushesItAndAnswersTheFlush)
{
    EXPECT_CALL(sdk(), set_port_stp_state(Mp(0, 3), STP_STATE_DISABLED)).WillOnce(Return(false));
    EXPECT_CALL(sdk(), clear_fdb_by_port(Mp(0, 3), false, false)).WillOnce(Return(true));
    EXPECT_TRUE(vorn_set_port_stp_state(Physical, STP_STATE_DISABLED));  // the flush masks the refusal
    EXPECT_THAT(log(), ElementsAre("usp_to_mp_list(1/1/3)", "lookup", "sdk.set_port_stp_state(0:3, 0)",
                                   "is_port_physical(1/1/3)", "sdk.clear_fdb_by_port(0:3, false, false)"));
}

TEST_F(SpanningTree, StateZeroOnALagFlushesTheLagByItsId)
{
    EXPECT_TRUE(vorn_set_port_stp_state(Lag, STP_STATE_DISABLED));
    EXPECT_THAT(log(), ElementsAre("usp_to_mp_list(1/2/7)", "lookup", "sdk.set_port_stp_state(0:4, 0)",
                                   "sdk.set_port_stp_state(0:5, 0)", "is_port_physical(1/2/7)",
                                   "is_port_logical_lag(1/2/7)", "lag_usp_to_lag_id(1/2/7)",
                                   "sdk.clear_fdb_by_port(0:3, true, false)"));
}

TEST_F(SpanningTree, NoFlushForAnUnmappedLagOrAVlanInterfaceButTheMembersAreSet)
{
    EXPECT_FALSE(vorn_set_port_stp_state(UnmappedLag, STP_STATE_DISABLED));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_stp_state(0:6, 0)"));
    clear_log();
    EXPECT_FALSE(vorn_set_port_stp_state(VlanIf, STP_STATE_DISABLED));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_stp_state(0:1, 0)", "sdk.set_port_stp_state(0:6, 0)"));
}

TEST_F(SpanningTree, OtherStatesAndTheMultiPortFormNeverFlush)
{
    EXPECT_TRUE(vorn_set_port_stp_state(Lag, STP_STATE_FORWARDING));
    EXPECT_TRUE(vorn_set_ports_stp_state({Physical}, STP_STATE_DISABLED));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_stp_state(0:4, 4)", "sdk.set_port_stp_state(0:5, 4)",
                                         "sdk.set_port_stp_state(0:3, 0)"));
}

class BriefCounters : public HostTest {};

TEST_F(BriefCounters, All32ClearsThePortAndAll64FillsOnlyItsOwnCopy)
{
    std::list<BriefStatCounter32> list32{{BRIEF_STAT_RX_BYTES, 5}};
    EXPECT_CALL(sdk(), clear_port_stat_counter(Mp(0, 3))).WillOnce(Return(false));
    EXPECT_FALSE(vorn_get_port_brief_stat_counter_all32(Physical, list32));
    EXPECT_EQ(list32.size(), 1u);

    std::list<BriefStatCounter64> list64;
    EXPECT_CALL(sdk(), get_port_brief_stat_counter_all64(Mp(0, 3), _))
        .WillOnce([&](const Mp&, std::list<BriefStatCounter64>& counters) {
            EXPECT_NE(&counters, &list64);
            counters.push_back({BRIEF_STAT_TX_BYTES, 0, 99});
            return true;
        });
    EXPECT_TRUE(vorn_get_port_brief_stat_counter_all64(Physical, list64));
    EXPECT_TRUE(list64.empty());
    EXPECT_THAT(log(), ElementsAre("usp_to_mp(1/1/3)", "lookup", "sdk.clear_port_stat_counter(0:3)",
                                   "usp_to_mp(1/1/3)", "lookup", "sdk.get_port_brief_stat_counter_all64(0:3, [])"));
}

class Mirror : public HostTest {};

TEST_F(Mirror, SetTranslatesBothPortsBeforeTheLookupAndRefusesALag)
{
    EXPECT_TRUE(vorn_set_port_mirror(Physical, Other, MIRROR_TYPE_EGRESS));
    EXPECT_THAT(log(), ElementsAre("usp_to_mp(1/1/3)", "usp_to_mp(1/1/4)", "lookup",
                                   "sdk.set_port_mirror(0:3, 0:4, 2)"));
    clear_log();
    EXPECT_FALSE(vorn_set_port_mirror(Physical, Lag, MIRROR_TYPE_EGRESS));
    EXPECT_THAT(log(), ElementsAre("usp_to_mp(1/1/3)", "usp_to_mp(1/2/7)"));
}

TEST_F(Mirror, GetHandsTheMirrorToPortBackAsAUsp)
{
    EXPECT_CALL(sdk(), get_port_mirror(_, Mp(0, 4), _))
        .WillOnce(DoAll(SetArgReferee<0>(Mp(0, 3)), SetArgReferee<2>(MIRROR_TYPE_BOTH), Return(true)));
    Usp target;
    mirror_type_t type{};
    EXPECT_TRUE(vorn_get_port_mirror(target, Other, type));
    EXPECT_EQ(target, Physical);
    EXPECT_EQ(type, MIRROR_TYPE_BOTH);
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_to_mp(1/1/4)", "sdk.get_port_mirror(0:0, 0:4, 0)", "mp_to_usp(0:3)"));
}

TEST_F(Mirror, GetFailsWhenThePortDoesNotMapBackWithTheTypeWritten)
{
    EXPECT_CALL(sdk(), get_port_mirror(_, _, _))
        .WillOnce(DoAll(SetArgReferee<0>(Mp(7, 77)), SetArgReferee<2>(MIRROR_TYPE_INGRESS), Return(true)));
    Usp target(9, 9, 9);
    mirror_type_t type{};
    EXPECT_FALSE(vorn_get_port_mirror(target, Other, type));
    EXPECT_EQ(target, Usp(9, 9, 9));
    EXPECT_EQ(type, MIRROR_TYPE_INGRESS);
}

class FloodBlocking : public HostTest {};

TEST_F(FloodBlocking, GetLooksUpThenTranslatesBothPorts)
{
    flood_block_type_t type{};
    EXPECT_TRUE(vorn_get_port_flood_blocking(Physical, Other, type));
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_to_mp(1/1/3)", "usp_to_mp(1/1/4)",
                                   "sdk.get_port_flood_blocking(0:3, 0:4, 0)"));
}

TEST_F(FloodBlocking, SetTranslatesTheOtherPortBeforeTheList)
{
    EXPECT_TRUE(vorn_set_port_flood_blocking({Physical, Lag}, Other, FLOOD_BLOCK_BROADCAST));
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_to_mp(1/1/4)", "usp_list_to_mp_list([1/1/3,1/2/7])",
                                   "sdk.set_port_flood_blocking(0:3, 0:4, 4)",
                                   "sdk.set_port_flood_blocking(0:4, 0:4, 4)",
                                   "sdk.set_port_flood_blocking(0:5, 0:4, 4)"));
    clear_log();
    EXPECT_TRUE(vorn_set_port_flood_blocking({}, Other, FLOOD_BLOCK_BROADCAST));
    EXPECT_FALSE(vorn_set_port_flood_blocking({Physical}, Lag, FLOOD_BLOCK_BROADCAST));
    EXPECT_TRUE(sdk_calls().empty());
}

class MacLimit : public HostTest {};

TEST_F(MacLimit, GetterPresentsEachKindOfPortByItsCode)
{
    struct Case {
        Usp port;
        bool result;
        Log calls;
    };
    const Case cases[] = {
        {Physical, true, {"sdk.get_system_mac_limit(0:3, 0, 1)"}},
        {Lag, true, {"sdk.get_system_mac_limit(0:3, 0, 2)"}},  // LAG id 3 on module 0
        {VlanIf, true, {"sdk.get_system_mac_limit(0:10, 0, 3)"}},
        {UnmappedLag, false, {}},
        {Usp(9, 9, 9), false, {}},
    };
    for (const Case& c : cases) {
        clear_log();
        int limit = 0;
        EXPECT_EQ(vorn_get_port_mac_limit(c.port, limit), c.result) << describe(c.port);
        EXPECT_EQ(sdk_calls(), c.calls) << describe(c.port);
    }
}

TEST_F(MacLimit, SetterIgnoresTheTranslationAndAlwaysSaysPhysical)
{
    ON_CALL(sdk(), set_system_mac_limit(Mp(0, 0), 40, 1u)).WillByDefault(Return(false));
    EXPECT_FALSE(vorn_set_port_mac_limit(Lag, 40));
    EXPECT_TRUE(vorn_set_port_mac_limit(VlanIf, 50));
    EXPECT_TRUE(vorn_set_port_mac_limit(Physical, 60));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_system_mac_limit(0:0, 40, 1)", "sdk.set_system_mac_limit(0:0, 50, 1)",
                                         "sdk.set_system_mac_limit(0:3, 60, 1)"));
}

class FlowControl : public HostTest {};

TEST_F(FlowControl, OnlyAWordOfOneReadsAsOn)
{
    EXPECT_CALL(sdk(), get_port_flow_control_8023x(Mp(0, 3), _, _))
        .WillOnce(DoAll(SetArgReferee<1>(1u), SetArgReferee<2>(2u), Return(true)))
        .WillOnce(DoAll(SetArgReferee<1>(0u), SetArgReferee<2>(1u), Return(true)))
        .WillOnce(DoAll(SetArgReferee<1>(1u), SetArgReferee<2>(1u), Return(false)));
    bool receive = false, transmit = true;
    EXPECT_TRUE(vorn_get_port_flow_control_8023x(Physical, receive, transmit));
    EXPECT_TRUE(receive);
    EXPECT_FALSE(transmit);
    EXPECT_TRUE(vorn_get_port_flow_control_8023x(Physical, receive, transmit));
    EXPECT_FALSE(receive);
    EXPECT_TRUE(transmit);
    EXPECT_FALSE(vorn_get_port_flow_control_8023x(Physical, receive, transmit));
    EXPECT_FALSE(receive);  // untouched by the refused call
    EXPECT_TRUE(transmit);
}

TEST_F(FlowControl, ThePerPortSetterKeepsTheFlagsAndTheMultiPortOneSwapsThem)
{
    EXPECT_TRUE(vorn_set_port_flow_control_8023x(Physical, true, false));
    EXPECT_TRUE(vorn_set_ports_flow_control_8023x({Physical}, true, false));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_flow_control_8023x(0:3, true, false)",
                                         "sdk.set_port_flow_control_8023x(0:3, false, true)"));
}

}  // namespace
}  // namespace vorn_test
