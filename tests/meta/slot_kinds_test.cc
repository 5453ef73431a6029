// Every slot's kinds column fits its parameters: one kind per parameter, a
// kind only on a C++ type that can hold it, and a written argument only where
// the callee can write (a non-const reference or pointer).
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk_slots.hh"
#include "vorn_sdk.hh"

namespace {

using vorn_meta::Arg;
using vorn_meta::Dir;
using vorn_meta::Kind;
using vorn_meta::Slot;

template <class T>
using Bare = std::remove_cv_t<std::remove_reference_t<T>>;

template <class T, class... Of>
constexpr bool one_of = (std::is_same<Bare<T>, Of>::value || ...);

template <class T>
constexpr bool writable()
{
    if (std::is_lvalue_reference<T>::value)
        return !std::is_const<std::remove_reference_t<T>>::value;
    if (std::is_pointer<T>::value) return !std::is_const<std::remove_pointer_t<T>>::value;
    return false;
}

template <class T>
constexpr bool holds(Kind kind)
{
    switch (kind) {
        case Kind::number:
            return (std::is_integral<Bare<T>>::value && !one_of<T, bool>) ||
                   std::is_enum<Bare<T>>::value;
        case Kind::flag:
            return one_of<T, bool>;
        case Kind::text:
            return one_of<T, std::string>;
        case Kind::port:
            return one_of<T, Mp>;
        case Kind::usp:
            return one_of<T, Usp>;
        case Kind::port_list:
            return one_of<T, std::list<Mp>>;
        case Kind::usp_list:
            return one_of<T, std::list<Usp>>;
        case Kind::mac:
        case Kind::ipv6:
        case Kind::ipv6_mask:
        case Kind::vlan_bitmap:
            return one_of<T, unsigned char*, const unsigned char*>;
        case Kind::ipv4:
            return one_of<T, unsigned int>;
        case Kind::packet:
            return one_of<T, Packet>;
        case Kind::flow:
            return one_of<T, of_flow_mp_s>;
        case Kind::flow_usp:
            return one_of<T, of_flow_s>;
        case Kind::flow_udf:
            return one_of<T, of_flow_qualify_udf_s>;
        case Kind::action_param:
            return one_of<T, of_action_param_s>;
        case Kind::counters:
            return one_of<T, std::list<StatCounter32>, std::list<StatCounter64>,
                          std::list<BriefStatCounter32>, std::list<BriefStatCounter64>,
                          StatCounter32*, StatCounter64*>;
        case Kind::callback:
            return std::is_function<std::remove_pointer_t<Bare<T>>>::value || one_of<T, void*>;
        case Kind::user_data:
            return one_of<T, void*>;
    }
    return false;
}

template <class T>
std::string misfit(const Arg& arg)
{
    if (!holds<T>(arg.kind))
        return std::string(arg.name) + ": a " + kind_name(arg.kind) + " in the wrong type";
    if (written(arg.dir) && !writable<T>())
        return std::string(arg.name) + ": " + dir_name(arg.dir) +
               " on a parameter the callee cannot write";
    return "";
}

template <class Function>
struct Check;

// The misfits of one slot's kinds against its parameter types, in order.
template <class... Params>
struct Check<bool(Params...)> {
    static std::vector<std::string> misfits(vorn_meta::ArgList args)
    {
        if (args.size() != sizeof...(Params))
            return {"a kind count other than the parameter count"};
        std::vector<std::string> found;
        const Arg* arg = args.begin();
        using expand = int[];
        (void)expand{0, (found.push_back(misfit<Params>(*arg++)), 0)...};
        std::vector<std::string> nonempty;
        for (const std::string& each : found)
            if (!each.empty()) nonempty.push_back(each);
        return nonempty;
    }
};

struct SlotCheck {
    Slot slot;
    std::vector<std::string> (*misfits)(vorn_meta::ArgList);
};

const SlotCheck checks[] = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) {Slot::name, &Check<bool params>::misfits},
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

TEST(SlotKinds, EveryKindFitsItsParameter)
{
    for (const SlotCheck& check : checks)
        EXPECT_EQ(check.misfits(slot_args(check.slot)), std::vector<std::string>{})
            << slot_name(check.slot);
}

// The checks themselves tell a misfit.
TEST(SlotKinds, TheChecksRefuseMisfits)
{
    struct Case {
        std::string found;
        std::string expected;
    };
    const Case cases[] = {
        {misfit<const unsigned char*>({Dir::in, Kind::mac, "mac"}), ""},
        {misfit<unsigned int>({Dir::in, Kind::mac, "vlan"}), "vlan: a mac in the wrong type"},
        {misfit<bool>({Dir::in, Kind::number, "on"}), "on: a number in the wrong type"},
        {misfit<const Mp&>({Dir::out, Kind::port, "port"}),
         "port: out on a parameter the callee cannot write"},
        {misfit<const unsigned char*>({Dir::out, Kind::mac, "mac"}),
         "mac: out on a parameter the callee cannot write"},
        {misfit<unsigned int&>({Dir::in_out, Kind::number, "count"}), ""},
        {misfit<void (*)(int)>({Dir::in, Kind::callback, "callback"}), ""},
    };
    for (const Case& c : cases) EXPECT_EQ(c.found, c.expected);
}

TEST(SlotKinds, NamesComeFromTheArgumentsColumn)
{
    const vorn_meta::ArgList args = slot_args(Slot::get_l3_route_by_subnet_ip6);
    std::vector<std::string> names;
    for (const Arg& arg : args) names.push_back(arg.name);
    EXPECT_EQ(names, (std::vector<std::string>{"address", "mask", "port", "trunk", "interface_id",
                                               "mac"}));
    EXPECT_EQ(args[1].kind, Kind::ipv6_mask);
    EXPECT_EQ(args[5].dir, Dir::out);
    EXPECT_EQ(slot_args(Slot::unused_slot_3).size(), 0u);
    EXPECT_EQ(slot_args(Slot::set_lcmgr_trace).size(), 2u);
}

}  // namespace
