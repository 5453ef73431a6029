// The model's event callbacks, of both bindings (C++ and C), and the frames
// the CPU sent: who is told of MAC updates, link changes and received
// frames, and the record of what went out.
#ifndef VORN_SIM_EVENT_REGISTRY_HH
#define VORN_SIM_EVENT_REGISTRY_HH

#include <vector>

#include "refuser.hh"
#include "vorn_sdk.hh"
#include "vorn_sim.hh"

namespace vorn_sim {

template <class Callback>
struct Registration {
    Callback callback;
    void* user_data;
};

class EventRegistry {
public:
    typedef void (*MacCallback)(L2Addr*, int, void*);
    typedef void (*MacCallbackC)(ctype_l2_addr_s*, int, void*);
    typedef void (*LinkCallback)(LinkStatus*, Usp*);
    typedef void (*LinkCallbackC)(ctype_link_status_s*, usp_s*);
    typedef void (*RxCallback)(RxPacket*, void*);
    typedef void (*RxCallbackC)(ctype_rx_packet_s*, void*);

    // One registration per (callback, user data) and kind.
    template <class Callback>
    bool add(Refuser& refuse, Callback callback, void* user_data);
    // Either binding's registration of the kind is removed.
    bool remove(Refuser& refuse, lcmgr_report_event_t event, void* callback, void* user_data);

    // Tell every registration of the kind, in the order they came; a
    // callback may register or deregister while it is told.
    void mac_changed(L2Addr address, int what) const;
    void link_changed(LinkStatus status, const Usp& where) const;
    void received(const Usp& where, unsigned int vlan, const std::vector<unsigned char>& frame) const;

    // The most recent packets only: a card that serves for days must not
    // keep every LLDPDU it ever sent.
    static const std::size_t sent_kept = 4096;
    void record_sent(SentPacket packet)
    {
        if (sent_.size() == 2 * sent_kept) sent_.erase(sent_.begin(), sent_.begin() + sent_kept);
        sent_.push_back(std::move(packet));
    }
    const std::vector<SentPacket>& sent() const { return sent_; }

private:
    std::vector<Registration<MacCallback>>& registrations(MacCallback) { return mac_; }
    std::vector<Registration<MacCallbackC>>& registrations(MacCallbackC) { return mac_c_; }
    std::vector<Registration<LinkCallback>>& registrations(LinkCallback) { return link_; }
    std::vector<Registration<LinkCallbackC>>& registrations(LinkCallbackC) { return link_c_; }
    std::vector<Registration<RxCallback>>& registrations(RxCallback) { return rx_; }
    std::vector<Registration<RxCallbackC>>& registrations(RxCallbackC) { return rx_c_; }

    std::vector<Registration<MacCallback>> mac_;
    std::vector<Registration<MacCallbackC>> mac_c_;
    std::vector<Registration<LinkCallback>> link_;
    std::vector<Registration<LinkCallbackC>> link_c_;
    std::vector<Registration<RxCallback>> rx_;
    std::vector<Registration<RxCallbackC>> rx_c_;
    std::vector<SentPacket> sent_;
};

template <class Callback>
bool EventRegistry::add(Refuser& refuse, Callback callback, void* user_data)
{
    if (!callback) return refuse("no callback given (null pointer)");
    std::vector<Registration<Callback>>& list = registrations(callback);
    for (const auto& r : list)
        if (r.callback == callback && r.user_data == user_data)
            return refuse("callback already registered with this user data");
    list.push_back(Registration<Callback>{callback, user_data});
    return true;
}

}  // namespace vorn_sim

#endif
