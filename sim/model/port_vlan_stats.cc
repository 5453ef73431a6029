// The model's per-port VLAN settings, spanning-tree states and statistics.
#include "model_impl.hh"

namespace vorn_sim {

namespace {

const char* frame_type_name(frame_type_t frame)
{
    switch (frame) {
    case FRAME_TYPE_ETHERNET2: return "Ethernet II";
    case FRAME_TYPE_LLC: return "LLC";
    case FRAME_TYPE_SNAP: return "SNAP";
    default: return "unknown";
    }
}

}  // namespace

// --- VLAN settings of a port.
bool SwitchModel::set_port_pvid(const Mp& p, unsigned int pvid)
{
    return op(Slot::set_port_pvid, [&] {
        return known_vlan(pvid) &&
               on_port(p, [&](PortState& s) { return s.pvid = pvid, true; });
    }, p, pvid);
}

bool SwitchModel::get_port_pvid(const Mp& p, unsigned int& pvid)
{
    return op(Slot::get_port_pvid, [&] {
        return on_port(p, [&](PortState& s) { return pvid = s.pvid, true; });
    }, p, pvid);
}

bool SwitchModel::set_port_vlan_priority(const Mp& p, unsigned int key, unsigned int priority)
{
    return op(Slot::set_port_vlan_priority, [&] {
        return within("priority", key, 0, 7) && within("VLAN priority", priority, 0, 7) &&
               on_port(p, [&](PortState& s) {
                   return s.vlan_priority[key] = priority, true;
               });
    }, p, key, priority);
}

bool SwitchModel::get_port_vlan_priority(const Mp& p, unsigned int key, unsigned int& priority)
{
    return op(Slot::get_port_vlan_priority, [&] {
        return within("priority", key, 0, 7) && on_port(p, [&](PortState& s) {
                   auto found = s.vlan_priority.find(key);
                   priority = found == s.vlan_priority.end() ? key : found->second;
                   return true;
               });
    }, p, key, priority);
}

bool SwitchModel::set_port_vlan_accept_frame(const Mp& p, bool tagged_only)
{
    return op(Slot::set_port_vlan_accept_frame, [&] {
        return on_port(p, [&](PortState& s) { return s.tagged_only = tagged_only, true; });
    }, p, tagged_only);
}

bool SwitchModel::get_port_vlan_accept_frame(const Mp& p, bool& tagged_only)
{
    return op(Slot::get_port_vlan_accept_frame, [&] {
        return on_port(p, [&](PortState& s) { return tagged_only = s.tagged_only, true; });
    }, p, tagged_only);
}

bool SwitchModel::set_port_protocol_vlan(const Mp& p, frame_type_t frame, unsigned short protocol,
                                         unsigned int vlan)
{
    return op(Slot::set_port_protocol_vlan, [&] {
        return within("frame type", frame, FRAME_TYPE_ETHERNET2, FRAME_TYPE_SNAP) && known_vlan(vlan) &&
               on_port(p, [&](PortState& s) {
                   return s.protocol_vlans[std::make_pair(static_cast<int>(frame), protocol)] = vlan,
                          true;
               });
    }, p, frame, protocol, vlan);
}

bool SwitchModel::delete_port_protocol_vlan(const Mp& p, frame_type_t frame, unsigned short protocol)
{
    return op(Slot::delete_port_protocol_vlan, [&] {
        return on_port(p, [&](PortState& s) {
            return s.protocol_vlans.erase(std::make_pair(static_cast<int>(frame), protocol)) == 1 ||
                   refuse("port ", names_.port(p), " has no VLAN for protocol ", vorn_format::hex16(protocol),
                          " in ", frame_type_name(frame), " frames");
        });
    }, p, frame, protocol);
}

bool SwitchModel::delete_port_protocol_vlan_all(const Mp& p)
{
    return op(Slot::delete_port_protocol_vlan_all, [&] {
        return on_port(p, [&](PortState& s) { return s.protocol_vlans.clear(), true; });
    }, p);
}

// --- Spanning tree.
bool SwitchModel::set_port_stp_state(const Mp& p, stp_state_t state)
{
    return op(Slot::set_port_stp_state, [&] {
        return within("STP state", state, STP_STATE_DISABLED, STP_STATE_FORWARDING) &&
               on_port(p, [&](PortState& s) { return s.stp = state, true; });
    }, p, state);
}

bool SwitchModel::get_port_stp_state(const Mp& p, stp_state_t& state)
{
    return op(Slot::get_port_stp_state, [&] {
        return on_port(p, [&](PortState& s) { return state = s.stp, true; });
    }, p, state);
}

bool SwitchModel::set_port_mstp_state(unsigned int instance, const Mp& p, mstp_state_t state)
{
    return op(Slot::set_port_mstp_state, [&] {
        return within("MSTP instance", instance, 0, 4094) &&
               within("MSTP state", state, MSTP_STATE_DISCARDING, MSTP_STATE_FORWARDING) &&
               on_port(p, [&](PortState& s) { return s.mstp[instance] = state, true; });
    }, instance, p, state);
}

// An instance never set forwards.
bool SwitchModel::get_port_mstp_state(unsigned int instance, const Mp& p, mstp_state_t& state)
{
    return op(Slot::get_port_mstp_state, [&] {
        return within("MSTP instance", instance, 0, 4094) && on_port(p, [&](PortState& s) {
                   auto found = s.mstp.find(instance);
                   state = found == s.mstp.end() ? MSTP_STATE_FORWARDING : found->second;
                   return true;
               });
    }, instance, p, state);
}

bool SwitchModel::set_port_bpdu_processing(const Mp& p, bool enabled)
{
    return op(Slot::set_port_bpdu_processing, [&] {
        return on_port(p, [&](PortState& s) { return s.bpdu_processing = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_bpdu_processing(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_bpdu_processing, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.bpdu_processing, true; });
    }, p, enabled);
}

// --- Statistics.
bool SwitchModel::set_port_stat_enable(const Mp& p, bool enabled)
{
    return op(Slot::set_port_stat_enable, [&] {
        return on_port(p, [&](PortState& s) { return s.stats_enabled = enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_stat_enabled(const Mp& p, bool& enabled)
{
    return op(Slot::get_port_stat_enabled, [&] {
        return on_port(p, [&](PortState& s) { return enabled = s.stats_enabled, true; });
    }, p, enabled);
}

bool SwitchModel::get_port_stat_counter(const Mp& p, stat_type_t type, unsigned long long& value)
{
    return op(Slot::get_port_stat_counter, [&] {
        return within("counter type", type, 0, STAT_TYPE_COUNT - 1) &&
               on_port(p, [&](PortState& s) { return value = s.counters[type], true; });
    }, p, type, value);
}

bool SwitchModel::get_port_stat_counter32(const Mp& p, stat_type_t type, unsigned int& value)
{
    return op(Slot::get_port_stat_counter32, [&] {
        return within("counter type", type, 0, STAT_TYPE_COUNT - 1) && on_port(p, [&](PortState& s) {
                   value = static_cast<unsigned int>(s.counters[type]);
                   return true;
               });
    }, p, type, value);
}

bool SwitchModel::get_port_stat_counter_all64(const Mp& p, std::list<StatCounter64>& counters)
{
    return op(Slot::get_port_stat_counter_all64, [&] {
        return on_port(p, [&](PortState& s) {
            for (int type = 0; type < STAT_TYPE_COUNT; ++type)
                counters.push_back(StatCounter64{static_cast<stat_type_t>(type), 0, s.counters[type]});
            return true;
        });
    }, p, counters);
}

bool SwitchModel::get_port_stat_counter_all32(const Mp& p, std::list<StatCounter32>& counters)
{
    return op(Slot::get_port_stat_counter_all32, [&] {
        return on_port(p, [&](PortState& s) {
            for (int type = 0; type < STAT_TYPE_COUNT; ++type)
                counters.push_back(StatCounter32{static_cast<stat_type_t>(type),
                                                 static_cast<unsigned int>(s.counters[type])});
            return true;
        });
    }, p, counters);
}

// `count`: capacity in, records written out.
bool SwitchModel::get_port_stat_counter_all64_ext(const Mp& p, StatCounter64* counters,
                                                  unsigned int& count)
{
    return op(Slot::get_port_stat_counter_all64_ext, [&] {
        return given(counters, "counter array") && on_port(p, [&](PortState& s) {
                   unsigned int written = 0;
                   for (; written < count && written < STAT_TYPE_COUNT; ++written)
                       counters[written] = StatCounter64{static_cast<stat_type_t>(written), 0,
                                                         s.counters[written]};
                   count = written;
                   return true;
               });
    }, p, counters, count);
}

bool SwitchModel::get_port_stat_counter_all32_ext(const Mp& p, StatCounter32* counters,
                                                  unsigned int& count)
{
    return op(Slot::get_port_stat_counter_all32_ext, [&] {
        return given(counters, "counter array") && on_port(p, [&](PortState& s) {
                   unsigned int written = 0;
                   for (; written < count && written < STAT_TYPE_COUNT; ++written)
                       counters[written] =
                           StatCounter32{static_cast<stat_type_t>(written),
                                         static_cast<unsigned int>(s.counters[written])};
                   count = written;
                   return true;
               });
    }, p, counters, count);
}

namespace {

// Brief counters are sums over the full set.
unsigned long long brief_value(const PortState& s, brief_stat_type_t type)
{
    const auto& c = s.counters;
    switch (type) {
    case BRIEF_STAT_RX_BYTES: return c[STAT_IF_IN_OCTETS];
    case BRIEF_STAT_RX_PACKETS:
        return c[STAT_IF_IN_UCAST_PKTS] + c[STAT_IF_IN_MULTICAST_PKTS] + c[STAT_IF_IN_BROADCAST_PKTS];
    case BRIEF_STAT_RX_ERRORS: return c[STAT_IF_IN_ERRORS];
    case BRIEF_STAT_RX_DROPS: return c[STAT_IF_IN_DISCARDS];
    case BRIEF_STAT_TX_BYTES: return c[STAT_IF_OUT_OCTETS];
    case BRIEF_STAT_TX_PACKETS:
        return c[STAT_IF_OUT_UCAST_PKTS] + c[STAT_IF_OUT_MULTICAST_PKTS] +
               c[STAT_IF_OUT_BROADCAST_PKTS];
    case BRIEF_STAT_TX_ERRORS: return c[STAT_IF_OUT_ERRORS];
    default: return c[STAT_IF_OUT_DISCARDS];
    }
}

}  // namespace

bool SwitchModel::get_port_brief_stat_counter64(const Mp& p, brief_stat_type_t type,
                                                unsigned long long& value)
{
    return op(Slot::get_port_brief_stat_counter64, [&] {
        return within("brief counter type", type, 0, BRIEF_STAT_TYPE_COUNT - 1) &&
               on_port(p, [&](PortState& s) { return value = brief_value(s, type), true; });
    }, p, type, value);
}

bool SwitchModel::get_port_brief_stat_counter32(const Mp& p, brief_stat_type_t type,
                                                unsigned int& value)
{
    return op(Slot::get_port_brief_stat_counter32, [&] {
        return within("brief counter type", type, 0, BRIEF_STAT_TYPE_COUNT - 1) &&
               on_port(p, [&](PortState& s) {
                   value = static_cast<unsigned int>(brief_value(s, type));
                   return true;
               });
    }, p, type, value);
}

bool SwitchModel::get_port_brief_stat_counter_all64(const Mp& p,
                                                    std::list<BriefStatCounter64>& counters)
{
    return op(Slot::get_port_brief_stat_counter_all64, [&] {
        return on_port(p, [&](PortState& s) {
            for (int type = 0; type < BRIEF_STAT_TYPE_COUNT; ++type)
                counters.push_back(BriefStatCounter64{static_cast<brief_stat_type_t>(type), 0,
                                                      brief_value(s, static_cast<brief_stat_type_t>(type))});
            return true;
        });
    }, p, counters);
}

bool SwitchModel::clear_port_stat_counter(const Mp& p)
{
    return op(Slot::clear_port_stat_counter, [&] {
        return on_port(p, [&](PortState& s) { return s.counters.fill(0), true; });
    }, p);
}

}  // namespace vorn_sim
