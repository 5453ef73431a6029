// Port-addressed MAC, FDB and L3 entry points: how a physical port or a LAG
// is presented to the SDK as an Mp plus a trunk flag.  Each entry point keeps
// its own way of doing it; the differences are part of the interface.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>

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
using testing::StartsWith;
using Log = std::vector<std::string>;

const Usp P3(1, 1, 3), P9(1, 1, 9), Lag7(1, 2, 7), Lag9(1, 2, 9), Vif(1, 3, 10);
const Usp Unknown(7, 7, 7);
const unsigned char mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char ip6[16] = {0x20, 0x01, 0x0d, 0xb8};
unsigned char found[6];  // what the SDK would write

// While alive, every SDK operation that a test does not script answers `answer`.
struct UnscriptedAnswer {
    explicit UnscriptedAnswer(bool answer) { testing::DefaultValue<bool>::Set(answer); }
    ~UnscriptedAnswer() { testing::DefaultValue<bool>::Set(true); }
};

// --- L3 entry points that name a port -------------------------------------
struct PortAddressed {
    char scheme;  // P, T, U, L or G: how the port is presented
    std::function<bool(const Usp&)> call;
    std::string sdk_call;  // "$p" stands for the Mp, "$t" for the trunk flag
    std::string name() const { return "vorn_" + sdk_call.substr(0, sdk_call.find('(')); }
};

std::vector<PortAddressed> port_addressed()
{
    using U = const Usp&;
    return {
        {'T', [](U p) { return vorn_add_l3_host_ip4(p, 10, mac, 5); },
         "add_l3_host_ip4($p, $t, 10, ptr, 5)"},
        {'T', [](U p) { return vorn_add_l3_host_ip6(p, ip6, nullptr, 5); },
         "add_l3_host_ip6($p, $t, ptr, null, 5)"},
        {'T', [](U p) { return vorn_add_l3_route_ip4(p, 10, 255, mac, 5, 20); },
         "add_l3_route_ip4($p, $t, 10, 255, ptr, 5, 20)"},
        {'U', [](U p) { return vorn_add_l3_route_ip6(p, ip6, nullptr, mac, 5); },
         "add_l3_route_ip6($p, $t, ptr, null, ptr, 5)"},
        {'L', [](U p) { unsigned int id = 1; return vorn_get_l3_host_ip4(10, p, found, id); },
         "get_l3_host_ip4(10, $p, ptr, 1, $t)"},
        {'L', [](U p) { unsigned int id = 1; return vorn_get_l3_host_ip6(ip6, p, nullptr, id); },
         "get_l3_host_ip6(ptr, $p, null, 1, $t)"},
        {'L',
         [](U p) {
             unsigned int id = 1, vlan = 2;
             return vorn_get_l3_route_by_subnet_ip4(10, 255, p, found, id, vlan);
         },
         "get_l3_route_by_subnet_ip4(10, 255, $p, $t, ptr, 1, 2)"},
        {'G',
         [](U p) {
             unsigned int id = 1;
             return vorn_get_l3_route_by_subnet_ip6(ip6, nullptr, p, id, found);
         },
         "get_l3_route_by_subnet_ip6(ptr, null, $p, $t, 1, ptr)"},
        {'P', [](U p) { return vorn_delete_l3_host_by_addr_ip4(10, p); },
         "delete_l3_host_by_addr_ip4(10, $p, $t)"},
        {'P', [](U p) { return vorn_delete_l3_host_by_addr_ip6(ip6, p); },
         "delete_l3_host_by_addr_ip6(ptr, $p, $t)"},
        {'P', [](U p) { return vorn_delete_l3_route_by_subnet_ip4(10, 255, p); },
         "delete_l3_route_by_subnet_ip4(10, 255, $p, $t)"},
        {'P', [](U p) { return vorn_delete_l3_route_by_subnet_ip6(ip6, nullptr, p); },
         "delete_l3_route_by_subnet_ip6(ptr, null, $p, $t)"},
    };
}

std::vector<FramedCall> framed(std::vector<PortAddressed> entries)
{
    std::vector<FramedCall> calls;
    for (PortAddressed& entry : entries) {
        auto call = entry.call;
        calls.push_back({entry.name(), [call] { return call(Usp(1, 1, 3)); }});
    }
    calls.push_back({"vorn_add_mac_to_port", [] { return vorn_add_mac_to_port(P3, mac, 10); }});
    calls.push_back({"vorn_clear_fdb_by_port", [] { return vorn_clear_fdb_by_port(P3, true); }});
    calls.push_back({"vorn_get_system_mac_limit", [] {
                         int limit = 0;
                         return vorn_get_system_mac_limit(limit);
                     }});
    return calls;
}

