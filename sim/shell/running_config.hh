// The card's configuration as a vornsh script, and the words it shares with
// the show views: a flow's match and actions, the filters, the routes.
#ifndef VORNSH_RUNNING_CONFIG_HH
#define VORNSH_RUNNING_CONFIG_HH

#include <ostream>
#include <string>
#include <vector>

#include "model.hh"

namespace vornsh {

// Prints the commands that, run on a freshly brought-up card, rebuild its
// tables: VLANs and members, LAGs, port settings that differ from their
// defaults, static MACs, L3, flows, filters and switch settings.
void print_running_config(std::ostream& out);

// A flow's match as `flow add` reads it: key=value,...
std::string flow_match_text(const of_flow_mp_s& flow);

// A flow action as `flow action ID` reads it: the kind, then a port or a
// number ("" when the parameter is zero).
struct FlowActionWords {
    std::string kind;
    std::string param;
};
FlowActionWords flow_action_words(const vorn_sim::FlowAction& action);

// The filters to the CPU as `filter add` reads them: kind and value.
struct FilterWords {
    std::string kind;
    std::string value;
};
std::vector<FilterWords> filter_words();

// The route tables, IPv4 then IPv6, each by address and prefix length.
struct RouteRow {
    std::string prefix;
    std::string port;
    std::string mac;
    unsigned int interface_id;
    unsigned int vlan;  // IPv4 only; 0 for none
};
std::vector<RouteRow> route_rows();

}  // namespace vornsh

#endif
