// --- Spanning-tree port state.
#include "port_patterns.hh"
#include "vorn_api.hh"

using namespace vorn;

bool vorn_get_port_stp_state(const Usp& port, stp_state_t& state)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_stp_state, state);
}

bool vorn_set_port_stp_state(const Usp& port, stp_state_t state)
{
    std::list<Mp> members;
    VornSdkBase* sdk = nullptr;
    if (!locate(TranslateFirst, sdk, [&] { return vorn_usp_to_mp_list(port, members); }))
        return false;
    auto set_state = [&](VornSdkBase& s, const Mp& member) {
        return s.set_port_stp_state(member, state);
    };
    const bool members_set = call_each(*sdk, members, set_state);
    if (state != STP_STATE_DISABLED) return members_set;

    // A port leaving the tree forgets what it learned.  The flush runs even
    // when a member refused, and its answer replaces the members' answer.
    if (is_port_physical(port)) return sdk->clear_fdb_by_port(members.front(), false, false);
    if (is_port_logical_lag(port)) {
        Mp lag(0, 0);
        unsigned int lag_id = 0;
        if (!vorn_lag_usp_to_lag_id(port, lag_id)) return false;
        lag.set_port(lag_id);
        return sdk->clear_fdb_by_port(lag, true, false);
    }
    return false;  // the members of a VLAN interface are set, but nothing is flushed
}

// The multi-port form never flushes.
bool vorn_set_ports_stp_state(const std::list<Usp>& ports, stp_state_t state)
{
    return each_port(ports, &VornSdkBase::set_port_stp_state, state);
}

// The MSTP operations take the instance ahead of the port.
bool vorn_get_port_mstp_state(const Usp& port, mstp_state_t& state, unsigned int instance)
{
    return single_port(TranslateFirst, port, [&](VornSdkBase& sdk, const Mp& mp) {
        return sdk.get_port_mstp_state(instance, mp, state);
    });
}

bool vorn_set_port_mstp_state(const Usp& port, mstp_state_t state, unsigned int instance)
{
    return each_member(TranslateFirst, port, [&](VornSdkBase& sdk, const Mp& member) {
        return sdk.set_port_mstp_state(instance, member, state);
    });
}

bool vorn_set_ports_mstp_state(const std::list<Usp>& ports, mstp_state_t state,
                               unsigned int instance)
{
    return each_port(ports, [&](VornSdkBase& sdk, const Mp& mp) {
        return sdk.set_port_mstp_state(instance, mp, state);
    });
}
