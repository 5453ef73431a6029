// The names of the trace levels and of the modules of the switch system, as
// set_lcmgr_trace takes them.  Each unit that includes this header holds its
// own copy of the eighteen strings, built at load in this order: the API
// entry points' unit and the C binding's unit include it (as published, each
// with a copy of its own); the socket unit does not.
#ifndef VORN_TRACE_NAMES_HH
#define VORN_TRACE_NAMES_HH

#include <string>

namespace vorn_contract {
namespace {

const std::string trace_level_xrl = "trace_level_xrl";
const std::string trace_level_api = "trace_level_api";
const std::string trace_level_sdk = "trace_level_sdk";
const std::string trace_level_all = "trace_level_all";
const std::string module_finder = "finder";
const std::string module_card_manager = "card_manager";
const std::string module_lcmgr = "lcmgr";
const std::string module_fdb = "fdb";
const std::string module_vlan = "vlan";
const std::string module_sif = "sif";
const std::string module_switch_mirror = "switch_mirror";
const std::string module_policy = "policy";
const std::string module_stat = "stat";
const std::string module_lldp = "lldp";
const std::string module_rstp = "rstp";
const std::string module_snmp = "snmp";
const std::string module_lacp = "lacp";
const std::string module_tuntap = "tuntap";

}  // namespace
}  // namespace vorn_contract

#endif
