// The model's event callbacks and the frames the CPU sent.
#include "event_registry.hh"

#include <algorithm>
#include <cstring>

namespace vorn_sim {

namespace {

template <class Callback>
bool remove_registration(std::vector<Registration<Callback>>& registrations, void* callback,
                         void* user_data)
{
    auto it = std::find_if(registrations.begin(), registrations.end(), [&](const Registration<Callback>& r) {
        return reinterpret_cast<void*>(r.callback) == callback && r.user_data == user_data;
    });
    if (it == registrations.end()) return false;
    registrations.erase(it);
    return true;
}

usp_s c_usp(const Usp& usp) { return usp_s{usp.unit(), usp.slot(), usp.port()}; }

}  // namespace

bool EventRegistry::remove(Refuser& refuse, lcmgr_report_event_t event, void* callback, void* user_data)
{
    switch (event) {
    case LCMGR_EVENT_RX_PACKET:
        return remove_registration(rx_, callback, user_data) || remove_registration(rx_c_, callback, user_data) ||
               refuse("no such rx-packet callback registered");
    case LCMGR_EVENT_LINK_CHANGE:
        return remove_registration(link_, callback, user_data) ||
               remove_registration(link_c_, callback, user_data) ||
               refuse("no such link-change callback registered");
    case LCMGR_EVENT_MAC_UPDATE:
        return remove_registration(mac_, callback, user_data) || remove_registration(mac_c_, callback, user_data) ||
               refuse("no such MAC-update callback registered");
    default:
        return refuse("unknown event kind ", event);
    }
}

// Each loop walks a copy: a callback may change the registrations.
void EventRegistry::mac_changed(L2Addr address, int what) const
{
    ctype_l2_addr_s c_address;
    std::memcpy(c_address.mac, address.mac, 6);
    c_address.flags = address.flags;
    c_address.vlan = address.vlan;
    c_address.port = c_usp(address.port);
    for (const auto& r : std::vector<Registration<MacCallback>>(mac_)) r.callback(&address, what, r.user_data);
    for (const auto& r : std::vector<Registration<MacCallbackC>>(mac_c_))
        r.callback(&c_address, what, r.user_data);
}

void EventRegistry::link_changed(LinkStatus status, const Usp& where) const
{
    ctype_link_status_s c_status{status.state, status.speed, status.duplex};
    Usp at = where;
    usp_s c_at = c_usp(where);
    for (const auto& r : std::vector<Registration<LinkCallback>>(link_)) r.callback(&status, &at);
    for (const auto& r : std::vector<Registration<LinkCallbackC>>(link_c_)) r.callback(&c_status, &c_at);
}

void EventRegistry::received(const Usp& where, unsigned int vlan, const std::vector<unsigned char>& frame) const
{
    RxPacket packet{where, vlan, static_cast<unsigned int>(frame.size()), frame.data()};
    ctype_rx_packet_s c_packet{c_usp(where), vlan, static_cast<unsigned int>(frame.size()), frame.data()};
    for (const auto& r : std::vector<Registration<RxCallback>>(rx_)) r.callback(&packet, r.user_data);
    for (const auto& r : std::vector<Registration<RxCallbackC>>(rx_c_)) r.callback(&c_packet, r.user_data);
}

}  // namespace vorn_sim
