// What the host does to its card from outside the SDK: the clock, cables,
// received frames, route lookups and the frames the CPU sent.
#include "host.hh"

namespace vorn_sim {

void advance_clock(unsigned int seconds)
{
    if (host().model) host().model->advance_clock(seconds);
}

bool set_cable(const Usp& port, bool plugged)
{
    SwitchModel* model = card("set_cable");
    Mp mp;
    return model && mapped("set_cable", port, mp) && model->cable(mp, port, plugged);
}

bool receive_frame(const Usp& port, unsigned int vlan, const std::vector<unsigned char>& frame)
{
    SwitchModel* model = card("receive_frame");
    Mp mp;
    return model && mapped("receive_frame", port, mp) && model->receive(mp, port, vlan, frame);
}

// A lookup that finds no route answers false without a refusal.
bool lookup_route_ip4(unsigned int address, RouteMatch& match)
{
    SwitchModel* model = card("lookup_route_ip4");
    return model && model->lookup_route_ip4(address, match);
}

bool lookup_route_ip6(const unsigned char* address, RouteMatch& match)
{
    SwitchModel* model = card("lookup_route_ip6");
    if (model && !address) return refuse("lookup_route_ip6", "no IPv6 address given (null pointer)");
    return model && model->lookup_route_ip6(address, match);
}

const SwitchModel* model() { return host().model.get(); }

const std::vector<SentPacket>& sent_packets()
{
    static const std::vector<SentPacket> none;
    return host().model ? host().model->sent() : none;
}

}  // namespace vorn_sim
