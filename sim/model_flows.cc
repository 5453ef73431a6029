// The model's flow table, packet filters, switch-wide settings, line card
// operations and SDK trace switch.
#include "model_impl.hh"

namespace vorn_sim {

namespace {

// Flow port numbers above 6 name front-panel ports; 0-6 are reserved
// (0 output to the normal pipeline ... 6 the CPU) and carry no port.
const int first_front_panel_flow_port = 7;

}  // namespace

// Ids are handed out lowest free first, from 1.
bool SwitchModel::add_of_flow(of_flow_mp_s& flow, unsigned int& flow_id, const of_flow_qualify_udf_s& udf)
{
    return op(125, "add_of_flow", [&] {
        if ((flow.match.match_flags & OF_MATCH_IN_PORT) && !physical(flow.in_port)) return false;
        if (flows_.size() >= config_.flows) return false;
        unsigned int id = 1;
        while (flows_.count(id)) ++id;
        flows_[id].match = flow;
        flow_id = id;
        return true;
    }, flow, udf);
}

bool SwitchModel::add_of_flow_with_id(of_flow_mp_s& flow, unsigned int flow_id)
{
    return op(126, "add_of_flow_with_id", [&] {
        if ((flow.match.match_flags & OF_MATCH_IN_PORT) && !physical(flow.in_port)) return false;
        if (flow_id == 0 || flows_.count(flow_id) || flows_.size() >= config_.flows) return false;
        flows_[flow_id].match = flow;
        return true;
    }, flow, flow_id);
}

bool SwitchModel::delete_of_flow(unsigned int flow_id)
{
    return op(127, "delete_of_flow", [&] { return flows_.erase(flow_id) == 1; }, flow_id);
}

bool SwitchModel::clear_of_flow_table()
{
    return op(128, "clear_of_flow_table", [&] { return flows_.clear(), true; });
}

// An output action to a front-panel flow port must arrive with that port.
bool SwitchModel::flow_action(bool add, unsigned int flow_id, of_action_t kind,
                              const of_action_param_s& param, const Mp& port)
{
    auto found = flows_.find(flow_id);
    if (found == flows_.end() || kind < OF_ACTION_OUTPUT || kind > OF_ACTION_MIRROR) return false;
    if (kind == OF_ACTION_OUTPUT && param.word[0] >= first_front_panel_flow_port && !physical(port))
        return false;
    std::vector<FlowAction>& actions = found->second.actions;
    for (auto it = actions.begin(); it != actions.end(); ++it)
        if (it->kind == kind && it->param.word[0] == param.word[0] &&
            it->param.word[1] == param.word[1] && it->param.word[2] == param.word[2]) {
            if (add) return false;
            actions.erase(it);
            return true;
        }
    if (!add) return false;
    actions.push_back(FlowAction{kind, param, port});
    return true;
}

bool SwitchModel::add_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param,
                                     const Mp& port)
{
    return op(129, "add_of_flow_action", [&] { return flow_action(true, flow_id, kind, param, port); },
              flow_id, kind, param, port);
}

bool SwitchModel::delete_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param,
                                        const Mp& port)
{
    return op(130, "delete_of_flow_action", [&] { return flow_action(false, flow_id, kind, param, port); },
              flow_id, kind, param, port);
}

bool SwitchModel::clear_of_flow_action(unsigned int flow_id)
{
    return op(131, "clear_of_flow_action", [&] {
        auto found = flows_.find(flow_id);
        return found != flows_.end() && (found->second.actions.clear(), true);
    }, flow_id);
}

bool SwitchModel::set_of_flow_priority(unsigned int flow_id, int priority)
{
    return op(132, "set_of_flow_priority", [&] {
        auto found = flows_.find(flow_id);
        return found != flows_.end() && priority >= 0 && priority <= 65535 &&
               (found->second.priority = priority, true);
    }, flow_id, priority);
}

bool SwitchModel::get_of_flow_priority(unsigned int flow_id, int& priority)
{
    return op(133, "get_of_flow_priority", [&] {
        auto found = flows_.find(flow_id);
        return found != flows_.end() && (priority = found->second.priority, true);
    }, flow_id);
}

bool SwitchModel::get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets)
{
    return op(134, "get_of_flow_stat_counter64", [&] {
        auto found = flows_.find(flow_id);
        return found != flows_.end() && (packets = found->second.packets, true);
    }, flow_id);
}

