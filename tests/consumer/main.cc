// A host program built outside the source tree against the installed
// library and reference host: it brings the card up and reads a VLAN back.
#include <cstdio>
#include <list>

#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sim.hh"

int main()
{
    int ports = 0;
    std::list<Usp> tagged, untagged;
    usp_s port = {1, 1, 5};
    unsigned int pvid = 0;
    const bool ok = vorn_lcmgr_api_init(ports) && vorn_create_vlan(10) &&
                    vorn_add_ports_to_vlan(10, {Usp(1, 1, 1)}, {Usp(1, 1, 5)}) &&
                    vorn_get_vlan_info(10, tagged, untagged) && tagged.size() == 1 &&
                    untagged.front() == Usp(1, 1, 5) && ctype_vorn_set_port_pvid(&port, 10) == 1 &&
                    ctype_vorn_get_port_pvid(&port, &pvid) == 1 && pvid == 10 && vorn_lcmgr_api_terminate();
    std::printf("consumer: %s (%d ports)\n", ok ? "ok" : "FAILED", ports);
    return ok ? 0 : 1;
}
