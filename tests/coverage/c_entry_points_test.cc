// The C entry-point table (meta/c_entry_points.def) against the public C
// header, and against the C++ table where an entry point has both forms.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "c_entry_points.hh"
#include "entry_points.hh"
#include "vorn_capi.h"

namespace vorn_test {
namespace {

// Every row names a declared function and gives one kind per parameter.
template <class... Params>
constexpr std::size_t c_arity(int (*)(Params...))
{
    return sizeof...(Params);
}
#define VORN_C_ENTRY_POINT(name, params, kinds)                                         \
    static_assert(                                                                      \
        [] {                                                                            \
            using namespace vorn_meta::spelling;                                        \
            return vorn_meta::entry_point_detail::kind_count kinds ==                   \
                   c_arity(&ctype_vorn_##name);                                         \
        }(),                                                                            \
        "c_entry_points.def: ctype_vorn_" #name " takes another number of parameters " \
        "than it has kinds");
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT

using Declared = std::vector<std::pair<std::string, std::vector<std::string>>>;

// The header's C entry points in order, each with its parameter names.
Declared declared_c_entry_points()
{
    std::ifstream file(VORN_CAPI_HEADER);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    text = std::regex_replace(text, std::regex(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/)"), "");
    // A callback's own parameter list is one parameter: "void (*callback)(...)".
    text = std::regex_replace(text, std::regex(R"(\(\s*\*\s*(\w+)\s*\)\s*\([^()]*\))"), " $1");
    const std::regex declaration(R"(VORN_API\s+int\s+ctype_vorn_(\w+)\s*\(([^)]*)\))");
    const std::regex last_word(R"((\w+)\s*$)");
    Declared declared;
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
        std::vector<std::string> names;
        std::string params = (*it)[2];
        if (std::regex_match(params, std::regex(R"(\s*void\s*)"))) params.clear();
        std::size_t start = 0;
        while (params.find_first_not_of(" \n", start) != std::string::npos) {
            const std::size_t comma = params.find(',', start);
            std::smatch name;
            const std::string param = params.substr(start, comma - start);
            if (std::regex_search(param, name, last_word)) names.push_back(name[1]);
            if (comma == std::string::npos) break;
            start = comma + 1;
        }
        declared.emplace_back((*it)[1], names);
    }
    return declared;
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return "(" + text + ")";
}

TEST(CEntryPointTable, ListsEveryDeclaredCEntryPointInTheHeadersOrderWithItsParameterNames)
{
    const Declared declared = declared_c_entry_points();
    ASSERT_GE(declared.size(), 150u) << "the header was not read: " << VORN_CAPI_HEADER;
    const auto& rows = vorn_meta::c_entry_points();
    ASSERT_EQ(rows.size(), declared.size()) << "rows of c_entry_points.def against the header's declarations";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].name, declared[i].first) << "row " << i + 1 << " of c_entry_points.def";
        std::vector<std::string> names;
        for (const vorn_meta::Param& param : rows[i].params) names.push_back(param.name);
        EXPECT_EQ(joined(names), joined(declared[i].second)) << "parameters of ctype_vorn_" << rows[i].name;
    }
}

// The C form's kinds with each port array's count taken out: what the C++
// form of the same name takes.
std::vector<std::string> without_counts(const vorn_meta::EntryPoint& row)
{
    std::vector<std::string> kinds;
    for (std::size_t i = 0; i < row.params.size(); ++i) {
        const vorn_meta::Param& param = row.params[i];
        kinds.push_back(std::string(vorn_meta::dir_name(param.dir)) + "(" + vorn_meta::kind_name(param.kind) + ")");
        if (param.kind == vorn_meta::Kind::usp_list && i + 1 < row.params.size() &&
            row.params[i + 1].kind == vorn_meta::Kind::number)
            ++i;
    }
    return kinds;
}

std::vector<std::string> spelled(const vorn_meta::EntryPoint& row)
{
    std::vector<std::string> kinds;
    for (const vorn_meta::Param& param : row.params)
        kinds.push_back(std::string(vorn_meta::dir_name(param.dir)) + "(" + vorn_meta::kind_name(param.kind) + ")");
    return kinds;
}

// C entry points that carry their arguments differently from the C++ form, and why.
const std::map<std::string, const char*> c_differs = {
    {"get_port_stat_counter_all64", "the C form neither reads nor writes its buffer and count"},
    {"get_port_stat_counter_all32", "the C form neither reads nor writes its buffer and count"},
    {"get_port_brief_stat_counter_all64", "the C form neither reads nor writes its buffer and count"},
    {"get_port_brief_stat_counter_all32", "the C form neither reads nor writes its buffer and count"},
};

TEST(CEntryPointTable, KindsMatchTheCppFormOfTheSameName)
{
    std::map<std::string, const vorn_meta::EntryPoint*> cpp;
    for (const vorn_meta::EntryPoint& row : vorn_meta::entry_points()) cpp[row.name] = &row;
    std::size_t compared = 0;
    for (const vorn_meta::EntryPoint& row : vorn_meta::c_entry_points()) {
        const auto form = cpp.find(row.name);
        if (form == cpp.end() || c_differs.count(row.name)) continue;
        ++compared;
        EXPECT_EQ(without_counts(row), spelled(*form->second)) << "ctype_vorn_" << row.name << " against vorn_" << row.name;
    }
    EXPECT_GE(compared, 130u);
    for (const auto& each : c_differs)
        EXPECT_NO_THROW(vorn_meta::entry_point(each.first)) << each.first << " " << each.second;
}

}  // namespace
}  // namespace vorn_test
