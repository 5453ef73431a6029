// The LLDPDU codec: what the agent sends reads back, and every broken rule
// in a received LLDPDU is named instead of read past.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "lldp_frames.hh"
#include "lldpdu.hh"

namespace {

using lldp::Decoded;
using lldp_test::Frame;

const unsigned char card_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};

lldp::Lldpdu agent_lldpdu()
{
    lldp::Lldpdu lldpdu;
    lldpdu.chassis = lldp::mac_id(lldp::chassis_mac_address, card_mac);
    lldpdu.port = lldp::text_id(lldp::port_interface_name, "1/1/3");
    lldpdu.ttl = 120;
    lldpdu.port_description = "port 1/1/3";
    lldpdu.system_name = "switch";
    return lldpdu;
}

Decoded decode(const std::vector<unsigned char>& frame, lldp::Lldpdu& lldpdu, std::string& error)
{
    return lldp::decode_frame(frame.data(), frame.size(), lldpdu, error);
}

TEST(Lldpdu, WhatIsSentReadsBackPaddedToTheEthernetMinimum)
{
    std::vector<unsigned char> frame;
    std::string error;
    ASSERT_TRUE(lldp::encode_frame(card_mac, agent_lldpdu(), frame, error)) << error;
    ASSERT_EQ(frame.size(), 60u);
    EXPECT_EQ(std::vector<unsigned char>(frame.begin(), frame.begin() + 14),
              (std::vector<unsigned char>{0x01, 0x80, 0xc2, 0x00, 0x00, 0x0e, 0x02, 0x00, 0x00,
                                          0x00, 0x00, 0x01, 0x88, 0xcc}));
    // Chassis ID TLV: type 1, length 7, subtype 4, the MAC.
    EXPECT_EQ(std::vector<unsigned char>(frame.begin() + 14, frame.begin() + 23),
              (std::vector<unsigned char>{0x02, 0x07, 0x04, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01}));

    lldp::Lldpdu read;
    ASSERT_EQ(decode(frame, read, error), Decoded::lldpdu) << error;
    EXPECT_EQ(read.chassis, agent_lldpdu().chassis);
    EXPECT_EQ(read.port, agent_lldpdu().port);
    EXPECT_EQ(read.ttl, 120u);
    EXPECT_EQ(read.port_description, "port 1/1/3");
    EXPECT_EQ(read.system_name, "switch");
}

TEST(Lldpdu, LongestFieldsAndLongestTimeToLiveReadBack)
{
    lldp::Lldpdu lldpdu = agent_lldpdu();
    lldpdu.port = lldp::text_id(lldp::port_interface_name, std::string(255, 'p'));
    lldpdu.system_name = std::string(255, 's');
    lldpdu.ttl = 65535;
    std::vector<unsigned char> frame;
    std::string error;
    ASSERT_TRUE(lldp::encode_frame(card_mac, lldpdu, frame, error)) << error;
    lldp::Lldpdu read;
    ASSERT_EQ(decode(frame, read, error), Decoded::lldpdu) << error;
    EXPECT_EQ(read.port, lldpdu.port);
    EXPECT_EQ(read.system_name, lldpdu.system_name);
    EXPECT_EQ(read.ttl, 65535u);
}

