// Longest-prefix route lookups of the L3 tables, and host lookups by
// address: scripted cases whose routes nest across the trie's strides, then
// random tables checked against a scan of the per-length tables.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "l3_tables.hh"

namespace {

using vorn_sim::L3Target;
typedef std::array<unsigned char, 16> Ipv6;

const unsigned char mac[6] = {0x00, 0x1b, 0x21, 0x01, 0x02, 0x03};

unsigned int ip4(const std::string& text)
{
    in_addr address{};
    EXPECT_EQ(inet_pton(AF_INET, text.c_str(), &address), 1) << text;
    return ntohl(address.s_addr);
}

Ipv6 ip6(const std::string& text)
{
    Ipv6 address{};
    EXPECT_EQ(inet_pton(AF_INET6, text.c_str(), address.data()), 1) << text;
    return address;
}

unsigned int mask4(int length) { return length == 0 ? 0 : ~0u << (32 - length); }

Ipv6 mask6(int length)
{
    Ipv6 mask{};
    for (int bit = 0; bit < length; ++bit) mask[bit / 8] |= static_cast<unsigned char>(0x80 >> bit % 8);
    return mask;
}

// L3 tables with interfaces 1 and 2; a route's port number tells which add
// made it.  Every operation here must succeed.
struct Tables {
    std::vector<std::string> refusals;
    vorn_sim::Config config;
    vorn_sim::Refuser refuse{
        [this](int, const std::string&, const std::string& reason) { refusals.push_back(reason); }};
    vorn_sim::Names names{config, vorn_sim::Names::LagInterface()};
    vorn_sim::L3Tables l3{config};

    Tables()
    {
        unsigned int id = 0;
        for (unsigned int vlan : {10, 20}) EXPECT_TRUE(l3.create_interface(refuse, mac, vlan, id));
    }
    ~Tables() { EXPECT_TRUE(refusals.empty()) << refusals.front(); }

