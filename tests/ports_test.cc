// Every port entry point over the ordered log: its pattern, its own order of
// lookup and translation, the operation and arguments it reaches, and what it
// does with a LAG, a VLAN interface and a port that does not translate.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Return;
using Log = std::vector<std::string>;

enum Pattern { Single, Members, GuardedMembers };
enum Order { LT, TL };

struct Row {
    const char* name;
    Pattern pattern;
    Order order;
    std::function<bool(const Usp&)> call;
    // The SDK call for hardware port "#".
    std::string sdk;
};

const Usp Physical(1, 1, 3), Lag(1, 2, 7), EmptyLag(1, 2, 8), VlanIf(1, 3, 10), Untranslatable(1, 1, 9);

std::string at(const std::string& sdk, const std::string& mp)
{
    std::string text = sdk;
    text.replace(text.find('#'), 1, mp);
    return text;
}

template <class T>
std::function<bool(const Usp&)> get(bool (*entry)(const Usp&, T&))
{
    return [entry](const Usp& port) {
        T value{};
        return entry(port, value);
    };
}

const std::vector<Row>& rows()
{
    static const std::vector<Row> table = {
        {"get_port_switch_unknown_unicast_to_cpu", Single, LT, get(vorn_get_port_switch_unknown_unicast_to_cpu), "sdk.get_port_switch_unknown_unicast_to_cpu(#, false)"},
        {"set_port_switch_unknown_unicast_to_cpu", Single, LT, [](const Usp& p) { return vorn_set_port_switch_unknown_unicast_to_cpu(p, true); }, "sdk.set_port_switch_unknown_unicast_to_cpu(#, true)"},
        {"get_port_flood_blocking_cpu", Single, LT, get(vorn_get_port_flood_blocking_cpu), "sdk.get_port_flood_blocking_cpu(#, 0)"},
        {"get_port_peer_ability", Single, LT, get(vorn_get_port_peer_ability), "sdk.get_port_peer_ability(#, 0)"},
        {"get_port_current_ability", Single, LT, get(vorn_get_port_current_ability), "sdk.get_port_current_ability(#, 0)"},
        {"get_port_advertising_ability", Single, LT, get(vorn_get_port_advertising_ability), "sdk.get_port_advertising_ability(#, 0)"},
        {"set_port_advertising_ability", Single, LT, [](const Usp& p) { return vorn_set_port_advertising_ability(p, PORT_ABILITY_100MB_FD); }, "sdk.set_port_advertising_ability(#, 8)"},
        {"get_port_ability", Single, LT, get(vorn_get_port_ability), "sdk.get_port_ability(#, 0)"},
        {"set_port_l2_enable", Single, LT, [](const Usp& p) { return vorn_set_port_l2_enable(p, true); }, "sdk.set_port_l2_enable(#, true)"},
        {"get_port_stat_counter_all32_ext", Single, LT, [](const Usp& p) { StatCounter32 c[2]; unsigned int n = 2; return vorn_get_port_stat_counter_all32_ext(p, c, n); }, "sdk.get_port_stat_counter_all32_ext(#, ptr, 2)"},
        {"get_port_stat_counter_all64_ext", Single, LT, [](const Usp& p) { StatCounter64 c[2]; unsigned int n = 2; return vorn_get_port_stat_counter_all64_ext(p, c, n); }, "sdk.get_port_stat_counter_all64_ext(#, ptr, 2)"},
        {"get_port_stat_counter_all32", Single, LT, get(vorn_get_port_stat_counter_all32), "sdk.get_port_stat_counter_all32(#, [])"},
        {"get_port_stat_counter_all64", Single, LT, get(vorn_get_port_stat_counter_all64), "sdk.get_port_stat_counter_all64(#, [])"},
        {"get_port_stat_counter32", Single, LT, [](const Usp& p) { unsigned int v = 0; return vorn_get_port_stat_counter32(p, STAT_IF_IN_ERRORS, v); }, "sdk.get_port_stat_counter32(#, 5, 0)"},
        {"get_port_stat_counter", Single, LT, [](const Usp& p) { unsigned long long v = 0; return vorn_get_port_stat_counter(p, STAT_IF_OUT_OCTETS, v); }, "sdk.get_port_stat_counter(#, 7, 0)"},
        {"get_port_bpdu_processing", Single, LT, get(vorn_get_port_bpdu_processing), "sdk.get_port_bpdu_processing(#, false)"},
        {"set_port_bpdu_processing", Single, LT, [](const Usp& p) { return vorn_set_port_bpdu_processing(p, true); }, "sdk.set_port_bpdu_processing(#, true)"},
        {"get_port_ingress_discarding", Single, LT, get(vorn_get_port_ingress_discarding), "sdk.get_port_ingress_discarding(#, 0)"},
        {"set_port_ingress_discarding", Single, LT, [](const Usp& p) { return vorn_set_port_ingress_discarding(p, INGRESS_DISCARD_TAGGED); }, "sdk.set_port_ingress_discarding(#, 2)"},
        {"get_port_egress_admin_state", Single, LT, get(vorn_get_port_egress_admin_state), "sdk.get_port_egress_admin_state(#, false)"},
        {"set_port_egress_admin_state", Single, LT, [](const Usp& p) { return vorn_set_port_egress_admin_state(p, true); }, "sdk.set_port_egress_admin_state(#, true)"},
        {"get_port_mac_lock_ext", Single, LT, [](const Usp& p) { bool a = false, b = false; return vorn_get_port_mac_lock_ext(p, a, b); }, "sdk.get_port_mac_lock_ext(#, false, false)"},
        {"set_port_mac_lock_ext", Single, LT, [](const Usp& p) { return vorn_set_port_mac_lock_ext(p, true, false); }, "sdk.set_port_mac_lock_ext(#, true, false)"},
        {"clear_port_stat_counter", Single, TL, [](const Usp& p) { return vorn_clear_port_stat_counter(p); }, "sdk.clear_port_stat_counter(#)"},
        {"get_port_brief_stat_counter32", Single, TL, [](const Usp& p) { unsigned int v = 0; return vorn_get_port_brief_stat_counter32(p, BRIEF_STAT_TX_DROPS, v); }, "sdk.get_port_brief_stat_counter32(#, 7, 0)"},
        {"get_port_brief_stat_counter64", Single, TL, [](const Usp& p) { unsigned long long v = 0; return vorn_get_port_brief_stat_counter64(p, BRIEF_STAT_RX_BYTES, v); }, "sdk.get_port_brief_stat_counter64(#, 0, 0)"},
        {"get_port_stat_enabled", Single, TL, get(vorn_get_port_stat_enabled), "sdk.get_port_stat_enabled(#, false)"},
        {"get_port_vlan_accept_frame", Single, TL, get(vorn_get_port_vlan_accept_frame), "sdk.get_port_vlan_accept_frame(#, false)"},
        {"get_port_vlan_priority", Single, TL, [](const Usp& p) { unsigned int v = 0; return vorn_get_port_vlan_priority(p, 6, v); }, "sdk.get_port_vlan_priority(#, 6, 0)"},
        {"get_port_pvid", Single, TL, get(vorn_get_port_pvid), "sdk.get_port_pvid(#, 0)"},
        {"get_port_mstp_state", Single, TL, [](const Usp& p) { mstp_state_t s{}; return vorn_get_port_mstp_state(p, s, 12); }, "sdk.get_port_mstp_state(12, #, 0)"},
        {"get_port_stp_state", Single, TL, get(vorn_get_port_stp_state), "sdk.get_port_stp_state(#, 0)"},
        {"get_port_unicast_control", Single, TL, get(vorn_get_port_unicast_control), "sdk.get_port_unicast_control(#, 0)"},
        {"get_port_multicast_control", Single, TL, get(vorn_get_port_multicast_control), "sdk.get_port_multicast_control(#, 0)"},
        {"get_port_broadcast_control", Single, TL, get(vorn_get_port_broadcast_control), "sdk.get_port_broadcast_control(#, 0)"},
        {"get_port_jaming_control", Single, TL, get(vorn_get_port_jaming_control), "sdk.get_port_jaming_control(#, false)"},
        {"get_port_cos_mapping", Single, TL, [](const Usp& p) { unsigned int v = 0; return vorn_get_port_cos_mapping(p, 4, v); }, "sdk.get_port_cos_mapping(#, 4, 0)"},
        {"get_port_mac_lock", Single, TL, get(vorn_get_port_mac_lock), "sdk.get_port_mac_lock(#, false)"},
        {"get_port_link_state", Single, TL, get(vorn_get_port_link_state), "sdk.get_port_link_state(#, 0)"},
        {"set_port_link_state", Single, TL, [](const Usp& p) { return vorn_set_port_link_state(p, PHY_STATE_UP); }, "sdk.set_port_link_state(#, 1)"},
        {"get_port_autoneg", Single, TL, get(vorn_get_port_autoneg), "sdk.get_port_autoneg(#, false)"},
        {"set_port_autoneg", Single, TL, [](const Usp& p) { return vorn_set_port_autoneg(p, true); }, "sdk.set_port_autoneg(#, true)"},
        {"get_port_speed", Single, TL, get(vorn_get_port_speed), "sdk.get_port_speed(#, 0)"},
        {"set_port_speed", Single, TL, [](const Usp& p) { return vorn_set_port_speed(p, SPEED_10G); }, "sdk.set_port_speed(#, 3)"},
        {"get_port_duplex", Single, TL, get(vorn_get_port_duplex), "sdk.get_port_duplex(#, 0)"},
        {"set_port_duplex", Single, TL, [](const Usp& p) { return vorn_set_port_duplex(p, DUPLEX_FULL); }, "sdk.set_port_duplex(#, 1)"},
        {"get_port_mtu", Single, TL, get(vorn_get_port_mtu), "sdk.get_port_mtu(#, 0)"},
        {"get_port_state", Single, TL, get(vorn_get_port_state), "sdk.get_port_state(#, false)"},
        {"get_port_flow_control_8023x", Single, TL, [](const Usp& p) { bool a = false, b = false; return vorn_get_port_flow_control_8023x(p, a, b); }, "sdk.get_port_flow_control_8023x(#, 0, 0)"},
        {"set_port_stat_enable", Members, TL, [](const Usp& p) { return vorn_set_port_stat_enable(p, true); }, "sdk.set_port_stat_enable(#, true)"},
        {"delete_port_protocol_vlan_all", Members, TL, [](const Usp& p) { return vorn_delete_port_protocol_vlan_all(p); }, "sdk.delete_port_protocol_vlan_all(#)"},
        {"delete_port_protocol_vlan", Members, TL, [](const Usp& p) { return vorn_delete_port_protocol_vlan(p, FRAME_TYPE_SNAP, 0x88cc); }, "sdk.delete_port_protocol_vlan(#, 2, 35020)"},
        {"set_port_protocol_vlan", Members, TL, [](const Usp& p) { return vorn_set_port_protocol_vlan(p, FRAME_TYPE_LLC, 0x0800, 30); }, "sdk.set_port_protocol_vlan(#, 1, 2048, 30)"},
        {"set_port_vlan_accept_frame", Members, TL, [](const Usp& p) { return vorn_set_port_vlan_accept_frame(p, true); }, "sdk.set_port_vlan_accept_frame(#, true)"},
        {"set_port_vlan_priority", Members, TL, [](const Usp& p) { return vorn_set_port_vlan_priority(p, 6, 2); }, "sdk.set_port_vlan_priority(#, 6, 2)"},
        {"set_port_pvid", Members, TL, [](const Usp& p) { return vorn_set_port_pvid(p, 30); }, "sdk.set_port_pvid(#, 30)"},
        {"set_port_mstp_state", Members, TL, [](const Usp& p) { return vorn_set_port_mstp_state(p, MSTP_STATE_LEARNING, 12); }, "sdk.set_port_mstp_state(12, #, 1)"},
        {"set_port_unicast_control", Members, TL, [](const Usp& p) { return vorn_set_port_unicast_control(p, 100); }, "sdk.set_port_unicast_control(#, 100)"},
        {"set_port_multicast_control", Members, TL, [](const Usp& p) { return vorn_set_port_multicast_control(p, 200); }, "sdk.set_port_multicast_control(#, 200)"},
        {"set_port_broadcast_control", Members, TL, [](const Usp& p) { return vorn_set_port_broadcast_control(p, 300); }, "sdk.set_port_broadcast_control(#, 300)"},
        {"set_port_cos_mapping", Members, TL, [](const Usp& p) { return vorn_set_port_cos_mapping(p, 4, 1); }, "sdk.set_port_cos_mapping(#, 4, 1)"},
        {"set_port_mac_lock", Members, TL, [](const Usp& p) { return vorn_set_port_mac_lock(p, true); }, "sdk.set_port_mac_lock(#, true)"},
        {"set_port_mtu", Members, LT, [](const Usp& p) { return vorn_set_port_mtu(p, 9000); }, "sdk.set_port_mtu(#, 9000)"},
        {"set_port_jaming_control", GuardedMembers, TL, [](const Usp& p) { return vorn_set_port_jaming_control(p, true); }, "sdk.set_port_jaming_control(#, true)"},
        {"set_port_flow_control_8023x", GuardedMembers, TL, [](const Usp& p) { return vorn_set_port_flow_control_8023x(p, true, false); }, "sdk.set_port_flow_control_8023x(#, true, false)"},
        {"set_port_state", GuardedMembers, TL, [](const Usp& p) { return vorn_set_port_state(p, false); }, "sdk.set_port_state(#, false)"},
    };
    return table;
}

