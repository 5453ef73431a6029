// The host side of the data plane: frames off the wire and explained, the
// VLANs' MSTP instances, capture, port back ends and the card's clock.
#include "model_impl.hh"

namespace vorn_sim {

bool SwitchModel::inject(const Mp& port, const Usp& usp, const unsigned char* frame, std::size_t size, bool commit,
                         FrameResult* result)
{
    return run(-1, commit ? "inject_frame" : "trace_frame", [&] {
        if (!ports_.physical(port)) return refuse("unknown port ", usp);
        if (!frame && size) return refuse("no frame given (null pointer)");
        Frame parsed;
        if (!parse(frame, size, parsed))
            return refuse("frame of ", size, " bytes is shorter than an Ethernet header (14)");
        if (result) result->clear();
        dataplane_.ingress(port, usp, parsed, commit, result);
        return true;
    });
}

bool SwitchModel::set_vlan_instance(unsigned int vlan, unsigned int instance)
{
    return run(-1, "set_vlan_instance", [&] {
        if (!vlan_id(vlan) || !within("MSTP instance", instance, 0, 4094)) return false;
        dataplane_.set_vlan_instance(vlan, instance);
        return true;
    });
}

bool SwitchModel::start_capture(const std::vector<Mp>& ports, const std::vector<Usp>& names, const std::string& path)
{
    return run(-1, "start_capture", [&] {
        std::vector<unsigned int> indexes;
        for (std::size_t i = 0; i < ports.size(); ++i) {
            if (!ports_.physical(ports[i])) return refuse("unknown port ", names[i]);
            indexes.push_back(ports_.index_of(ports[i]));
        }
        if (indexes.empty()) return refuse("no port to capture");
        std::string error;
        return dataplane_.start_capture(indexes, path, error) || refuse(error);
    });
}

bool SwitchModel::set_port_backend(const Mp& port, const Usp& usp, std::shared_ptr<PortBackend> backend)
{
    return run(-1, "set_port_backend", [&] {
        if (!ports_.physical(port)) return refuse("unknown port ", usp);
        dataplane_.set_backend(ports_.index_of(port), std::move(backend));
        return true;
    });
}

void SwitchModel::pass_time(unsigned int seconds)
{
    advance_clock(seconds);
    dataplane_.advance(seconds);
}

}  // namespace vorn_sim
