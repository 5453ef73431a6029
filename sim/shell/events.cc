#include "events.hh"

#include "words.hh"

namespace vornsh {

namespace {

const char* mac_event(int what)
{
    switch (what) {
    case LCMGR_MAC_LEARNED: return "learned";
    case LCMGR_MAC_AGED: return "aged";
    case LCMGR_MAC_DELETED: return "deleted";
    default: return "static";
    }
}

std::string mac_line(const char* binding, const unsigned char* mac, unsigned int vlan, const Usp& port,
                     unsigned int flags, int what)
{
    const bool added_static = (flags & 1) && what == LCMGR_MAC_LEARNED;
    return std::string("mac-update") + binding + " " + (added_static ? "static" : mac_event(what)) + " " +
           mac_text(mac) + " vlan " + std::to_string(vlan) + " " +
           (port.unit() == 0 && port.slot() == 0 ? "cpu" : port_text(port));
}

void walk(L2Addr* address, int what, void*)
{
    walked_mac_table().push_back(MacRow{address->vlan, mac_text(address->mac), port_text(address->port),
                                        what == 0 ? "static" : "learned"});
}

}  // namespace

std::vector<std::string>& delivered_events()
{
    static std::vector<std::string> events;
    return events;
}

void record_mac(L2Addr* a, int what, void*)
{
    delivered_events().push_back(mac_line("", a->mac, a->vlan, a->port, a->flags, what));
}

void record_mac_c(ctype_l2_addr_s* a, int what, void*)
{
    delivered_events().push_back(
        mac_line("(c)", a->mac, a->vlan, Usp(a->port.unit, a->port.slot, a->port.port), a->flags, what));
}

void record_link(LinkStatus* status, Usp* port)
{
    delivered_events().push_back("link-change " + port_text(*port) + " " + enum_text(status->state));
}

void record_link_c(ctype_link_status_s* status, usp_s* port)
{
    delivered_events().push_back("link-change(c) " + port_text(Usp(port->unit, port->slot, port->port)) + " " +
                                 enum_text(status->state));
}

void record_rx(RxPacket* packet, void*)
{
    delivered_events().push_back("rx-packet " + port_text(packet->port) + " vlan " + std::to_string(packet->vlan) +
                                 " " + std::to_string(packet->length) + " bytes");
}

void record_rx_c(ctype_rx_packet_s* packet, void*)
{
    delivered_events().push_back("rx-packet(c) " +
                                 port_text(Usp(packet->port.unit, packet->port.slot, packet->port.port)) +
                                 " vlan " + std::to_string(packet->vlan) + " " +
                                 std::to_string(packet->length) + " bytes");
}

namespace {

struct NamedRecorder {
    const char* name;
    void* recorder;
};

const std::vector<NamedRecorder>& named_recorders()
{
    static const std::vector<NamedRecorder> recorders = {
        {"mac", reinterpret_cast<void*>(&record_mac)},   {"mac-c", reinterpret_cast<void*>(&record_mac_c)},
        {"link", reinterpret_cast<void*>(&record_link)}, {"link-c", reinterpret_cast<void*>(&record_link_c)},
        {"rx", reinterpret_cast<void*>(&record_rx)},     {"rx-c", reinterpret_cast<void*>(&record_rx_c)},
    };
    return recorders;
}

}  // namespace

std::vector<std::string> recorder_names()
{
    std::vector<std::string> names;
    for (const NamedRecorder& named : named_recorders()) names.push_back(named.name);
    return names;
}

void* recorder_by_name(const std::string& word)
{
    for (const NamedRecorder& named : named_recorders())
        if (word == named.name) return named.recorder;
    throw BadWord("a callback (" + join(recorder_names(), "|") + ")", word);
}

std::vector<MacRow>& walked_mac_table()
{
    static std::vector<MacRow> rows;
    return rows;
}

void* mac_table_walker() { return reinterpret_cast<void*>(&walk); }

}  // namespace vornsh