const RegisterFramedCalls port_calls([] {
    std::vector<FramedCall> calls;
    for (const Row& row : rows()) calls.push_back({row.name, [&row] { return row.call(Physical); }});
    return calls;
}());

std::string translation(const Row& row, const Usp& port)
{
    return std::string(row.pattern == Single ? "usp_to_mp(" : "usp_to_mp_list(") + describe(port) + ")";
}

// The log of a call on `port` up to the SDK calls.
Log prefix(const Row& row, const Usp& port)
{
    Log log;
    if (row.pattern == GuardedMembers) log.push_back("is_port_physical(" + describe(port) + ")");
    if (row.order == LT) log.push_back("lookup");
    log.push_back(translation(row, port));
    if (row.order == TL) log.push_back("lookup");
    return log;
}

class PortEntryPoints : public HostTest {};

TEST_F(PortEntryPoints, PhysicalPortReachesItsOperationInItsOwnOrder)
{
    for (const Row& row : rows()) {
        clear_log();
        EXPECT_TRUE(row.call(Physical)) << row.name;
        Log expected = prefix(row, Physical);
        expected.push_back(at(row.sdk, "0:3"));
        EXPECT_EQ(log(), expected) << row.name;
    }
}

TEST_F(PortEntryPoints, WithoutAnSdkObjectLookupFirstTranslatesNothing)
{
    remove_sdk();
    for (const Row& row : rows()) {
        clear_log();
        EXPECT_FALSE(row.call(Physical)) << row.name;
        Log expected = prefix(row, Physical);
        if (row.order == LT) expected.resize(expected.size() - 1);  // stops at the lookup
        EXPECT_EQ(log(), expected) << row.name;
    }
}

