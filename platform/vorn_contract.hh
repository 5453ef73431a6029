// Numbers the library and the switch SDK agree on beyond the SDK class's
// signatures.  Header only: nothing here is exported.
#ifndef VORN_CONTRACT_HH
#define VORN_CONTRACT_HH

namespace vorn_contract {

// The port kind code of the MAC-limit slots (set_system_mac_limit,
// get_system_mac_limit): what the Mp beside it names.
enum MacLimitKind : unsigned int {
    mac_limit_port = 1,            // a physical port
    mac_limit_lag = 2,             // a LAG: the Mp's port is the LAG id
    mac_limit_vlan_interface = 3,  // a VLAN interface: the Mp's port is its port number
    mac_limit_switch = 4,          // the whole switch, on Mp(0, 0)
};

// Flow port numbers from this one on name front-panel port 1/1/(n - 7) in an
// output action; the numbers below are the SDK's own and are not translated.
// 7 itself would name 1/1/0, which is no port.
const int first_front_panel_flow_port = 7;

}  // namespace vorn_contract

#endif
