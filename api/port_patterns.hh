// The call patterns of the port entry points.  Each entry point names its
// pattern, the order of SDK lookup and port translation that is its own, and
// the SDK operation; the pattern does the rest.
//
//   single_port      one hardware port (getters, and setters that refuse a
//                    LAG or VLAN interface because its translation fails)
//   each_member      the operation once per member port, stopping at the
//                    first refusal; members already changed stay changed; no
//                    members is success
//   each_member_of_physical_or_lag
//                    each_member, but a VLAN interface is refused before any
//                    translation or lookup
//   each_port        a list of ports, translated as a whole, then the
//                    operation once per hardware port, stopping at the first
//                    refusal
//
// Every working Mp starts as Mp(0, 0) and every member list empty; both live
// on the stack of the call.
#ifndef VORN_API_PORT_PATTERNS_HH
#define VORN_API_PORT_PATTERNS_HH

#include <list>

#include "frame.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

namespace vorn {

// Which comes first: finding the SDK object or translating the port.
enum Order { LookupFirst, TranslateFirst };

// Finds the SDK object and runs `translate()`, in `order`; false as soon as
// either fails.
template <class Translate>
inline bool locate(Order order, VornSdkBase*& sdk, Translate&& translate)
{
    if (order == LookupFirst) return sdk_instance(sdk) && translate();
    return translate() && sdk_instance(sdk);
}

// Calls `call(sdk, port)` for each hardware port in order; false at the first
// refusal, true when every one succeeded (also when there are none).
template <class Call>
inline bool call_each(VornSdkBase& sdk, const std::list<Mp>& ports, Call& call)
{
    for (const Mp& port : ports)
        if (!call(sdk, port)) return false;
    return true;
}

// `call(sdk, mp)` on the one hardware port of `port`.
template <class Call>
inline bool single_port(Order order, const Usp& port, Call&& call)
{
    Mp mp(0, 0);
    VornSdkBase* sdk = nullptr;
    if (!locate(order, sdk, [&] { return vorn_usp_to_mp(port, mp); })) return false;
    return call(*sdk, mp);
}

template <class... Params, class... Args>
inline bool single_port(Order order, const Usp& port,
                        bool (VornSdkBase::*operation)(const Mp&, Params...), Args&&... args)
{
    return single_port(order, port, [&](VornSdkBase& sdk, const Mp& mp) {
        return (sdk.*operation)(mp, args...);
    });
}

// `call(sdk, member)` for each member of `port`.
template <class Call>
inline bool each_member(Order order, const Usp& port, Call&& call)
{
    std::list<Mp> members;
    VornSdkBase* sdk = nullptr;
    if (!locate(order, sdk, [&] { return vorn_usp_to_mp_list(port, members); })) return false;
    return call_each(*sdk, members, call);
}

template <class... Params, class... Args>
inline bool each_member(Order order, const Usp& port,
                        bool (VornSdkBase::*operation)(const Mp&, Params...), Args&&... args)
{
    return each_member(order, port, [&](VornSdkBase& sdk, const Mp& member) {
        return (sdk.*operation)(member, args...);
    });
}

// each_member for physical ports and LAGs only.  is_port_logical_lag is asked
// only when the port is not physical.
template <class... Params, class... Args>
inline bool each_member_of_physical_or_lag(Order order, const Usp& port,
                                           bool (VornSdkBase::*operation)(const Mp&, Params...),
                                           Args&&... args)
{
    if (!is_port_physical(port) && !is_port_logical_lag(port)) return false;
    return each_member(order, port, operation, args...);
}

// `call(sdk, mp)` for each hardware port of `ports`; the lookup comes first.
template <class Call>
inline bool each_port(const std::list<Usp>& ports, Call&& call)
{
    std::list<Mp> mps;
    VornSdkBase* sdk = nullptr;
    if (!locate(LookupFirst, sdk, [&] { return vorn_usp_list_to_mp_list(ports, mps); }))
        return false;
    return call_each(*sdk, mps, call);
}

template <class... Params, class... Args>
inline bool each_port(const std::list<Usp>& ports,
                      bool (VornSdkBase::*operation)(const Mp&, Params...), Args&&... args)
{
    return each_port(ports, [&](VornSdkBase& sdk, const Mp& mp) {
        return (sdk.*operation)(mp, args...);
    });
}

}  // namespace vorn

#endif
