// Every kind's word survives the round trip exactly, edge values included,
// and a word that is not a value of its kind is refused with the reason.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <list>
#include <string>
#include <vector>

#include "codec.hh"

namespace {

using vorn_meta::decode;
using vorn_meta::encode;
using vorn_meta::Ipv6;
using vorn_meta::Kind;
using vorn_meta::Mac;
using vorn_meta::VlanBitmap;

// The value a word decodes to encodes to the same word, and equals the
// value the word was made from (`same`).
template <Kind K, class T, class Same>
void round_trip(const T& value, const std::string& word, Same same)
{
    SCOPED_TRACE(word);
    EXPECT_EQ(encode<K>(value), word);
    T read{};
    ASSERT_EQ(decode<K>(word, read), "");
    EXPECT_TRUE(same(read, value));
    EXPECT_EQ(encode<K>(read), word);
}

template <Kind K, class T>
void round_trip(const T& value, const std::string& word)
{
    round_trip<K>(value, word, [](const T& a, const T& b) { return a == b; });
}

VlanBitmap bitmap_of(std::vector<unsigned int> vlans)
{
    VlanBitmap bitmap{};
    for (unsigned int vlan : vlans)
        bitmap[vlan / 8] = static_cast<unsigned char>(bitmap[vlan / 8] | 1u << (vlan % 8));
    return bitmap;
}

Packet packet_of(unsigned int type, std::vector<unsigned char> data)
{
    Packet packet;
    packet.set_type(type);
    packet.set_data(data);
    return packet;
}

bool same_packet(const Packet& a, const Packet& b)
{
    return a.type() == b.type() && a.length() == b.length() && a.data() == b.data();
}

template <class Flow>
bool same_flow(const Flow& a, const Flow& b)
{
    const of_flow_match_s& x = a.match;
    const of_flow_match_s& y = b.match;
    return a.in_port == b.in_port && std::memcmp(x.dst_mac, y.dst_mac, 6) == 0 &&
           std::memcmp(x.src_mac, y.src_mac, 6) == 0 && x.vlan_id == y.vlan_id &&
           x.vlan_pcp == y.vlan_pcp && x.eth_type == y.eth_type && x.src_ip == y.src_ip &&
           x.src_ip_mask == y.src_ip_mask && x.dst_ip == y.dst_ip &&
           x.dst_ip_mask == y.dst_ip_mask && x.ip_proto == y.ip_proto && x.ip_tos == y.ip_tos &&
           x.l4_src_port == y.l4_src_port && x.l4_dst_port == y.l4_dst_port &&
           x.match_flags == y.match_flags;
}

of_flow_match_s full_match()
{
    of_flow_match_s m{};
    const unsigned char dst[6] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    const unsigned char src[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
    std::memcpy(m.dst_mac, dst, 6);
    std::memcpy(m.src_mac, src, 6);
    m.vlan_id = 4095;
    m.vlan_pcp = 7;
    m.eth_type = 0x86dd;
    m.src_ip = 0xc0a80001u;
    m.src_ip_mask = 0xffffff00u;
    m.dst_ip = 0;
    m.dst_ip_mask = 0xffffffffu;
    m.ip_proto = 65535;
    m.ip_tos = 0;
    m.l4_src_port = 1;
    m.l4_dst_port = 65535;
    m.match_flags = 0xfffu;
    return m;
}

const char full_match_word[] =
    "dst_mac=ff:ff:ff:ff:ff:ff,src_mac=00:1b:21:0a:0b:0c,vlan_id=4095,vlan_pcp=7,eth_type=34525,"
    "src_ip=192.168.0.1,src_ip_mask=255.255.255.0,dst_ip=0.0.0.0,dst_ip_mask=255.255.255.255,ip_"
    "proto=65535,"
    "ip_tos=0,l4_src_port=1,l4_dst_port=65535,match_flags=4095}";

TEST(Codec, NumbersAndFlagsRoundTrip)
{
    round_trip<Kind::number>(0u, "0");
    round_trip<Kind::number>(std::numeric_limits<unsigned int>::max(), "4294967295");
    round_trip<Kind::number>(std::numeric_limits<unsigned long long>::max(),
                             "18446744073709551615");
    round_trip<Kind::number>(std::numeric_limits<int>::min(), "-2147483648");
    round_trip<Kind::number>(std::numeric_limits<long long>::min(), "-9223372036854775808");
    round_trip<Kind::number>(-1, "-1");
    round_trip<Kind::number>(static_cast<unsigned short>(65535), "65535");
    round_trip<Kind::number>(STAT_TYPE_COUNT, "21");
    round_trip<Kind::flag>(true, "true");
    round_trip<Kind::flag>(false, "false");
}

TEST(Codec, TextRoundTripsWithEscapes)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "\"\""},
        {"trace_level_all", "\"trace_level_all\""},
        {"two words", "\"two words\""},
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"back\\slash", "\"back\\\\slash\""},
        {"a\nb\tc\rd", "\"a\\nb\\tc\\rd\""},
        {std::string("nul\0bell\x07", 9), "\"nul\\x00bell\\x07\""},
        {"\x7f\xc3\xa9", "\"\\x7f\xc3\xa9\""},
        {"[0:1,0:2]", "\"[0:1,0:2]\""},
    };
    for (const auto& c : cases) round_trip<Kind::text>(c.first, c.second);
}

