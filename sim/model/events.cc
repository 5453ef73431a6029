// The model's event and CPU-packet operations over its EventRegistry: the
// registrations of both bindings, frames sent from the CPU, and the host
// side's cables and received frames.
#include <algorithm>

#include "model_impl.hh"

namespace vorn_sim {

namespace {

// Bridge group addresses 01:80:c2:00:00:00-0f.
bool bpdu(const std::vector<unsigned char>& frame)
{
    static const unsigned char group[5] = {0x01, 0x80, 0xc2, 0x00, 0x00};
    return std::equal(group, group + 5, frame.begin()) && (frame[5] & 0xf0) == 0;
}

stat_type_t destination_counter(const std::vector<unsigned char>& frame)
{
    if (std::all_of(frame.begin(), frame.begin() + 6, [](unsigned char byte) { return byte == 0xff; }))
        return STAT_IF_IN_BROADCAST_PKTS;
    return frame[0] & 1 ? STAT_IF_IN_MULTICAST_PKTS : STAT_IF_IN_UCAST_PKTS;
}

}  // namespace

bool SwitchModel::some_data(const Packet& packet)
{
    return packet.length() != 0 || refuse("empty packet");
}

bool SwitchModel::register_mac_update_callback(void (*callback)(L2Addr*, int, void*), void* user_data)
{
    return op(Slot::register_mac_update_callback,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::register_mac_update_callback_c(void (*callback)(ctype_l2_addr_s*, int, void*),
                                                 void* user_data)
{
    return op(Slot::register_mac_update_callback_c,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::register_link_change_callback(void (*callback)(LinkStatus*, Usp*), void* user_data)
{
    return op(Slot::register_link_change_callback,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::register_link_change_callback_c(void (*callback)(ctype_link_status_s*, usp_s*),
                                                  void* user_data)
{
    return op(Slot::register_link_change_callback_c,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::register_rx_packet_callback(void (*callback)(RxPacket*, void*), void* user_data)
{
    return op(Slot::register_rx_packet_callback,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::register_rx_packet_callback_c(void (*callback)(ctype_rx_packet_s*, void*),
                                                void* user_data)
{
    return op(Slot::register_rx_packet_callback_c,
              [&] { return events_.add(refuser_, callback, user_data); }, callback, user_data);
}

bool SwitchModel::deregister_event_callback(lcmgr_report_event_t event, void* callback, void* user_data)
{
    return op(Slot::deregister_event_callback,
              [&] { return events_.remove(refuser_, event, callback, user_data); }, event, callback, user_data);
}

// --- CPU packets.
bool SwitchModel::send_packet_by_port(std::list<Mp>& tagged, std::list<Mp>& untagged, const Packet& packet)
{
    return op(Slot::send_packet_by_port, [&] {
        if (!known_ports(tagged) || !known_ports(untagged) || !some_data(packet)) return false;
        SentPacket sent{std::vector<Mp>(tagged.begin(), tagged.end()),
                        std::vector<Mp>(untagged.begin(), untagged.end()), packet.data()};
        Frame frame;  // what is shorter than an Ethernet header is recorded, not sent
        if (parse(packet.data().data(), packet.data().size(), frame))
            dataplane_.send_by_port(sent.tagged, sent.untagged, frame);
        events_.record_sent(std::move(sent));
        return true;
    }, tagged, untagged, packet);
}

// Forwarded by L2 in the frame's VLAN.
bool SwitchModel::send_packet_from_cpu(const Packet& packet)
{
    return op(Slot::send_packet_from_cpu, [&] {
        if (!some_data(packet)) return false;
        Frame frame;
        if (parse(packet.data().data(), packet.data().size(), frame)) dataplane_.send_from_cpu(frame);
        events_.record_sent(SentPacket{{}, {}, packet.data()});
        return true;
    }, packet);
}

// --- Host side: cables and received frames.
bool SwitchModel::cable(const Mp& port, const Usp& usp, bool plugged)
{
    return run(-1, "set_cable", [&] { return plug(port, usp, plugged); });
}

bool SwitchModel::plug(const Mp& port, const Usp& usp, bool plugged)
{
    PortState* state = ports_.find(port);
    if (!state) return refuse("unknown port ", usp);
    const phy_state_t link = plugged ? PHY_STATE_UP : PHY_STATE_DOWN;
    if (state->link == link) return true;
    state->link = link;
    events_.link_changed(LinkStatus{link, state->speed, state->duplex}, usp);
    return true;
}

// The source MAC (bytes 6-11) is learned on the port, or on its LAG, when
// the port is a member of the VLAN.
bool SwitchModel::receive(const Mp& port, const Usp& usp, unsigned int vlan,
                          const std::vector<unsigned char>& frame)
{
    return run(-1, "receive_frame", [&] { return take_in(port, usp, vlan, frame); });
}

bool SwitchModel::take_in(const Mp& port, const Usp& usp, unsigned int vlan,
                          const std::vector<unsigned char>& frame)
{
    PortState* state = ports_.find(port);
    if (!state) return refuse("unknown port ", usp);
    if (frame.size() < 14)
        return refuse("frame of ", frame.size(), " bytes is shorter than an Ethernet header (14)");
    if (!known_vlan(vlan)) return false;
    if (state->link != PHY_STATE_UP) return refuse("port ", usp, " has no link");
    if (state->stats_enabled) {
        state->counters[STAT_IF_IN_OCTETS] += frame.size();
        ++state->counters[destination_counter(frame)];
    }
    // The VLAN's ingress filter, then the spanning tree: what they drop is
    // counted as a discard and never reaches the CPU, except BPDUs, which
    // the port traps whatever its state.
    const bool member = vlans_.member(vlan, port);
    MacAddress source;
    std::copy(frame.begin() + 6, frame.begin() + 12, source.begin());
    if (member && state->l2 && state->stp >= STP_STATE_LEARNING && !(source[0] & 1)) {
        unsigned int lag_id = 0;
        if (lags_.lag_of_member(port, lag_id)) learn(source, vlan, Mp(0, lag_id), true);
        else learn(source, vlan, port, false);
    }
    if (!(member && state->stp == STP_STATE_FORWARDING) && !bpdu(frame)) {
        if (state->stats_enabled) ++state->counters[STAT_IF_IN_DISCARDS];
        return true;
    }
    events_.received(usp, vlan, frame);
    return true;
}

}  // namespace vorn_sim