    void add4(unsigned int address, int length, unsigned int id, unsigned int interface_id = 1)
    {
        l3.add_route4(refuse, length, address, Mp(0, id), false, mac, interface_id, 10);
    }
    void delete4(unsigned int address, int length, unsigned int id)
    {
        l3.delete_route4(refuse, names, address, mask4(length), Mp(0, id), false);
    }
    void add6(const Ipv6& address, int length, unsigned int id, unsigned int interface_id = 1)
    {
        l3.add_route6(refuse, length, address.data(), Mp(0, id), false, mac, interface_id);
    }
    void delete6(const Ipv6& address, int length, unsigned int id)
    {
        l3.delete_route6(refuse, names, address.data(), mask6(length).data(), Mp(0, id), false);
    }
};

// --- Scripted cases.  Steps: "+prefix/length" adds a route, "-prefix/length"
// deletes it, "clear" clears the routes.  Each probe names the route it
// must find ("" for none); the route found must be the one the latest add
// of that prefix made.
struct Probe {
    const char* address;
    const char* route;
};

struct Case {
    const char* name;
    std::vector<std::string> steps;
    std::vector<Probe> probes;
};

struct Prefix {
    std::string address;
    int length;
};

Prefix prefix_of(const std::string& text)
{
    const auto slash = text.find('/');
    return Prefix{text.substr(0, slash), std::stoi(text.substr(slash + 1))};
}

// Runs the steps with `add`, `remove` and `clear`, then checks each probe
// with `match(address, length)`.
template <class Add, class Remove, class Clear, class Match>
void run_case(const Case& c, Add add, Remove remove, Clear clear, Match match)
{
    SCOPED_TRACE(c.name);
    std::map<std::string, unsigned int> id_of;  // "prefix/length" -> port of its latest add
    unsigned int next_id = 1;
    for (const std::string& step : c.steps) {
        if (step == "clear") {
            clear();
            continue;
        }
        const std::string route = step.substr(1);
        const Prefix p = prefix_of(route);
        if (step[0] == '+') {
            id_of[route] = next_id;
            add(p.address, p.length, next_id++);
        } else {
            remove(p.address, p.length, id_of[route]);
        }
    }
    for (const Probe& probe : c.probes) {
        unsigned int length = 999;
        const L3Target* found = match(probe.address, length);
        const std::string expected = probe.route;
        if (expected.empty()) {
            EXPECT_EQ(found, nullptr) << probe.address << " found a /" << length;
            continue;
        }
        ASSERT_NE(found, nullptr) << probe.address << " found no route, expected " << expected;
        EXPECT_EQ(length, static_cast<unsigned int>(prefix_of(expected).length)) << probe.address;
        EXPECT_EQ(found->port.port(), id_of[expected]) << probe.address << " expected " << expected;
    }
}

TEST(RouteLookup, Ipv4LongestPrefixAcrossStrides)
{
    const std::vector<Case> cases = {
        {"each stride's length, shortest first",
         {"+0.0.0.0/0", "+10.0.0.0/8", "+10.1.0.0/16", "+10.1.2.0/24", "+10.1.2.128/25", "+10.1.2.3/32"},
         {{"10.1.2.3", "10.1.2.3/32"},
          {"10.1.2.4", "10.1.2.0/24"},
          {"10.1.2.200", "10.1.2.128/25"},
          {"10.1.3.1", "10.1.0.0/16"},
          {"10.2.0.1", "10.0.0.0/8"},
          {"11.0.0.1", "0.0.0.0/0"},
          {"255.255.255.255", "0.0.0.0/0"},
          {"0.0.0.0", "0.0.0.0/0"}}},
        {"longest first: shorter routes fill only what is left",
         {"+10.1.2.3/32", "+10.1.2.128/25", "+10.1.2.0/24", "+10.1.0.0/16", "+10.0.0.0/8"},
         {{"10.1.2.3", "10.1.2.3/32"},
          {"10.1.2.2", "10.1.2.0/24"},
          {"10.1.2.255", "10.1.2.128/25"},
          {"10.1.255.1", "10.1.0.0/16"},
          {"10.200.0.1", "10.0.0.0/8"},
          {"9.255.255.255", ""},
          {"11.0.0.0", ""}}},
        {"prefixes straddling the 16-bit boundary",
         {"+10.1.128.0/17", "+10.0.0.0/15", "+10.0.0.0/12", "+10.3.0.0/16"},
         {{"10.0.0.1", "10.0.0.0/15"},
          {"10.1.0.1", "10.0.0.0/15"},
          {"10.1.127.255", "10.0.0.0/15"},
          {"10.1.128.0", "10.1.128.0/17"},
          {"10.2.0.1", "10.0.0.0/12"},
          {"10.3.9.9", "10.3.0.0/16"},
          {"10.15.255.255", "10.0.0.0/12"},
          {"10.16.0.0", ""}}},
        {"prefixes straddling the 24-bit boundary",
         {"+10.1.3.0/25", "+10.1.2.0/23", "+10.1.0.0/20", "+10.1.2.252/30"},
         {{"10.1.2.1", "10.1.2.0/23"},
          {"10.1.3.1", "10.1.3.0/25"},
          {"10.1.3.128", "10.1.2.0/23"},
          {"10.1.2.253", "10.1.2.252/30"},
          {"10.1.4.0", "10.1.0.0/20"},
          {"10.1.15.255", "10.1.0.0/20"},
          {"10.1.16.0", ""}}},
        {"deleting the more specific route falls back to the less specific",
         {"+10.0.0.0/8", "+10.1.0.0/16", "+10.1.2.0/24", "+10.1.2.3/32", "+10.1.9.9/32", "-10.1.2.0/24",
          "-10.1.2.3/32"},
         {{"10.1.2.3", "10.1.0.0/16"}, {"10.1.2.4", "10.1.0.0/16"}, {"10.2.0.0", "10.0.0.0/8"}}},
        {"deleting a route under a longer one falls back around it",
         {"+10.1.0.0/16", "+10.1.2.0/24", "+10.1.2.3/32", "-10.1.2.0/24"},
         {{"10.1.2.3", "10.1.2.3/32"}, {"10.1.2.4", "10.1.0.0/16"}}},
        {"deleting across strides, down to no route",
         {"+10.0.0.0/8", "+10.1.2.0/24", "+10.1.2.3/32", "-10.1.2.3/32", "-10.0.0.0/8"},
         {{"10.1.2.3", "10.1.2.0/24"}, {"10.1.3.3", ""}, {"10.2.0.0", ""}}},
        {"deleting the less specific route keeps the more specific",
         {"+10.1.0.0/16", "+10.1.2.0/24", "+10.1.2.3/32", "-10.1.0.0/16"},
         {{"10.1.2.3", "10.1.2.3/32"}, {"10.1.2.9", "10.1.2.0/24"}, {"10.1.3.1", ""}}},
        {"every route deleted, then one added",
         {"+10.1.2.0/24", "+10.1.2.3/32", "+0.0.0.0/0", "-10.1.2.3/32", "-10.1.2.0/24", "-0.0.0.0/0",
          "+10.1.0.0/16"},
         {{"10.1.2.3", "10.1.0.0/16"}, {"10.2.0.0", ""}}},
        {"cleared, then added again",
         {"+0.0.0.0/0", "+10.1.2.0/24", "+10.1.2.3/32", "clear", "+10.1.0.0/16"},
         {{"10.1.2.3", "10.1.0.0/16"}, {"10.2.0.1", ""}}},
        {"cleared", {"+0.0.0.0/0", "+10.1.2.3/32", "clear"}, {{"10.1.2.3", ""}, {"1.1.1.1", ""}}},
        {"replaced: deleted and added again to another port",
         {"+10.1.0.0/16", "+10.1.2.0/24", "-10.1.2.0/24", "+10.1.2.0/24", "-10.1.0.0/16", "+10.1.0.0/16"},
         {{"10.1.2.3", "10.1.2.0/24"}, {"10.1.3.3", "10.1.0.0/16"}}},
    };
    for (const Case& c : cases) {
        Tables t;
        run_case(
            c, [&](const std::string& a, int length, unsigned int id) { t.add4(ip4(a), length, id); },
            [&](const std::string& a, int length, unsigned int id) { t.delete4(ip4(a), length, id); },
            [&] { t.l3.clear_routes(); },
            [&](const std::string& a, unsigned int& length) { return t.l3.longest_match4(ip4(a), length); });
    }
}

TEST(RouteLookup, Ipv6LongestPrefixOfTheLengthsInUse)
{
    const std::vector<Case> cases = {
        {"each length, shortest first",
         {"+::/0", "+2001:db8::/32", "+2001:db8:1::/48", "+2001:db8:1:2::/64", "+2001:db8:1:2::5/128",
          "+2001:db8:1:2::/61"},
         {{"2001:db8:1:2::5", "2001:db8:1:2::5/128"},
          {"2001:db8:1:2::6", "2001:db8:1:2::/64"},
          {"2001:db8:1:3::1", "2001:db8:1:2::/61"},
          {"2001:db8:1:8::1", "2001:db8:1::/48"},
          {"2001:db8:2::1", "2001:db8::/32"},
          {"2001:db9::", "::/0"}}},
        {"longest first", {"+2001:db8:1::/48", "+2001:db8::/32"},
         {{"2001:db8:1::1", "2001:db8:1::/48"}, {"2001:db8:ffff::1", "2001:db8::/32"}, {"2001:db9::1", ""}}},
        {"deleting the more specific route falls back to the less specific",
         {"+2001:db8::/32", "+2001:db8:1::/48", "+2001:db8:1::1/128", "-2001:db8:1::/48", "-2001:db8:1::1/128"},
         {{"2001:db8:1::1", "2001:db8::/32"}, {"2001:db8:1::2", "2001:db8::/32"}}},
        {"deleting the last route of a length, then adding one back",
         {"+2001:db8::/32", "+2001:db8:1::/48", "-2001:db8:1::/48", "-2001:db8::/32", "+2001:db8:1::/48"},
         {{"2001:db8:1::1", "2001:db8:1::/48"}, {"2001:db8:2::1", ""}}},
        {"cleared, then added again", {"+::/0", "+2001:db8:1::/48", "clear", "+2001:db8::/32"},
         {{"2001:db8:1::1", "2001:db8::/32"}, {"3000::", ""}}},
        {"replaced: deleted and added again to another port",
         {"+2001:db8::/32", "+2001:db8:1::/48", "-2001:db8:1::/48", "+2001:db8:1::/48"},
         {{"2001:db8:1::1", "2001:db8:1::/48"}, {"2001:db8:2::1", "2001:db8::/32"}}},
    };
    for (const Case& c : cases) {
        Tables t;
        run_case(
            c, [&](const std::string& a, int length, unsigned int id) { t.add6(ip6(a), length, id); },
            [&](const std::string& a, int length, unsigned int id) { t.delete6(ip6(a), length, id); },
            [&] { t.l3.clear_routes(); },
            [&](const std::string& a, unsigned int& length) { return t.l3.longest_match6(ip6(a).data(), length); });
    }
}

// The lookups the model answers with (RouteMatch) and the host lookups.
TEST(RouteLookup, MatchesAndHosts)
{
    Tables t;
    t.add4(ip4("10.1.0.0"), 16, 7, 2);
    t.add6(ip6("2001:db8::"), 32, 8, 2);
    vorn_sim::RouteMatch match;
    ASSERT_TRUE(t.l3.lookup4(t.names, ip4("10.1.2.3"), match));
    EXPECT_EQ(match.prefix_length, 16u);
    EXPECT_EQ(match.port, Usp(1, 1, 7));
    EXPECT_EQ(match.interface_id, 2u);
    EXPECT_FALSE(t.l3.lookup4(t.names, ip4("10.2.0.0"), match));
    ASSERT_TRUE(t.l3.lookup6(t.names, ip6("2001:db8::1").data(), match));
    EXPECT_EQ(match.prefix_length, 32u);
    EXPECT_EQ(match.port, Usp(1, 1, 8));
    EXPECT_FALSE(t.l3.lookup6(t.names, ip6("2001:db9::1").data(), match));

    ASSERT_TRUE(t.l3.add_host4(t.refuse, Mp(0, 3), false, ip4("10.1.2.3"), mac, 1));
    ASSERT_TRUE(t.l3.add_host6(t.refuse, Mp(0, 4), true, ip6("2001:db8::3").data(), mac, 2));
    const L3Target* host4 = t.l3.find_host4(ip4("10.1.2.3"));
    ASSERT_NE(host4, nullptr);
    EXPECT_EQ(host4->port, Mp(0, 3));
    EXPECT_EQ(t.l3.find_host4(ip4("10.1.2.4")), nullptr);
    const L3Target* host6 = t.l3.find_host6(ip6("2001:db8::3").data());
    ASSERT_NE(host6, nullptr);
    EXPECT_EQ(host6->port, Mp(0, 4));
    EXPECT_TRUE(host6->trunk);
    EXPECT_EQ(t.l3.find_host6(ip6("2001:db8::4").data()), nullptr);
}

// --- Random tables against a scan of the per-length tables, longest first.

// Which add made a route (its port number), "none" for no route.
std::string made_by(const L3Target* route) { return route ? std::to_string(route->port.port()) : "none"; }

const L3Target* scan4(const vorn_sim::L3Tables& l3, unsigned int address, unsigned int& length)
{
    for (int l = 32; l >= 0; --l) {
        auto found = l3.routes4()[l].find(address & mask4(l));
        if (found == l3.routes4()[l].end()) continue;
        length = l;
        return &found->second;
    }
    return nullptr;
}

const L3Target* scan6(const vorn_sim::L3Tables& l3, const Ipv6& address, unsigned int& length)
{
    for (int l = 128; l >= 0; --l) {
        vorn_sim::Ipv6Key key;
        const Ipv6 mask = mask6(l);
        for (int i = 0; i < 16; ++i) key.address[i] = address[i] & mask[i];
        auto found = l3.routes6()[l].find(key);
        if (found == l3.routes6()[l].end()) continue;
        length = l;
        return &found->second;
    }
    return nullptr;
}

// Routes nest often: their addresses share a few first bytes.  Probes fall
// inside routes, their bits past the prefix random.
unsigned int random4(std::mt19937& random) { return (10u << 24 | (random() % 4) << 16) | (random() & 0xffff); }

Ipv6 random6(std::mt19937& random)
{
    Ipv6 address = ip6("2001:db8::");
    address[4] = static_cast<unsigned char>(random() % 3);
    for (int i = 5; i < 16; ++i) address[i] = static_cast<unsigned char>(random());
    return address;
}

TEST(RouteLookup, RandomIpv4TablesMatchAScan)
{
    std::mt19937 random(2024);
    Tables t;
    struct Route {
        unsigned int address;
        int length;
        unsigned int id;
    };
    std::vector<Route> routes;
    for (unsigned int id = 1; routes.size() < 4000; ++id) {
        const int length = static_cast<int>(random() % 33);
        const unsigned int address = random4(random) & mask4(length);
        if (t.l3.routes4()[length].count(address)) continue;
        t.add4(address, length, id, 1 + random() % 2);
        routes.push_back(Route{address, length, id});
    }
    auto cross_check = [&](const char* stage) {
        SCOPED_TRACE(stage);
        for (int i = 0; i < 4000; ++i) {
            const Route& inside = routes[random() % routes.size()];
            const unsigned int address = i % 4 ? inside.address | (random() & ~mask4(inside.length)) : random();
            unsigned int length = 99, expected_length = 99;
            const L3Target* found = t.l3.longest_match4(address, length);
            const L3Target* expected = scan4(t.l3, address, expected_length);
            ASSERT_EQ(made_by(found), made_by(expected)) << std::hex << address;
            ASSERT_EQ(length, expected_length) << std::hex << address;
        }
    };
    cross_check("added");
    std::shuffle(routes.begin(), routes.end(), random);
    for (std::size_t i = 0; i < routes.size() / 2; ++i) t.delete4(routes[i].address, routes[i].length, routes[i].id);
    cross_check("half deleted");
    t.l3.delete_routes_on_interface(2);
    cross_check("those on interface 2 deleted");
    for (unsigned int id = 9000; id < 9500; ++id) {
        const int length = 24 + id % 9;
        const unsigned int address = random4(random) & mask4(length);
        if (!t.l3.routes4()[length].count(address)) t.add4(address, length, id);
    }
    cross_check("more added");
}

TEST(RouteLookup, RandomIpv6TablesMatchAScan)
{
    std::mt19937 random(2025);
    Tables t;
    const int lengths[] = {0, 16, 32, 33, 40, 47, 48, 56, 63, 64, 96, 127, 128};
    struct Route {
        Ipv6 address;
        int length;
        unsigned int id;
    };
    std::vector<Route> routes;
    for (unsigned int id = 1; routes.size() < 3000; ++id) {
        const int length = lengths[random() % (sizeof lengths / sizeof *lengths)];
        Ipv6 address = random6(random);
        const Ipv6 mask = mask6(length);
        for (int i = 0; i < 16; ++i) address[i] &= mask[i];
        if (t.l3.routes6()[length].count(vorn_sim::Ipv6Key{address})) continue;
        t.add6(address, length, id, 1 + random() % 2);
        routes.push_back(Route{address, length, id});
    }
    auto cross_check = [&](const char* stage) {
        SCOPED_TRACE(stage);
        for (int i = 0; i < 3000; ++i) {
            const Route& inside = routes[random() % routes.size()];
            Ipv6 address = random6(random);
            const Ipv6 mask = mask6(inside.length);
            if (i % 4)
                for (int b = 0; b < 16; ++b) address[b] = (inside.address[b] & mask[b]) | (address[b] & ~mask[b]);
            unsigned int length = 999, expected_length = 999;
            const L3Target* found = t.l3.longest_match6(address.data(), length);
            ASSERT_EQ(made_by(found), made_by(scan6(t.l3, address, expected_length)));
            ASSERT_EQ(length, expected_length);
        }
    };
    cross_check("added");
    std::shuffle(routes.begin(), routes.end(), random);
    for (std::size_t i = 0; i < routes.size() / 2; ++i) t.delete6(routes[i].address, routes[i].length, routes[i].id);
    cross_check("half deleted");
    t.l3.delete_routes_on_interface(2);
    cross_check("those on interface 2 deleted");
}

}  // namespace