TEST_F(PortEntryPoints, ALagIsRefusedBySinglePortCallsAndFannedOutByTheOthers)
{
    for (const Row& row : rows()) {
        clear_log();
        const bool result = row.call(Lag);
        Log calls = sdk_calls();
        if (row.pattern == Single) {
            EXPECT_FALSE(result) << row.name;
            EXPECT_TRUE(calls.empty()) << row.name;
        } else {
            EXPECT_TRUE(result) << row.name;
            EXPECT_EQ(calls, (Log{at(row.sdk, "0:4"), at(row.sdk, "0:5")})) << row.name;
        }
    }
}

TEST_F(PortEntryPoints, AVlanInterfaceIsRefusedBeforeAnythingByTheGuardedSetters)
{
    for (const Row& row : rows()) {
        clear_log();
        const bool result = row.call(VlanIf);
        if (row.pattern == GuardedMembers) {
            EXPECT_FALSE(result) << row.name;
            EXPECT_EQ(log(), (Log{"is_port_physical(1/3/10)", "is_port_logical_lag(1/3/10)"})) << row.name;
        } else if (row.pattern == Members) {
            EXPECT_TRUE(result) << row.name;
            EXPECT_EQ(sdk_calls(), (Log{at(row.sdk, "0:1"), at(row.sdk, "0:6")})) << row.name;
        } else {
            EXPECT_FALSE(result) << row.name;
            EXPECT_TRUE(sdk_calls().empty()) << row.name;
        }
    }
}

