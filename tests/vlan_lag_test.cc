// VLAN membership and link aggregation.  VLAN member lists are translated
// whole before the SDK call and back after it.  A LAG lives in three stores
// (the SDK's table, lag_list, the SDK-side mapping) that are touched in that
// order and left as they are when a step fails.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"
#include "vorn_lag_list.hh"

namespace vorn_test {
namespace {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::Return;
using testing::SetArgReferee;
using Log = std::vector<std::string>;

const Usp P1(1, 1, 1), P2(1, 1, 2), P3(1, 1, 3);
const Usp Lag7(1, 2, 7), Lag8(1, 2, 8), Lag9(1, 2, 9), Unknown(7, 7, 7);

const RegisterFramedCalls vlan_lag_calls({
    {"vorn_add_ports_to_vlan", [] { return vorn_add_ports_to_vlan(10, {P1}, {P2}); }},
    {"vorn_delete_ports_from_vlan", [] { return vorn_delete_ports_from_vlan(10, {P1}); }},
    {"vorn_get_vlan_info",
     [] {
         std::list<Usp> first, second;
         return vorn_get_vlan_info(10, first, second);
     }},
    {"vorn_create_lag", [] { return vorn_create_lag(Lag9); }},
    {"vorn_delete_lag", [] { return vorn_delete_lag(Lag7); }},
    {"vorn_add_ports_to_lag", [] { return vorn_add_ports_to_lag(Lag7, {P1}); }},
    {"vorn_delete_ports_from_lag", [] { return vorn_delete_ports_from_lag(Lag7, {P1}); }},
    {"vorn_set_lag_balancing_strategy",
     [] { return vorn_set_lag_balancing_strategy(Lag7, LAG_PSC_SRC_IP); }},
    {"vorn_get_lag_balancing_strategy",
     [] {
         lag_psc_t psc = LAG_PSC_SRC_MAC;
         return vorn_get_lag_balancing_strategy(Lag7, psc);
     }},
});

// --- VLANs -------------------------------------------------------------------
class Vlans : public HostTest {};

TEST_F(Vlans, AddTranslatesBothListsInOrderBeforeTheSdkCall)
{
    EXPECT_TRUE(vorn_add_ports_to_vlan(10, {P1, P2}, {Lag7}));
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_list_to_mp_list([1/1/1,1/1/2])",
                                   "usp_list_to_mp_list([1/2/7])",
                                   "sdk.add_ports_to_vlan(10, [0:1,0:2], [0:4,0:5])"));
}

TEST_F(Vlans, AddStopsAtTheFirstListThatDoesNotTranslate)
{
    struct Case {
        std::list<Usp> first, second;
        Log expected;
    } cases[] = {
        {{P1}, {Unknown},
         {"lookup", "usp_list_to_mp_list([1/1/1])", "usp_list_to_mp_list([7/7/7])"}},
        {{Unknown}, {P1}, {"lookup", "usp_list_to_mp_list([7/7/7])"}},
    };
    for (const Case& c : cases) {
        clear_log();
        EXPECT_FALSE(vorn_add_ports_to_vlan(10, c.first, c.second));
        EXPECT_EQ(log(), c.expected);
    }
}

TEST_F(Vlans, EmptyListsAndAnyVlanNumberStillReachTheSdkWhoseAnswerIsReturned)
{
    for (unsigned int vlan : {0u, 4096u, 70000u}) {
        clear_log();
        EXPECT_CALL(sdk(), add_ports_to_vlan(vlan, _, _)).WillOnce(Return(false));
        EXPECT_FALSE(vorn_add_ports_to_vlan(vlan, {}, {}));
        EXPECT_THAT(log(), ElementsAre("lookup", "usp_list_to_mp_list([])",
                                       "usp_list_to_mp_list([])",
                                       "sdk.add_ports_to_vlan(" + std::to_string(vlan) +
                                           ", [], [])"));
    }
}

TEST_F(Vlans, DeleteTakesOneListTranslatedFirst)
{
    EXPECT_CALL(sdk(), delete_ports_from_vlan(10, _)).WillOnce(Return(false));
    EXPECT_FALSE(vorn_delete_ports_from_vlan(10, {P1, Usp(1, 3, 10)}));
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_list_to_mp_list([1/1/1,1/3/10])",
                                   "sdk.delete_ports_from_vlan(10, [0:1,0:1,0:6])"));
    clear_log();
    EXPECT_FALSE(vorn_delete_ports_from_vlan(10, {P1, Unknown}));
    EXPECT_THAT(log(), ElementsAre("lookup", "usp_list_to_mp_list([1/1/1,7/7/7])"));
}

