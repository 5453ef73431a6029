// Flow insertion and flow actions (the two places where the flow table
// translates ports), and CPU packets sent out of the ports that are up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::Ref;
using testing::Return;
using testing::SetArgReferee;
using Log = std::vector<std::string>;

const Usp P1(1, 1, 1), P3(1, 1, 3), Lag7(1, 2, 7), Vif(1, 3, 10), Unknown(7, 7, 7);

// While alive, every SDK operation that a test does not script answers `answer`.
struct UnscriptedAnswer {
    explicit UnscriptedAnswer(bool answer) { testing::DefaultValue<bool>::Set(answer); }
    ~UnscriptedAnswer() { testing::DefaultValue<bool>::Set(true); }
};

// A flow on `in_port` whose 48 match bytes all differ, ending in `flags`.
void fill(of_flow_s& flow, const Usp& in_port, unsigned int flags)
{
    flow.in_port = in_port;
    unsigned char* bytes = reinterpret_cast<unsigned char*>(&flow.match);
    for (std::size_t i = 0; i < sizeof flow.match; ++i) bytes[i] = 0x40 + i;
    flow.match.match_flags = flags;
}

Packet three_bytes()
{
    Packet packet;
    packet.set_data({1, 2, 3});
    return packet;
}

const RegisterFramedCalls flow_packet_calls({
    {"vorn_add_of_flow",
     [] {
         of_flow_s flow;
         fill(flow, P3, OF_MATCH_IN_PORT);
         unsigned int id = 0;
         return vorn_add_of_flow(flow, id, of_flow_qualify_udf_s());
     }},
    {"vorn_add_of_flow_with_id",
     [] {
         of_flow_s flow;
         fill(flow, P3, OF_MATCH_IN_PORT);
         return vorn_add_of_flow_with_id(flow, 42);
     }},
    {"vorn_add_of_flow_action",
     [] { return vorn_add_of_flow_action(9, OF_ACTION_OUTPUT, of_action_param_s{{10, 0, 0}}); }},
    {"vorn_delete_of_flow_action",
     [] { return vorn_delete_of_flow_action(9, OF_ACTION_OUTPUT, of_action_param_s{{10, 0, 0}}); }},
    {"vorn_send_packet_by_port",
     [] { return vorn_send_packet_by_port({P1}, {Lag7}, three_bytes()); }},
});

// --- Flows ---------------------------------------------------------------------
class Flows : public HostTest {};

struct FlowAdd {
    const char* name;
    std::function<bool(const of_flow_s&)> call;
    const char* sdk_call;  // "$p" stands for the in-port the SDK receives
};

const FlowAdd flow_adds[] = {
    {"vorn_add_of_flow",
     [](const of_flow_s& flow) {
         unsigned int id = 0;
         return vorn_add_of_flow(flow, id, of_flow_qualify_udf_s());
     },
     "sdk.add_of_flow(flow($p), 0, udf)"},
    {"vorn_add_of_flow_with_id",
     [](const of_flow_s& flow) { return vorn_add_of_flow_with_id(flow, 42); },
     "sdk.add_of_flow_with_id(flow($p), 42)"},
};

TEST_F(Flows, InPortIsTranslatedOnlyWhenBitZeroOfTheFlagWordIsSet)
{
    struct Case {
        Usp in_port;
        unsigned int flags;
        Log translation;
        const char* sdk_port;  // null: the SDK is not called
    } cases[] = {
        {P3, OF_MATCH_IN_PORT | OF_MATCH_VLAN_ID, {"usp_to_mp(1/1/3)"}, "0:3"},
        {P3, 0, {}, "0:0"},
        // Every other bit set: the invalid in-port is not looked at.
        {Unknown, ~static_cast<unsigned int>(OF_MATCH_IN_PORT), {}, "0:0"},
        {Unknown, OF_MATCH_IN_PORT, {"usp_to_mp(7/7/7)"}, nullptr},
    };
    for (const FlowAdd& add : flow_adds)
        for (const Case& c : cases) {
            of_flow_s flow;
            fill(flow, c.in_port, c.flags);
            clear_log();
            EXPECT_EQ(add.call(flow), c.sdk_port != nullptr) << add.name << " " << c.flags;
            Log expected{"lookup"};
            expected.insert(expected.end(), c.translation.begin(), c.translation.end());
            if (c.sdk_port) {
                std::string text = add.sdk_call;
                expected.push_back(text.replace(text.find("$p"), 2, c.sdk_port));
            }
            EXPECT_EQ(log(), expected) << add.name << " " << c.flags;
        }
}

