// The flow table and the three packet-filter sets (ARP, IP protocol, L4
// destination port): their entries, ids and capacities.
#ifndef VORN_SIM_FLOW_TABLE_HH
#define VORN_SIM_FLOW_TABLE_HH

#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "refuser.hh"
#include "vorn_sdk.hh"

namespace vorn_sim {

struct FlowAction {
    of_action_t kind;
    of_action_param_s param;
    Mp port;
};

struct Flow {
    of_flow_mp_s match;
    int priority = 0;
    std::vector<FlowAction> actions;
    unsigned long long packets = 0;
};

class FlowTable {
public:
    FlowTable(std::size_t capacity, std::size_t filter_capacity)
        : capacity_(capacity), filter_capacity_(filter_capacity)
    {
    }

    const std::map<unsigned int, Flow>& flows() const { return flows_; }
    const std::set<std::pair<unsigned int, unsigned int>>& arp_filters() const { return arp_filters_; }
    const std::set<unsigned int>& ip_protocol_filters() const { return ip_protocol_filters_; }
    const std::set<unsigned int>& l4_port_filters() const { return l4_port_filters_; }

    // Flows.  Ids are handed out lowest free first, from 1.
    bool add(Refuser& refuse, const of_flow_mp_s& match, unsigned int& flow_id);
    bool add_with_id(Refuser& refuse, const of_flow_mp_s& match, unsigned int flow_id);
    bool remove(Refuser& refuse, unsigned int flow_id);
    void clear() { flows_.clear(); }
    // Whether flow_id exists and `kind` is an action kind; checked before
    // the action's port, which is the caller's to check.
    bool action_allowed(Refuser& refuse, unsigned int flow_id, of_action_t kind);
    // Adds an action the flow lacks, or removes one it has.
    bool change_action(Refuser& refuse, bool add, unsigned int flow_id, of_action_t kind,
                       const of_action_param_s& param, const Mp& port);
    bool clear_actions(Refuser& refuse, unsigned int flow_id);
    bool set_priority(Refuser& refuse, unsigned int flow_id, int priority);
    bool priority(Refuser& refuse, unsigned int flow_id, int& priority);
    bool packets(Refuser& refuse, unsigned int flow_id, unsigned long long& packets);

    // Filters: an ARP filter is kept as (address & mask, mask).
    bool add_arp_filter(Refuser& refuse, unsigned int address, unsigned int mask);
    bool delete_arp_filter(Refuser& refuse, unsigned int address, unsigned int mask);
    void clear_arp_filters() { arp_filters_.clear(); }
    bool add_ip_protocol_filter(Refuser& refuse, unsigned int protocol);
    bool delete_ip_protocol_filter(Refuser& refuse, unsigned int protocol);
    void clear_ip_protocol_filters() { ip_protocol_filters_.clear(); }
    bool add_l4_port_filter(Refuser& refuse, unsigned int port);
    bool delete_l4_port_filter(Refuser& refuse, unsigned int port);
    void clear_l4_port_filters() { l4_port_filters_.clear(); }

private:
    Flow* known(Refuser& refuse, unsigned int flow_id);
    template <class Set, class Key>
    bool insert_filter(Refuser& refuse, Set& filters, const Key& key);
    template <class Set, class Key>
    bool erase_filter(Refuser& refuse, Set& filters, const Key& key);

    std::size_t capacity_;
    std::size_t filter_capacity_;
    std::map<unsigned int, Flow> flows_;
    std::set<std::pair<unsigned int, unsigned int>> arp_filters_;
    std::set<unsigned int> ip_protocol_filters_;
    std::set<unsigned int> l4_port_filters_;
};

}  // namespace vorn_sim

#endif