// The SDK's side of get_vlan_info: fills both lists and answers `answer`.
std::function<bool(unsigned int, std::list<Mp>&, std::list<Mp>&)> vlan_info(
    std::list<Mp> first, std::list<Mp> second, bool answer)
{
    return [=](unsigned int, std::list<Mp>& a, std::list<Mp>& b) {
        a = first;
        b = second;
        return answer;
    };
}

TEST_F(Vlans, InfoTranslatesBothListsBackAfterTheSdkCall)
{
    EXPECT_CALL(sdk(), get_vlan_info(7, _, _))
        .WillOnce(vlan_info({Mp(0, 1), Mp(0, 2)}, {Mp(0, 3)}, true));
    std::list<Usp> first, second;
    EXPECT_TRUE(vorn_get_vlan_info(7, first, second));
    EXPECT_THAT(first, ElementsAre(P1, P2));
    EXPECT_THAT(second, ElementsAre(P3));
    EXPECT_THAT(log(), ElementsAre("lookup", "sdk.get_vlan_info(7, [], [])",
                                   "mp_list_to_usp_list([0:1,0:2])", "mp_list_to_usp_list([0:3])"));
}

TEST_F(Vlans, InfoStopsAtTheFirstFailureLeavingLaterCallerListsAlone)
{
    const std::list<Usp> before{Usp(9, 9, 9)};
    struct Case {
        bool sdk_answer;
        std::list<Mp> first, second;
        Log after_sdk;
        bool first_untouched, second_untouched;
    } cases[] = {
        // The SDK refuses although it wrote entries: nothing is translated.
        {false, {Mp(0, 1)}, {Mp(0, 2)}, {}, true, true},
        {true, {Mp(0, 99)}, {Mp(0, 2)}, {"mp_list_to_usp_list([0:99])"}, false, true},
        {true, {Mp(0, 1)}, {Mp(0, 99)},
         {"mp_list_to_usp_list([0:1])", "mp_list_to_usp_list([0:99])"}, false, false},
    };
    for (const Case& c : cases) {
        clear_log();
        EXPECT_CALL(sdk(), get_vlan_info(7, _, _))
            .WillOnce(vlan_info(c.first, c.second, c.sdk_answer));
        std::list<Usp> first = before, second = before;
        EXPECT_FALSE(vorn_get_vlan_info(7, first, second));
        Log expected{"lookup", "sdk.get_vlan_info(7, [], [])"};
        expected.insert(expected.end(), c.after_sdk.begin(), c.after_sdk.end());
        EXPECT_EQ(log(), expected);
        if (c.first_untouched) {
            EXPECT_EQ(first, before);
        }
        if (c.second_untouched) {
            EXPECT_EQ(second, before);
        }
    }
}

// --- LAGs --------------------------------------------------------------------
class Lags : public HostTest {
protected:
    // The SDK allocates `lag_id` on the next create_lag, exactly once.
    void allocate(unsigned int lag_id)
    {
        EXPECT_CALL(sdk(), create_lag(_)).WillOnce(DoAll(SetArgReferee<0>(lag_id), Return(true)));
    }
    static void put_in_list(unsigned int lag_id, std::list<Mp> members = {})
    {
        lag_list.push_back(LagNode(lag_id));
        lag_list.back().members() = members;
    }
    static std::vector<unsigned int> listed()
    {
        std::vector<unsigned int> ids;
        for (const LagNode& node : lag_list) ids.push_back(node.lag_id());
        return ids;
    }
    static bool mapped(const Usp& lag) { return host().lag_ids.count(lag) != 0; }
    // The log with the id the library hands to create_lag left out: the SDK
    // writes it, its value on the way in means nothing.
    static Log calls()
    {
        Log entries;
        for (const std::string& entry : host().log)
            entries.push_back(entry.compare(0, 15, "sdk.create_lag(") ? entry : "sdk.create_lag");
        return entries;
    }
};