bool SwitchModel::get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets)
{
    return op(135, "get_of_flow_stat_counter32", [&] {
        auto found = flows_.find(flow_id);
        return found != flows_.end() && (packets = static_cast<unsigned int>(found->second.packets), true);
    }, flow_id);
}

// --- Switch-wide settings and filters.
bool SwitchModel::set_switch_forward_mode(unsigned int mode)
{
    return op(109, "set_switch_forward_mode", [&] { return mode <= 1 && (forward_mode_ = mode, true); },
              mode);
}

bool SwitchModel::get_switch_forward_mode(unsigned int& mode)
{
    return op(110, "get_switch_forward_mode", [&] { return mode = forward_mode_, true; });
}

bool SwitchModel::set_switch_unknown_unicast_to_cpu(bool enabled)
{
    return op(123, "set_switch_unknown_unicast_to_cpu",
              [&] { return unknown_unicast_to_cpu_ = enabled, true; }, enabled);
}

bool SwitchModel::get_switch_unknown_unicast_to_cpu(bool& enabled)
{
    return op(124, "get_switch_unknown_unicast_to_cpu", [&] { return enabled = unknown_unicast_to_cpu_, true; });
}

namespace {

template <class Set, class Key>
bool insert_filter(Set& filters, const Key& key, std::size_t limit)
{
    return filters.size() < limit && filters.insert(key).second;
}

}  // namespace

bool SwitchModel::add_arp_filter(unsigned int address, unsigned int mask)
{
    return op(111, "add_arp_filter", [&] {
        return insert_filter(arp_filters_, std::make_pair(address & mask, mask), config_.filters);
    }, address, mask);
}

bool SwitchModel::delete_arp_filter(unsigned int address, unsigned int mask)
{
    return op(112, "delete_arp_filter",
              [&] { return arp_filters_.erase(std::make_pair(address & mask, mask)) == 1; }, address, mask);
}

bool SwitchModel::delete_arp_filter_all()
{
    return op(113, "delete_arp_filter_all", [&] { return arp_filters_.clear(), true; });
}

bool SwitchModel::add_ip_protocol_filter(unsigned int protocol)
{
    return op(114, "add_ip_protocol_filter", [&] {
        return protocol <= 255 && insert_filter(ip_protocol_filters_, protocol, config_.filters);
    }, protocol);
}

bool SwitchModel::delete_ip_protocol_filter(unsigned int protocol)
{
    return op(115, "delete_ip_protocol_filter", [&] { return ip_protocol_filters_.erase(protocol) == 1; },
              protocol);
}

bool SwitchModel::delete_ip_protocol_filter_all()
{
    return op(116, "delete_ip_protocol_filter_all", [&] { return ip_protocol_filters_.clear(), true; });
}

bool SwitchModel::add_l4_destination_port_filter(unsigned int port)
{
    return op(117, "add_l4_destination_port_filter", [&] {
        return port <= 65535 && insert_filter(l4_port_filters_, port, config_.filters);
    }, port);
}

bool SwitchModel::delete_l4_destination_port_filter(unsigned int port)
{
    return op(118, "delete_l4_destination_port_filter", [&] { return l4_port_filters_.erase(port) == 1; },
              port);
}

bool SwitchModel::delete_l4_destination_port_filter_all()
{
    return op(119, "delete_l4_destination_port_filter_all", [&] { return l4_port_filters_.clear(), true; });
}

// --- Line card and tracing.
bool SwitchModel::get_line_card_usp(Usp& usp)
{
    return op(107, "get_line_card_usp", [&] { return usp = Usp(1, 0, 0), true; });
}

// The SDK's resources are the caller's to release; nothing is held here.
bool SwitchModel::free_call(int arg)
{
    return op(108, "free_call", [&] { return true; }, arg);
}

bool SwitchModel::set_lcmgr_trace(const std::string& target, bool on)
{
    const bool ours = target == "trace_level_sdk" || target == "trace_level_all";
    if (ours && on) tracing_ = true;
    const bool result = op(178, "set_lcmgr_trace", [&] { return ours; }, target, on);
    if (ours && !on) tracing_ = false;
    return result;
}

}  // namespace vorn_sim
