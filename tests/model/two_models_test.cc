// Switch models without a host: each model answers to the hooks it was
// built with, and two of them in one process share nothing.
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "model.hh"
#include "sdk_slots.hh"

namespace {

using vorn_meta::Slot;
using vorn_meta::slot;

// What one model's hooks heard.
struct Heard {
    std::vector<std::string> refusals;  // "slot operation: reason"
    std::vector<std::string> trace;
    std::vector<int> fault_asks;
    int failing_slot = -1;

    vorn_sim::ModelHooks hooks()
    {
        vorn_sim::ModelHooks h;
        h.fault = [this](int slot, const Mp*) {
            fault_asks.push_back(slot);
            return slot == failing_slot;
        };
        h.refusal = [this](int slot, const std::string& operation, const std::string& reason) {
            refusals.push_back(std::to_string(slot) + " " + operation + ": " + reason);
        };
        h.trace = [this](const std::string& line) { trace.push_back(line); };
        h.lag_interface = [](unsigned int lag_id, Usp& lag) {
            lag = Usp(0, vorn_sim::lag_slot, 10 + lag_id);
            return true;
        };
        return h;
    }
};

TEST(TwoModels, TablesFaultsRefusalsAndTracesStayWithTheirOwnModel)
{
    Heard heard_a, heard_b;
    vorn_sim::Config small;
    small.ports_per_slot = 8;
    vorn_sim::SwitchModel a(vorn_sim::Config(), heard_a.hooks());
    vorn_sim::SwitchModel b(small, heard_b.hooks());

    ASSERT_TRUE(a.set_lcmgr_trace("trace_level_sdk", true));
    ASSERT_TRUE(a.create_vlan(5));
    EXPECT_TRUE(a.vlan_exists(5));
    EXPECT_FALSE(b.vlan_exists(5));

    // Hardware port 0:20 is 1/1/20 on A (48 ports a slot) and no port on B (8).
    std::list<Mp> port20{Mp(0, 20)}, none;
    EXPECT_TRUE(a.add_ports_to_vlan(5, port20, none));
    ASSERT_TRUE(b.create_vlan(5));
    EXPECT_FALSE(b.add_ports_to_vlan(5, port20, none));
    ASSERT_EQ(heard_b.refusals.size(), 1u);
    EXPECT_EQ(heard_b.refusals[0], std::to_string(slot(Slot::add_ports_to_vlan)) +
                                       " add_ports_to_vlan: unknown hardware port 0:20");
    EXPECT_TRUE(heard_a.refusals.empty());

    // A fault armed in B's hooks fails B's calls only.
    heard_b.failing_slot = slot(Slot::create_vlan);
    EXPECT_FALSE(b.create_vlan(6));
    EXPECT_TRUE(a.create_vlan(6));
    EXPECT_EQ(heard_b.refusals.back(), std::to_string(slot(Slot::create_vlan)) + " create_vlan: injected fault");
    EXPECT_FALSE(b.vlan_exists(6));

    // Only A traces, and only into A's hook.
    EXPECT_TRUE(heard_b.trace.empty());
    ASSERT_FALSE(heard_a.trace.empty());
    EXPECT_EQ(heard_a.trace.back().rfind("sdk " + std::to_string(slot(Slot::create_vlan)) + " create_vlan(6)", 0),
              0u)
        << heard_a.trace.back();

    // Each model asked its own hook, once per operation.
    EXPECT_EQ(heard_a.fault_asks.size(), 4u);  // trace, create 5, add ports, create 6
    EXPECT_EQ(heard_b.fault_asks.size(), 3u);  // create 5, add ports, create 6
}

TEST(TwoModels, AModelWithoutHooksStillRefusesAndNamesLagsByDefault)
{
    vorn_sim::SwitchModel alone{vorn_sim::Config()};
    EXPECT_FALSE(alone.delete_vlan(7));  // nothing to hear it; no crash
    EXPECT_EQ(alone.usp_of(Mp(0, 2), true), Usp(0, vorn_sim::lag_slot, 3));

    Heard heard;
    vorn_sim::SwitchModel hosted(vorn_sim::Config(), heard.hooks());
    EXPECT_EQ(hosted.usp_of(Mp(0, 2), true), Usp(0, vorn_sim::lag_slot, 12));
    EXPECT_EQ(hosted.usp_of(Mp(0, 3), false), Usp(1, 1, 3));
}

}  // namespace
