// The port table: the settings and counters of every physical port of the
// card, by Mp, and the check that a port is one of them.
#ifndef VORN_SIM_PORT_TABLE_HH
#define VORN_SIM_PORT_TABLE_HH

#include <array>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include "names.hh"
#include "refuser.hh"
#include "vorn_sdk.hh"
#include "vorn_sim.hh"

namespace vorn_sim {

struct PortState {
    bool admin = true;
    bool autoneg = true;
    speed_type_t speed = SPEED_1G;
    duplex_type_t duplex = DUPLEX_FULL;
    phy_state_t link = PHY_STATE_UP;
    unsigned int mtu = 1518;
    port_ability_type_t advertised = PORT_ABILITY_NONE;
    bool flow_control_rx = false;
    bool flow_control_tx = false;
    bool jamming = false;
    unsigned int broadcast_rate = 0;
    unsigned int multicast_rate = 0;
    unsigned int unicast_rate = 0;
    bool mirrored = false;
    Mp mirror_target;
    mirror_type_t mirror_type = MIRROR_TYPE_NONE;
    std::map<unsigned int, flood_block_type_t> flood_blocking;  // by the other port's index
    flood_block_type_t flood_blocking_cpu = FLOOD_BLOCK_NONE;
    bool unknown_unicast_to_cpu = false;
    std::map<unsigned int, unsigned int> cos_map;
    bool mac_lock = false;
    bool drop_unknown = false;
    int mac_limit = 0;
    unsigned int pvid = 1;
    std::map<unsigned int, unsigned int> vlan_priority;
    bool tagged_only = false;
    std::map<std::pair<int, unsigned short>, unsigned int> protocol_vlans;
    bool bpdu_processing = true;
    ingress_discard_type_t ingress_discard = INGRESS_DISCARD_NONE;
    bool egress = true;
    bool l2 = true;
    stp_state_t stp = STP_STATE_FORWARDING;
    std::map<unsigned int, mstp_state_t> mstp;
    bool stats_enabled = true;
    std::array<unsigned long long, STAT_TYPE_COUNT> counters{};
};

class PortTable {
public:
    // Every port starts advertising all it can.
    explicit PortTable(const Config& config);

    // What a port of this card can do: every ability up to 1G, pause, autoneg.
    static port_ability_type_t all_abilities();

    // Whether the port is one of the card's: module below the unit count,
    // port 1 to slots * ports per slot.
    // Inline: every stage of every frame asks.
    bool physical(const Mp& port) const
    {
        return port.module() < units_ && port.port() >= 1 && port.port() <= ports_per_unit_;
    }
    // The port's place among the card's ports; physical ports only.
    unsigned int index_of(const Mp& port) const { return port.module() * ports_per_unit_ + port.port() - 1; }
    // The port's state, or null for a port that is not the card's.
    PortState* find(const Mp& port) { return physical(port) ? &ports_[index_of(port)] : nullptr; }
    // The state of the port at an index_of.
    PortState& at(unsigned int index) { return ports_[index]; }
    std::size_t size() const { return ports_.size(); }

    // Whether the port is the card's, refusing when it is not.
    bool known(Refuser& refuse, const Names& names, const Mp& port) const;
    bool known_all(Refuser& refuse, const Names& names, const std::list<Mp>& ports) const;
    // Runs change(state) on the port's state once the port is known.
    template <class Change>
    bool on(Refuser& refuse, const Names& names, const Mp& port, Change&& change)
    {
        return known(refuse, names, port) && change(ports_[index_of(port)]);
    }

private:
    unsigned int units_;
    unsigned int ports_per_unit_;
    std::vector<PortState> ports_;
};

}  // namespace vorn_sim

#endif
