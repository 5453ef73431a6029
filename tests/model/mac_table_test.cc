// The MAC table's flat storage and its counts of learned entries: erasing
// from a cluster of colliding keys, growing, the limits held after entries
// move, go or age, capacity, and the order removed entries come back in.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "mac_table.hh"

namespace {

using vorn_sim::FdbEntry;
using vorn_sim::FdbKey;
using vorn_sim::MacTable;
typedef vorn_sim::flat::Map<std::uint64_t> Map;

// A map of `slots` slots with nothing in it: grown by keys then emptied.
Map empty_map(std::size_t slots)
{
    Map map;
    std::uint64_t keys = 0;
    while (map.slot_count() < slots) map.insert(keys++);
    while (keys > 0) map.erase(--keys);
    return map;
}

// A key not in `used` whose probe starts at `home`.
std::uint64_t key_at(const Map& map, std::size_t home, std::set<std::uint64_t>& used)
{
    std::uint64_t key = 1000;
    while (map.home(key) != home || used.count(key)) ++key;
    used.insert(key);
    return key;
}

// Keys inserted in order, each at its home slot (base + offset, wrapping
// around the end), then one erased: the others stay findable.
struct ShiftCase {
    const char* name;
    std::vector<std::size_t> home_offsets;
    std::size_t erased;  // index into home_offsets
};

const ShiftCase shift_cases[] = {
    {"first of three colliding", {0, 0, 0}, 0},
    {"middle of three colliding", {0, 0, 0}, 1},
    {"last of three colliding", {0, 0, 0}, 2},
    {"before a displaced neighbour's pair", {0, 0, 1, 1}, 0},
    {"a neighbour between two colliding", {0, 1, 0}, 1},
    // The entry after the hole is at its home and must stay; the one after
    // it may move back over it.
    {"entry at home after the hole stays", {1, 0, 0}, 1},
    {"long run, two homes interleaved", {0, 2, 0, 2, 0, 2, 0}, 2},
};

TEST(FlatMap, ErasingFromAClusterKeepsEveryOtherKeyFindable)
{
    const std::size_t slots = 64;
    for (const ShiftCase& c : shift_cases)
        for (std::size_t base : {std::size_t(5), slots - 2}) {  // inside the array, across its end
            SCOPED_TRACE(std::string(c.name) + ", from slot " + std::to_string(base));
            Map map = empty_map(slots);
            std::set<std::uint64_t> used;
            std::vector<std::uint64_t> keys;
            for (std::size_t offset : c.home_offsets) {
                keys.push_back(key_at(map, (base + offset) % slots, used));
                *map.insert(keys.back()).first = keys.back() * 3;
            }
            ASSERT_EQ(map.slot_count(), slots);
            ASSERT_EQ(map.size(), keys.size());
            ASSERT_TRUE(map.erase(keys[c.erased]));
            EXPECT_FALSE(map.erase(keys[c.erased]));
            EXPECT_EQ(map.find(keys[c.erased]), nullptr);
            EXPECT_EQ(map.size(), keys.size() - 1);
            for (std::size_t i = 0; i < keys.size(); ++i)
                if (i != c.erased) {
                    const std::uint64_t* value = map.find(keys[i]);
                    ASSERT_NE(value, nullptr) << "key " << i;
                    EXPECT_EQ(*value, keys[i] * 3) << "key " << i;
                }
            const auto again = map.insert(keys[c.erased]);
            EXPECT_TRUE(again.second);
            EXPECT_EQ(*again.first, 0u) << "a new entry's value";
            EXPECT_EQ(map.size(), keys.size());
        }
}

TEST(FlatMap, GrowsByDoublingAndKeepsEveryEntry)
{
    Map map;
    EXPECT_EQ(map.slot_count(), 0u);
    EXPECT_EQ(map.find(7), nullptr);
    std::vector<std::uint64_t> keys;
    for (std::uint64_t i = 0; i < 5000; ++i) {
        keys.push_back(i * 0x10001 + (i % 7) * (std::uint64_t(1) << 50));
        *map.insert(keys.back()).first = i;
        ASSERT_EQ(map.size(), keys.size());
        // A power of two, at most half full, at least a quarter after growing.
        const std::size_t slots = map.slot_count();
        ASSERT_EQ(slots & (slots - 1), 0u);
        ASSERT_LE(2 * map.size(), slots);
        ASSERT_TRUE(slots == 8 || 4 * map.size() > slots) << map.size() << " in " << slots;
    }
    for (std::uint64_t i = 0; i < keys.size(); ++i) {
        const std::uint64_t* value = map.find(keys[i]);
        ASSERT_NE(value, nullptr) << i;
        EXPECT_EQ(*value, i);
        EXPECT_FALSE(map.insert(keys[i]).second);
    }
    std::size_t visited = 0;
    map.for_each([&](std::uint64_t key, std::uint64_t value) { visited += keys.at(value) == key; });
    EXPECT_EQ(visited, keys.size());
}

// --- The MAC table.

const Mp port_a(0, 1), port_b(0, 2);
const unsigned int vlan = 10;

FdbKey mac_key(std::uint64_t n, unsigned int in_vlan = vlan) { return FdbKey(in_vlan, 0x020000000000ull + n); }

struct Table {
    explicit Table(std::size_t capacity) : macs(capacity) {}