TEST_F(PortEntryPoints, UntranslatablePortsAndEmptyLagsReachNoOperation)
{
    for (const Row& row : rows()) {
        clear_log();
        EXPECT_FALSE(row.call(Untranslatable)) << row.name;
        EXPECT_FALSE(row.call(Usp(9, 9, 9))) << row.name;
        EXPECT_TRUE(sdk_calls().empty()) << row.name;
        if (row.pattern != Single) {
            EXPECT_TRUE(row.call(EmptyLag)) << row.name;  // nothing to do
        }
    }
}

TEST_F(PortEntryPoints, AnswerIsTheOperationsAndAFanOutStopsAtTheFirstRefusal)
{
    testing::DefaultValue<bool>::Set(false);
    for (const Row& row : rows()) {
        clear_log();
        EXPECT_FALSE(row.call(row.pattern == Single ? Physical : Lag)) << row.name;
        EXPECT_EQ(sdk_calls().size(), 1u) << row.name;  // the second member is never reached
    }
    testing::DefaultValue<bool>::Set(true);
}

TEST_F(PortEntryPoints, MembersBeforeARefusalKeepTheirChange)
{
    ON_CALL(sdk(), set_port_pvid(Mp(0, 6), 30)).WillByDefault(Return(false));
    EXPECT_FALSE(vorn_set_port_pvid(VlanIf, 30));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_pvid(0:1, 30)", "sdk.set_port_pvid(0:6, 30)"));
}

