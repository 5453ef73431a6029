// The card's numbering and names in it.
#include "names.hh"

#include "format.hh"

namespace vorn_sim {

bool physical_mp(const Config& c, const Usp& port, Mp& mp)
{
    if (port.unit() < 1 || port.unit() > c.units || port.slot() < 1 || port.slot() > c.slots ||
        port.port() < 1 || port.port() > c.ports_per_slot)
        return false;
    mp = Mp(port.unit() - 1, (port.slot() - 1) * c.ports_per_slot + port.port());
    return true;
}

bool physical_usp(const Config& c, const Mp& mp, Usp& port)
{
    if (mp.module() >= c.units || mp.port() < 1 || mp.port() > c.slots * c.ports_per_slot)
        return false;
    port = Usp(mp.module() + 1, (mp.port() - 1) / c.ports_per_slot + 1,
               (mp.port() - 1) % c.ports_per_slot + 1);
    return true;
}

Usp Names::usp_of(const Mp& port, bool trunk) const
{
    Usp usp(0, 0, 0);
    if (trunk) {
        if (!lag_interface_ || !lag_interface_(port.port(), usp)) usp = Usp(0, lag_slot, port.port() + 1);
    } else {
        physical_usp(config_, port, usp);
    }
    return usp;
}

std::string Names::port(const Mp& port) const
{
    Usp usp(0, 0, 0);
    if (!physical_usp(config_, port, usp)) return "hardware port " + vorn_format::text(port);
    return vorn_format::text(usp);
}

std::string Names::target(const Mp& port, bool trunk) const
{
    return trunk ? vorn_format::phrase("LAG ", lag(port.port())) : "port " + this->port(port);
}

}  // namespace vorn_sim