    bool learn(std::uint64_t n, const Mp& port, const MacTable::LearnLimits& limits = {0, 0, false})
    {
        FdbEntry added;
        return macs.learn(mac_key(n), port, false, limits, added);
    }
    bool add_static(const FdbKey& key)
    {
        FdbEntry added;
        return macs.add_static(refuse, key, port_b, false, added);
    }
    std::vector<std::uint64_t> removed_macs(const MacTable::Entries& removed)
    {
        std::vector<std::uint64_t> numbers;
        for (const auto& entry : removed) numbers.push_back(entry.first.mac48 - 0x020000000000ull);
        return numbers;
    }

    std::vector<std::string> refusals;
    vorn_sim::Refuser refuse{[this](int, const std::string&, const std::string& reason) {
        refusals.push_back(reason);
    }};
    MacTable macs;
};

bool any_entry(const FdbKey&, const FdbEntry&, const void*) { return true; }

bool is_mac(const FdbKey& key, const FdbEntry&, const void* number)
{
    return key == mac_key(*static_cast<const std::uint64_t*>(number));
}

// A limit of 2 (on port A, on the VLAN or switch-wide) with MACs 1 and 2
// learned on port A, MAC 1 at time 0 and MAC 2 at time 100; then `free`
// does something to MAC 1, and MAC 3 on port A is learned or refused.
enum class Limit { port, vlan, system };
enum class Change { move_away, move_away_and_back, delete_it, remove_matching, age_out, make_static, refresh };

struct LimitCase {
    const char* name;
    Limit limit;
    Change change;
    bool third_learned;
};

const LimitCase limit_cases[] = {
    {"port: moved away", Limit::port, Change::move_away, true},
    {"port: moved away and back", Limit::port, Change::move_away_and_back, false},
    {"port: deleted", Limit::port, Change::delete_it, true},
    {"port: removed by a match", Limit::port, Change::remove_matching, true},
    {"port: aged out", Limit::port, Change::age_out, true},
    {"port: replaced by a static entry", Limit::port, Change::make_static, true},
    {"port: learned again", Limit::port, Change::refresh, false},
    {"VLAN: moved away", Limit::vlan, Change::move_away, false},
    {"VLAN: deleted", Limit::vlan, Change::delete_it, true},
    {"VLAN: aged out", Limit::vlan, Change::age_out, true},
    {"VLAN: replaced by a static entry", Limit::vlan, Change::make_static, true},
    {"switch: moved away", Limit::system, Change::move_away, false},
    {"switch: removed by a match", Limit::system, Change::remove_matching, true},
    {"switch: aged out", Limit::system, Change::age_out, true},
};

TEST(MacTableLimits, CountsFollowEntriesThatMoveGoOrAge)
{
    for (const LimitCase& c : limit_cases) {
        SCOPED_TRACE(c.name);
        Table t(100);
        const MacTable::LearnLimits limits{c.limit == Limit::port ? 2 : 0, c.limit == Limit::vlan ? 2 : 0, false};
        if (c.limit == Limit::system) *t.macs.system_limit_setting() = 2;
        ASSERT_TRUE(t.macs.set_aging(t.refuse, 150));
        ASSERT_TRUE(t.learn(1, port_a, limits));
        t.macs.advance_clock(100);
        ASSERT_TRUE(t.learn(2, port_a, limits));
        EXPECT_FALSE(t.learn(3, port_a, limits)) << "over the limit before the change";

        const std::uint64_t first = 1;
        switch (c.change) {
        case Change::move_away: t.learn(1, port_b, limits); break;
        case Change::move_away_and_back:
            t.learn(1, port_b, limits);
            t.learn(1, port_a, limits);
            break;
        case Change::delete_it: {
            const FdbKey key = mac_key(1);
            ASSERT_EQ(t.macs.remove_if(false, &key, nullptr, nullptr).size(), 1u);
            break;
        }
        case Change::remove_matching: ASSERT_EQ(t.macs.remove_if(false, nullptr, is_mac, &first).size(), 1u); break;
        case Change::age_out: ASSERT_EQ(t.removed_macs(t.macs.advance_clock(60)), std::vector<std::uint64_t>{1}); break;
        case Change::make_static: ASSERT_TRUE(t.add_static(mac_key(1))); break;
        case Change::refresh: t.learn(1, port_a, limits); break;
        }
        EXPECT_EQ(t.learn(3, port_a, limits), c.third_learned);
        EXPECT_FALSE(t.learn(4, port_a, limits)) << "over the limit after the change";
        // What the counts say matches what the table holds.
        std::size_t learned = 0, on_a = 0;
        for (const auto& entry : t.macs.entries()) {
            learned += !entry.second.is_static;
            on_a += !entry.second.is_static && entry.second.port == port_a;
        }
        EXPECT_EQ(t.macs.learned(), learned);
        EXPECT_EQ(t.macs.learned_on(port_a, false), on_a);
        EXPECT_EQ(t.macs.learned_in(vlan), learned);
        EXPECT_TRUE(t.refusals.empty());
    }
}

TEST(MacTableLimits, PortAndLagOfTheSameNumberAndVlansCountApart)
{
    Table t(100);
    FdbEntry added;
    const MacTable::LearnLimits one_each{1, 0, false};
    EXPECT_TRUE(t.macs.learn(mac_key(1), Mp(0, 1), false, one_each, added));
    EXPECT_TRUE(t.macs.learn(mac_key(2), Mp(0, 1), true, one_each, added));   // LAG 1
    EXPECT_TRUE(t.macs.learn(mac_key(3), Mp(1, 1), false, one_each, added));  // another module
    EXPECT_FALSE(t.macs.learn(mac_key(4), Mp(0, 1), true, one_each, added));
    const MacTable::LearnLimits two_a_vlan{0, 2, false};
    EXPECT_TRUE(t.macs.learn(mac_key(5, 20), port_b, false, two_a_vlan, added));
    EXPECT_EQ(t.macs.learned_in(vlan), 3u);
    EXPECT_EQ(t.macs.learned_in(20), 1u);
    t.macs.forget_vlan(vlan);
    EXPECT_EQ(t.macs.learned(), 1u);
    EXPECT_EQ(t.macs.learned_on(Mp(0, 1), true), 0u);
    EXPECT_TRUE(t.macs.learn(mac_key(4), Mp(0, 1), true, one_each, added));
}

TEST(MacTableLearn, StaticEntriesStayLockedPortsMoveKnownStationsOnly)
{
    Table t(100);
    ASSERT_TRUE(t.add_static(mac_key(1)));
    EXPECT_FALSE(t.learn(1, port_a));
    EXPECT_EQ(t.macs.find(vlan, mac_key(1).mac48)->port, port_b) << "a static entry never moves";
    EXPECT_EQ(t.macs.learned(), 0u);

    const MacTable::LearnLimits locked{0, 0, true};
    EXPECT_FALSE(t.learn(2, port_a, locked));
    EXPECT_EQ(t.macs.find(vlan, mac_key(2).mac48), nullptr);
    ASSERT_TRUE(t.learn(2, port_a));
    EXPECT_FALSE(t.learn(2, port_b, locked));
    EXPECT_EQ(t.macs.find(vlan, mac_key(2).mac48)->port, port_b) << "a known station moves even when locked";
    EXPECT_EQ(t.macs.find(vlan + 1, mac_key(2).mac48), nullptr) << "another VLAN";

    // Learning again refreshes the age.
    ASSERT_TRUE(t.macs.set_aging(t.refuse, 100));
    t.macs.advance_clock(80);
    t.learn(2, port_b);
    EXPECT_TRUE(t.macs.advance_clock(80).empty());
    EXPECT_EQ(t.removed_macs(t.macs.advance_clock(20)), std::vector<std::uint64_t>{2});
    EXPECT_EQ(t.macs.learned_on(port_b, false), 0u);
}

// Full exactly at the capacity, whichever way the entries came in.
TEST(MacTableCapacity, RefusedExactlyAtTheLimit)
{
    for (std::size_t capacity : {1, 4, 5, 9, 17}) {
        SCOPED_TRACE("capacity " + std::to_string(capacity));
        Table t(capacity);
        for (std::uint64_t n = 0; n < capacity; ++n) ASSERT_TRUE(n % 2 ? t.learn(n, port_a) : t.add_static(mac_key(n)));
        EXPECT_FALSE(t.learn(capacity, port_a));
        EXPECT_FALSE(t.add_static(mac_key(capacity)));
        EXPECT_EQ(t.refusals, std::vector<std::string>{"MAC table full (" + std::to_string(capacity) + " entries)"});
        EXPECT_EQ(t.macs.size(), capacity);
        EXPECT_TRUE(t.add_static(mac_key(0))) << "replacing an entry needs no room";

        const FdbKey first = mac_key(0);
        ASSERT_EQ(t.macs.remove_if(true, &first, nullptr, nullptr).size(), 1u);
        EXPECT_TRUE(t.macs.room(t.refuse, 1));
        EXPECT_FALSE(t.macs.room(t.refuse, 2));
        EXPECT_TRUE(t.learn(capacity, port_a));
        EXPECT_EQ(t.macs.size(), capacity);
    }
}

// Removed entries come back in key order (VLAN, then MAC), as events are
// reported, however the table keeps them.
TEST(MacTableOrder, RemovedAndListedEntriesAreSortedByVlanThenMac)
{
    typedef std::pair<unsigned int, vorn_sim::MacAddress> Place;  // the key as the views show it
    const vorn_sim::MacAddress ascending[] = {{0, 0, 0, 0, 0, 0},          {0, 0, 0, 0, 0, 1},
                                              {0, 0, 1, 0, 0, 0},          {0, 0, 0xff, 0xff, 0xff, 0xff},
                                              {0x02, 0, 0, 0, 0, 0x10},    {0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
    std::vector<Place> sorted;
    for (unsigned int in_vlan : {1u, 2u, 4094u})
        for (const auto& mac : ascending) sorted.push_back(Place(in_vlan, mac));
    Table t(1000);
    for (std::size_t i = 0; i < sorted.size(); ++i) {  // added out of order, learned or static
        const Place& place = sorted[(i * 7) % sorted.size()];
        const FdbKey key(place.first, place.second);
        FdbEntry added;
        ASSERT_TRUE(i % 2 ? t.macs.learn(key, port_a, false, {0, 0, false}, added) : t.add_static(key));
    }
    std::vector<Place> listed, removed;
    for (const auto& entry : t.macs.entries()) listed.push_back(Place(entry.first.vlan, entry.first.mac));
    EXPECT_EQ(listed, sorted);
    for (const auto& entry : t.macs.remove_if(true, nullptr, any_entry, nullptr))
        removed.push_back(Place(entry.first.vlan, entry.first.mac));
    EXPECT_EQ(removed, sorted);
    EXPECT_EQ(t.macs.size(), 0u);
}

TEST(MacTableOrder, AgedEntriesComeBackSorted)
{
    Table t(1000);
    std::vector<std::uint64_t> learned;
    for (std::uint64_t i = 0; i < 200; ++i) learned.push_back((i * 2654435761u) & 0xffffffffu);
    for (std::uint64_t n : learned) ASSERT_TRUE(t.learn(n, port_a));
    std::sort(learned.begin(), learned.end());
    EXPECT_EQ(t.removed_macs(t.macs.advance_clock(300)), learned);
    EXPECT_EQ(t.macs.learned(), 0u);
    EXPECT_EQ(t.macs.learned_on(port_a, false), 0u);
}

}  // namespace
