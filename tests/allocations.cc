// Heap allocations on the call path.  This program is the host process and
// replaces the global operator new, which the library's own calls resolve to,
// so every allocation the library makes during a call is counted.  The host
// is the do-nothing host (noop_host.hh): its SDK allocates nothing, and its
// port mapping allocates exactly one list node per member it reports.
//
// A single-port entry point, C++ or C, allocates nothing.  A fan-out
// allocates one node per member (the list the port mapping fills) and
// nothing more: no copies of the list, no second list per member.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <list>
#include <new>
#include <string>
#include <vector>

#include "count_allocations.hh"
#include "noop_host.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"

namespace {

// The allocations made by `call`, which must succeed.
unsigned long allocations_of(const std::function<bool()>& call)
{
    bool ok = false;
    const unsigned long made = vorn_test::allocations_of([&] { ok = call(); });
    EXPECT_TRUE(ok);
    return made;
}

struct Case {
    std::string name;
    std::function<bool()> call;
};

class Allocations : public ::testing::Test {
protected:
    void SetUp() override
    {
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
    }
};

const Usp physical(1, 1, 3);
const Usp lag(0, 1, 1);
const Usp vlan_interface(0, 2, 10);

std::list<Usp> ports(unsigned int first, unsigned int last)
{
    std::list<Usp> list;
    for (unsigned int port = first; port <= last; ++port) list.push_back(Usp(1, 1, port));
    return list;
}

TEST_F(Allocations, SinglePortEntryPointsAllocateNothing)
{
    unsigned int pvid = 0;
    stp_state_t stp = STP_STATE_DISABLED;
    speed_type_t speed = speed_type_t();
    phy_state_t link = PHY_STATE_DOWN;
    usp_s port = {1, 1, 3};
    const std::vector<Case> cases = {
        {"vorn_get_port_pvid", [&] { return vorn_get_port_pvid(physical, pvid); }},
        {"vorn_get_port_stp_state", [&] { return vorn_get_port_stp_state(physical, stp); }},
        {"vorn_get_port_speed", [&] { return vorn_get_port_speed(physical, speed); }},
        {"vorn_set_port_speed", [&] { return vorn_set_port_speed(physical, speed); }},
        {"vorn_get_port_link_state", [&] { return vorn_get_port_link_state(physical, link); }},
        {"ctype_vorn_get_port_pvid", [&] { return ctype_vorn_get_port_pvid(&port, &pvid) == 1; }},
        {"ctype_vorn_get_port_stp_state", [&] { return ctype_vorn_get_port_stp_state(&port, &stp) == 1; }},
        {"ctype_vorn_get_port_speed", [&] { return ctype_vorn_get_port_speed(&port, &speed) == 1; }},
        {"ctype_vorn_set_port_speed", [&] { return ctype_vorn_set_port_speed(&port, speed) == 1; }},
        {"ctype_vorn_get_port_link_state", [&] { return ctype_vorn_get_port_link_state(&port, &link) == 1; }},
    };
    for (const Case& c : cases) EXPECT_EQ(allocations_of(c.call), 0u) << c.name;
}

TEST_F(Allocations, FanOutAllocatesOneNodePerMember)
{
    usp_s c_lag = {0, 1, 1};
    for (const unsigned int members : {1u, 8u, 64u}) {
        noop_host::lag_members = members;
        const std::vector<Case> cases = {
            {"vorn_set_port_pvid", [] { return vorn_set_port_pvid(lag, 10); }},
            {"vorn_set_port_mtu", [] { return vorn_set_port_mtu(lag, 9000); }},
            {"vorn_set_port_state", [] { return vorn_set_port_state(lag, true); }},
            {"ctype_vorn_set_port_pvid", [&] { return ctype_vorn_set_port_pvid(&c_lag, 10) == 1; }},
        };
        for (const Case& c : cases) EXPECT_EQ(allocations_of(c.call), members) << c.name << " over " << members;
    }
    noop_host::lag_members = 1;
}

TEST_F(Allocations, MultiPortEntryPointsAllocateOneNodePerPort)
{
    const std::list<Usp> all = ports(1, 48);
    const std::list<Usp> tagged = ports(1, 24);
    const std::list<Usp> untagged = ports(25, 48);
    EXPECT_EQ(allocations_of([&] { return vorn_set_ports_stp_state(all, STP_STATE_FORWARDING); }), 48u);
    EXPECT_EQ(allocations_of([&] { return vorn_add_ports_to_vlan(10, tagged, untagged); }), 48u);
}

TEST_F(Allocations, SendingOverAVlanInterfaceAllocatesOneNodePerMember)
{
    // The egress list takes the members' own nodes: one per member, not two.
    noop_host::vlan_members = 48;
    Packet packet;
    packet.set_data(std::vector<unsigned char>(64, 0x5a));
    const std::list<Usp> egress = {vlan_interface};
    const std::list<Usp> none;
    EXPECT_EQ(allocations_of([&] { return vorn_send_packet_by_port(egress, none, packet); }), 48u);
}

}  // namespace
