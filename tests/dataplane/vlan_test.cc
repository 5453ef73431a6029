// VLAN classification and ingress filtering: which VLAN a frame is in,
// shown by where it floods.
#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);  // never a source: every frame to it floods
const Mac mac_vlan_source = station(0x20);
const Mac other_source = station(0x01);

// Port 1 is in VLANs 10 (by tag), 20 (MAC), 30 (IPv4 and IPv6 subnets), 40
// (protocol: IPv4, IPv6) and 50 (PVID); each VLAN has one more port, 2 to 6,
// where its floods leave.
class Classification : public Card {
protected:
    void SetUp() override
    {
        Card::SetUp();
        unsigned int out = 2;
        for (unsigned int vid : {10u, 20u, 30u, 40u, 50u}) vlan(vid, {1}, {out++});
        ASSERT_TRUE(vorn_set_port_pvid(port(1), 50));
        ASSERT_TRUE(vorn_set_mac_vlan(mac_vlan_source.data(), 20, 0));
        ASSERT_TRUE(vorn_set_ipv4_subnet_vlan(ip4(10, 30, 0, 0), ip4(255, 255, 0, 0), 30, 0));
        ASSERT_TRUE(vorn_set_ipv6_subnet_vlan(ip6(0x30, 0).data(), 32, 30, 0));
        ASSERT_TRUE(vorn_set_port_protocol_vlan(port(1), FRAME_TYPE_ETHERNET2, 0x0800, 40));
        ASSERT_TRUE(vorn_set_port_protocol_vlan(port(1), FRAME_TYPE_ETHERNET2, 0x86dd, 40));
    }
};

TEST_F(Classification, TagThenMacThenSubnetThenProtocolThenPvid)
{
    const std::uint32_t in_subnet = ip4(10, 30, 0, 1);
    const std::uint32_t elsewhere = ip4(10, 99, 0, 1);
    run_frames({
        {"the tag beats the MAC VLAN", 1,
         frame(unknown, mac_vlan_source).tag(10).ipv4(in_subnet, elsewhere), "2", ""},
        {"the MAC VLAN beats the subnet VLAN", 1,
         frame(unknown, mac_vlan_source).ipv4(in_subnet, elsewhere), "3", ""},
        {"the subnet VLAN beats the protocol VLAN", 1,
         frame(unknown, other_source).ipv4(in_subnet, elsewhere), "4", ""},
        {"the protocol VLAN beats the PVID", 1,
         frame(unknown, other_source).ipv4(elsewhere, in_subnet), "5", ""},
        {"the PVID when nothing else matches", 1, frame(unknown, other_source), "6", ""},
        {"a MAC VLAN source on its own", 1, frame(unknown, mac_vlan_source), "3", ""},
    });
}

TEST_F(Classification, Ipv6SubnetsTakeTheSamePlace)
{
    const Ip6 in_subnet = ip6(0x30, 1);  // 2001:db8:30::1, in 2001:db8::/32
    const Ip6 elsewhere = {{0x20, 0x01, 0x0d, 0xb9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
    run_frames({
        {"the MAC VLAN beats the subnet VLAN", 1,
         frame(unknown, mac_vlan_source).ipv6(in_subnet, elsewhere), "3", ""},
        {"the subnet VLAN beats the protocol VLAN", 1,
         frame(unknown, other_source).ipv6(in_subnet, elsewhere), "4", ""},
        {"one bit past the prefix", 1, frame(unknown, other_source).ipv6(elsewhere, in_subnet), "5",
         ""},
    });
}

// What classified an untagged frame gives it its priority too.
TEST_F(Card, TheClassificationsPriorityGoesWithTheFrame)
{
    vlan(20, {2}, {1});
    vlan(30, {3}, {1});
    ASSERT_TRUE(vorn_set_mac_vlan(station(0x21).data(), 20, 6));
    ASSERT_TRUE(vorn_set_ipv4_subnet_vlan(ip4(10, 30, 0, 0), ip4(255, 255, 0, 0), 30, 3));
    struct Case {
        const char* what;
        Bytes frame;
        const char* out;
        unsigned int priority;
    };
    const Case cases[] = {
        {"the MAC VLAN's", frame(unknown, station(0x21)), "2:20", 6},
        {"the subnet VLAN's", frame(unknown, station(1)).ipv4(ip4(10, 30, 0, 1), 1), "3:30", 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const vorn_sim::FrameResult result = inject(1, c.frame);
        expect_result(result, c.out, "");
        ASSERT_EQ(result.egress.size(), 1u);
        EXPECT_EQ(unsigned(result.egress[0].frame[14] >> 5), c.priority);
    }
}

TEST_F(Classification, APriorityTagIsClassifiedLikeNoTag)
{
    const std::uint32_t in_subnet = ip4(10, 30, 0, 1);
    run_frames({
        {"priority-tagged, MAC VLAN source", 1, frame(unknown, mac_vlan_source).tag(0, 5), "3", ""},
        {"priority-tagged, subnet VLAN source", 1,
         frame(unknown, other_source).tag(0, 5).ipv4(in_subnet, 1), "4", ""},
        {"priority-tagged, nothing else", 1, frame(unknown, other_source).tag(0, 5), "6", ""},
    });
}

// The frame leaves as the VLAN lists the port, whatever it came in with.
TEST_F(Card, EgressTaggingFollowsTheVlanNotTheIngressFrame)
{
    vlan(10, {1, 3}, {2});
    ASSERT_TRUE(vorn_set_port_pvid(port(2), 10));
    run_frames({
        {"tagged in, both ways out", 1, frame(unknown, other_source).tag(10), "2 3:10", ""},
        {"untagged in, both ways out", 2, frame(unknown, other_source), "1:10 3:10", ""},
        {"priority-tagged in: the PVID", 2, frame(unknown, station(2)).tag(0, 3), "1:10 3:10", ""},
    });
}

TEST_F(Card, TaggedOnlyPortsDropUntaggedAndPriorityTaggedFrames)
{
    vlan(10, {1}, {2});
    vlan(1, {}, {1, 3});
    ASSERT_TRUE(vorn_set_port_vlan_accept_frame(port(1), true));
    run_frames({
        {"untagged", 1, frame(unknown, other_source), "", "tagged frames only"},
        {"priority-tagged", 1, frame(unknown, other_source).tag(0), "", "tagged frames only"},
        {"tagged", 1, frame(unknown, other_source).tag(10), "2", ""},
        {"untagged on a port that takes both", 3, frame(unknown, other_source), "1", ""},
    });
}

TEST_F(Card, IngressFilteringDropsUnknownVlansAndNonMembers)
{
    vlan(10, {1}, {2});
    vlan(20, {3}, {});
    ASSERT_TRUE(vorn_set_port_pvid(port(4), 20));  // the PVID alone makes no member
    run_frames({
        {"a VLAN that does not exist", 1, frame(unknown, other_source).tag(99), "",
         "VLAN 99 does not exist"},
        {"a VLAN the port is not in", 1, frame(unknown, other_source).tag(20), "",
         "not a member of VLAN 20"},
        {"untagged into a PVID the port is not in", 4, frame(unknown, other_source), "",
         "not a member of VLAN 20"},
        {"a member", 3, frame(unknown, other_source).tag(20), "", "no port to send it to"},
    });
    EXPECT_EQ(counter(1, STAT_IF_IN_DISCARDS), 2u);
}

}  // namespace