TEST(Codec, PortsAndListsRoundTrip)
{
    round_trip<Kind::port>(Mp(0, 3), "0:3");
    round_trip<Kind::port>(Mp(4294967295u, 0), "4294967295:0");
    round_trip<Kind::usp>(Usp(1, 1, 3), "1/1/3");
    round_trip<Kind::usp>(Usp(0, 0, 0), "0/0/0");
    round_trip<Kind::port_list>(std::list<Mp>{}, "[]");
    round_trip<Kind::port_list>(std::list<Mp>{Mp(0, 1)}, "[0:1]");
    round_trip<Kind::port_list>(std::list<Mp>{Mp(0, 2), Mp(0, 1), Mp(0, 2)}, "[0:2,0:1,0:2]");
    round_trip<Kind::usp_list>(std::list<Usp>{}, "[]");
    round_trip<Kind::usp_list>(std::list<Usp>{Usp(1, 1, 3), Usp(0, 1, 128)}, "[1/1/3,0/1/128]");
}

TEST(Codec, AddressesRoundTrip)
{
    round_trip<Kind::mac>(Mac{0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c}, "00:1b:21:0a:0b:0c");
    round_trip<Kind::mac>(Mac{}, "00:00:00:00:00:00");
    round_trip<Kind::mac>(Mac{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, "ff:ff:ff:ff:ff:ff");
    round_trip<Kind::ipv4>(0xc0a80001u, "192.168.0.1");
    round_trip<Kind::ipv4>(0u, "0.0.0.0");
    round_trip<Kind::ipv4>(0xffffffffu, "255.255.255.255");
    const Ipv6 doc = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    round_trip<Kind::ipv6>(doc, "2001:0db8:0000:0000:0000:0000:0000:0001");
    round_trip<Kind::ipv6>(Ipv6{}, "0000:0000:0000:0000:0000:0000:0000:0000");
    Ipv6 ones;
    ones.fill(0xff);
    round_trip<Kind::ipv6_mask>(ones, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
    const Ipv6 slash64 = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    round_trip<Kind::ipv6_mask>(slash64, "ffff:ffff:ffff:ffff:0000:0000:0000:0000");
    // Upper-case digits are read too; the word written is lower case.
    Mac read{};
    EXPECT_EQ(decode<Kind::mac>("00:1B:21:0A:0B:0C", read), "");
    EXPECT_EQ(encode<Kind::mac>(read), "00:1b:21:0a:0b:0c");
}

TEST(Codec, VlanBitmapsRoundTrip)
{
    VlanBitmap all;
    all.fill(0xff);
    round_trip<Kind::vlan_bitmap>(VlanBitmap{}, "[]");
    round_trip<Kind::vlan_bitmap>(all, "[0-4095]");
    round_trip<Kind::vlan_bitmap>(bitmap_of({4095}), "[4095]");
    round_trip<Kind::vlan_bitmap>(bitmap_of({0}), "[0]");
    round_trip<Kind::vlan_bitmap>(bitmap_of({1, 5, 10, 11, 12, 20, 4094, 4095}),
                                  "[1,5,10-12,20,4094-4095]");
    round_trip<Kind::vlan_bitmap>(bitmap_of({7, 8}), "[7-8]");  // across a byte
    // Ranges may be written out of order or overlapping; the word written is canonical.
    VlanBitmap read{};
    EXPECT_EQ(decode<Kind::vlan_bitmap>("[20,10-12,11]", read), "");
    EXPECT_EQ(encode<Kind::vlan_bitmap>(read), "[10-12,20]");
}

TEST(Codec, RecordsRoundTrip)
{
    round_trip<Kind::packet>(packet_of(0, {}), "{type=0,length=0,data=}", same_packet);
    round_trip<Kind::packet>(packet_of(2048, {0x00, 0x11, 0xaa, 0xff}),
                             "{type=2048,length=4,data=0011aaff}", same_packet);
    of_flow_mp_s flow;
    flow.in_port = Mp(0, 3);
    flow.match = full_match();
    round_trip<Kind::flow>(flow, std::string("{in_port=0:3,") + full_match_word,
                           same_flow<of_flow_mp_s>);
    of_flow_s flow_usp;
    flow_usp.in_port = Usp(1, 1, 3);
    flow_usp.match = full_match();
    round_trip<Kind::flow_usp>(flow_usp, std::string("{in_port=1/1/3,") + full_match_word,
                               same_flow<of_flow_s>);
    const of_flow_qualify_udf_s udf = {{0, 1, 4294967295u, 7}};
    round_trip<Kind::flow_udf>(udf, "[0,1,4294967295,7]",
                               [](const of_flow_qualify_udf_s& a, const of_flow_qualify_udf_s& b) {
                                   return std::memcmp(a.word, b.word, sizeof a.word) == 0;
                               });
    const of_action_param_s param = {{6, -2, 2147483647}};
    round_trip<Kind::action_param>(param, "[6,-2,2147483647]",
                                   [](const of_action_param_s& a, const of_action_param_s& b) {
                                       return std::memcmp(a.word, b.word, sizeof a.word) == 0;
                                   });
}

TEST(Codec, CountersRoundTrip)
{
    const auto same64 = [](const std::list<StatCounter64>& a, const std::list<StatCounter64>& b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(),
                          [](const StatCounter64& x, const StatCounter64& y) {
                              return x.type == y.type && x.value == y.value;
                          });
    };
    round_trip<Kind::counters>(std::list<StatCounter64>{}, "[]", same64);
    round_trip<Kind::counters>(
        std::list<StatCounter64>{{static_cast<stat_type_t>(0), 0, 18446744073709551615ull},
                                 {static_cast<stat_type_t>(3), 0, 7}},
        "[0=18446744073709551615,3=7]", same64);
    const auto same32 = [](const std::list<BriefStatCounter32>& a,
                           const std::list<BriefStatCounter32>& b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(),
                          [](const BriefStatCounter32& x, const BriefStatCounter32& y) {
                              return x.type == y.type && x.value == y.value;
                          });
    };
    round_trip<Kind::counters>(
        std::list<BriefStatCounter32>{{static_cast<brief_stat_type_t>(1), 4294967295u}},
        "[1=4294967295]", same32);
    const StatCounter32 array[2] = {{static_cast<stat_type_t>(0), 5},
                                    {static_cast<stat_type_t>(1), 6}};
    EXPECT_EQ(vorn_meta::Form<Kind::counters>::encode(array, 2), "[0=5,1=6]");
}