TEST(Lldpdu, EncodingRefusesWhatDoesNotFitItsTlv)
{
    struct Case {
        const char* name;
        void (*change)(lldp::Lldpdu&);
        const char* error;
    };
    const Case cases[] = {
        {"empty port ID", [](lldp::Lldpdu& l) { l.port.value.clear(); },
         "Port ID of subtype 5 and 0 bytes (subtype 1 to 7, 1 to 255 bytes)"},
        {"port ID of 256 bytes", [](lldp::Lldpdu& l) { l.port.value.assign(256, 'x'); },
         "Port ID of subtype 5 and 256 bytes (subtype 1 to 7, 1 to 255 bytes)"},
        {"reserved chassis subtype", [](lldp::Lldpdu& l) { l.chassis.subtype = 0; },
         "Chassis ID of subtype 0 and 6 bytes (subtype 1 to 7, 1 to 255 bytes)"},
        {"system name of 256 bytes", [](lldp::Lldpdu& l) { l.system_name.assign(256, 's'); },
         "System Name of 256 bytes (at most 255)"},
        {"port description of 300 bytes",
         [](lldp::Lldpdu& l) { l.port_description.assign(300, 'd'); },
         "Port Description of 300 bytes (at most 255)"},
        {"time to live of 65536", [](lldp::Lldpdu& l) { l.ttl = 65536; },
         "Time To Live of 65536 seconds (at most 65535)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        lldp::Lldpdu lldpdu = agent_lldpdu();
        c.change(lldpdu);
        std::vector<unsigned char> frame = {1, 2, 3};
        std::string error;
        EXPECT_FALSE(lldp::encode_frame(card_mac, lldpdu, frame, error));
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(frame, (std::vector<unsigned char>{1, 2, 3})) << "the frame is left alone";
    }
}

TEST(Lldpdu, DecodingNamesEveryBrokenRule)
{
    using lldp_test::peer_chassis;
    struct Case {
        const char* name;
        std::vector<unsigned char> frame;
        Decoded expected;
        const char* error;  // for Decoded::malformed
    };
    const std::vector<unsigned char> chassis = lldp_test::tlv(1, Frame::id(4, peer_chassis, 6));
    const std::vector<unsigned char> port = lldp_test::tlv(2, Frame::id(5, "veth1"));
    const std::vector<unsigned char> ttl = lldp_test::tlv(3, {0x00, 0x78});
    const Case cases[] = {
        {"lldpd's shape: optional and unknown TLVs stepped over",
         lldp_test::lldpd_frame("peer", 120), Decoded::lldpdu, ""},
        {"behind a VLAN tag", Frame().tag(0x8100, 10).tlvs({chassis, port, ttl}).end_tlv().bytes(),
         Decoded::lldpdu, ""},
        {"behind two tags",
         Frame().tag(0x88a8, 20).tag(0x8100, 10).tlvs({chassis, port, ttl}).end_tlv().bytes(),
         Decoded::lldpdu, ""},
        {"another ethertype", Frame(0x0800).tlvs({chassis, port, ttl}).end_tlv().bytes(),
         Decoded::not_lldp, ""},
        {"shorter than an Ethernet header", std::vector<unsigned char>(13, 0), Decoded::not_lldp,
         ""},
        {"no TLV at all", Frame().bytes(), Decoded::malformed, "no End TLV"},
        {"ends after the time to live", Frame().tlvs({chassis, port, ttl}).bytes(),
         Decoded::malformed, "no End TLV"},
        {"a TLV header cut short", Frame().tlvs({chassis, port, ttl}).raw({0x00}).bytes(),
         Decoded::malformed, "a TLV header cut short (1 byte)"},
        {"a TLV longer than the frame", Frame().raw({0x02, 0xff, 0x04, 0x52}).bytes(),
         Decoded::malformed,
         "Chassis ID TLV (type 1) of length 255 runs past the frame (2 bytes left)"},
        {"port ID first", Frame().tlvs({port, chassis, ttl}).end_tlv().bytes(), Decoded::malformed,
         "TLV 1 is Port ID (type 2), not Chassis ID"},
        {"time to live missing", Frame().tlvs({chassis, port}).end_tlv().bytes(),
         Decoded::malformed, "TLV 3 is End (type 0), not Time To Live"},
        {"an unknown TLV among the mandatory ones",
         Frame().tlvs({chassis, lldp_test::tlv(8, {1}), port, ttl}).end_tlv().bytes(),
         Decoded::malformed, "TLV 2 is unknown (type 8), not Port ID"},
        {"chassis ID of length 1",
         Frame().tlvs({lldp_test::tlv(1, {4}), port, ttl}).end_tlv().bytes(), Decoded::malformed,
         "Chassis ID TLV of length 1 (2 to 256)"},
        {"port ID of length 257",
         Frame()
             .tlvs({chassis, lldp_test::tlv(2, std::vector<unsigned char>(257, 'p')), ttl})
             .end_tlv()
             .bytes(),
         Decoded::malformed, "Port ID TLV of length 257 (2 to 256)"},
        {"reserved chassis subtype",
         Frame().tlvs({lldp_test::tlv(1, {0, 'x'}), port, ttl}).end_tlv().bytes(),
         Decoded::malformed, "Chassis ID subtype 0 is reserved"},
        {"reserved port subtype",
         Frame().tlvs({chassis, lldp_test::tlv(2, {8, 'x'}), ttl}).end_tlv().bytes(),
         Decoded::malformed, "Port ID subtype 8 is reserved"},
        {"chassis MAC of 5 bytes",
         Frame()
             .tlvs({lldp_test::tlv(1, Frame::id(4, peer_chassis, 5)), port, ttl})
             .end_tlv()
             .bytes(),
         Decoded::malformed, "Chassis ID is a MAC address of 5 bytes"},
        {"port MAC of 7 bytes",
         Frame()
             .tlvs({chassis, lldp_test::tlv(2, {3, 1, 2, 3, 4, 5, 6, 7}), ttl})
             .end_tlv()
             .bytes(),
         Decoded::malformed, "Port ID is a MAC address of 7 bytes"},
        {"time to live of 3 bytes",
         Frame().tlvs({chassis, port, lldp_test::tlv(3, {0, 0, 120})}).end_tlv().bytes(),
         Decoded::malformed, "Time To Live TLV of length 3 (must be 2)"},
        {"two system names",
         Frame()
             .tlvs({chassis, port, ttl, lldp_test::tlv(5, {'a'}), lldp_test::tlv(5, {'b'})})
             .end_tlv()
             .bytes(),
         Decoded::malformed, "a second System Name TLV"},
        {"a second chassis ID", Frame().tlvs({chassis, port, ttl, chassis}).end_tlv().bytes(),
         Decoded::malformed, "a second Chassis ID TLV"},
        {"End TLV with a value",
         Frame().tlvs({chassis, port, ttl, lldp_test::tlv(0, {0, 0})}).bytes(), Decoded::malformed,
         "End TLV of length 2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        lldp::Lldpdu lldpdu;
        lldpdu.system_name = "untouched";
        std::string error;
        EXPECT_EQ(decode(c.frame, lldpdu, error), c.expected);
        if (c.expected == Decoded::malformed) {
            EXPECT_EQ(error, c.error);
            EXPECT_EQ(lldpdu.system_name, "untouched")
                << "nothing is written from a malformed LLDPDU";
        }
        if (c.expected == Decoded::lldpdu) {
            EXPECT_EQ(lldp::format_id(lldpdu.chassis, true), "52:54:00:12:34:56");
            EXPECT_EQ(lldpdu.ttl, 120u);
        }
    }
}

// Every cut of a valid LLDPDU short of its End TLV is refused, none read past.
TEST(Lldpdu, EveryTruncationIsRefused)
{
    const std::vector<unsigned char> whole = lldp_test::lldpd_frame("peer", 120, false);
    for (std::size_t size = 14; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const std::vector<unsigned char> cut(whole.begin(), whole.begin() + size);
        lldp::Lldpdu lldpdu;
        std::string error;
        EXPECT_EQ(decode(cut, lldpdu, error), Decoded::malformed);
        EXPECT_FALSE(error.empty());
    }
}

// Any byte of lldpd's LLDPDU set to any of a few values: the decoder stays
// inside the frame (a buffer of exactly its size, for the address
// sanitizer), and what it accepts obeys the rules it checks.
TEST(Lldpdu, EveryCorruptedByteIsReadWithinTheFrame)
{
    const std::vector<unsigned char> whole = lldp_test::lldpd_frame("peer", 120, false);
    const unsigned char values[] = {0x00, 0x01, 0x02, 0x06, 0x07, 0x7f, 0x80, 0xfe, 0xff};
    std::size_t accepted = 0, refused = 0;
    for (std::size_t at = 12; at < whole.size(); ++at)
        for (unsigned char value : values) {
            std::unique_ptr<unsigned char[]> frame(new unsigned char[whole.size()]);
            std::copy(whole.begin(), whole.end(), frame.get());
            frame[at] = value;
            lldp::Lldpdu lldpdu;
            std::string error;
            switch (lldp::decode_frame(frame.get(), whole.size(), lldpdu, error)) {
                case Decoded::lldpdu:
                    ++accepted;
                    EXPECT_FALSE(lldpdu.chassis.value.empty()) << at;
                    EXPECT_FALSE(lldpdu.port.value.empty()) << at;
                    EXPECT_LE(lldpdu.system_name.size(), whole.size()) << at;
                    break;
                case Decoded::malformed:
                    ++refused;
                    EXPECT_FALSE(error.empty()) << at;
                    break;
                case Decoded::not_lldp:
                    EXPECT_LT(at, 14u) << "only the ethertype decides that";
                    break;
            }
        }
    EXPECT_GT(accepted, 0u);
    EXPECT_GT(refused, 0u);
}

TEST(Lldpdu, IdsAndTextAsPeopleReadThem)
{
    const unsigned char mac[6] = {0x52, 0x54, 0x00, 0xab, 0xcd, 0xef};
    const struct {
        lldp::Id id;
        bool chassis;
        const char* text;
    } cases[] = {
        {lldp::mac_id(4, mac), true, "52:54:00:ab:cd:ef"},
        {lldp::mac_id(3, mac), false, "52:54:00:ab:cd:ef"},
        {lldp::mac_id(3, mac), true, "52:54:00:ab:cd:ef"},  // not printable: hex either way
        {lldp::text_id(5, "veth1"), false, "\"veth1\""},
        {lldp::text_id(7, "sw-1"), true, "\"sw-1\""},
        {lldp::text_id(5, std::string("a\x01", 2)), false, "61:01"},
    };
    for (const auto& c : cases) EXPECT_EQ(lldp::format_id(c.id, c.chassis), c.text);
    EXPECT_EQ(lldp::quoted("say \"hi\"\\\n\xff"), "\"say \\\"hi\\\"\\\\\\x0a\\xff\"");
}

}  // namespace
