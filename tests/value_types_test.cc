// Layout of the value classes (shared with the SDK and the port mapping) and
// the few behaviours they have.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "vorn_types.hh"

// Layouts: these hold on x86-64 and on 32-bit PowerPC alike.
static_assert(sizeof(Usp) == 12 && alignof(Usp) == 4, "Usp: three words");
static_assert(sizeof(Mp) == 8 && alignof(Mp) == 4, "Mp: two words");
static_assert(sizeof(StatCounter32) == 8, "kind, value");
static_assert(sizeof(StatCounter64) == 16 && offsetof(StatCounter64, value) == 8,
              "kind, pad, 8-byte aligned value");
static_assert(sizeof(BriefStatCounter32) == 8, "kind, value");
static_assert(sizeof(BriefStatCounter64) == 16 && offsetof(BriefStatCounter64, value) == 8,
              "kind, pad, value");
static_assert(sizeof(of_flow_match_s) == 48, "48 bytes of match fields");
static_assert(offsetof(of_flow_match_s, match_flags) == 44, "flag word last");
static_assert(sizeof(of_flow_s) == 60 && offsetof(of_flow_s, match) == 12, "Usp, match");
static_assert(sizeof(of_flow_mp_s) == 56 && offsetof(of_flow_mp_s, match) == 8, "Mp, match");
static_assert(sizeof(of_action_param_s) == 12, "three words");
static_assert(sizeof(of_flow_qualify_udf_s) == 16, "four words");
static_assert(sizeof(usp_s) == 12, "C image of Usp");

// Every enumeration of the interface is a 4-byte value.
static_assert(sizeof(stp_state_t) == 4 && sizeof(mstp_state_t) == 4 && sizeof(stat_type_t) == 4 &&
                  sizeof(brief_stat_type_t) == 4 && sizeof(mirror_type_t) == 4 &&
                  sizeof(flood_block_type_t) == 4 && sizeof(port_ability_type_t) == 4 &&
                  sizeof(ingress_discard_type_t) == 4 && sizeof(phy_state_t) == 4 &&
                  sizeof(speed_type_t) == 4 && sizeof(duplex_type_t) == 4 &&
                  sizeof(frame_type_t) == 4 && sizeof(lag_psc_t) == 4 &&
                  sizeof(of_action_t) == 4 && sizeof(lcmgr_report_event_t) == 4,
              "4-byte enumerations");
static_assert(STP_STATE_DISABLED == 0, "state 0 is the one that flushes");
static_assert(PHY_STATE_UP == 1, "link state 1 is up");

// Trivial copies and destruction keep Mp passed in registers by value on
// 64-bit hosts, as the SDK operations that take it by value expect.
static_assert(std::is_trivially_copyable<Usp>::value && std::is_trivially_destructible<Usp>::value,
              "Usp is trivial to copy and destroy");
static_assert(std::is_trivially_copyable<Mp>::value && std::is_trivially_destructible<Mp>::value,
              "Mp is trivial to copy and destroy");
static_assert(std::is_trivially_copyable<of_flow_mp_s>::value, "flow copies are plain");

namespace {

TEST(Packet, SetDataKeepsLengthEqualToTheLastData)
{
    Packet packet;
    EXPECT_EQ(packet.length(), 0u);
    packet.set_data({1, 2, 3, 4});
    packet.set_data({9, 8});
    EXPECT_EQ(packet.length(), 2u);
    EXPECT_EQ(packet.data(), (std::vector<unsigned char>{9, 8}));
    packet.set_data({});
    EXPECT_EQ(packet.length(), 0u);
    EXPECT_TRUE(packet.data().empty());
}

TEST(LagNode, CopyHasItsOwnMemberList)
{
    LagNode original(3);
    original.members().push_back(Mp(0, 4));
    LagNode copy = original;
    copy.members().push_back(Mp(0, 5));
    EXPECT_EQ(original.members().size(), 1u);
    EXPECT_EQ(copy.lag_id(), 3u);
    EXPECT_EQ(copy.members().size(), 2u);
}

TEST(FlowRecords, DefaultInPortIsZero)
{
    of_flow_s flow;
    EXPECT_EQ(flow.in_port, Usp(0, 0, 0));
    of_flow_mp_s hardware_flow;
    EXPECT_EQ(hardware_flow.in_port, Mp(0, 0));
}

}  // namespace
