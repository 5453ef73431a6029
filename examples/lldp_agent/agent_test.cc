// The agent over the library and the reference host with in-memory ports:
// frames of lldpd's shape enter a port off the wire, through the card's
// pipeline, and reach the agent through the rx-packet callback; what the
// agent sends is read back from the card.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "agent.hh"
#include "lldp_frames.hh"
#include "lldpdu.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

const unsigned char card_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
const std::string peer = "chassis 52:54:00:12:34:56 port 9e:3c:01:02:03:04 description \"veth1\"";

Usp port(unsigned int n)
{
    return Usp(1, 1, n);
}

class AgentOnCard : public testing::Test {
protected:
    void SetUp() override
    {
        vorn_sim::reset();
        vorn_sim::configure(vorn_sim::Config());
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        std::copy(card_mac, card_mac + 6, settings.chassis_mac);
        settings.system_name = "switch";
        settings.interval = 1;
        settings.ports = {port(1), port(2)};
    }
    void TearDown() override
    {
        agent.reset();
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
    }

    void start()
    {
        agent.reset(new lldp::Agent(settings, out, log, [this] { return now; }));
        std::string error;
        ASSERT_TRUE(agent->start(error)) << error;
    }
    void inject(unsigned int n, const std::vector<unsigned char>& frame)
    {
        ASSERT_TRUE(vorn_sim::inject_frame(port(n), frame));
    }
    // What the agent printed since the last call.
    std::string printed()
    {
        const std::string text = out.str();
        out.str("");
        return text;
    }
    // The LLDPDUs the card sent, by the port they left.
    std::vector<std::pair<Mp, lldp::Lldpdu>> sent()
    {
        std::vector<std::pair<Mp, lldp::Lldpdu>> lldpdus;
        for (const auto& packet : vorn_sim::sent_packets()) {
            lldp::Lldpdu lldpdu;
            std::string error;
            EXPECT_EQ(lldp::decode_frame(packet.data.data(), packet.data.size(), lldpdu, error),
                      lldp::Decoded::lldpdu)
                << error;
            EXPECT_TRUE(packet.tagged.empty());
            EXPECT_EQ(packet.untagged.size(), 1u);
            if (!packet.untagged.empty()) lldpdus.emplace_back(packet.untagged.front(), lldpdu);
        }
        return lldpdus;
    }

    lldp::AgentSettings settings;
    std::ostringstream out, log;
    double now = 1000;
    std::unique_ptr<lldp::Agent> agent;
};

TEST_F(AgentOnCard, SendsOneLldpduPerPortNamingThePort)
{
    start();
    agent->transmit();
    const auto lldpdus = sent();
    ASSERT_EQ(lldpdus.size(), 2u);
    const char* const names[] = {"1/1/1", "1/1/2"};
    for (std::size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_EQ(lldpdus[i].first, Mp(0, static_cast<unsigned int>(i + 1)));
        const lldp::Lldpdu& lldpdu = lldpdus[i].second;
        EXPECT_EQ(lldpdu.chassis, lldp::mac_id(lldp::chassis_mac_address, card_mac));
        EXPECT_EQ(lldpdu.port, lldp::text_id(lldp::port_interface_name, names[i]));
        EXPECT_EQ(lldpdu.port_description, std::string("port ") + names[i]);
        EXPECT_EQ(lldpdu.system_name, "switch");
        EXPECT_EQ(lldpdu.ttl, 4u) << "four intervals";
    }
    agent->transmit_shutdown();
    const auto all = sent();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[2].second.ttl, 0u);
    EXPECT_EQ(all[3].second.ttl, 0u);
}

