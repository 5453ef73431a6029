// --- Link aggregation.  Three stores are kept in step, always in this order:
// the SDK's LAG table, the host's lag_list, the SDK-side LAG mapping.  A
// failure part-way leaves them out of step; nothing here repairs that.
#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

// Any Usp without a mapping gets a LAG; one with a mapping is left alone.
bool vorn_create_lag(const Usp& lag)
{
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int lag_id = 0;
        if (vornsdk_lag_usp_to_lag_id(lag, lag_id)) return true;
        return sdk.create_lag(lag_id) && add_lag_to_list(lag_id, lag_list) &&
               vornsdk_add_lag_mapping(lag, lag_id);
    });
}

// A LAG that is not mapped, or not in lag_list, is already gone: success.
bool vorn_delete_lag(const Usp& lag)
{
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int lag_id = 0;
        if (!is_port_logical_lag(lag)) return false;
        if (!vornsdk_lag_usp_to_lag_id(lag, lag_id)) return true;
        if (!is_lag_exist(lag_id, lag_list)) return true;
        return sdk.delete_lag(lag_id) && delete_lag_from_list(lag_id, lag_list) &&
               vornsdk_delete_lag_mapping(lag, lag_id);
    });
}

// Creates the LAG when it does not exist.  The SDK and lag_list receive the
// complete new member set: the current members, then the new ports appended.
bool vorn_add_ports_to_lag(const Usp& lag, const std::list<Usp>& ports)
{
    std::list<Mp> members;
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int lag_id = 0;
        return is_port_logical_lag(lag) && vorn_create_lag(lag) &&
               vornsdk_lag_usp_to_lag_id(lag, lag_id) && get_lag_member(lag_id, members) &&
               vorn_usp_list_to_mp_list(ports, members) && sdk.add_ports_to_lag(lag_id, members) &&
               add_lag_member(lag_id, lag_list, members);
    });
}

// Not the mirror of the add: the ports are translated before the id lookup,
// current members are not fetched, and an unmapped LAG is success.
bool vorn_delete_ports_from_lag(const Usp& lag, const std::list<Usp>& ports)
{
    std::list<Mp> mps;
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int lag_id = 0;
        if (!is_port_logical_lag(lag) || !vorn_usp_list_to_mp_list(ports, mps)) return false;
        if (!vornsdk_lag_usp_to_lag_id(lag, lag_id)) return true;
        return sdk.delete_ports_from_lag(lag_id, mps) && delete_lag_member(lag_id, lag_list, mps);
    });
}

// The strategy entry points test the port before the lookup, and a missing
// LAG is an error here.
template <class Call>
static bool mapped_lag(const Usp& lag, Call&& call)
{
    if (!is_port_logical_lag(lag)) return false;
    return with_sdk([&](VornSdkBase& sdk) {
        unsigned int lag_id = 0;
        return vornsdk_lag_usp_to_lag_id(lag, lag_id) && call(sdk, lag_id);
    });
}

bool vorn_set_lag_balancing_strategy(const Usp& lag, lag_psc_t psc)
{
    return mapped_lag(lag, [&](VornSdkBase& sdk, unsigned int lag_id) {
        return sdk.set_lag_balancing_strategy(lag_id, psc);
    });
}

bool vorn_get_lag_balancing_strategy(const Usp& lag, lag_psc_t& psc)
{
    return mapped_lag(lag, [&](VornSdkBase& sdk, unsigned int lag_id) {
        return sdk.get_lag_balancing_strategy(lag_id, psc);
    });
}
