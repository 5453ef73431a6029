// The entry-point table (meta/entry_points.def) against the public header;
// the framed-call registry (framed_calls.hh) against the table; and every
// entry point of the table called without an SDK.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "entry_points.hh"
#include "../framed_calls.hh"
#include "../host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

// Every row names a declared function and gives one kind per parameter.
template <class... Params>
constexpr std::size_t arity(bool (*)(Params...))
{
    return sizeof...(Params);
}
namespace spelling = vorn_meta::spelling;
using vorn_meta::entry_point_detail::kind_count;
#define VORN_ENTRY_POINT(name, params, kinds)               \
    static_assert(                                          \
        [] {                                                \
            using namespace spelling;                       \
            return kind_count kinds == arity(&vorn_##name); \
        }(),                                                \
        "entry_points.def: vorn_" #name " takes another number of parameters than it has kinds");
#include "entry_points.def"
#undef VORN_ENTRY_POINT

// The header's entry points, each with its parameter names in order.
std::multimap<std::string, std::vector<std::string>> declared_entry_points()
{
    std::ifstream file(VORN_API_HEADER);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    text = std::regex_replace(text, std::regex("//[^\n]*"), "");
    // A callback's own parameter list is one parameter: "void (*callback)(...)".
    text = std::regex_replace(
        text, std::regex(R"(\(\s*[*&]\s*(\w+)\s*\)(\s*\([^()]*\)|\s*\[\d+\])?)"), " $1");
    const std::regex declaration(R"(VORN_API\s+bool\s+vorn_(\w+)\s*\(([^)]*)\))");
    const std::regex last_word(R"((\w+)\s*$)");
    std::multimap<std::string, std::vector<std::string>> declared;
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
        std::vector<std::string> names;
        const std::string params = (*it)[2];
        std::size_t start = 0;
        while (params.find_first_not_of(" \n", start) != std::string::npos) {
            const std::size_t comma = params.find(',', start);
            const std::string param = params.substr(start, comma - start);
            std::smatch name;
            if (std::regex_search(param, name, last_word)) names.push_back(name[1]);
            if (comma == std::string::npos) break;
            start = comma + 1;
        }
        declared.emplace((*it)[1], names);
    }
    return declared;
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return "(" + text + ")";
}

std::vector<std::string> param_names(const vorn_meta::EntryPoint& row)
{
    std::vector<std::string> names;
    for (const vorn_meta::Param& param : row.params) names.push_back(param.name);
    return names;
}

TEST(EntryPointTable, ListsEveryDeclaredEntryPointOnceWithTheHeadersParameterNames)
{
    const auto declared = declared_entry_points();
    ASSERT_GE(declared.size(), 150u) << "the header was not read: " << VORN_API_HEADER;
    std::map<std::string, int> rows;
    for (const vorn_meta::EntryPoint& row : vorn_meta::entry_points()) {
        ++rows[row.name];
        const auto found = declared.find(row.name);
        if (found == declared.end()) {
            ADD_FAILURE() << "entry_points.def lists vorn_" << row.name
                          << ", which the header does not declare";
            continue;
        }
        EXPECT_EQ(joined(param_names(row)), joined(found->second))
            << "parameters of vorn_" << row.name;
    }
    for (const auto& each : declared)
        EXPECT_EQ(rows[each.first], 1) << "rows of vorn_" << each.first << " in entry_points.def";
}

// The entry points without the call frame, and why.
const std::map<std::string, const char*> unframed = {
    {"lcmgr_api_init", "makes the SDK"},
    {"lag_usp_to_lag_id", "asks the host's LAG mapping, not the SDK"},
    {"lag_id_to_lag_usp", "asks the host's LAG mapping, not the SDK"},
    {"delete_mac_from_port_all", "does nothing and answers true, as published"},
};

// A framed call's entry point: its name without "vorn_" and without what
// follows in parentheses ("vorn_set_lcmgr_trace(api)").
std::string entry_point_of(const std::string& call_name)
{
    const std::string name = call_name.substr(0, call_name.find('('));
    return name.compare(0, 5, "vorn_") == 0 ? name.substr(5) : name;
}

TEST(EntryPointCoverage, EveryFramedEntryPointIsCalledWithoutAnSdk)
{
    std::set<std::string> called;
    for (const FramedCall& framed : framed_calls()) called.insert(entry_point_of(framed.name));
    for (const vorn_meta::EntryPoint& row : vorn_meta::entry_points()) {
        const auto reason = unframed.find(row.name);
        if (reason != unframed.end()) {
            EXPECT_EQ(called.count(row.name), 0u)
                << "vorn_" << row.name << " " << reason->second << ", yet the framed calls list it";
            continue;
        }
        EXPECT_EQ(called.count(row.name), 1u)
            << "vorn_" << row.name << " is missing from the framed calls (framed_calls.hh)";
    }
    for (const std::string& name : called)
        EXPECT_NO_THROW(vorn_meta::entry_point(name))
            << "a framed call of " << name << ", which is no entry point";
}

// An argument of any parameter type, value-initialised: zeros, empty
// lists, null callbacks; a byte pointer points at zeroed bytes.
template <class Param>
struct Zeroed {
    std::remove_cv_t<std::remove_reference_t<Param>> value{};
    Param get() { return value; }
};
template <class Byte>
struct ZeroedBytes {
    unsigned char bytes[512] = {};
    Byte* get() { return bytes; }
};
template <>
struct Zeroed<const unsigned char*> : ZeroedBytes<const unsigned char> {
};
template <>
struct Zeroed<unsigned char*> : ZeroedBytes<unsigned char> {
};
template <class Counter>
struct ZeroedCounters {
    Counter counters[STAT_TYPE_COUNT] = {};
    Counter* get() { return counters; }
};
template <>
struct Zeroed<StatCounter64*> : ZeroedCounters<StatCounter64> {
};
template <>
struct Zeroed<StatCounter32*> : ZeroedCounters<StatCounter32> {
};

template <class... Params>
std::function<bool()> with_zeroed_arguments(bool (*entry)(Params...))
{
    return [entry] {
        std::tuple<Zeroed<Params>...> args;
        return std::apply([entry](auto&... arg) { return entry(arg.get()...); }, args);
    };
}

// Every entry point of the table, with arguments that only its frame reads.
std::vector<FramedCall> every_entry_point()
{
    return {
#define VORN_ENTRY_POINT(name, params, kinds) {"vorn_" #name, with_zeroed_arguments(&vorn_##name)},
#include "entry_points.def"
#undef VORN_ENTRY_POINT
    };
}

class EntryPointsWithoutAnSdk : public HostTest {};

TEST_F(EntryPointsWithoutAnSdk, EveryFramedEntryPointFailsWithoutCallingTheSdk)
{
    for (const FramedCall& framed : every_entry_point()) {
        if (unframed.count(entry_point_of(framed.name))) continue;
        remove_sdk();
        clear_log();
        const bool trace_flag = api_trace_enabled;
        EXPECT_FALSE(framed.call()) << framed.name;
        EXPECT_TRUE(sdk_calls().empty()) << framed.name;
        EXPECT_EQ(api_trace_enabled, trace_flag) << framed.name;
    }
}

}  // namespace
}  // namespace vorn_test
