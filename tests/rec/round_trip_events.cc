// A control plane whose callbacks hear the outside between its calls: cables
// pulled and plugged, frames received (their source MACs learned), and
// calls that raise callbacks themselves (a static MAC added, the FDB
// cleared).  Recorded under libvornrec, its replay must raise the same
// callbacks in the same places.
#include <algorithm>
#include <cstdio>
#include <list>
#include <vector>

#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

int failures = 0;
int heard = 0;

void check(bool ok, const char* what)
{
    if (!ok) {
        std::printf("FAILED: %s\n", what);
        ++failures;
    }
}

void on_link(LinkStatus*, Usp*) { ++heard; }
void on_link_c(ctype_link_status_s*, usp_s*) { ++heard; }
void on_mac(L2Addr*, int, void*) { ++heard; }
void on_packet(RxPacket*, void*) { ++heard; }

Usp port(unsigned int n) { return Usp(1, 1, n); }

std::vector<unsigned char> frame_from(unsigned char last_source_byte)
{
    std::vector<unsigned char> frame(64, 0);
    const unsigned char header[14] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x1b,
                                      0x21, 0x00, 0x00, last_source_byte, 0x08, 0x06};
    std::copy(header, header + 14, frame.begin());
    return frame;
}

}  // namespace

int main()
{
    int card_ports = 0;
    check(vorn_lcmgr_api_init(card_ports), "init");
    check(vorn_register_link_change_callback(on_link), "link callback");
    check(vorn_register_link_change_callback_c(on_link_c), "C link callback");
    check(vorn_register_mac_update_callback(on_mac, nullptr), "MAC callback");
    check(vorn_register_rx_packet_callback(on_packet, nullptr), "rx callback");
    check(vorn_create_vlan(10), "VLAN 10");
    check(vorn_add_ports_to_vlan(10, {}, {port(1), port(2), port(3), port(4)}), "ports 1-4 in VLAN 10");

    check(vorn_sim::set_cable(port(2), false), "cable 2 pulled");
    unsigned int pvid = 0;
    check(vorn_get_port_pvid(port(2), pvid), "PVID of port 2");
    check(vorn_sim::set_cable(port(2), true), "cable 2 plugged");
    check(vorn_sim::set_cable(port(4), false), "cable 4 pulled");

    check(vorn_sim::receive_frame(port(1), 10, frame_from(1)), "frame on port 1");
    check(vorn_sim::receive_frame(port(1), 10, frame_from(1)), "the same source again");
    check(vorn_sim::receive_frame(port(3), 10, frame_from(3)), "frame on port 3");

    const unsigned char server[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
    check(vorn_add_mac_to_port(port(2), server, 10), "static MAC on port 2");
    check(vorn_clear_fdb_table(false), "learned MACs cleared");
    check(vorn_get_port_pvid(port(1), pvid), "PVID of port 1");
    check(vorn_lcmgr_api_terminate(), "terminate");
    std::printf("round_trip_events: %d callbacks, %s\n", heard, failures ? "FAILED" : "ok");
    return failures == 0 && heard > 0 ? 0 : 1;
}
