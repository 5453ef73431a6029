// The card's forwarding pipeline.  A frame walks the stages in order; a
// stage that decides the frame's fate (a drop, a trap, a flow's output)
// ends the walk.  Every decision is written to the result's trace when a
// result is asked for; without one nothing is formatted or allocated.
#include "pipeline.hh"

#include <algorithm>
#include <cstring>

#include "format.hh"
#include "model.hh"
#include "pcap.hh"

namespace vorn_sim {

using vorn_format::mac_text;
using vorn_format::phrase;

void FrameResult::clear()
{
    egress.clear();
    to_cpu.clear();
    drop.clear();
    trace.clear();
}

namespace {

const unsigned char link_local[5] = {0x01, 0x80, 0xc2, 0x00, 0x00};

bool link_local_control(const Frame& f)
{
    return std::memcmp(f.data, link_local, 5) == 0 && (f.data[5] & 0xf0) == 0;
}

std::string ipv4_text(std::uint32_t a) { return vorn_meta::encode<vorn_meta::Kind::ipv4>(a); }

std::string ipv6_text(const unsigned char* a) { return vorn_meta::encode(vorn_meta::Kind::ipv6, a); }

const char* flood_name(int kind)
{
    static const char* const names[] = {"broadcast", "multicast", "unknown unicast"};
    return names[kind];
}

const char* gate_name(int gate)
{
    static const char* const names[] = {"forwarding", "learning", "discarding"};
    return names[gate];
}

// A well-mixed hash of the fields the LAG's strategy names.
std::uint64_t mix(std::uint64_t x)
{
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    return x;
}

std::uint64_t fold6(const unsigned char* a)
{
    std::uint64_t h = 0;
    for (int i = 0; i < 16; i += 4) h = h * 31 + read32(a + i);
    return h;
}

MacAddress source_of(const Frame& f)
{
    MacAddress source;
    std::copy(f.src(), f.src() + 6, source.begin());
    return source;
}

// A VLAN's tag control word: priority and VID.
void put_tag(unsigned char* p, unsigned int vlan, unsigned int pcp)
{
    const unsigned int tci = (pcp & 7) << 13 | (vlan & 0xfff);
    p[0] = 0x81;
    p[1] = 0x00;
    p[2] = static_cast<unsigned char>(tci >> 8);
    p[3] = static_cast<unsigned char>(tci);
}

}  // namespace

// One frame's way through the pipeline.
struct DataPlane::Walk {
    explicit Walk(const Frame& frame) : f(frame) {}

    const Frame& f;  // the caller's, for the walk's length
    Mp in;
    Usp in_usp;
    PortState* in_state = nullptr;  // null for the CPU's own frames
    unsigned int in_index = ~0u;
    bool in_lag = false;
    unsigned int in_lag_id = 0;
    unsigned int vlan = 0;
    unsigned int pcp = 0;
    const Vlan* vlan_entry = nullptr;
    bool commit = true;
    FrameResult* result = nullptr;
    bool went = false;    // the frame left a port or reached the CPU (a mirror copy does not count)
    bool at_cpu = false;  // the CPU has the frame (it gets it once)
    bool egress_drop = false;  // the drop reason is a port's the frame could not leave by

    // Once the frame goes somewhere, a port it could not leave by is no
    // reason why it went nowhere.
    void gone()
    {
        went = true;
        if (result && egress_drop) result->drop.clear();
        egress_drop = false;
    }