// --- Multi-port setters: the lookup, the whole list, then each port.
struct MultiRow {
    const char* name;
    std::function<bool(const std::list<Usp>&)> call;
    std::string sdk;
};

const std::vector<MultiRow>& multi_rows()
{
    static const std::vector<MultiRow> table = {
        {"set_ports_pvid", [](const std::list<Usp>& l) { return vorn_set_ports_pvid(l, 30); }, "sdk.set_port_pvid(#, 30)"},
        {"set_ports_mstp_state", [](const std::list<Usp>& l) { return vorn_set_ports_mstp_state(l, MSTP_STATE_FORWARDING, 12); }, "sdk.set_port_mstp_state(12, #, 2)"},
        {"set_ports_stp_state", [](const std::list<Usp>& l) { return vorn_set_ports_stp_state(l, STP_STATE_DISABLED); }, "sdk.set_port_stp_state(#, 0)"},
        {"set_ports_flow_control_8023x", [](const std::list<Usp>& l) { return vorn_set_ports_flow_control_8023x(l, true, false); }, "sdk.set_port_flow_control_8023x(#, false, true)"},
        {"set_ports_mtu", [](const std::list<Usp>& l) { return vorn_set_ports_mtu(l, 9000); }, "sdk.set_port_mtu(#, 9000)"},
        {"set_ports_state", [](const std::list<Usp>& l) { return vorn_set_ports_state(l, true); }, "sdk.set_port_state(#, true)"},
        {"set_port_flood_blocking_cpu", [](const std::list<Usp>& l) { return vorn_set_port_flood_blocking_cpu(l, FLOOD_BLOCK_ALL); }, "sdk.set_port_flood_blocking_cpu(#, 7)"},
    };
    return table;
}

const RegisterFramedCalls multi_port_calls([] {
    std::vector<FramedCall> calls;
    for (const MultiRow& row : multi_rows())
        calls.push_back({row.name, [&row] { return row.call({Physical}); }});
    return calls;
}());

class MultiPortSetters : public HostTest {};

// The flow-control flags reach the SDK reversed; the STP form never flushes.
TEST_F(MultiPortSetters, LookUpTranslateTheListThenCallEachPort)
{
    for (const MultiRow& row : multi_rows()) {
        clear_log();
        EXPECT_TRUE(row.call({Physical, Lag})) << row.name;
        EXPECT_EQ(log(), (Log{"lookup", "usp_list_to_mp_list([1/1/3,1/2/7])", at(row.sdk, "0:3"),
                              at(row.sdk, "0:4"), at(row.sdk, "0:5")}))
            << row.name;
    }
}

TEST_F(MultiPortSetters, EmptyListSucceedsAndABadPortReachesNothing)
{
    for (const MultiRow& row : multi_rows()) {
        clear_log();
        EXPECT_TRUE(row.call({})) << row.name;
        EXPECT_TRUE(row.call({Physical, Usp(9, 9, 9)}) == false) << row.name;
        EXPECT_TRUE(sdk_calls().empty()) << row.name;
    }
}

TEST_F(MultiPortSetters, StopAtTheFirstRefusal)
{
    ON_CALL(sdk(), set_port_mtu(Mp(0, 2), 9000)).WillByDefault(Return(false));
    EXPECT_FALSE(vorn_set_ports_mtu({Usp(1, 1, 1), Usp(1, 1, 2), Usp(1, 1, 3)}, 9000));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.set_port_mtu(0:1, 9000)", "sdk.set_port_mtu(0:2, 9000)"));
}

}  // namespace
}  // namespace vorn_test
