// Every SDK slot of the slot table either has a refusal case in one of the
// family tables or is listed below as a slot that accepts any input, with
// why; the listed ones are called with odd input and must accept it.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <set>
#include <string>

#include "refusal_cases.hh"

namespace {

using refusal_cases::Model;
using vorn_meta::Slot;

const Slot every_slot[] = {
#define VORN_SDK_SLOT(slot, name, ...) Slot::name,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

// Slots the SDK class keeps free have no operation to call.
bool unused(Slot slot)
{
    return std::strncmp(slot_name(slot), "unused_slot_", 12) == 0;
}

struct AcceptingSlot {
    Slot slot;
    const char* why;
    std::function<bool(Model&)> call;  // odd input, accepted
};

const std::vector<AcceptingSlot>& accepting_slots()
{
    static const std::vector<AcceptingSlot> slots = {
        {Slot::clear_fdb_table, "a flush succeeds also when there is nothing left to remove",
         [](Model& m) {
             return m.clear_fdb_table(false) && m.clear_fdb_table(true) && m.clear_fdb_table(true);
         }},
        {Slot::get_fdb_aging_time, "no input; the setting always exists",
         [](Model& m) {
             int seconds = -7;
             return m.get_fdb_aging_time(seconds);
         }},
        {Slot::get_line_card_usp, "no input; the card always has its address",
         [](Model& m) {
             Usp usp(9, 9, 9);
             return m.get_line_card_usp(usp);
         }},
        {Slot::free_call, "the model holds nothing for the caller; any argument is released",
         [](Model& m) { return m.free_call(-1) && m.free_call(0x7fffffff); }},
        {Slot::get_switch_forward_mode, "no input; the mode always exists",
         [](Model& m) {
             unsigned int mode = 99;
             return m.get_switch_forward_mode(mode);
         }},
        {Slot::set_switch_unknown_unicast_to_cpu, "a switch-wide flag: either value is valid",
         [](Model& m) {
             return m.set_switch_unknown_unicast_to_cpu(true) &&
                    m.set_switch_unknown_unicast_to_cpu(true);
         }},
        {Slot::get_switch_unknown_unicast_to_cpu, "no input; the flag always exists",
         [](Model& m) {
             bool enabled = true;
             return m.get_switch_unknown_unicast_to_cpu(enabled);
         }},
        {Slot::delete_arp_filter_all, "clears a whole table, empty or not",
         [](Model& m) { return m.delete_arp_filter_all() && m.delete_arp_filter_all(); }},
        {Slot::delete_ip_protocol_filter_all, "clears a whole table, empty or not",
         [](Model& m) {
             return m.delete_ip_protocol_filter_all() && m.delete_ip_protocol_filter_all();
         }},
        {Slot::delete_l4_destination_port_filter_all, "clears a whole table, empty or not",
         [](Model& m) {
             return m.delete_l4_destination_port_filter_all() &&
                    m.delete_l4_destination_port_filter_all();
         }},
        {Slot::clear_of_flow_table, "clears a whole table, empty or not",
         [](Model& m) { return m.clear_of_flow_table() && m.clear_of_flow_table(); }},
        {Slot::delete_l3_interface_all, "clears a whole table, empty or not",
         [](Model& m) { return m.delete_l3_interface_all() && m.delete_l3_interface_all(); }},
        {Slot::clear_l3_host_table, "clears a whole table, empty or not",
         [](Model& m) { return m.clear_l3_host_table() && m.clear_l3_host_table(); }},
        {Slot::clear_l3_route_table, "clears a whole table, empty or not",
         [](Model& m) { return m.clear_l3_route_table() && m.clear_l3_route_table(); }},
        {Slot::delete_l3_host_by_interface,
         "removes the hosts that match, none included; any id may match",
         [](Model& m) {
             return m.delete_l3_host_by_interface(0, false) &&
                    m.delete_l3_host_by_interface(0xffffffff, true);
         }},
        {Slot::delete_l3_host_by_network_ip4, "removes the hosts of the /24, none included",
         [](Model& m) {
             return m.delete_l3_host_by_network_ip4(0xffffffff) &&
                    m.delete_l3_host_by_network_ip4(0);
         }},
        {Slot::delete_l3_route_by_interface,
         "removes the routes that match, none included; any id may match",
         [](Model& m) {
             return m.delete_l3_route_by_interface(0, true) &&
                    m.delete_l3_route_by_interface(0xffffffff, false);
         }},
    };
    return slots;
}

std::set<int> slots_with_refusal_cases()
{
    std::set<int> covered;
    for (const auto* table : {&refusal_cases::port_refusals(), &refusal_cases::vlan_refusals(),
                              &refusal_cases::lag_fdb_refusals(), &refusal_cases::l3_refusals(),
                              &refusal_cases::flow_event_refusals()})
        for (const refusal_cases::RefusalCase& c : *table) covered.insert(vorn_meta::slot(c.slot));
    return covered;
}

TEST(RefusalCoverage, EverySlotHasARefusalCaseOrIsListedAsAcceptingAnyInput)
{
    const std::set<int> refused = slots_with_refusal_cases();
    std::set<int> accepting;
    for (const AcceptingSlot& a : accepting_slots()) {
        EXPECT_TRUE(accepting.insert(vorn_meta::slot(a.slot)).second)
            << slot_name(a.slot) << " is listed twice";
        EXPECT_FALSE(refused.count(vorn_meta::slot(a.slot)))
            << slot_name(a.slot) << " is listed as accepting any input but has a refusal case";
        EXPECT_FALSE(unused(a.slot)) << slot_name(a.slot) << " is an unused slot";
    }
    for (Slot slot : every_slot) {
        const int number = vorn_meta::slot(slot);
        if (unused(slot)) {
            EXPECT_FALSE(refused.count(number))
                << slot_name(slot) << " is unused but has a refusal case";
            continue;
        }
        EXPECT_TRUE(refused.count(number) || accepting.count(number))
            << "slot " << number << " " << slot_name(slot)
            << " has no refusal case and is not listed as accepting any input";
    }
    std::cout << "[ coverage ] " << refused.size() << " of " << vorn_meta::slot_count
              << " slots have refusal cases, " << accepting.size() << " accept any input\n";
}

TEST(RefusalCoverage, SlotsListedAsAcceptingAnyInputAcceptIt)
{
    for (const AcceptingSlot& a : accepting_slots())
        for (bool common_state : {false, true}) {
            SCOPED_TRACE(std::string(slot_name(a.slot)) +
                         (common_state ? " on the common state" : " on a new model"));
            std::vector<std::string> refusals;
            vorn_sim::ModelHooks hooks;
            hooks.refusal = [&](int, const std::string& operation, const std::string& reason) {
                refusals.push_back(operation + ": " + reason);
            };
            Model model(refusal_cases::small_card(), hooks);
            if (common_state && !refusal_cases::build_common_state(model)) return;
            EXPECT_TRUE(a.call(model));
            EXPECT_TRUE(refusals.empty()) << refusals.front();
        }
}

}  // namespace