TEST_F(Lags, CreateAllocatesInTheSdkThenRecordsListAndMappingForAnyUnmappedPort)
{
    // A physical port's Usp gets a LAG too: create does not ask what it is.
    for (const Usp& lag : {Lag9, P3}) {
        host().reset();
        allocate(5);
        EXPECT_TRUE(vorn_create_lag(lag));
        const std::string name = describe(lag);
        EXPECT_EQ(calls(), Log({"lookup", "lag_usp_to_lag_id(" + name + ")", "sdk.create_lag",
                                "add_lag_to_list(5)", "add_lag_mapping(" + name + ", 5)"}));
        EXPECT_THAT(listed(), ElementsAre(5u));
        EXPECT_EQ(host().lag_ids.at(lag), 5u);

        clear_log();
        EXPECT_TRUE(vorn_create_lag(lag));  // mapped now: nothing to do
        EXPECT_EQ(log(), Log({"lookup", "lag_usp_to_lag_id(" + name + ")"}));
        EXPECT_THAT(listed(), ElementsAre(5u));
    }
}

TEST_F(Lags, CreateStopsAtTheFirstFailingStoreAndRepairsNothing)
{
    struct Case {
        const char* failing;
        Log tail;
        std::vector<unsigned int> listed;
    } cases[] = {
        {"sdk", {"sdk.create_lag"}, {}},
        {"add_lag_to_list", {"sdk.create_lag", "add_lag_to_list(5)"}, {}},
        {"add_lag_mapping",
         {"sdk.create_lag", "add_lag_to_list(5)", "add_lag_mapping(1/2/9, 5)"}, {5}},
    };
    for (const Case& c : cases) {
        host().reset();
        if (std::string(c.failing) == "sdk") {
            EXPECT_CALL(sdk(), create_lag(_)).WillOnce(Return(false));
        } else {
            allocate(5);
            host().fail(c.failing);
        }
        EXPECT_FALSE(vorn_create_lag(Lag9)) << c.failing;
        Log expected{"lookup", "lag_usp_to_lag_id(1/2/9)"};
        expected.insert(expected.end(), c.tail.begin(), c.tail.end());
        EXPECT_EQ(calls(), expected) << c.failing;
        EXPECT_EQ(listed(), c.listed) << c.failing;
        EXPECT_FALSE(mapped(Lag9)) << c.failing;
    }
}

TEST_F(Lags, DeleteRemovesFromSdkThenListThenMapping)
{
    put_in_list(3);
    EXPECT_TRUE(vorn_delete_lag(Lag7));
    EXPECT_THAT(log(), ElementsAre("lookup", "is_port_logical_lag(1/2/7)",
                                   "lag_usp_to_lag_id(1/2/7)", "is_lag_exist(3)",
                                   "sdk.delete_lag(3)", "delete_lag_from_list(3)",
                                   "delete_lag_mapping(1/2/7, 3)"));
    EXPECT_TRUE(lag_list.empty());
    EXPECT_FALSE(mapped(Lag7));
}

TEST_F(Lags, DeleteSucceedsWhenNothingIsThereAndStopsAtTheFirstFailure)
{
    const Log head{"lookup", "is_port_logical_lag(1/2/7)", "lag_usp_to_lag_id(1/2/7)",
                   "is_lag_exist(3)"};
    struct Case {
        Usp lag;
        const char* failing;
        bool result;
        Log expected;
        bool still_listed, still_mapped;
    } cases[] = {
        {P3, "", false, {"lookup", "is_port_logical_lag(1/1/3)"}, true, true},
        {Lag9, "", true, {"lookup", "is_port_logical_lag(1/2/9)", "lag_usp_to_lag_id(1/2/9)"},
         true, true},
        // Mapped to 4, but lag_list (holding only 3) does not know it.
        {Lag8, "", true,
         {"lookup", "is_port_logical_lag(1/2/8)", "lag_usp_to_lag_id(1/2/8)", "is_lag_exist(4)"},
         true, true},
        {Lag7, "sdk", false, {"sdk.delete_lag(3)"}, true, true},
        {Lag7, "delete_lag_from_list", false, {"sdk.delete_lag(3)", "delete_lag_from_list(3)"},
         true, true},
        {Lag7, "delete_lag_mapping", false,
         {"sdk.delete_lag(3)", "delete_lag_from_list(3)", "delete_lag_mapping(1/2/7, 3)"}, false,
         true},
    };
    for (Case& c : cases) {
        host().reset();
        put_in_list(3);
        const std::string failing = c.failing;
        if (failing == "sdk")
            EXPECT_CALL(sdk(), delete_lag(3)).WillOnce(Return(false));
        else if (!failing.empty())
            host().fail(failing);
        if (c.lag == Lag7) c.expected.insert(c.expected.begin(), head.begin(), head.end());

        EXPECT_EQ(vorn_delete_lag(c.lag), c.result) << describe(c.lag) << " " << failing;
        EXPECT_EQ(log(), c.expected) << failing;
        EXPECT_EQ(!lag_list.empty(), c.still_listed) << failing;
        EXPECT_EQ(mapped(Lag7), c.still_mapped) << failing;
    }
}