TEST_F(Flows, MatchBytesUdfAndTheCallersIdReachTheSdkUnchanged)
{
    of_flow_s flow;
    fill(flow, P3, OF_MATCH_IN_PORT | OF_MATCH_DST_IP);
    const of_flow_qualify_udf_s udf{{1, 2, 3, 4}};
    unsigned int flow_id = 0;
    std::vector<bool> same_match;
    auto compare = [&](const of_flow_mp_s& seen) {
        same_match.push_back(std::memcmp(&seen.match, &flow.match, sizeof flow.match) == 0);
        EXPECT_EQ(seen.in_port, Mp(0, 3));
    };
    EXPECT_CALL(sdk(), add_of_flow(_, _, _))
        .WillOnce([&](of_flow_mp_s& seen, unsigned int& id, const of_flow_qualify_udf_s& u) {
            compare(seen);
            EXPECT_EQ(&u, &udf);
            id = 77;
            return true;
        });
    EXPECT_CALL(sdk(), add_of_flow_with_id(_, 42u)).WillOnce([&](of_flow_mp_s& seen, unsigned int) {
        compare(seen);
        return false;
    });
    EXPECT_TRUE(vorn_add_of_flow(flow, flow_id, udf));
    EXPECT_EQ(flow_id, 77u);
    EXPECT_FALSE(vorn_add_of_flow_with_id(flow, 42));
    EXPECT_THAT(same_match, ElementsAre(true, true));
}

TEST_F(Flows, OnlyOutputActionsAboveSixTranslateAFrontPanelPort)
{
    host().physical[Usp(1, 1, 0)] = Mp(0, 20);
    struct Case {
        of_action_t kind;
        int flow_port;
        Log translation;
        const char* sdk_port;  // null: the SDK is not called
    } cases[] = {
        {OF_ACTION_OUTPUT, 7, {"usp_to_mp(1/1/0)"}, "0:20"},
        {OF_ACTION_OUTPUT, 10, {"usp_to_mp(1/1/3)"}, "0:3"},
        {OF_ACTION_OUTPUT, 6, {}, "0:0"},
        {OF_ACTION_OUTPUT, 0, {}, "0:0"},
        {OF_ACTION_OUTPUT, -1, {}, "0:0"},
        {OF_ACTION_OUTPUT, INT_MIN, {}, "0:0"},
        {OF_ACTION_DROP, 10, {}, "0:0"},
        {OF_ACTION_MIRROR, 10, {}, "0:0"},
        {OF_ACTION_OUTPUT, 16, {"usp_to_mp(1/1/9)"}, nullptr},  // 1/1/9 does not translate
    };
    struct Operation {
        const char* sdk_name;
        bool (*call)(unsigned int, of_action_t, of_action_param_s);
    } operations[] = {{"add_of_flow_action", vorn_add_of_flow_action},
                      {"delete_of_flow_action", vorn_delete_of_flow_action}};
    for (const Operation& op : operations)
        for (const Case& c : cases) {
            clear_log();
            const of_action_param_s param{{c.flow_port, 11, -12}};
            const std::string what = op.sdk_name + (" " + std::to_string(c.flow_port));
            EXPECT_EQ(op.call(9, c.kind, param), c.sdk_port != nullptr) << what;
            Log expected{"lookup"};
            expected.insert(expected.end(), c.translation.begin(), c.translation.end());
            if (c.sdk_port)
                expected.push_back(std::string("sdk.") + op.sdk_name + "(9, " +
                                   std::to_string(c.kind) + ", param(" +
                                   std::to_string(c.flow_port) + ",11,-12), " + c.sdk_port + ")");
            EXPECT_EQ(log(), expected) << what;
        }

    const UnscriptedAnswer refuse(false);
    for (const Operation& op : operations)
        EXPECT_FALSE(op.call(9, OF_ACTION_OUTPUT, of_action_param_s{{10, 0, 0}})) << op.sdk_name;
}

// --- CPU packets -----------------------------------------------------------------
class CpuPackets : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        ON_CALL(sdk(), get_port_link_state(_, _))
            .WillByDefault(DoAll(SetArgReferee<1>(PHY_STATE_DOWN), Return(true)));
    }
    // What the SDK reports for the link of hardware port 0:port.  The state
    // word is written as raw bits: the SDK may report values that are not
    // among the enumerators.
    void link(unsigned int port, unsigned int state, bool answer = true)
    {
        ON_CALL(sdk(), get_port_link_state(Mp(0, port), _))
            .WillByDefault([state, answer](const Mp&, phy_state_t& word) {
                static_assert(sizeof word == sizeof state, "a 32-bit state word");
                std::memcpy(&word, &state, sizeof word);
                return answer;
            });
    }
    bool send(const std::list<Usp>& first, const std::list<Usp>& second)
    {
        return vorn_send_packet_by_port(first, second, packet);
    }
    // The log with link queries shortened to "link(0:4)": the state word the
    // library hands in is written by the SDK, its value on the way in means nothing.
    static Log events()
    {
        const std::string query = "sdk.get_port_link_state(";
        Log entries;
        for (const std::string& entry : host().log) {
            const std::size_t length = entry.find(',') - query.size();
            entries.push_back(entry.compare(0, query.size(), query)
                                  ? entry
                                  : "link(" + entry.substr(query.size(), length) + ")");
        }
        return entries;
    }
    static std::string last_sdk_call()
    {
        const Log calls = sdk_calls();
        return calls.empty() ? "none" : calls.back();
    }
    static std::string sent(const std::string& first, const std::string& second)
    {
        return "sdk.send_packet_by_port(" + first + ", " + second + ", packet(3))";
    }

    const Packet packet = three_bytes();
};