TEST_F(AgentOnCard, FollowsANeighbourFromItsFirstLldpduToItsLast)
{
    start();
    // Each step: a frame into port 1 (or none), the clock, whether the agent
    // expires, and what it prints.
    struct Step {
        const char* name;
        std::vector<unsigned char> frame;
        double advance;
        std::string printed;
    };
    const Step steps[] = {
        {"first LLDPDU", lldp_test::lldpd_frame("peer", 120), 0,
         "neighbour 1/1/1: " + peer + " system \"peer\"\n"},
        {"the same again: nothing new", lldp_test::lldpd_frame("peer", 120), 100, ""},
        {"not expired 119 s after the refresh", {}, 119, ""},
        {"a new system name", lldp_test::lldpd_frame("peer-2", 120), 0,
         "neighbour 1/1/1: " + peer + " system \"peer-2\"\n"},
        {"its time to live runs out",
         {},
         120,
         "neighbour gone 1/1/1: " + peer + " system \"peer-2\" (time to live ran out)\n"},
        {"back again", lldp_test::lldpd_frame("peer", 120), 0,
         "neighbour 1/1/1: " + peer + " system \"peer\"\n"},
        {"shut down", lldp_test::lldpd_frame("peer", 0), 0,
         "neighbour gone 1/1/1: " + peer + " system \"peer\" (shut down)\n"},
        {"a shutdown of a neighbour not known", lldp_test::lldpd_frame("peer", 0), 0, ""},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.name);
        now += step.advance;
        if (!step.frame.empty()) inject(1, step.frame);
        agent->expire();
        EXPECT_EQ(printed(), step.printed);
    }
    EXPECT_EQ(log.str(), "");
}