    template <class... Parts>
    void note(const Parts&... parts)
    {
        result->trace.push_back(phrase(parts...));
    }
};

// A decision written to the trace; its parts are formatted only when a
// result was asked for, so the forwarding path formats nothing.
#define VORN_NOTE(w, ...) \
    do {                   \
        if ((w).result) (w).note(__VA_ARGS__); \
    } while (0)

DataPlane::DataPlane(SwitchModel& model, std::size_t ports)
    : m_(model), plane_(ports), instance_of_(4096, 0)
{
    wire_.resize(65536 + 4);
    routed_.resize(65536);
    unflushed_.reserve(ports);
}

DataPlane::~DataPlane() = default;

// --- Port back ends ------------------------------------------------------------

namespace {

// Holds the back ends' output for the scope of one frame.
class Held {
public:
    explicit Held(DataPlane& plane) : plane_(plane) { plane_.hold_transmit(); }
    ~Held() { plane_.release_transmit(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

private:
    DataPlane& plane_;
};

}  // namespace

void DataPlane::set_backend(unsigned int port, std::shared_ptr<PortBackend> backend)
{
    PortPlane& p = plane_[port];
    if (p.backend && p.unflushed) p.backend->flush();
    p.unflushed = false;
    unflushed_.erase(std::remove(unflushed_.begin(), unflushed_.end(), port), unflushed_.end());
    p.backend = std::move(backend);
    admin_state(port, m_.ports_.at(port).admin);
}

void DataPlane::admin_state(unsigned int port, bool up)
{
    if (plane_[port].backend) plane_[port].backend->admin_state(up);
}

void DataPlane::release_transmit()
{
    if (holding_ > 0 && --holding_ == 0) flush_backends();
}

void DataPlane::flush_backends()
{
    for (unsigned int index : unflushed_) {
        PortPlane& p = plane_[index];
        p.unflushed = false;
        if (p.backend) p.backend->flush();
    }
    unflushed_.clear();
}

// --- Ingress -------------------------------------------------------------------

void DataPlane::ingress(const Mp& port, const Usp& usp, const Frame& frame, bool commit, FrameResult* result)
{
    const Held held(*this);
    Walk w(frame);
    w.in = port;
    w.in_usp = usp;
    w.in_state = m_.ports_.find(port);
    w.in_index = m_.ports_.index_of(port);
    w.commit = commit;
    w.result = result;
    w.in_lag = m_.lags_.lag_of_member(port, w.in_lag_id);
    VORN_NOTE(w, "ingress ", usp, ": ", frame.size, " bytes, ", mac_text(frame.src()), " > ", mac_text(frame.dst()),
           frame.tagged ? phrase(", tag VLAN ", frame.vid, " priority ", frame.pcp) : std::string(", untagged"),
           ", type ", vorn_format::hex16(frame.ethertype));
    bool forward_after = true;
    if (!port_stage(w) || !vlan_stage(w) || !stp_stage(w, forward_after) || !learn_stage(w)) return;
    if (!forward_after) {
        drop(w, phrase("port ", usp, " is learning in VLAN ", w.vlan, ": learns, does not forward"));
        return;
    }
    if (!flow_stage(w)) return;
    filter_stage(w);
    if (!l3_stage(w)) return;
    l2_stage(w);
    if (result && !w.went && result->drop.empty()) result->drop = "no port to send it to";
}

void DataPlane::count_in(Walk& w)
{
    PortState& s = *w.in_state;
    if (!w.commit || !s.stats_enabled) return;
    s.counters[STAT_IF_IN_OCTETS] += w.f.size;
    ++s.counters[w.f.broadcast()   ? STAT_IF_IN_BROADCAST_PKTS
                 : w.f.multicast() ? STAT_IF_IN_MULTICAST_PKTS
                                   : STAT_IF_IN_UCAST_PKTS];
}

// Admin state and link, mirroring of what came in, size, control frames,
// L2 enable and ingress discarding.
bool DataPlane::port_stage(Walk& w)
{
    PortState& s = *w.in_state;
    if (!s.admin) return drop(w, phrase("port ", w.in_usp, " is disabled"));
    if (s.link != PHY_STATE_UP) return drop(w, phrase("port ", w.in_usp, " has no link"));
    capture(w, w.in_index, w.f.data, w.f.size);
    count_in(w);
    if (s.mirrored && (s.mirror_type & MIRROR_TYPE_INGRESS)) mirror(w, s, true, w.f.data, w.f.size);
    const std::size_t limit = s.mtu + (w.f.tagged ? 4 : 0);
    if (w.f.size + 4 > limit) {  // the frame carries no FCS; the MTU counts it
        if (w.commit && s.stats_enabled) ++s.counters[STAT_ETHER_OVERSIZE_PKTS];
        return drop(w, phrase("frame of ", w.f.size + 4, " bytes with FCS is over the MTU of port ", w.in_usp,
                              " (", s.mtu, ")"));
    }
    if (link_local_control(w.f)) {
        w.vlan = w.f.untagged() ? s.pvid : w.f.vid;
        if (!s.bpdu_processing)
            return drop(w, phrase("link-local control frame and BPDU processing is off on port ", w.in_usp));
        to_cpu(w, w.f.dst()[5] == 0 ? "BPDU" : "link-local control frame");
        return false;
    }
    if (!s.l2) return drop(w, phrase("layer 2 is disabled on port ", w.in_usp));
    const bool untagged = w.f.untagged();
    if ((s.ingress_discard == INGRESS_DISCARD_ALL) ||
        (s.ingress_discard == INGRESS_DISCARD_UNTAGGED && untagged) ||
        (s.ingress_discard == INGRESS_DISCARD_TAGGED && !untagged))
        return drop(w, phrase("port ", w.in_usp, " discards ",
                              s.ingress_discard == INGRESS_DISCARD_ALL ? "all" : untagged ? "untagged" : "tagged",
                              " frames"));
    VORN_NOTE(w, "port ", w.in_usp, ": enabled, link up");
    return true;
}

// The tag, else MAC, subnet and protocol VLANs, else the PVID; then
// ingress filtering.
bool DataPlane::vlan_stage(Walk& w)
{
    const PortState& s = *w.in_state;
    const VlanTable& vlans = m_.vlans_;
    const char* how = "the 802.1Q tag";
    w.pcp = w.f.pcp;
    if (!w.f.untagged()) {
        w.vlan = w.f.vid;
    } else {
        if (s.tagged_only) return drop(w, phrase("untagged frame on port ", w.in_usp, ", which takes tagged frames only"));
        bool found = false;
        auto take = [&](const VlanTable::Classification& c, const char* source) {
            w.vlan = c.first;
            w.pcp = c.second;
            how = source;
            found = true;
        };
        if (!vlans.mac_vlans().empty()) {
            auto it = vlans.mac_vlans().find(source_of(w.f));
            if (it != vlans.mac_vlans().end()) take(it->second, "the MAC VLAN of the source");
        }
        if (!found && w.f.ipv4) {
            unsigned int best = 0;
            for (const auto& e : vlans.ipv4_subnet_vlans())
                if ((w.f.src4 & e.first.second) == e.first.first && (!found || e.first.second > best)) {
                    best = e.first.second;
                    take(e.second, "the IPv4 subnet VLAN of the source");
                }
        }
        if (!found && w.f.ipv6) {
            unsigned int best = 0;
            for (const auto& e : vlans.ipv6_subnet_vlans()) {
                const unsigned int length = e.first.second;
                bool match = true;
                for (unsigned int bit = 0; bit < length && match; ++bit) {
                    const unsigned char mask = static_cast<unsigned char>(0x80 >> (bit & 7));
                    match = (w.f.src6[bit / 8] & mask) == (e.first.first[bit / 8] & mask);
                }
                if (match && (!found || length > best)) {
                    best = length;
                    take(e.second, "the IPv6 subnet VLAN of the source");
                }
            }
        }
        if (!found && !s.protocol_vlans.empty()) {
            // Ethernet II by EtherType; SNAP by the EtherType after its
            // header; other LLC by DSAP and SSAP.
            const unsigned char* llc = w.f.data + w.f.type_at + 2;
            const std::size_t llc_size = w.f.size - (w.f.type_at + 2);
            std::pair<int, unsigned short> key(FRAME_TYPE_ETHERNET2, static_cast<unsigned short>(w.f.ethertype));
            if (w.f.ethertype < 0x600 && llc_size >= 3) {
                const bool snap = llc[0] == 0xaa && llc[1] == 0xaa && llc[2] == 0x03 && llc_size >= 8;
                key = snap ? std::make_pair(int(FRAME_TYPE_SNAP), static_cast<unsigned short>(read16(llc + 6)))
                           : std::make_pair(int(FRAME_TYPE_LLC), static_cast<unsigned short>(read16(llc)));
            }
            auto it = s.protocol_vlans.find(key);
            if (it != s.protocol_vlans.end()) {
                w.vlan = it->second;
                how = "the protocol VLAN of the port";
                found = true;
            }
        }
        if (!found) {
            w.vlan = s.pvid;
            how = "the PVID";
        }
    }
    w.vlan_entry = vlans.find(w.vlan);
    if (!w.vlan_entry) return drop(w, phrase("VLAN ", w.vlan, " does not exist"));
    if (w.vlan_entry->membership(w.in) == Vlan::not_member)
        return drop(w, phrase("port ", w.in_usp, " is not a member of VLAN ", w.vlan, " (ingress filtering)"));
    VORN_NOTE(w, "vlan ", w.vlan, ": from ", how);
    return true;
}

DataPlane::Gate DataPlane::gate(const PortState& s, unsigned int vlan) const
{
    Gate g = s.stp == STP_STATE_FORWARDING ? forward : s.stp == STP_STATE_LEARNING ? learn_only : discard;
    if (!s.mstp.empty()) {
        auto it = s.mstp.find(instance_of_[vlan]);
        if (it != s.mstp.end()) {
            const Gate m = it->second == MSTP_STATE_FORWARDING ? forward
                           : it->second == MSTP_STATE_LEARNING ? learn_only
                                                               : discard;
            g = std::max(g, m);
        }
    }
    return g;
}

bool DataPlane::stp_stage(Walk& w, bool& forward_after)
{
    const Gate g = gate(*w.in_state, w.vlan);
    if (g == discard)
        return drop(w, phrase("port ", w.in_usp, " is discarding in VLAN ", w.vlan, " (spanning tree, instance ",
                              instance_of_[w.vlan], ")"));
    forward_after = g == forward;
    VORN_NOTE(w, "stp: ", gate_name(g), " in instance ", instance_of_[w.vlan]);
    return true;
}

// The source is learned on the port, or on the port's LAG.
bool DataPlane::learn_stage(Walk& w)
{
    const PortState& s = *w.in_state;
    if ((w.f.src()[0] & 1) || w.f.src48 == 0) {
        VORN_NOTE(w, "learn: source ", mac_text(w.f.src()), " is not a station address, not learned");
        return true;
    }
    const Mp where = w.in_lag ? Mp(0, w.in_lag_id) : w.in;
    auto place = [&] { return w.in_lag ? phrase("LAG ", m_.names_.lag(w.in_lag_id)) : phrase("port ", w.in_usp); };
    const FdbEntry* entry = m_.fdb_.find(w.vlan, w.f.src48);
    // A locked port knows only the sources already on it: one learned
    // elsewhere does not move here.
    if (s.mac_lock && !(entry && entry->port == where && entry->trunk == w.in_lag)) {
        const std::string why = phrase(entry ? "source " : "unknown source ", mac_text(w.f.src()),
                                       entry ? " is known elsewhere, not on MAC-locked port " : " on MAC-locked port ",
                                       w.in_usp);
        if (s.drop_unknown) return drop(w, why);
        to_cpu(w, "unknown source on a locked port", why);
        return false;
    }
    if (entry) {
        const bool same = entry->port == where && entry->trunk == w.in_lag;
        if (entry->is_static)
            VORN_NOTE(w, "learn: ", mac_text(w.f.src()), " has a static entry", same ? "" : ", not moved");
        else
            VORN_NOTE(w, "learn: ", mac_text(w.f.src()), same ? " refreshed on " : " moved to ", place());
        if (w.commit && !entry->is_static) {
            if (same) m_.fdb_.refresh(*entry);  // nothing moves: no limits to check, no event
            else m_.learn(source_of(w.f), w.vlan, where, w.in_lag);
        }
        return true;
    }
    if (!w.commit) {
        VORN_NOTE(w, "learn: ", mac_text(w.f.src()), " would be learned on ", place(), " in VLAN ", w.vlan);
        return true;
    }
    m_.learn(source_of(w.f), w.vlan, where, w.in_lag);
    const bool added = m_.fdb_.find(w.vlan, w.f.src48) != nullptr;
    VORN_NOTE(w, "learn: ", mac_text(w.f.src()), added ? " learned on " : " not learned (a MAC limit, or the table is full) on ",
           place(), " in VLAN ", w.vlan);
    return true;
}

// --- Flows and filters ------------------------------------------------------------

namespace {

bool flow_matches(const Flow& flow, const Frame& f, const Mp& in, unsigned int vlan, unsigned int pcp)
{
    const of_flow_match_s& m = flow.match.match;
    const unsigned int flags = m.match_flags;
    auto want = [flags](unsigned int bit) { return (flags & bit) != 0; };
    if (want(OF_MATCH_IN_PORT) && !(flow.match.in_port == in)) return false;
    if (want(OF_MATCH_DST_MAC) && std::memcmp(m.dst_mac, f.dst(), 6) != 0) return false;
    if (want(OF_MATCH_SRC_MAC) && std::memcmp(m.src_mac, f.src(), 6) != 0) return false;
    if (want(OF_MATCH_VLAN_ID) && m.vlan_id != vlan) return false;
    if (want(OF_MATCH_VLAN_PCP) && m.vlan_pcp != pcp) return false;
    if (want(OF_MATCH_ETH_TYPE) && m.eth_type != f.ethertype) return false;
    if (want(OF_MATCH_SRC_IP) && !(f.ipv4 && (f.src4 & m.src_ip_mask) == (m.src_ip & m.src_ip_mask))) return false;
    if (want(OF_MATCH_DST_IP) && !(f.ipv4 && (f.dst4 & m.dst_ip_mask) == (m.dst_ip & m.dst_ip_mask))) return false;
    if (want(OF_MATCH_IP_PROTO) && !(f.ip() && f.proto == m.ip_proto)) return false;
    if (want(OF_MATCH_IP_TOS) && !(f.ip() && f.tos == m.ip_tos)) return false;
    if (want(OF_MATCH_L4_SRC_PORT) && !(f.l4 && f.sport == m.l4_src_port)) return false;
    if (want(OF_MATCH_L4_DST_PORT) && !(f.l4 && f.dport == m.l4_dst_port)) return false;
    return true;
}

}  // namespace

// The best matching flow counts the frame and acts on it.
bool DataPlane::flow_stage(Walk& w)
{
    const auto& flows = m_.flows_.flows();
    if (flows.empty()) return true;
    const Flow* best = nullptr;
    unsigned int best_id = 0;
    for (const auto& entry : flows)
        if ((!best || entry.second.priority > best->priority) &&
            flow_matches(entry.second, w.f, w.in, w.vlan, w.pcp)) {
            best = &entry.second;
            best_id = entry.first;
        }
    if (!best) {
        VORN_NOTE(w, "flows: no match");
        return true;
    }
    if (w.commit) ++const_cast<Flow*>(best)->packets;
    VORN_NOTE(w, "flows: flow ", best_id, " (priority ", best->priority, ") matches");
    bool decided = false;
    for (const FlowAction& action : best->actions) {
        switch (action.kind) {
        case OF_ACTION_SET_VLAN: {
            // The frame goes on in the new VLAN: its members flood it.
            w.vlan = static_cast<unsigned int>(action.param.word[0]) & 0xfff;
            w.vlan_entry = m_.vlans_.find(w.vlan);
            if (!w.vlan_entry) return drop(w, phrase("flow ", best_id, ": VLAN ", w.vlan, " does not exist"));
            VORN_NOTE(w, "flow ", best_id, ": VLAN set to ", w.vlan);
            break;
        }
        case OF_ACTION_SET_PRIORITY:
            w.pcp = static_cast<unsigned int>(action.param.word[0]) & 7;
            VORN_NOTE(w, "flow ", best_id, ": priority set to ", w.pcp);
            break;
        case OF_ACTION_MIRROR:
            if (m_.ports_.physical(action.port)) {
                VORN_NOTE(w, "flow ", best_id, ": mirror to ", m_.names_.port(action.port));
                transmit(w, m_.ports_.index_of(action.port), m_.usp_of(action.port, false), w.f.data, w.f.size, true);
            }
            break;
        case OF_ACTION_OUTPUT:
            decided = true;
            if (!m_.ports_.physical(action.port)) {
                VORN_NOTE(w, "flow ", best_id, ": output to flow port ", action.param.word[0], ", not a front-panel port");
                break;
            }
            VORN_NOTE(w, "flow ", best_id, ": output to ", m_.names_.port(action.port));
            egress(w, action.port, Out{w.f.data, w.f.rest(), w.f.rest_size(), w.vlan, w.pcp}, by_vlan_or_untagged,
                   false);
            break;
        case OF_ACTION_DROP:
            drop(w, phrase("flow ", best_id, " drops it"));
            return false;
        case OF_ACTION_TO_CPU:
            decided = true;
            to_cpu(w, "flow", phrase("flow ", best_id));
            break;
        default:
            break;
        }
    }
    if (decided && w.result && !w.went && w.result->drop.empty())
        w.result->drop = phrase("flow ", best_id, " sends it nowhere");
    return !decided;
}

// Packet filters copy what they match to the CPU; the frame goes on.
void DataPlane::filter_stage(Walk& w)
{
    const FlowTable& t = m_.flows_;
    if (w.f.arp)
        for (const auto& filter : t.arp_filters())
            if ((w.f.arp_target & filter.second) == filter.first) {
                to_cpu(w, "ARP filter", phrase("ARP filter ", ipv4_text(filter.first), "/", ipv4_text(filter.second)));
                return;
            }
    if (w.f.ip() && t.ip_protocol_filters().count(w.f.proto)) {
        to_cpu(w, "IP protocol filter", phrase("IP protocol filter ", w.f.proto));
        return;
    }
    if (w.f.l4 && t.l4_port_filters().count(w.f.dport))
        to_cpu(w, "L4 port filter", phrase("L4 destination port filter ", w.f.dport));
}

// --- L3 ----------------------------------------------------------------------------

namespace {

// RFC 1624: the checksum after one 16-bit word changes.
unsigned int checksum_after(unsigned int checksum, unsigned int old_word, unsigned int new_word)
{
    unsigned int sum = (~checksum & 0xffff) + (~old_word & 0xffff) + new_word;
    sum = (sum & 0xffff) + (sum >> 16);
    sum = (sum & 0xffff) + (sum >> 16);
    return ~sum & 0xffff;
}

}  // namespace

bool DataPlane::l3_stage(Walk& w)
{
    const L3Tables& l3 = m_.l3_;
    if (l3.interfaces().empty() || w.f.multicast() || !l3.interface_mac_in(w.vlan, w.f.dst48)) return true;
    VORN_NOTE(w, "l3: ", mac_text(w.f.dst()), " is an L3 interface's MAC in VLAN ", w.vlan);
    if (w.f.arp) {
        to_cpu(w, "ARP");
        return false;
    }
    if (!w.f.ip()) {
        to_cpu(w, "for the router", "a non-IP frame to the router");
        return false;
    }
    const L3Target* target = nullptr;
    unsigned int length = 0;
    bool routed = false;  // by a route rather than a host entry
    if (w.f.ipv4) {
        target = l3.find_host4(w.f.dst4);
        if (!target) target = l3.longest_match4(w.f.dst4, length), routed = true;
    } else {
        target = l3.find_host6(w.f.dst6);
        if (!target) target = l3.longest_match6(w.f.dst6, length), routed = true;
    }
    auto dst = [&] { return w.f.ipv4 ? ipv4_text(w.f.dst4) : ipv6_text(w.f.dst6); };
    if (!target) {
        if (m_.forward_mode_ & 1) return drop(w, phrase("no route to ", dst()));
        to_cpu(w, "no route", phrase("no route to ", dst()));
        return false;
    }
    if (routed)
        VORN_NOTE(w, "l3: route ", dst(), "/", length, " via ", m_.names_.target(target->port, target->trunk));
    else
        VORN_NOTE(w, "l3: host ", dst(), " on ", m_.names_.target(target->port, target->trunk));
    if (l3.interface_mac(read48(target->mac.data()))) {
        to_cpu(w, "for the router", phrase(dst(), " is the card's own address"));
        return false;
    }
    if (w.f.ttl <= 1) {
        to_cpu(w, "TTL expired", phrase(w.f.ipv4 ? "TTL " : "hop limit ", w.f.ttl, " expires"));
        return false;
    }
    routed_out(w, target->interface_id, target->mac.data(), target->vlan, target->port, target->trunk);
    return false;
}

void DataPlane::routed_out(Walk& w, unsigned int interface_id, const unsigned char* next_hop, unsigned int vlan,
                           const Mp& port, bool trunk)
{
    auto it = m_.l3_.interfaces().find(interface_id);
    if (it == m_.l3_.interfaces().end()) {
        drop(w, phrase("L3 interface ", interface_id, " does not exist"));
        return;
    }
    const unsigned int out_vlan = vlan ? vlan : it->second.vlan;
    // The rewritten rest: TTL or hop limit one less, the IPv4 checksum after it.
    const std::size_t size = w.f.rest_size();
    std::memcpy(routed_.data(), w.f.rest(), size);
    unsigned char* ip = routed_.data() + 2;
    if (w.f.ipv4) {
        const unsigned int old_word = read16(ip + 8);
        ip[8] = static_cast<unsigned char>(ip[8] - 1);
        const unsigned int sum = checksum_after(read16(ip + 10), old_word, read16(ip + 8));
        ip[10] = static_cast<unsigned char>(sum >> 8);
        ip[11] = static_cast<unsigned char>(sum);
    } else {
        ip[7] = static_cast<unsigned char>(ip[7] - 1);
    }
    unsigned char macs[12];
    std::memcpy(macs, next_hop, 6);
    std::memcpy(macs + 6, it->second.mac.data(), 6);
    VORN_NOTE(w, "l3: out of interface ", interface_id, " (", mac_text(macs + 6), ") in VLAN ", out_vlan, " to ",
           mac_text(macs), ", ", w.f.ipv4 ? "TTL " : "hop limit ", w.f.ttl - 1);
    unicast(w, port, trunk, Out{macs, routed_.data(), size, out_vlan, w.pcp}, by_vlan);
}

// --- L2 ----------------------------------------------------------------------------

void DataPlane::l2_stage(Walk& w)
{
    const Out out{w.f.data, w.f.rest(), w.f.rest_size(), w.vlan, w.pcp};
    if (w.f.multicast()) {
        flood(w, w.f.broadcast() ? flood_broadcast : flood_multicast, out);
        return;
    }
    const FdbEntry* entry = m_.fdb_.find(w.vlan, w.f.dst48);
    if (!entry) {
        flood(w, flood_unknown_unicast, out);
        return;
    }
    if (!entry->trunk && entry->port == Mp(0, 0)) {
        VORN_NOTE(w, "l2: ", mac_text(w.f.dst()), " is a system MAC");
        to_cpu(w, "system MAC");
        return;
    }
    VORN_NOTE(w, "l2: ", mac_text(w.f.dst()), " in VLAN ", w.vlan, " is on ", m_.names_.target(entry->port, entry->trunk));
    if (entry->trunk ? (w.in_lag && w.in_lag_id == entry->port.port()) : entry->port == w.in) {
        drop(w, "the destination is where the frame came from");
        return;
    }
    unicast(w, entry->port, entry->trunk, out, by_vlan);
}

bool DataPlane::storm_allows(Walk& w, Flood kind)
{
    if (!w.in_state) return true;
    const PortState& s = *w.in_state;
    const unsigned int rate = kind == flood_broadcast   ? s.broadcast_rate
                              : kind == flood_multicast ? s.multicast_rate
                                                        : s.unicast_rate;
    if (rate == 0) return true;
    PortPlane& p = plane_[w.in_index];
    if (p.storm_second != now_) {
        if (!w.commit) return true;
        p.storm_second = now_;
        std::fill(std::begin(p.storm_count), std::end(p.storm_count), 0u);
    }
    if (p.storm_count[kind] >= rate)
        return drop(w, phrase(flood_name(kind), " storm control on port ", w.in_usp, ": over ", rate,
                              " frames in second ", now_));
    if (w.commit) ++p.storm_count[kind];
    return true;
}

// To every member of the VLAN in port order, but the ingress port and its
// LAG; a LAG once, on the member its strategy picks.
void DataPlane::flood(Walk& w, Flood kind, const Out& out)
{
    if (!storm_allows(w, kind)) return;
    VORN_NOTE(w, "l2: ", flood_name(kind), ", flooded in VLAN ", w.vlan);
    const PortState* s = w.in_state;
    const flood_block_type_t bit = kind == flood_broadcast   ? FLOOD_BLOCK_BROADCAST
                                   : kind == flood_multicast ? FLOOD_BLOCK_UNKNOWN_MULTICAST
                                                             : FLOOD_BLOCK_UNKNOWN_UNICAST;
    flood_ports_.clear();
    flood_ports_.insert(flood_ports_.end(), w.vlan_entry->tagged.begin(), w.vlan_entry->tagged.end());
    flood_ports_.insert(flood_ports_.end(), w.vlan_entry->untagged.begin(), w.vlan_entry->untagged.end());
    std::sort(flood_ports_.begin(), flood_ports_.end());
    for (const Mp& port : flood_ports_) {
        if (port == w.in) continue;
        unsigned int lag_id = 0;
        const bool in_lag = m_.lags_.lag_of_member(port, lag_id);
        if (in_lag && w.in_lag && lag_id == w.in_lag_id) continue;
        if (s && !s->flood_blocking.empty()) {
            auto blocked = s->flood_blocking.find(m_.ports_.index_of(port));
            if (blocked != s->flood_blocking.end() && (blocked->second & bit)) {
                VORN_NOTE(w, "l2: flood to ", m_.names_.port(port), " blocked");
                continue;
            }
        }
        if (in_lag) {
            Mp member;
            if (!lag_member(w, lag_id, member) || !(member == port)) continue;
        }
        egress(w, port, out, by_vlan, true);
    }
    const bool cpu_wants = kind != flood_unknown_unicast ||
                           (s && s->unknown_unicast_to_cpu) || m_.unknown_unicast_to_cpu_;
    if (cpu_wants && w.in_state) {
        if (s->flood_blocking_cpu & bit) VORN_NOTE(w, "l2: flood to the CPU blocked");
        else to_cpu(w, flood_name(kind));
    }
}

void DataPlane::unicast(Walk& w, const Mp& port, bool trunk, const Out& out, Tagging tagging)
{
    Mp member = port;
    if (trunk && !lag_member(w, port.port(), member)) {
        drop(w, phrase("LAG ", m_.names_.lag(port.port()), " has no member with link"));
        return;
    }
    egress(w, member, out, tagging, true);
}

// The member the LAG's strategy picks among those with link.
bool DataPlane::lag_member(const Walk& w, unsigned int lag_id, Mp& member) const
{
    const Lag* lag = m_.lags_.find(lag_id);
    if (!lag) return false;
    Mp up[64];
    std::size_t count = 0;
    for (const Mp& port : lag->members) {
        const PortState* s = m_.ports_.find(port);
        if (s && s->admin && s->link == PHY_STATE_UP && count < 64) up[count++] = port;
    }
    if (count == 0) return false;
    const Frame& f = w.f;
    const bool ip = f.ip();
    const std::uint64_t src = ip ? (f.ipv4 ? f.src4 : fold6(f.src6)) : f.src48;
    const std::uint64_t dst = ip ? (f.ipv4 ? f.dst4 : fold6(f.dst6)) : f.dst48;
    std::uint64_t key = 0;
    switch (lag->psc) {
    case LAG_PSC_SRC_MAC: key = f.src48; break;
    case LAG_PSC_DST_MAC: key = f.dst48; break;
    case LAG_PSC_SRC_IP: key = ip ? src : f.src48; break;
    case LAG_PSC_DST_IP: key = ip ? dst : f.dst48; break;
    case LAG_PSC_SRC_DST_IP: key = ip ? src * 0x9e3779b97f4a7c15ULL ^ dst : f.src48 * 0x9e3779b97f4a7c15ULL ^ f.dst48; break;
    default: key = f.src48 * 0x9e3779b97f4a7c15ULL ^ f.dst48; break;
    }
    member = up[mix(key) % count];
    return true;
}

// --- Egress ------------------------------------------------------------------------

void DataPlane::egress(Walk& w, const Mp& port, const Out& out, Tagging tagging, bool check_stp)
{
    if (!m_.ports_.physical(port)) return;
    const unsigned int index = m_.ports_.index_of(port);
    PortState* s = &m_.ports_.at(index);
    // Only a result or the host's unreported hook names the port.
    const Usp usp = w.result || m_.hooks_.unreported_egress ? m_.usp_of(port, false) : Usp();
    auto dropped = [&](const std::string& why) {
        if (w.commit && s->stats_enabled) ++s->counters[STAT_IF_OUT_DISCARDS];
        VORN_NOTE(w, "egress ", usp, ": dropped, ", why);
        if (w.result && !w.went && w.result->drop.empty()) {
            w.result->drop = phrase("port ", usp, ": ", why);
            w.egress_drop = true;
        }
    };
    if (!s->admin) return dropped("the port is disabled");
    if (s->link != PHY_STATE_UP) return dropped("no link");
    if (!s->egress) return dropped("egress is disabled");
    if (check_stp && gate(*s, out.vlan) != forward)
        return dropped(phrase("discarding in VLAN ", out.vlan, " (spanning tree)"));
    bool tagged = tagging == force_tagged;
    if (tagging == by_vlan || tagging == by_vlan_or_untagged) {
        const Vlan* v = m_.vlans_.find(out.vlan);
        const Vlan::Membership membership = v ? v->membership(port) : Vlan::not_member;
        if (tagging == by_vlan && membership == Vlan::not_member)
            return dropped(phrase("not a member of VLAN ", out.vlan));
        tagged = membership == Vlan::tagged_member;
    }
    unsigned char* p = wire_.data();
    std::memcpy(p, out.macs, 12);
    std::size_t size = 12;
    if (tagged) {
        put_tag(p + 12, out.vlan, out.pcp);
        size += 4;
    }
    std::memcpy(p + size, out.rest, out.rest_size);
    size += out.rest_size;
    VORN_NOTE(w, "egress ", usp, ": ", tagged ? phrase("tagged VLAN ", out.vlan) : std::string("untagged"), ", ", size,
           " bytes");
    transmit(w, index, usp, p, size, false);
    if (s->mirrored && (s->mirror_type & MIRROR_TYPE_EGRESS)) mirror(w, *s, false, p, size);
}

// A frame on the wire of a port: counted, captured, handed to the port's
// back end and to the result.
void DataPlane::transmit(Walk& w, unsigned int index, const Usp& usp, const unsigned char* data, std::size_t size,
                         bool mirror_copy)
{
    if (!mirror_copy) w.gone();
    PortState& s = m_.ports_.at(index);
    if (mirror_copy && (!s.admin || s.link != PHY_STATE_UP)) return;
    if (w.commit) {
        if (s.stats_enabled) {
            s.counters[STAT_IF_OUT_OCTETS] += size;
            const std::uint64_t dst = read48(data);
            ++s.counters[dst == 0xffffffffffffULL ? STAT_IF_OUT_BROADCAST_PKTS
                         : (data[0] & 1)          ? STAT_IF_OUT_MULTICAST_PKTS
                                                  : STAT_IF_OUT_UCAST_PKTS];
        }
        capture(w, index, data, size);
        PortPlane& p = plane_[index];
        if (p.backend) {
            p.backend->transmit(data, size);
            if (!p.unflushed) unflushed_.push_back(index);
            p.unflushed = true;
        }
    }
    if (w.result) w.result->egress.push_back(EgressFrame{usp, std::vector<unsigned char>(data, data + size)});
    else if (w.commit && m_.hooks_.unreported_egress) m_.hooks_.unreported_egress(usp, data, size);
}

void DataPlane::mirror(Walk& w, const PortState& source, bool ingress_side, const unsigned char* data,
                       std::size_t size)
{
    if (!m_.ports_.physical(source.mirror_target)) return;
    const Usp usp = m_.usp_of(source.mirror_target, false);
    VORN_NOTE(w, "mirror: ", ingress_side ? "received" : "sent", " frame copied to ", usp);
    transmit(w, m_.ports_.index_of(source.mirror_target), usp, data, size, true);
}

void DataPlane::capture(const Walk& w, unsigned int index, const unsigned char* data, std::size_t size)
{
    if (!w.commit || !capture_ || !plane_[index].captured) return;
    capture_->write(data, size, static_cast<std::uint32_t>(now_), capture_sequence_++ % 1000000);
}

void DataPlane::to_cpu(Walk& w, const char* reason, const std::string& detail)
{
    if (w.at_cpu) return;
    w.at_cpu = true;
    w.gone();
    VORN_NOTE(w, "cpu: ", detail.empty() ? std::string(reason) : detail);
    if (w.commit) m_.events_.received(w.in_usp, w.vlan, std::vector<unsigned char>(w.f.data, w.f.data + w.f.size));
    if (w.result)
        w.result->to_cpu.push_back(
            CpuFrame{w.in_usp, w.vlan, reason, std::vector<unsigned char>(w.f.data, w.f.data + w.f.size)});
    else if (w.commit && m_.hooks_.unreported_cpu) m_.hooks_.unreported_cpu(w.in_usp, w.vlan, reason, w.f.data, w.f.size);
}

bool DataPlane::drop(Walk& w, const std::string& reason)
{
    if (w.commit && w.in_state && w.in_state->stats_enabled) ++w.in_state->counters[STAT_IF_IN_DISCARDS];
    VORN_NOTE(w, "drop: ", reason);
    if (w.result && w.result->drop.empty()) w.result->drop = reason;
    return false;
}

// --- Frames from the CPU -------------------------------------------------------------

void DataPlane::send_by_port(const std::vector<Mp>& tagged, const std::vector<Mp>& untagged, const Frame& frame)
{
    const Held held(*this);
    Walk w(frame);
    w.vlan = frame.untagged() ? 1 : frame.vid;
    w.pcp = frame.pcp;
    for (const auto* list : {&tagged, &untagged})
        for (const Mp& port : *list) {
            const PortState* s = m_.ports_.find(port);
            if (!s) continue;
            const unsigned int vlan = frame.untagged() ? s->pvid : frame.vid;
            egress(w, port, Out{frame.data, frame.rest(), frame.rest_size(), vlan, frame.pcp},
                   list == &tagged ? force_tagged : force_untagged, false);
        }
}

void DataPlane::send_from_cpu(const Frame& frame)
{
    const Held held(*this);
    Walk w(frame);
    w.vlan = frame.untagged() ? 1 : frame.vid;
    w.pcp = frame.pcp;
    w.vlan_entry = m_.vlans_.find(w.vlan);
    if (!w.vlan_entry) return;
    l2_stage(w);
}

// --- Capture ---------------------------------------------------------------------------

bool DataPlane::start_capture(const std::vector<unsigned int>& ports, const std::string& path, std::string& error)
{
    std::unique_ptr<PcapWriter> writer(new PcapWriter);
    if (!writer->open(path, error)) return false;
    stop_capture();
    capture_ = std::move(writer);
    capture_sequence_ = 0;
    for (unsigned int index : ports) plane_[index].captured = true;
    return true;
}

void DataPlane::stop_capture()
{
    if (capture_) capture_->close();
    capture_.reset();
    for (PortPlane& p : plane_) p.captured = false;
}

}  // namespace vorn_sim