void callback(int) {}

TEST(Codec, AddressesHandedOverRoundTrip)
{
    round_trip<Kind::user_data>(static_cast<void*>(nullptr), "null");
    int target = 0;
    void* pointer = &target;
    void* read = nullptr;
    EXPECT_EQ(decode<Kind::user_data>(encode<Kind::user_data>(pointer), read), "");
    EXPECT_EQ(read, pointer);
    void (*function)(int) = callback;
    void (*function_read)(int) = nullptr;
    EXPECT_EQ(decode<Kind::callback>(encode<Kind::callback>(function), function_read), "");
    EXPECT_EQ(function_read, function);
}

// A byte pointer's kind says how many bytes it points at.
TEST(Codec, KindsKnownAtRunTimeReadBytePointersByKind)
{
    const VlanBitmap bitmap = bitmap_of({1, 4095});
    const Ipv6 address = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const unsigned char* none = nullptr;
    EXPECT_EQ(encode(Kind::mac, address.data()), "fe:80:00:00:00:00");
    EXPECT_EQ(encode(Kind::ipv6, address.data()), "fe80:0000:0000:0000:0000:0000:0000:0001");
    EXPECT_EQ(encode(Kind::vlan_bitmap, bitmap.data()), "[1,4095]");
    EXPECT_EQ(encode(Kind::mac, none), "null");
    EXPECT_EQ(encode(Kind::ipv4, 0x0a000001u), "10.0.0.1");
    EXPECT_EQ(encode(Kind::number, 0x0a000001u), "167772161");
    EXPECT_EQ(encode(Kind::port_list, std::list<Mp>{Mp(0, 1)}), "[0:1]");
}