const RegisterFramedCalls fdb_l3_calls(framed(port_addressed()));

std::string sdk_text(const PortAddressed& entry, const std::string& port, bool trunk)
{
    std::string text = "sdk." + entry.sdk_call;
    text.replace(text.find("$p"), 2, port);
    text.replace(text.find("$t"), 2, trunk ? "true" : "false");
    return text;
}

// What each scheme does with physical 1/1/3 and with LAG 1/2/7 (mapped to id
// 3, members 0:4 and 0:5, not translatable as one port), between the lookup
// and the SDK call, and the port the LAG reaches the SDK as ("" = refused).
struct Scheme {
    Log physical;
    Log lag;
    std::string lag_port;
};

const Scheme& scheme(char name)
{
    static const std::map<char, Scheme> schemes = {
        {'P',
         {{"is_port_physical(1/1/3)", "usp_to_mp(1/1/3)"},
          {"is_port_physical(1/2/7)", "is_port_logical_lag(1/2/7)", "lag_usp_to_lag_id(1/2/7)"},
          "0:3"}},
        {'T',
         {{"usp_to_mp(1/1/3)"},
          {"usp_to_mp(1/2/7)", "is_port_logical_lag(1/2/7)", "lag_usp_to_lag_id(1/2/7)"},
          "0:3"}},
        // The LAG's own port number, no id lookup.
        {'U', {{"usp_to_mp(1/1/3)"}, {"usp_to_mp(1/2/7)", "is_port_logical_lag(1/2/7)"}, "0:7"}},
        {'L',
         {{"is_port_logical_lag(1/1/3)", "usp_to_mp(1/1/3)"},
          {"is_port_logical_lag(1/2/7)", "lag_usp_to_lag_id(1/2/7)"},
          "0:3"}},
        // A LAG that does not translate is refused.
        {'G', {{"usp_to_mp(1/1/3)", "is_port_logical_lag(1/1/3)"}, {"usp_to_mp(1/2/7)"}, ""}},
    };
    return schemes.at(name);
}

class L3Ports : public HostTest {};

TEST_F(L3Ports, EachEntryPointPresentsPhysicalPortsAndLagsByItsOwnScheme)
{
    for (const PortAddressed& entry : port_addressed()) {
        const Scheme& s = scheme(entry.scheme);
        clear_log();
        EXPECT_TRUE(entry.call(P3)) << entry.name();
        Log expected{"lookup"};
        expected.insert(expected.end(), s.physical.begin(), s.physical.end());
        expected.push_back(sdk_text(entry, "0:3", false));
        EXPECT_EQ(log(), expected) << entry.name();

        clear_log();
        EXPECT_EQ(entry.call(Lag7), !s.lag_port.empty()) << entry.name();
        expected = {"lookup"};
        expected.insert(expected.end(), s.lag.begin(), s.lag.end());
        if (!s.lag_port.empty()) expected.push_back(sdk_text(entry, s.lag_port, true));
        EXPECT_EQ(log(), expected) << entry.name();
    }
}

TEST_F(L3Ports, PortsASchemeCannotPresentNeverReachTheSdk)
{
    for (const PortAddressed& entry : port_addressed()) {
        // A VLAN interface, a physical port that does not translate, an unknown port.
        for (const Usp& port : {Vif, P9, Unknown}) {
            clear_log();
            EXPECT_FALSE(entry.call(port)) << entry.name() << " " << describe(port);
            EXPECT_TRUE(sdk_calls().empty()) << entry.name() << " " << describe(port);
        }
        // An unmapped LAG: only the scheme that needs no id gets through.
        clear_log();
        const bool needs_no_id = entry.scheme == 'U';
        EXPECT_EQ(entry.call(Lag9), needs_no_id) << entry.name();
        EXPECT_EQ(sdk_calls(), needs_no_id ? Log{sdk_text(entry, "0:9", true)} : Log{})
            << entry.name();
    }
}

TEST_F(L3Ports, TheSdksAnswerIsReturned)
{
    const UnscriptedAnswer refuse(false);
    for (const PortAddressed& entry : port_addressed()) {
        clear_log();
        EXPECT_FALSE(entry.call(P3)) << entry.name();
        EXPECT_EQ(sdk_calls().size(), 1u) << entry.name();
    }
}

// --- MAC table and FDB ---------------------------------------------------------
class MacTable : public HostTest {};

TEST_F(MacTable, DeleteMacHandsTheSdkMacThenVlan)
{
    EXPECT_CALL(sdk(), delete_mac(&mac[0], 10u)).WillOnce(Return(false));
    EXPECT_FALSE(vorn_delete_mac(10, mac));
}