TEST_F(Lags, AddingPortsToAMissingLagCreatesItFirst)
{
    allocate(5);
    EXPECT_TRUE(vorn_add_ports_to_lag(Lag9, {P1}));
    EXPECT_THAT(calls(),
                ElementsAre("lookup", "is_port_logical_lag(1/2/9)", "lookup",
                            "lag_usp_to_lag_id(1/2/9)", "sdk.create_lag", "add_lag_to_list(5)",
                            "add_lag_mapping(1/2/9, 5)", "lag_usp_to_lag_id(1/2/9)",
                            "get_lag_member(5)", "usp_list_to_mp_list([1/1/1])",
                            "sdk.add_ports_to_lag(5, [0:1])", "add_lag_member(5, [0:1])"));
    ASSERT_THAT(listed(), ElementsAre(5u));
    EXPECT_THAT(lag_list.front().members(), ElementsAre(Mp(0, 1)));
}

TEST_F(Lags, AddedPortsAreAppendedToTheCurrentMembers)
{
    put_in_list(3, {Mp(0, 4)});
    EXPECT_TRUE(vorn_add_ports_to_lag(Lag7, {P1, P2}));
    EXPECT_THAT(log(), ElementsAre("lookup", "is_port_logical_lag(1/2/7)", "lookup",
                                   "lag_usp_to_lag_id(1/2/7)", "lag_usp_to_lag_id(1/2/7)",
                                   "get_lag_member(3)", "usp_list_to_mp_list([1/1/1,1/1/2])",
                                   "sdk.add_ports_to_lag(3, [0:4,0:1,0:2])",
                                   "add_lag_member(3, [0:4,0:1,0:2])"));
    EXPECT_THAT(lag_list.front().members(), ElementsAre(Mp(0, 4), Mp(0, 1), Mp(0, 2)));
}

TEST_F(Lags, AddingPortsStopsAtTheFirstFailure)
{
    const Log existing{"lookup", "is_port_logical_lag(1/2/7)", "lookup",
                       "lag_usp_to_lag_id(1/2/7)", "lag_usp_to_lag_id(1/2/7)",
                       "get_lag_member(3)"};
    struct Case {
        Usp lag;
        std::list<Usp> ports;
        bool sdk_refuses;
        Log expected;
    } cases[] = {
        {P3, {P1}, false, {"lookup", "is_port_logical_lag(1/1/3)"}},
        // Creating the missing LAG fails in the SDK.
        {Lag9, {P1}, true,
         {"lookup", "is_port_logical_lag(1/2/9)", "lookup", "lag_usp_to_lag_id(1/2/9)",
          "sdk.create_lag"}},
        // Mapped, but lag_list has no node for 4: no members to start from.
        {Lag8, {P1}, false,
         {"lookup", "is_port_logical_lag(1/2/8)", "lookup", "lag_usp_to_lag_id(1/2/8)",
          "lag_usp_to_lag_id(1/2/8)", "get_lag_member(4)"}},
        {Lag7, {P1, Unknown}, false, {"usp_list_to_mp_list([1/1/1,7/7/7])"}},
        {Lag7, {P1}, true, {"usp_list_to_mp_list([1/1/1])", "sdk.add_ports_to_lag(3, [0:1])"}},
    };
    for (Case& c : cases) {
        host().reset();
        put_in_list(3);
        if (c.sdk_refuses) {
            ON_CALL(sdk(), create_lag(_)).WillByDefault(Return(false));
            ON_CALL(sdk(), add_ports_to_lag(_, _)).WillByDefault(Return(false));
        }
        if (c.lag == Lag7) c.expected.insert(c.expected.begin(), existing.begin(), existing.end());
        EXPECT_FALSE(vorn_add_ports_to_lag(c.lag, c.ports)) << describe(c.lag);
        EXPECT_EQ(calls(), c.expected);
        EXPECT_TRUE(lag_list.front().members().empty());
    }
}

TEST_F(Lags, DeletingPortsTranslatesBeforeTheIdLookupAndFetchesNoMembers)
{
    put_in_list(3, {Mp(0, 4), Mp(0, 1)});
    EXPECT_TRUE(vorn_delete_ports_from_lag(Lag7, {P1}));
    EXPECT_THAT(log(), ElementsAre("lookup", "is_port_logical_lag(1/2/7)",
                                   "usp_list_to_mp_list([1/1/1])", "lag_usp_to_lag_id(1/2/7)",
                                   "sdk.delete_ports_from_lag(3, [0:1])",
                                   "delete_lag_member(3, [0:1])"));
    EXPECT_THAT(lag_list.front().members(), ElementsAre(Mp(0, 4)));
}

