// --- Flow table, switch-wide settings and packet filters.
#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_contract.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

namespace {

// The in-port is translated only when it takes part in the match; the match
// fields are copied unchanged.
bool to_hardware_flow(const of_flow_s& flow, of_flow_mp_s& hardware_flow)
{
    if ((flow.match.match_flags & OF_MATCH_IN_PORT) &&
        !vorn_usp_to_mp(flow.in_port, hardware_flow.in_port))
        return false;
    hardware_flow.match = flow.match;
    return true;
}


// Action add and delete: an output action's flow port travels as a hardware
// port beside the parameter.
bool flow_action(bool (VornSdkBase::*operation)(unsigned int, of_action_t, of_action_param_s,
                                                const Mp&),
                 unsigned int flow_id, of_action_t kind, const of_action_param_s& param)
{
    Usp port(0, 0, 0);
    Mp mp(0, 0);
    return with_sdk([&](VornSdkBase& sdk) {
        const int flow_port = param.word[0];
        if (kind == OF_ACTION_OUTPUT && flow_port >= vorn_contract::first_front_panel_flow_port) {
            port = Usp(1, 1, static_cast<unsigned int>(flow_port - vorn_contract::first_front_panel_flow_port));
            if (!vorn_usp_to_mp(port, mp)) return false;
        }
        return (sdk.*operation)(flow_id, kind, param, mp);
    });
}

}  // namespace

bool vorn_add_of_flow(const of_flow_s& flow, unsigned int& flow_id,
                      const of_flow_qualify_udf_s& udf)
{
    of_flow_mp_s hardware_flow;
    return with_sdk([&](VornSdkBase& sdk) {
        return to_hardware_flow(flow, hardware_flow) && sdk.add_of_flow(hardware_flow, flow_id, udf);
    });
}

bool vorn_add_of_flow_with_id(const of_flow_s& flow, unsigned int flow_id)
{
    of_flow_mp_s hardware_flow;
    return with_sdk([&](VornSdkBase& sdk) {
        return to_hardware_flow(flow, hardware_flow) && sdk.add_of_flow_with_id(hardware_flow, flow_id);
    });
}

bool vorn_delete_of_flow(unsigned int flow_id)
{
    return sdk_call(&VornSdkBase::delete_of_flow, flow_id);
}

bool vorn_clear_of_flow_table()
{
    return sdk_call(&VornSdkBase::clear_of_flow_table);
}

bool vorn_add_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param)
{
    return flow_action(&VornSdkBase::add_of_flow_action, flow_id, kind, param);
}

bool vorn_delete_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param)
{
    return flow_action(&VornSdkBase::delete_of_flow_action, flow_id, kind, param);
}

bool vorn_clear_of_flow_action(unsigned int flow_id)
{
    return sdk_call(&VornSdkBase::clear_of_flow_action, flow_id);
}

bool vorn_set_of_flow_priority(unsigned int flow_id, int priority)
{
    return sdk_call(&VornSdkBase::set_of_flow_priority, flow_id, priority);
}

bool vorn_get_of_flow_priority(unsigned int flow_id, int& priority)
{
    return sdk_call(&VornSdkBase::get_of_flow_priority, flow_id, priority);
}

bool vorn_get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets)
{
    return sdk_call(&VornSdkBase::get_of_flow_stat_counter64, flow_id, packets);
}

bool vorn_get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets)
{
    return sdk_call(&VornSdkBase::get_of_flow_stat_counter32, flow_id, packets);
}

bool vorn_set_switch_forward_mode(unsigned int mode)
{
    return sdk_call(&VornSdkBase::set_switch_forward_mode, mode);
}

bool vorn_get_switch_forward_mode(unsigned int& mode)
{
    return sdk_call(&VornSdkBase::get_switch_forward_mode, mode);
}

bool vorn_set_switch_unknown_unicast_to_cpu(bool enabled)
{
    return sdk_call(&VornSdkBase::set_switch_unknown_unicast_to_cpu, enabled);
}

bool vorn_get_switch_unknown_unicast_to_cpu(bool& enabled)
{
    return sdk_call(&VornSdkBase::get_switch_unknown_unicast_to_cpu, enabled);
}

bool vorn_add_arp_filter(unsigned int address, unsigned int mask)
{
    return sdk_call(&VornSdkBase::add_arp_filter, address, mask);
}

bool vorn_delete_arp_filter(unsigned int address, unsigned int mask)
{
    return sdk_call(&VornSdkBase::delete_arp_filter, address, mask);
}

bool vorn_delete_arp_filter_all()
{
    return sdk_call(&VornSdkBase::delete_arp_filter_all);
}

bool vorn_add_ip_protocol_filter(unsigned int protocol)
{
    return sdk_call(&VornSdkBase::add_ip_protocol_filter, protocol);
}

bool vorn_delete_ip_protocol_filter(unsigned int protocol)
{
    return sdk_call(&VornSdkBase::delete_ip_protocol_filter, protocol);
}

bool vorn_delete_ip_protocol_filter_all()
{
    return sdk_call(&VornSdkBase::delete_ip_protocol_filter_all);
}

bool vorn_add_l4_destination_port_filter(unsigned int port)
{
    return sdk_call(&VornSdkBase::add_l4_destination_port_filter, port);
}

bool vorn_delete_l4_destination_port_filter(unsigned int port)
{
    return sdk_call(&VornSdkBase::delete_l4_destination_port_filter, port);
}

bool vorn_delete_l4_destination_port_filter_all()
{
    return sdk_call(&VornSdkBase::delete_l4_destination_port_filter_all);
}
