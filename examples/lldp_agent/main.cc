// vorn_lldp_agent: an LLDP agent on a line card whose ports are bound to
// Linux interfaces.  It sends an LLDPDU out of every port each interval and
// prints the neighbours it hears, until the duration has passed or SIGINT or
// SIGTERM arrives.  The agent (agent.hh) uses the library's API alone; the
// lines that stand in for the line card manager are in host.hh.
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "agent.hh"
#include "host.hh"
#include "vorn_api.hh"

namespace {

const char* const usage =
    "usage: vorn_lldp_agent [--interval SECONDS] [--duration SECONDS] [--system-name NAME]\n"
    "                       [--chassis-mac MAC] PORT=tap:NAME[@NETNS] | PORT=dev:NAME ...\n"
    "  --interval      seconds between LLDPDUs (default 30; the time to live is four times that)\n"
    "  --duration      seconds to run (default 0: until SIGINT or SIGTERM)\n"
    "  --system-name   the system name sent (default: the host name)\n"
    "  --chassis-mac   the card's MAC, sent as the chassis ID (default 02:00:00:00:00:01)\n"
    "  PORT            a port of the card, 1/1/1 to 1/1/48, bound to a TAP the card creates\n"
    "                  (in network namespace NETNS) or to an existing interface\n";

struct Options {
    lldp::AgentSettings agent;
    double duration = 0;
    std::vector<lldp_host::PortBinding> bindings;
};

bool refused(std::string& error, const std::string& why)
{
    error = why;
    return false;
}

std::string number_text(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

bool parse_seconds(const std::string& option, const std::string& text, double low, double high,
                   bool low_open, double& seconds, std::string& error)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    const bool in_range = low_open ? value > low : value >= low;
    if (text.empty() || *end != '\0' || !(in_range && value <= high))
        return refused(error, option + " \"" + text + "\": seconds " +
                                  (low_open ? "above " : "from ") + number_text(low) + " to " +
                                  number_text(high));
    seconds = value;
    return true;
}

bool parse_mac(const std::string& text, unsigned char* mac, std::string& error)
{
    unsigned int bytes[6];
    char tail = 0;
    if (std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &bytes[0], &bytes[1], &bytes[2],
                    &bytes[3], &bytes[4], &bytes[5], &tail) != 6 ||
        text.size() != 17)
        return refused(error,
                       "--chassis-mac \"" + text + "\" is not a MAC address (aa:bb:cc:dd:ee:ff)");
    for (int i = 0; i < 6; ++i) mac[i] = static_cast<unsigned char>(bytes[i]);
    return true;
}

bool parse_arguments(int argc, char** argv, Options& options, std::string& error)
{
    const unsigned char default_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
    std::copy(default_mac, default_mac + 6, options.agent.chassis_mac);
    char host_name[256] = {};
    gethostname(host_name, sizeof host_name - 1);
    options.agent.system_name = host_name;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.compare(0, 2, "--") != 0) {
            lldp_host::PortBinding binding;
            if (!lldp_host::parse_binding(argument, binding, error)) return false;
            options.bindings.push_back(binding);
            options.agent.ports.push_back(binding.port);
            continue;
        }
        if (i + 1 == argc) return refused(error, argument + " needs a value");
        const std::string value = argv[++i];
        if (argument == "--interval") {
            if (!parse_seconds(argument, value, 0, lldp::interval_max, true, options.agent.interval,
                               error))
                return false;
        } else if (argument == "--duration") {
            if (!parse_seconds(argument, value, 0, 1e9, false, options.duration, error))
                return false;
        } else if (argument == "--system-name") {
            if (value.empty() || value.size() > 255)
                return refused(error, "--system-name of " + std::to_string(value.size()) +
                                          " bytes (1 to 255)");
            options.agent.system_name = value;
        } else if (argument == "--chassis-mac") {
            if (!parse_mac(value, options.agent.chassis_mac, error)) return false;
        } else {
            return refused(error, "unknown option " + argument);
        }
    }
    if (options.bindings.empty()) return refused(error, "no port given");
    if (options.agent.system_name.empty()) options.agent.system_name = "line-card";
    return true;
}

void on_signal(int)
{
    lldp_host::stop();
}

int fail(const std::string& error)
{
    std::cerr << "vorn_lldp_agent: " << error << std::endl;
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    std::string error;
    if (!parse_arguments(argc, argv, options, error)) {
        std::cerr << "vorn_lldp_agent: " << error << "\n" << usage;
        return 1;
    }
    struct sigaction action = {};
    action.sa_handler = on_signal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    int card_ports = 0;
    if (!vorn_lcmgr_api_init(card_ports)) return fail("the line card did not come up");
    if (!lldp_host::bind_ports(options.bindings, error)) return fail(error);
    lldp::Agent agent(options.agent, std::cout, std::cerr);
    if (!agent.start(error)) return fail(error);

    const double started = lldp::Agent::steady_seconds();
    for (;;) {
        double slice = options.agent.interval;
        if (options.duration > 0) {
            const double left = options.duration - (lldp::Agent::steady_seconds() - started);
            if (left <= 0) break;
            slice = std::min(slice, left);
        }
        agent.expire();
        agent.transmit();
        if (!lldp_host::serve(slice)) break;
    }
    agent.transmit_shutdown();
    agent.stop();
    vorn_lcmgr_api_terminate();
    return 0;
}