TEST_F(Lags, DeletingPortsFromAnUnmappedLagSucceedsOnlyIfThePortsTranslate)
{
    struct Case {
        Usp lag;
        std::list<Usp> ports;
        bool sdk_refuses;
        bool result;
        Log expected;
    } cases[] = {
        {Lag9, {P1}, false, true,
         {"lookup", "is_port_logical_lag(1/2/9)", "usp_list_to_mp_list([1/1/1])",
          "lag_usp_to_lag_id(1/2/9)"}},
        {Lag9, {Unknown}, false, false,
         {"lookup", "is_port_logical_lag(1/2/9)", "usp_list_to_mp_list([7/7/7])"}},
        {P3, {P1}, false, false, {"lookup", "is_port_logical_lag(1/1/3)"}},
        // No existence test against lag_list before the SDK call.
        {Lag8, {P1}, false, false,
         {"lookup", "is_port_logical_lag(1/2/8)", "usp_list_to_mp_list([1/1/1])",
          "lag_usp_to_lag_id(1/2/8)", "sdk.delete_ports_from_lag(4, [0:1])",
          "delete_lag_member(4, [0:1])"}},
        {Lag7, {P1}, true, false,
         {"lookup", "is_port_logical_lag(1/2/7)", "usp_list_to_mp_list([1/1/1])",
          "lag_usp_to_lag_id(1/2/7)", "sdk.delete_ports_from_lag(3, [0:1])"}},
    };
    for (const Case& c : cases) {
        host().reset();
        if (c.sdk_refuses) ON_CALL(sdk(), delete_ports_from_lag(_, _)).WillByDefault(Return(false));
        EXPECT_EQ(vorn_delete_ports_from_lag(c.lag, c.ports), c.result) << describe(c.lag);
        EXPECT_EQ(log(), c.expected);
    }
}

TEST_F(Lags, StrategyTestsThePortBeforeTheLookupAndNeedsAMapping)
{
    struct Entry {
        std::function<bool(const Usp&)> call;
        const char* sdk_call;
    } entries[] = {
        {[](const Usp& lag) { return vorn_set_lag_balancing_strategy(lag, LAG_PSC_SRC_DST_IP); },
         "sdk.set_lag_balancing_strategy(3, 5)"},
        {[](const Usp& lag) {
             lag_psc_t psc = LAG_PSC_DST_MAC;
             return vorn_get_lag_balancing_strategy(lag, psc);
         },
         "sdk.get_lag_balancing_strategy(3, 1)"},
    };
    for (const Entry& entry : entries) {
        host().reset();
        EXPECT_TRUE(entry.call(Lag7));
        EXPECT_THAT(log(), ElementsAre("is_port_logical_lag(1/2/7)", "lookup",
                                       "lag_usp_to_lag_id(1/2/7)", entry.sdk_call));
        clear_log();
        EXPECT_FALSE(entry.call(Lag9));
        EXPECT_THAT(log(), ElementsAre("is_port_logical_lag(1/2/9)", "lookup",
                                       "lag_usp_to_lag_id(1/2/9)"));
        clear_log();
        EXPECT_FALSE(entry.call(P3));
        EXPECT_THAT(log(), ElementsAre("is_port_logical_lag(1/1/3)"));

        ON_CALL(sdk(), set_lag_balancing_strategy(_, _)).WillByDefault(Return(false));
        ON_CALL(sdk(), get_lag_balancing_strategy(_, _)).WillByDefault(Return(false));
        EXPECT_FALSE(entry.call(Lag7)) << entry.sdk_call;
    }
}

TEST_F(Lags, StrategyGetterHandsTheCallersVariableToTheSdk)
{
    EXPECT_CALL(sdk(), get_lag_balancing_strategy(3, _))
        .WillOnce(DoAll(SetArgReferee<1>(LAG_PSC_SRC_IP), Return(true)));
    lag_psc_t psc = LAG_PSC_SRC_MAC;
    EXPECT_TRUE(vorn_get_lag_balancing_strategy(Lag7, psc));
    EXPECT_EQ(psc, LAG_PSC_SRC_IP);
}

}  // namespace
}  // namespace vorn_test
