// One exported function that reaches every record of the public and platform
// headers (VornSocket is in the library's own dump).  The library's own ABI dump holds only what its entry points
// pass; the SDK class (which the library calls and the host implements) and
// the callback records would not be in it.  This probe, built like the
// library and never installed, puts them in a dump of their own.
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

extern "C" VORN_API void vorn_abi_probe(
    VornSdkBase* sdk, Usp*, Mp*, LagNode*, Packet*, of_flow_match_s*, of_flow_s*,
    of_flow_mp_s*, of_flow_qualify_udf_s*, of_action_param_s*, StatCounter32*, StatCounter64*,
    BriefStatCounter32*, BriefStatCounter64*, RxPacket*, LinkStatus*, L2Addr*, usp_s*,
    ctype_packet_s*, ctype_of_flow_s*, ctype_of_flow_qualify_udf_s*, ctype_of_action_param_s*,
    ctype_rx_packet_s*, ctype_link_status_s*, ctype_l2_addr_s*)
{
    // A call through the class makes the compiler describe all of it.
    if (sdk)
        sdk->delete_vlan(0);
}
