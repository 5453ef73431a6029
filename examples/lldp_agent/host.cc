#include "host.hh"

#include "agent.hh"
#include "vorn_sim.hh"

namespace lldp_host {

namespace {

bool refused(std::string& error, const std::string& why)
{
    error = why;
    return false;
}

// One field of "u/s/p": digits only.
bool take_number(const std::string& text, std::size_t& at, unsigned int& value)
{
    const std::size_t start = at;
    unsigned long number = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9' && number <= 0xffff)
        number = number * 10 + static_cast<unsigned long>(text[at++] - '0');
    value = static_cast<unsigned int>(number);
    return at > start && number <= 0xffff;
}

bool parse_port(const std::string& text, Usp& port)
{
    std::size_t at = 0;
    unsigned int unit = 0, slot = 0, number = 0;
    if (!take_number(text, at, unit) || at >= text.size() || text[at++] != '/' ||
        !take_number(text, at, slot) || at >= text.size() || text[at++] != '/' ||
        !take_number(text, at, number) || at != text.size())
        return false;
    port = Usp(unit, slot, number);
    return true;
}

}  // namespace

bool parse_binding(const std::string& text, PortBinding& binding, std::string& error)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        return refused(error, "\"" + text + "\" is not PORT=tap:NAME[@NETNS] or PORT=dev:NAME");
    PortBinding parsed;
    const std::string port = text.substr(0, equals);
    if (!parse_port(port, parsed.port))
        return refused(error, "\"" + port + "\" is not a port (UNIT/SLOT/PORT)");
    const std::string where = text.substr(equals + 1);
    const std::string kind = where.substr(0, where.find(':'));
    if ((kind != "tap" && kind != "dev") || kind.size() == where.size())
        return refused(error, "\"" + where + "\" is neither tap:NAME[@NETNS] nor dev:NAME");
    parsed.tap = kind == "tap";
    parsed.name = where.substr(kind.size() + 1);
    const std::size_t at = parsed.name.find('@');
    if (at != std::string::npos) {
        if (!parsed.tap)
            return refused(error,
                           "\"" + where + "\": only a TAP is created in a network namespace");
        parsed.netns = parsed.name.substr(at + 1);
        parsed.name.resize(at);
        if (parsed.netns.empty())
            return refused(error, "\"" + where + "\" names no network namespace after @");
    }
    if (parsed.name.empty()) return refused(error, "\"" + where + "\" names no interface");
    binding = parsed;
    return true;
}

bool bind_ports(const std::vector<PortBinding>& bindings, std::string& error)
{
    for (std::size_t i = 0; i < bindings.size(); ++i) {
        const PortBinding& b = bindings[i];
        const bool bound = b.tap ? vorn_sim::attach_tap(b.port, b.name, b.netns)
                                 : vorn_sim::attach_device(b.port, b.name);
        if (bound) continue;
        const std::string name = lldp::port_name(b.port);
        const std::string& reason = vorn_sim::last_refusal().reason;
        error = reason.find(name) != std::string::npos ? reason : "port " + name + ": " + reason;
        for (std::size_t j = 0; j < i; ++j) vorn_sim::detach(bindings[j].port);
        return false;
    }
    return true;
}

bool serve(double seconds)
{
    return vorn_sim::serve(seconds);
}

void stop()
{
    vorn_sim::stop_serving();
}

}  // namespace lldp_host