// Decodes `word` as the kind's usual value and returns the reason, checking
// that a refused word leaves the value as it was.
template <Kind K, class T>
std::string refusal(const std::string& word, T before)
{
    T value = before;
    const std::string why = decode<K>(word, value);
    EXPECT_EQ(encode<K>(value), encode<K>(before))
        << word << " changed the value it was refused for";
    return why;
}

std::string refusal_of(Kind kind, const std::string& word)
{
    switch (kind) {
        case Kind::number:
            return refusal<Kind::number>(word, 7u);
        case Kind::flag:
            return refusal<Kind::flag>(word, true);
        case Kind::text:
            return refusal<Kind::text>(word, std::string("kept"));
        case Kind::port:
            return refusal<Kind::port>(word, Mp(0, 9));
        case Kind::usp:
            return refusal<Kind::usp>(word, Usp(1, 1, 9));
        case Kind::port_list:
            return refusal<Kind::port_list>(word, std::list<Mp>{Mp(0, 9)});
        case Kind::mac:
            return refusal<Kind::mac>(word, Mac{1, 2, 3, 4, 5, 6});
        case Kind::ipv4:
            return refusal<Kind::ipv4>(word, 1u);
        case Kind::ipv6:
            return refusal<Kind::ipv6>(word, Ipv6{1});
        case Kind::vlan_bitmap:
            return refusal<Kind::vlan_bitmap>(word, bitmap_of({9}));
        case Kind::packet:
            return refusal<Kind::packet>(word, packet_of(1, {9}));
        case Kind::flow: {
            of_flow_mp_s flow;
            flow.match = full_match();
            return refusal<Kind::flow>(word, flow);
        }
        case Kind::action_param:
            return refusal<Kind::action_param>(word, of_action_param_s{{1, 2, 3}});
        case Kind::counters:
            return refusal<Kind::counters>(
                word, std::list<StatCounter32>{{static_cast<stat_type_t>(1), 9}});
        case Kind::user_data:
            return refusal<Kind::user_data>(word, static_cast<void*>(nullptr));
        default:
            return "no refusal case for this kind";
    }
}

