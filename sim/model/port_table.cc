// The port table.
#include "port_table.hh"

namespace vorn_sim {

PortTable::PortTable(const Config& config)
    : units_(config.units),
      ports_per_unit_(config.slots * config.ports_per_slot),
      ports_(config.units * config.slots * config.ports_per_slot)
{
    for (PortState& port : ports_) port.advertised = all_abilities();
}

port_ability_type_t PortTable::all_abilities()
{
    return static_cast<port_ability_type_t>(PORT_ABILITY_10MB_HD | PORT_ABILITY_10MB_FD | PORT_ABILITY_100MB_HD |
                                            PORT_ABILITY_100MB_FD | PORT_ABILITY_1000MB_HD |
                                            PORT_ABILITY_1000MB_FD | PORT_ABILITY_PAUSE_TX |
                                            PORT_ABILITY_PAUSE_RX | PORT_ABILITY_AUTONEG);
}

bool PortTable::known(Refuser& refuse, const Names& names, const Mp& port) const
{
    return physical(port) || refuse("unknown ", names.port(port));
}

bool PortTable::known_all(Refuser& refuse, const Names& names, const std::list<Mp>& ports) const
{
    for (const Mp& port : ports)
        if (!known(refuse, names, port)) return false;
    return true;
}

}  // namespace vorn_sim
