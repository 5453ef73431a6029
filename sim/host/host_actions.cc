// What the host does to its card from outside the SDK: the clock, cables,
// received frames, route lookups and the frames the CPU sent.
#include "host.hh"

namespace vorn_sim {

void advance_clock(unsigned int seconds)
{
    if (host().model) host().model->pass_time(seconds);
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

bool inject_frame(const Usp& port, const unsigned char* frame, std::size_t size, FrameResult* result)
{
    SwitchModel* model = card("inject_frame");
    Mp mp;
    return model && mapped("inject_frame", port, mp) && model->inject(mp, port, frame, size, true, result);
}

bool inject_frame(const Usp& port, const std::vector<unsigned char>& frame, FrameResult* result)
{
    return inject_frame(port, frame.data(), frame.size(), result);
}

bool trace_frame(const Usp& port, const std::vector<unsigned char>& frame, FrameResult& result)
{
    SwitchModel* model = card("trace_frame");
    Mp mp;
    return model && mapped("trace_frame", port, mp) &&
           model->inject(mp, port, frame.data(), frame.size(), false, &result);
}

bool set_vlan_instance(unsigned int vlan, unsigned int instance)
{
    SwitchModel* model = card("set_vlan_instance");
    return model && model->set_vlan_instance(vlan, instance);
}

bool start_capture(const std::vector<Usp>& ports, const std::string& path)
{
    SwitchModel* model = card("start_capture");
    if (!model) return false;
    std::vector<Mp> mps(ports.size());
    for (std::size_t i = 0; i < ports.size(); ++i)
        if (!mapped("start_capture", ports[i], mps[i])) return false;
    return model->start_capture(mps, ports, path);
}

void stop_capture()
{
    if (host().model) host().model->stop_capture();
}

bool set_port_backend(const Usp& port, std::shared_ptr<PortBackend> backend)
{
    SwitchModel* model = card("set_port_backend");
    Mp mp;
    return model && mapped("set_port_backend", port, mp) && model->set_port_backend(mp, port, std::move(backend));
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