TEST(Codec, BadWordsAreRefusedWithTheReason)
{
    struct Case {
        Kind kind;
        std::string word;
        std::string reason;
    };
    const std::string flow_start = "{in_port=0:3,";
    const Case cases[] = {
        {Kind::number, "", "\"\" is not a number: expected a decimal integer from 0 to 4294967295"},
        {Kind::number, "4294967296",
         "\"4294967296\" is not a number: expected a decimal integer from 0 to 4294967295"},
        {Kind::number, "-1",
         "\"-1\" is not a number: expected a decimal integer from 0 to 4294967295"},
        {Kind::number, "0x10",
         "\"0x10\" is not a number: expected a decimal integer from 0 to 4294967295"},
        {Kind::number, "99999999999999999999999",
         "\"99999999999999999999999\" is not a number: expected a decimal integer from 0 to "
         "4294967295"},
        {Kind::flag, "yes", "\"yes\" is not a flag: expected true or false"},
        {Kind::text, "plain", "\"plain\" is not a text: expected a string in double quotes"},
        {Kind::text, "\"a\"b\"", "\"\"a\"b\"\" is not a text: a '\"' inside must be written \\\""},
        {Kind::text, "\"a\\q\"", "\"\"a\\q\"\" is not a text: unknown escape \\q"},
        {Kind::text, "\"a\\x4\"", "\"\"a\\x4\"\" is not a text: unknown escape \\x"},
        {Kind::text, "\"a\\\"", "\"\"a\\\"\" is not a text: a '\\' ends it"},
        {Kind::port, "0-3", "\"0-3\" is not a port: expected module:port"},
        {Kind::port,
         "0:", "\"0:\" is not a port: expected module:port in unsigned decimal numbers"},
        {Kind::port, "0:3:4",
         "\"0:3:4\" is not a port: expected module:port in unsigned decimal numbers"},
        {Kind::usp, "1/1", "\"1/1\" is not a usp: expected unit/slot/port"},
        {Kind::port_list, "0:1,0:2", "\"0:1,0:2\" is not a port_list: expected [...]"},
        {Kind::port_list, "[0:1,,0:2]",
         "\"[0:1,,0:2]\" is not a port_list: an empty item or unbalanced brackets or quotes"},
        {Kind::port_list, "[0:1,x]",
         "\"[0:1,x]\" is not a port_list: \"x\" is not a port: expected module:port"},
        {Kind::mac, "00:1b:21:0a:0b",
         "\"00:1b:21:0a:0b\" is not a mac: expected six hex bytes separated by ':'"},
        {Kind::mac, "00-1b-21-0a-0b-0c",
         "\"00-1b-21-0a-0b-0c\" is not a mac: expected six hex bytes separated by ':'"},
        {Kind::mac, "00:1b:21:0a:0b:0g",
         "\"00:1b:21:0a:0b:0g\" is not a mac: group 6 is not hex digits"},
        {Kind::ipv4, "10.0.0", "\"10.0.0\" is not a ipv4: expected a.b.c.d"},
        {Kind::ipv4, "10.0.0.256", "\"10.0.0.256\" is not a ipv4: a part above 255"},
        {Kind::ipv6, "2001:db8::1",
         "\"2001:db8::1\" is not a ipv6: expected eight groups of four hex digits separated by "
         "':'"},
        {Kind::vlan_bitmap, "[4096]",
         "\"[4096]\" is not a vlan_bitmap: \"4096\" is not within 0-4095 in order"},
        {Kind::vlan_bitmap, "[20-10]",
         "\"[20-10]\" is not a vlan_bitmap: \"20-10\" is not within 0-4095 in order"},
        {Kind::vlan_bitmap, "[1,a]",
         "\"[1,a]\" is not a vlan_bitmap: \"a\" is not a VLAN or a range a-b"},
        {Kind::packet, "{type=1,length=2,data=00}",
         "\"{type=1,length=2,data=00}\" is not a packet: length 2 but 1 data bytes"},
        {Kind::packet, "{type=1,length=1,data=0}",
         "\"{type=1,length=1,data=0}\" is not a packet: data is not whole hex bytes"},
        {Kind::packet, "{type=1,data=00}",
         "\"{type=1,data=00}\" is not a packet: 3 fields expected, 2 given"},
        {Kind::packet, "{type=1,size=1,data=00}",
         "\"{type=1,size=1,data=00}\" is not a packet: field 2 must be length"},
        {Kind::packet, "{type=x,length=0,data=}",
         "\"{type=x,length=0,data=}\" is not a packet: field type: \"x\" is not a number: expected "
         "a decimal integer from 0 to 4294967295"},
        {Kind::flow,
         flow_start + "dst_mac=ff:ff:ff:ff:ff:ff,src_mac=00:1b:21:0a:0b:0c,vlan_id=65536,vlan_pcp="
                      "7,eth_type=34525,"
                      "src_ip=192.168.0.1,src_ip_mask=255.255.255.0,dst_ip=0.0.0.0,dst_ip_mask=255."
                      "255.255.255,ip_proto=65535,"
                      "ip_tos=0,l4_src_port=1,l4_dst_port=65535,match_flags=4095}",
         "field vlan_id: \"65536\" is not a number: expected a decimal integer from 0 to 65535"},
        {Kind::action_param, "[1,2]", "\"[1,2]\" is not a action_param: 3 words expected, 2 given"},
        {Kind::action_param, "[1,2,2147483648]",
         "\"[1,2,2147483648]\" is not a action_param: word 3: \"2147483648\" is not a number: "
         "expected a decimal integer from -2147483648 to 2147483647"},
        {Kind::counters, "[1:5]",
         "\"[1:5]\" is not a counters: \"1:5\" is not type=value in decimal"},
        {Kind::user_data, "0xzz",
         "\"0xzz\" is not a user_data: expected null or 0x and hex digits"},
    };
    for (const Case& c : cases) {
        const std::string why = refusal_of(c.kind, c.word);
        if (c.kind == Kind::flow)
            EXPECT_NE(why.find(c.reason), std::string::npos) << why;
        else
            EXPECT_EQ(why, c.reason) << c.word;
    }
}

}  // namespace
