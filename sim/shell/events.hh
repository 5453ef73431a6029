// The shell's own callbacks: every event the library delivers is written
// into a log that `show events` prints.
#ifndef VORNSH_EVENTS_HH
#define VORNSH_EVENTS_HH

#include <string>
#include <vector>

#include "vorn_types.hh"

namespace vornsh {

std::vector<std::string>& delivered_events();

void record_mac(L2Addr* address, int what, void*);
void record_mac_c(ctype_l2_addr_s* address, int what, void*);
void record_link(LinkStatus* status, Usp* port);
void record_link_c(ctype_link_status_s* status, usp_s* port);
void record_rx(RxPacket* packet, void*);
void record_rx_c(ctype_rx_packet_s* packet, void*);

template <class F>
F recorder();
template <>
inline void (*recorder<void (*)(L2Addr*, int, void*)>())(L2Addr*, int, void*) { return record_mac; }
template <>
inline void (*recorder<void (*)(ctype_l2_addr_s*, int, void*)>())(ctype_l2_addr_s*, int, void*)
{
    return record_mac_c;
}
template <>
inline void (*recorder<void (*)(LinkStatus*, Usp*)>())(LinkStatus*, Usp*) { return record_link; }
template <>
inline void (*recorder<void (*)(ctype_link_status_s*, usp_s*)>())(ctype_link_status_s*, usp_s*)
{
    return record_link_c;
}
template <>
inline void (*recorder<void (*)(RxPacket*, void*)>())(RxPacket*, void*) { return record_rx; }
template <>
inline void (*recorder<void (*)(ctype_rx_packet_s*, void*)>())(ctype_rx_packet_s*, void*)
{
    return record_rx_c;
}

// By name, for deregistration: mac, mac-c, link, link-c, rx, rx-c.
void* recorder_by_name(const std::string& word);
std::vector<std::string> recorder_names();

// The MAC table walk: collects each entry as a row.
struct MacRow {
    unsigned int vlan;
    std::string mac;
    std::string port;
    std::string kind;
};
std::vector<MacRow>& walked_mac_table();
void* mac_table_walker();

}  // namespace vornsh

#endif