TEST_F(CpuPackets, ALagContributesOnlyItsFirstMemberThatIsUp)
{
    host().lags[Lag7] = {Mp(0, 4), Mp(0, 5), Mp(0, 6)};
    link(5, PHY_STATE_UP);
    link(6, PHY_STATE_UP);
    EXPECT_TRUE(send({Lag7}, {}));
    EXPECT_THAT(events(),
                ElementsAre("lookup", "is_port_physical(1/2/7)", "is_port_logical_lag(1/2/7)",
                            "usp_to_mp_list(1/2/7)", "link(0:4)", "link(0:5)", "lookup", "lookup",
                            sent("[0:5]", "[]")));
}

TEST_F(CpuPackets, AVlanInterfaceContributesEveryMemberThatIsUp)
{
    host().vlan_interfaces[Vif] = {Mp(0, 1), Mp(0, 6), Mp(0, 7)};
    link(1, PHY_STATE_UP);
    link(7, PHY_STATE_UP);
    EXPECT_TRUE(send({}, {Vif}));
    EXPECT_THAT(events(),
                ElementsAre("lookup", "lookup", "is_port_physical(1/3/10)",
                            "is_port_logical_lag(1/3/10)", "is_port_logical_vlan(1/3/10)",
                            "usp_to_mp_list(1/3/10)", "link(0:1)", "link(0:6)", "link(0:7)",
                            "lookup", sent("[]", "[0:1,0:7]")));
}

TEST_F(CpuPackets, AStateWordOtherThanOneIsNotUp)
{
    link(1, 2);
    link(2, PHY_STATE_UP);
    link(3, 0xffffffffu);
    EXPECT_TRUE(send({P1, Usp(1, 1, 2)}, {P3}));
    EXPECT_EQ(last_sdk_call(), sent("[0:2]", "[]"));
}

TEST_F(CpuPackets, APhysicalPortNeedsASuccessfulQueryAnsweringOne)
{
    link(2, PHY_STATE_UP);
    link(4, PHY_STATE_UP, false);
    link(5, PHY_STATE_UP);
    EXPECT_TRUE(send({Usp(1, 1, 2), P3, Usp(1, 1, 4), Usp(1, 1, 9), Unknown}, {Usp(1, 1, 5)}));
    EXPECT_THAT(events(),
                ElementsAre("lookup", "is_port_physical(1/1/2)", "usp_to_mp(1/1/2)", "link(0:2)",
                            "is_port_physical(1/1/3)", "usp_to_mp(1/1/3)", "link(0:3)",
                            "is_port_physical(1/1/4)", "usp_to_mp(1/1/4)", "link(0:4)",
                            "is_port_physical(1/1/9)", "usp_to_mp(1/1/9)",
                            "is_port_physical(7/7/7)", "is_port_logical_lag(7/7/7)",
                            "is_port_logical_vlan(7/7/7)", "lookup",
                            "is_port_physical(1/1/5)", "usp_to_mp(1/1/5)", "link(0:5)", "lookup",
                            sent("[0:2]", "[0:5]")));
}

TEST_F(CpuPackets, FailedExpansionsAndFailedMemberQueriesDropPortsSilently)
{
    link(4, PHY_STATE_UP, false);  // LAG member
    link(5, PHY_STATE_UP);
    link(1, PHY_STATE_UP, false);  // VLAN interface member
    link(6, PHY_STATE_UP);
    host().fail("usp_to_mp_list", 1);  // the first LAG expansion
    EXPECT_TRUE(send({Lag7, Lag7}, {Usp(1, 2, 9), Vif}));
    EXPECT_EQ(last_sdk_call(), sent("[0:5]", "[0:6,0:6]"));
}

TEST_F(CpuPackets, NothingToSendStillReachesTheSdkWithTwoEmptyLists)
{
    for (const auto& lists : {std::make_pair(std::list<Usp>{}, std::list<Usp>{}),
                              std::make_pair(std::list<Usp>{P1, Vif}, std::list<Usp>{Lag7})}) {
        clear_log();
        EXPECT_CALL(sdk(), send_packet_by_port(_, _, Ref(packet))).WillOnce(Return(false));
        EXPECT_FALSE(send(lists.first, lists.second));
        EXPECT_EQ(last_sdk_call(), sent("[]", "[]"));
    }
}

TEST_F(CpuPackets, APortReachedTwiceIsSentTwice)
{
    link(1, PHY_STATE_UP);
    link(6, PHY_STATE_UP);
    EXPECT_TRUE(send({P1, Vif, P1}, {P1}));
    EXPECT_EQ(last_sdk_call(), sent("[0:1,0:1,0:6,0:1]", "[0:1]"));
}

TEST_F(CpuPackets, WithoutAnSdkNoPortIsLookedAtAndNothingIsSent)
{
    remove_sdk();
    EXPECT_FALSE(send({P1, Lag7}, {Vif}));
    EXPECT_THAT(log(), ElementsAre("lookup", "lookup", "lookup"));
}

}  // namespace
}  // namespace vorn_test