TEST_F(AgentOnCard, IgnoresWhatIsNotAnLldpduOfItsOwnPorts)
{
    start();
    std::vector<unsigned char> malformed = lldp_test::lldpd_frame("peer", 120);
    malformed[14 + 2 + 7] = 0x05;  // the port ID TLV's length: 511, past the frame
    malformed[14 + 2 + 7 + 1] = 0xff;
    std::vector<unsigned char> broadcast(64, 0);
    std::fill(broadcast.begin(), broadcast.begin() + 6, 0xff);
    broadcast[12] = 0x08;
    struct Case {
        const char* name;
        unsigned int port;
        std::vector<unsigned char> frame;
        std::string logged;
    };
    const Case cases[] = {
        {"malformed", 1, malformed,
         "lldp: port 1/1/1: ignored a malformed LLDPDU: Port ID TLV (type 2) of length 511 runs "
         "past the frame (" +
             std::to_string(malformed.size() - 14 - 9 - 2) + " bytes left)\n"},
        {"not LLDP", 1, broadcast, ""},
        {"on a port the agent does not run on", 3, lldp_test::lldpd_frame("peer", 120), ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        log.str("");
        inject(c.port, c.frame);
        EXPECT_EQ(log.str(), c.logged);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(agent->neighbour_count(), 0u);
    }
}

TEST_F(AgentOnCard, KeepsNeighboursApartByPortAndBoundsThemPerPort)
{
    start();
    inject(2, lldp_test::lldpd_frame("peer", 120));
    unsigned char chassis[6] = {0x52, 0x54, 0x00, 0x00, 0x00, 0x00};
    for (unsigned int n = 0; n <= lldp::neighbours_per_port_max; ++n) {
        chassis[5] = static_cast<unsigned char>(n);
        inject(1, lldp_test::lldpd_frame("crowd", 120, true, chassis));
    }
    EXPECT_EQ(agent->neighbour_count(), lldp::neighbours_per_port_max + 1);
    EXPECT_NE(
        log.str().find("lldp: port 1/1/1: ignored a neighbour beyond the 32 a port keeps: chassis "
                       "52:54:00:00:00:20"),
        std::string::npos)
        << log.str();
    EXPECT_NE(printed().find("neighbour 1/1/2: " + peer + " system \"peer\"\n"), std::string::npos);
}

TEST_F(AgentOnCard, ForgetsWhatAPortHeardWhenItsLinkGoesDown)
{
    start();
    inject(1, lldp_test::lldpd_frame("one", 120));
    inject(2, lldp_test::lldpd_frame("two", 120));
    printed();
    ASSERT_TRUE(vorn_sim::set_cable(port(1), false));
    EXPECT_EQ(printed(), "neighbour gone 1/1/1: " + peer + " system \"one\" (link down)\n");
    EXPECT_EQ(agent->neighbour_count(), 1u);
    ASSERT_TRUE(vorn_sim::set_cable(port(1), true));
    ASSERT_TRUE(vorn_sim::set_cable(port(3), false));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(agent->neighbour_count(), 1u);
}

// One link-change registration serves every agent started, and stays while
// one of them runs.
TEST_F(AgentOnCard, TwoAgentsHearTheLinksOfTheirOwnPorts)
{
    std::ostringstream other_out;
    lldp::AgentSettings other_settings = settings;
    other_settings.ports = {port(3)};
    lldp::Agent other(other_settings, other_out, log, [this] { return now; });
    std::string error;
    ASSERT_TRUE(other.start(error)) << error;
    settings.ports = {port(1)};
    start();
    inject(1, lldp_test::lldpd_frame("one", 120));
    inject(3, lldp_test::lldpd_frame("three", 120));
    printed();
    other_out.str("");

    agent->stop();
    ASSERT_TRUE(vorn_sim::set_cable(port(3), false));
    EXPECT_EQ(other_out.str(), "neighbour gone 1/1/3: " + peer + " system \"three\" (link down)\n");
    EXPECT_EQ(printed(), "");
    other.stop();
    start();
    inject(1, lldp_test::lldpd_frame("one", 120));
    printed();
    ASSERT_TRUE(vorn_sim::set_cable(port(1), false));
    EXPECT_EQ(printed(), "neighbour gone 1/1/1: " + peer + " system \"one\" (link down)\n")
        << "registered again once none was left";
}

TEST_F(AgentOnCard, TurnsOnLinkLocalTrappingWhileItRuns)
{
    ASSERT_TRUE(vorn_set_port_bpdu_processing(port(1), false));
    start();
    bool trapping = false;
    ASSERT_TRUE(vorn_get_port_bpdu_processing(port(1), trapping));
    EXPECT_TRUE(trapping);
    inject(1, lldp_test::lldpd_frame("peer", 120));
    EXPECT_EQ(agent->neighbour_count(), 1u);

    agent->stop();
    ASSERT_TRUE(vorn_get_port_bpdu_processing(port(1), trapping));
    EXPECT_FALSE(trapping) << "as the agent found it";
    ASSERT_TRUE(vorn_get_port_bpdu_processing(port(2), trapping));
    EXPECT_TRUE(trapping) << "it was on before the agent";
    inject(2, lldp_test::lldpd_frame("peer", 120));
    EXPECT_EQ(printed(), "neighbour 1/1/1: " + peer + " system \"peer\"\n")
        << "no callback after stop";
}

TEST_F(AgentOnCard, RefusesToStartWithNothingLeftBehind)
{
    ASSERT_TRUE(vorn_set_port_bpdu_processing(port(1), false));
    struct Case {
        const char* name;
        std::vector<Usp> ports;
        double interval;
        std::string system_name;
        std::string error;
    };
    const Case cases[] = {
        {"a port the card does not have",
         {port(1), port(49)},
         1,
         "switch",
         "port 1/1/49: the card does not trap link-local frames to the CPU"},
        {"a port twice", {port(1), port(2), port(1)}, 1, "switch", "port 1/1/1 is listed twice"},
        {"a system name too long",
         {port(1)},
         1,
         std::string(256, 's'),
         "port 1/1/1: System Name of 256 bytes (at most 255)"},
        {"no interval",
         {port(1)},
         0,
         "switch",
         "interval of 0 seconds (more than 0, at most 16383.75)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        settings.ports = c.ports;
        settings.interval = c.interval;
        settings.system_name = c.system_name;
        lldp::Agent refused(settings, out, log, [this] { return now; });
        std::string error;
        EXPECT_FALSE(refused.start(error));
        EXPECT_EQ(error, c.error);
        bool trapping = true;
        ASSERT_TRUE(vorn_get_port_bpdu_processing(port(1), trapping));
        EXPECT_FALSE(trapping) << "trapping on port 1/1/1 is as it was";
    }
}

}  // namespace