TEST_F(MacTable, AddMacToPortTakesPhysicalPortsAndListedMappedLagsOnly)
{
    const Log lag7{"lookup", "is_port_physical(1/2/7)", "is_port_logical_lag(1/2/7)",
                   "lag_usp_to_lag_id(1/2/7)", "is_lag_exist(3)"};
    struct Case {
        Usp port;
        bool in_lag_list;
        bool result;
        Log expected;
    } cases[] = {
        {P3, false, true,
         {"lookup", "is_port_physical(1/1/3)", "usp_to_mp(1/1/3)",
          "sdk.add_mac_to_port(0:3, ptr, 10, false)"}},
        {Lag7, true, true, {"sdk.add_mac_to_port(0:3, ptr, 10, true)"}},
        {Lag7, false, false, {}},
        {Lag9, true, false,
         {"lookup", "is_port_physical(1/2/9)", "is_port_logical_lag(1/2/9)",
          "lag_usp_to_lag_id(1/2/9)"}},
        {Vif, true, false, {"lookup", "is_port_physical(1/3/10)", "is_port_logical_lag(1/3/10)"}},
        {P9, true, false, {"lookup", "is_port_physical(1/1/9)", "usp_to_mp(1/1/9)"}},
    };
    for (Case& c : cases) {
        host().reset();
        if (c.in_lag_list) lag_list.push_back(LagNode(3));
        if (c.port == Lag7) c.expected.insert(c.expected.begin(), lag7.begin(), lag7.end());
        EXPECT_EQ(vorn_add_mac_to_port(c.port, mac, 10), c.result) << describe(c.port);
        EXPECT_EQ(log(), c.expected) << describe(c.port);
    }

    lag_list.push_back(LagNode(3));
    const UnscriptedAnswer refuse(false);
    EXPECT_FALSE(vorn_add_mac_to_port(P3, mac, 10));
    EXPECT_FALSE(vorn_add_mac_to_port(Lag7, mac, 10));
}

TEST_F(MacTable, ClearByPortTranslatesFirstAndDerivesALagNumberFromItsPort)
{
    struct Case {
        Usp port;
        bool static_too;
        bool result;
        Log expected;
    } cases[] = {
        {P3, true, true, {"usp_to_mp(1/1/3)", "lookup", "sdk.clear_fdb_by_port(0:3, false, true)"}},
        // Neither the mapping (id 3) nor lag_list (empty) is consulted.
        {Lag7, false, true,
         {"usp_to_mp(1/2/7)", "is_port_logical_lag(1/2/7)", "lookup",
          "sdk.clear_fdb_by_port(0:6, true, false)"}},
        {Lag9, true, true,
         {"usp_to_mp(1/2/9)", "is_port_logical_lag(1/2/9)", "lookup",
          "sdk.clear_fdb_by_port(0:8, true, true)"}},
        {Vif, true, false, {"usp_to_mp(1/3/10)", "is_port_logical_lag(1/3/10)"}},
        {Unknown, true, false, {"usp_to_mp(7/7/7)", "is_port_logical_lag(7/7/7)"}},
    };
    for (const Case& c : cases) {
        clear_log();
        EXPECT_EQ(vorn_clear_fdb_by_port(c.port, c.static_too), c.result) << describe(c.port);
        EXPECT_EQ(log(), c.expected) << describe(c.port);
    }
    const UnscriptedAnswer refuse(false);
    EXPECT_FALSE(vorn_clear_fdb_by_port(Lag7, true));
}

TEST_F(MacTable, DeleteMacFromPortAllDoesNothingEvenWithoutAnSdk)
{
    EXPECT_TRUE(vorn_delete_mac_from_port_all(P3, 10));
    remove_sdk();
    EXPECT_TRUE(vorn_delete_mac_from_port_all(Unknown, 10));
    EXPECT_TRUE(log().empty());
}

TEST_F(MacTable, SystemMacLimitGetterAnswersFalseButDeliversTheLimit)
{
    EXPECT_CALL(sdk(), get_system_mac_limit(Mp(0, 0), _, _))
        .WillOnce(DoAll(SetArgReferee<1>(64), Return(true)))
        .WillOnce(Return(false));
    int limit = 0;
    EXPECT_FALSE(vorn_get_system_mac_limit(limit));
    EXPECT_EQ(limit, 64);
    EXPECT_FALSE(vorn_get_system_mac_limit(limit));
    EXPECT_THAT(log(), ElementsAre("lookup", StartsWith("sdk.get_system_mac_limit(0:0, 0, "),
                                   "lookup", StartsWith("sdk.get_system_mac_limit(0:0, 64, ")));
}

}  // namespace
}  // namespace vorn_test
