// LAGs: one member per flow, many flows over all members; a LAG is one
// port to flooding and learning, and nothing goes back into the LAG it
// came from.
#include <map>

#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

// VLAN 10: ports 1 and 2, and LAG 0/1/1 of ports 5 and 6.
class Lag : public Card {
protected:
    void SetUp() override
    {
        Card::SetUp();
        access_vlan(10, {1, 2, 5, 6});
        ASSERT_TRUE(vorn_add_ports_to_lag(lag(1), {port(5), port(6)}));
    }
};

// The LAG member a frame left on: "5" or "6", "" for none, "5 6" for both.
std::string members_used(const vorn_sim::FrameResult& r)
{
    std::string used;
    for (const auto& e : r.egress)
        if (e.port.port() == 5 || e.port.port() == 6)
            used += (used.empty() ? "" : " ") + std::to_string(e.port.port());
    return used;
}

TEST_F(Lag, EachFlowTakesOneMemberAndManyFlowsTakeThemAll)
{
    std::map<std::string, int> flows_by_member;
    for (unsigned int n = 0; n < 64; ++n) {
        SCOPED_TRACE("source " + std::to_string(n));
        const Bytes flood = frame(unknown, station(0x100 + n));
        const std::string first = members_used(inject(1, flood));
        ASSERT_TRUE(first == "5" || first == "6") << first;
        for (int again = 0; again < 3; ++again) EXPECT_EQ(members_used(inject(1, flood)), first);
        ++flows_by_member[first];
    }
    EXPECT_GT(flows_by_member["5"], 8);
    EXPECT_GT(flows_by_member["6"], 8);
}

// By source IP: many sources from one MAC spread, one source from many
// MACs stays on one member; frames that are not IP fall back to the MACs.
TEST_F(Lag, AnIpStrategyHashesTheAddressesAndFallsBackToMacs)
{
    ASSERT_TRUE(vorn_set_lag_balancing_strategy(lag(1), LAG_PSC_SRC_IP));
    struct Case {
        const char* what;
        Bytes (*flow)(unsigned int n);
        bool spread;
    };
    const Case cases[] = {
        {"one MAC, many source addresses",
         [](unsigned int n) -> Bytes {
             return frame(unknown, station(1)).ipv4(ip4(10, 0, 1, n), ip4(10, 0, 0, 1));
         },
         true},
        {"many MACs, one source address",
         [](unsigned int n) -> Bytes {
             return frame(unknown, station(0x100 + n)).ipv4(ip4(10, 0, 1, 1), ip4(10, 0, 0, n));
         },
         false},
        {"not IP: many MACs",
         [](unsigned int n) -> Bytes { return frame(unknown, station(0x100 + n)); }, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::map<std::string, int> flows_by_member;
        for (unsigned int n = 0; n < 64; ++n) ++flows_by_member[members_used(inject(1, c.flow(n)))];
        EXPECT_EQ(flows_by_member.size(), c.spread ? 2u : 1u);
        EXPECT_EQ(flows_by_member.count(""), 0u);
    }
}

TEST_F(Lag, AMemberWithoutLinkIsPassedOver)
{
    ASSERT_TRUE(vorn_sim::set_cable(port(5), false));
    for (unsigned int n = 0; n < 16; ++n) {
        SCOPED_TRACE("source " + std::to_string(n));
        EXPECT_EQ(members_used(inject(1, frame(unknown, station(0x100 + n)))), "6");
    }
}

// Whichever member a flow would take, a flood never leaves by the LAG it
// came in on.
TEST_F(Lag, AFloodNeverGoesBackIntoItsLag)
{
    for (unsigned int n = 0; n < 32; ++n) {
        SCOPED_TRACE("source " + std::to_string(n));
        const unsigned int in = 5 + n % 2;
        expect_result(inject(in, frame(broadcast_mac, station(0x100 + n))), "1 2 cpu:broadcast",
                      "");
        expect_result(inject(in, frame(unknown, station(0x100 + n))), "1 2", "");
    }
}

TEST_F(Lag, SourcesAreLearnedOnTheLagAndNothingGoesBackIntoIt)
{
    struct Step {
        const char* what;
        unsigned int in;
        Bytes frame;
        const char* members;  // the members it left on; "5|6": one of them
        const char* out;      // the other ports and the CPU
        const char* drop;
    };
    const Step steps[] = {
        {"a broadcast in on a member", 5, frame(broadcast_mac, station(7)), "", "1 2 cpu:broadcast",
         ""},
        {"unknown unicast in on the other member", 6, frame(unknown, station(7)), "", "1 2", ""},
        {"to the station behind the LAG", 1, frame(station(7), station(1)), "5|6", "", ""},
        {"from one member to the station behind the LAG", 5, frame(station(7), station(8)), "", "",
         "where the frame came from"},
        {"from one member to a station on port 1", 6, frame(station(1), station(8)), "", "1", ""},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        const vorn_sim::FrameResult result = inject(s.in, s.frame);
        const std::string members = members_used(result);
        if (std::string(s.members) == "5|6")
            EXPECT_TRUE(members == "5" || members == "6") << members << trace_text(result);
        else
            EXPECT_EQ(members, s.members) << trace_text(result);
        vorn_sim::FrameResult others = result;
        others.egress.erase(std::remove_if(others.egress.begin(), others.egress.end(),
                                           [](const vorn_sim::EgressFrame& e) {
                                               return e.port.port() == 5 || e.port.port() == 6;
                                           }),
                            others.egress.end());
        expect_result(others, s.out, s.drop);
        EXPECT_EQ(fdb_entry(10, station(7)), "0/1/1");
    }
    EXPECT_EQ(fdb_entry(10, station(8)), "0/1/1");
}

}  // namespace
