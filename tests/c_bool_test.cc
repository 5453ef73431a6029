// A C caller's bool argument counts by its low byte only.  A caller may hand
// it in a register whose upper bits are set (a function pointer cast to take
// a 32-bit word, an older compiler, assembly glue); on PowerPC the callee
// otherwise sees the whole register.  Every C entry point with a bool input
// is called here through a pointer whose bool parameters are 32-bit words,
// and must reach the SDK exactly as the same call with a real bool does.
// Which entry points take a bool is read from the C header itself.
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "host_double.hh"
#include "vorn_capi.h"

namespace vorn_test {
namespace {

// The words whose low byte is 0 or 1 while the rest is not.
const unsigned int wide_words[] = {0x100, 0x101, 0xFFFFFF00, 0xFFFFFF01};

template <class T>
struct Wide {
    typedef T type;
};
template <>
struct Wide<bool> {
    typedef unsigned int type;
};

// What every other parameter receives: a port the default card translates
// (1/1/3), a VLAN id, a MAC.
usp_s sample_port = {1, 1, 3};
const unsigned char sample_mac[16] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};

template <class T>
T sample();
template <>
usp_s* sample<usp_s*>() { return &sample_port; }
template <>
unsigned int sample<unsigned int>() { return 10; }
template <>
const unsigned char* sample<const unsigned char*>() { return sample_mac; }

// Argument j of a call whose bool parameter `at` carries `word`; every other
// bool parameter is false.
template <class A>
typename Wide<A>::type wide_argument(std::size_t j, std::size_t at, unsigned int word)
{
    if constexpr (std::is_same<A, bool>::value)
        return j == at ? word : 0u;
    else
        return sample<A>();
}

template <class A>
A real_argument(std::size_t j, std::size_t at, bool value)
{
    if constexpr (std::is_same<A, bool>::value)
        return j == at && value;
    else
        return sample<A>();
}

std::vector<std::string> sdk_calls_of(const std::function<void()>& call)
{
    host().log.clear();
    call();
    return sdk_calls();
}

// Checks bool parameter `at` of `entry` with every wide word.
template <class... A, std::size_t... J>
void check_parameter(const std::string& name, int (*entry)(A...), std::size_t at,
                     std::index_sequence<J...>)
{
    // Through void (*)(), as a C caller's cast would: the types differ on purpose.
    typedef int (*WideEntry)(typename Wide<A>::type...);
    const WideEntry wide = reinterpret_cast<WideEntry>(reinterpret_cast<void (*)()>(entry));
    const std::vector<std::string> as_false =
        sdk_calls_of([&] { entry(real_argument<A>(J, at, false)...); });
    const std::vector<std::string> as_true =
        sdk_calls_of([&] { entry(real_argument<A>(J, at, true)...); });
    // The parameter must matter, or the comparisons below prove nothing.
    ASSERT_NE(as_false, as_true) << name << " parameter " << at;
    for (unsigned int word : wide_words) {
        const std::vector<std::string> reached =
            sdk_calls_of([&] { wide(wide_argument<A>(J, at, word)...); });
        EXPECT_EQ(reached, (word & 0xffu) ? as_true : as_false)
            << name << " parameter " << at << " given 0x" << std::hex << word;
    }
}

template <class... A>
void check_low_byte(const std::string& name, int (*entry)(A...))
{
    const bool is_bool[] = {std::is_same<A, bool>::value...};
    for (std::size_t at = 0; at < sizeof...(A); ++at)
        if (is_bool[at]) check_parameter(name, entry, at, std::index_sequence_for<A...>());
}

// The C header's entry points with a bool input (not a bool* output).
std::set<std::string> entry_points_with_bool_input()
{
    std::ifstream file(VORN_CAPI_HEADER);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::regex declaration(R"(int\s+(ctype_vorn_\w+)\s*\(([^)]*)\))");
    const std::regex bool_input(R"(\bbool\s+\w+)");
    std::set<std::string> names;
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it)
        if (std::regex_search((*it)[2].str(), bool_input)) names.insert((*it)[1]);
    return names;
}

#define ENTRY(f) {#f, [](const std::string& name) { check_low_byte(name, f); }}
const std::map<std::string, void (*)(const std::string&)> entries = {
    ENTRY(ctype_vorn_set_port_bpdu_processing),
    ENTRY(ctype_vorn_set_port_stat_enable),
    ENTRY(ctype_vorn_set_port_switch_unknown_unicast_to_cpu),
    ENTRY(ctype_vorn_set_port_mac_lock),
    ENTRY(ctype_vorn_set_port_mac_lock_ext),
    ENTRY(ctype_vorn_set_port_vlan_accept_frame),
    ENTRY(ctype_vorn_set_port_egress_admin_state),
    ENTRY(ctype_vorn_set_port_l2_enable),
    ENTRY(ctype_vorn_set_port_autoneg),
    ENTRY(ctype_vorn_set_port_state),
    ENTRY(ctype_vorn_set_port_flow_control_8023x),
    ENTRY(ctype_vorn_set_port_jaming_control),
    ENTRY(ctype_vorn_clear_fdb_table),
    ENTRY(ctype_vorn_clear_fdb_by_vlan),
    ENTRY(ctype_vorn_clear_fdb_by_port),
    ENTRY(ctype_vorn_set_switch_unknown_unicast_to_cpu),
    ENTRY(ctype_vorn_create_l3_interface_with_id),
    ENTRY(ctype_vorn_delete_l3_host_by_interface),
    ENTRY(ctype_vorn_delete_l3_route_by_interface),
};
#undef ENTRY

class CBoolArguments : public HostTest {};

TEST_F(CBoolArguments, EveryEntryPointWithABoolInputIsInTheTable)
{
    const std::set<std::string> declared = entry_points_with_bool_input();
    ASSERT_GE(declared.size(), 15u) << "the header was not read: " << VORN_CAPI_HEADER;
    std::set<std::string> tabled;
    for (const auto& entry : entries) tabled.insert(entry.first);
    EXPECT_EQ(declared, tabled);
}

TEST_F(CBoolArguments, OnlyTheLowByteReachesTheSdk)
{
    for (const auto& entry : entries) entry.second(entry.first);
}

}  // namespace
}  // namespace vorn_test
