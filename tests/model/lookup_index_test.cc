// The per-frame indexes the tables keep beside what their getters list:
// VLANs by id and their memberships by port beside the member lists; the L3
// interfaces' MACs (in a VLAN, and at all) beside the interfaces.  After
// every step of a sequence of changes each index must answer exactly what
// the lists and maps say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "l3_tables.hh"
#include "vlan_table.hh"

namespace {

using vorn_sim::L3Tables;
using vorn_sim::Vlan;
using vorn_sim::VlanTable;

const unsigned int modules = 2;
const unsigned int ports_per_module = 6;

bool listed(const std::vector<Mp>& ports, const Mp& port)
{
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

// Every id and every port (and a few beyond the card) against the map and
// the lists.
void expect_in_step(const VlanTable& table, const std::string& step)
{
    for (unsigned int id = 0; id < 4100; ++id) {
        auto it = table.vlans().find(id);
        const Vlan* found = table.find(id);
        ASSERT_EQ(found, it == table.vlans().end() ? nullptr : &it->second) << step << ": VLAN " << id;
        ASSERT_EQ(table.exists(id), found != nullptr) << step << ": VLAN " << id;
        if (!found) continue;
        for (unsigned int module = 0; module <= modules; ++module)
            for (unsigned int port = 0; port <= ports_per_module + 1; ++port) {
                const Mp mp(module, port);
                const Vlan::Membership expected = listed(found->tagged, mp)     ? Vlan::tagged_member
                                                  : listed(found->untagged, mp) ? Vlan::untagged_member
                                                                                : Vlan::not_member;
                ASSERT_EQ(found->membership(mp), expected)
                    << step << ": VLAN " << id << " port " << module << "/" << port;
                ASSERT_EQ(table.member(id, mp), expected != Vlan::not_member) << step;
            }
    }
}

struct Step {
    const char* what;
    enum { create, remove, add, take_out } kind;
    unsigned int vlan;
    std::list<Mp> tagged;    // add: tagged; take_out: the ports
    std::list<Mp> untagged;  // add: untagged
};

TEST(LookupIndex, VlansAndMembershipsFollowEveryChange)
{
    const std::vector<Step> steps = {
        {"VLAN 10 created", Step::create, 10, {}, {}},
        {"VLAN 4094 created", Step::create, 4094, {}, {}},
        {"ports added to VLAN 10", Step::add, 10, {Mp(0, 1), Mp(1, 6)}, {Mp(0, 2), Mp(1, 1)}},
        {"ports added to VLAN 1", Step::add, 1, {}, {Mp(0, 1), Mp(0, 2), Mp(0, 3)}},
        {"tagged port turned untagged", Step::add, 10, {}, {Mp(0, 1)}},
        {"untagged port turned tagged", Step::add, 10, {Mp(1, 1)}, {}},
        {"a port added twice", Step::add, 10, {Mp(1, 1)}, {}},
        {"ports taken out of VLAN 10", Step::take_out, 10, {Mp(0, 2), Mp(1, 6)}, {}},
        {"a non-member taken out", Step::take_out, 10, {Mp(0, 5)}, {}},
        {"ports added to VLAN 4094", Step::add, 4094, {Mp(1, 6)}, {Mp(0, 6)}},
        {"VLAN 10 deleted", Step::remove, 10, {}, {}},
        {"VLAN 10 created again, empty", Step::create, 10, {}, {}},
        {"VLAN 1 deleted", Step::remove, 1, {}, {}},
        {"VLAN 1 created again, empty", Step::create, 1, {}, {}},
    };
    VlanTable table;
    vorn_sim::Refuser refuse([](int, const std::string&, const std::string& reason) { FAIL() << reason; });
    expect_in_step(table, "at first");
    for (const Step& step : steps) {
        switch (step.kind) {
        case Step::create: ASSERT_TRUE(table.create(refuse, step.vlan)) << step.what; break;
        case Step::remove: ASSERT_TRUE(table.remove(refuse, step.vlan)) << step.what; break;
        case Step::add: table.add_ports(step.vlan, step.tagged, step.untagged); break;
        case Step::take_out: table.remove_ports(step.vlan, step.tagged); break;
        }
        expect_in_step(table, step.what);
    }
}

// The MACs and VLANs the L3 steps use, each one against a walk of the
// interfaces.
void expect_in_step(const L3Tables& table, const std::string& step)
{
    for (std::uint64_t mac48 : {0x020000000001ULL, 0x020000000002ULL, 0x020000000003ULL, 0ULL})
        for (unsigned int vlan : {0u, 1u, 10u, 20u, 4094u}) {
            bool in_vlan = false;
            bool anywhere = false;
            for (const auto& entry : table.interfaces()) {
                std::uint64_t own = 0;
                for (unsigned char byte : entry.second.mac) own = own << 8 | byte;
                anywhere = anywhere || own == mac48;
                in_vlan = in_vlan || (own == mac48 && entry.second.vlan == vlan);
            }
            ASSERT_EQ(table.interface_mac_in(vlan, mac48), in_vlan) << step << ": VLAN " << vlan << " MAC " << mac48;
            ASSERT_EQ(table.interface_mac(mac48), anywhere) << step << ": MAC " << mac48;
        }
}

TEST(LookupIndex, InterfaceMacsFollowEveryChange)
{
    const unsigned char mac1[6] = {2, 0, 0, 0, 0, 1};
    const unsigned char mac2[6] = {2, 0, 0, 0, 0, 2};
    const unsigned char mac3[6] = {2, 0, 0, 0, 0, 3};
    L3Tables table{vorn_sim::Config()};
    vorn_sim::Refuser refuse([](int, const std::string&, const std::string& reason) { FAIL() << reason; });
    unsigned int id = 0;
    struct Step {
        const char* what;
        std::function<bool()> change;
    };
    const std::vector<Step> steps = {
        {"MAC 1 in VLAN 10", [&] { return table.create_interface(refuse, mac1, 10, id); }},
        {"MAC 1 in VLAN 20", [&] { return table.create_interface(refuse, mac1, 20, id); }},
        {"MAC 2 in VLAN 1 as id 7", [&] { return table.create_interface_with_id(refuse, mac2, 1, 7, false); }},
        {"id 7 replaced by MAC 3 in VLAN 4094",
         [&] { return table.create_interface_with_id(refuse, mac3, 4094, 7, true); }},
        {"MAC 1 in VLAN 10 deleted by MAC", [&] { return table.delete_interface(refuse, mac1, 10); }},
        {"MAC 2 in VLAN 10", [&] { return table.create_interface(refuse, mac2, 10, id); }},
        {"id 7 deleted", [&] { return table.delete_interface(refuse, 7); }},
        {"MAC 3 in VLAN 20", [&] { return table.create_interface(refuse, mac3, 20, id); }},
        {"all deleted", [&] { return table.clear_interfaces(), true; }},
        {"MAC 3 in VLAN 1 after all", [&] { return table.create_interface(refuse, mac3, 1, id); }},
    };
    expect_in_step(table, "at first");
    for (const Step& step : steps) {
        ASSERT_TRUE(step.change()) << step.what;
        expect_in_step(table, step.what);
    }
}

}  // namespace
