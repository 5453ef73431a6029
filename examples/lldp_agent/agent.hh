// An LLDP agent over the library's API alone, as a control-plane process on
// the switch runs it: it turns on the trapping of link-local frames on its
// ports, sends an LLDPDU out of each port when asked, and keeps the
// neighbours it hears through the rx-packet callback until their time to
// live runs out or their port loses its link.  It prints one line per
// neighbour that appears, changes or goes away (flushed, so that another
// process can follow it).
#ifndef VORN_EXAMPLES_LLDP_AGENT_HH
#define VORN_EXAMPLES_LLDP_AGENT_HH

#include <cstddef>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "lldpdu.hh"
#include "vorn_api.hh"

namespace lldp {

struct AgentSettings {
    unsigned char chassis_mac[6] = {};
    std::string system_name;
    double interval = 30;  // seconds between LLDPDUs; the time to live is four times that
    std::vector<Usp> ports;
};

// The longest interval: the time to live, four intervals, fits 16 bits.
const double interval_max = 16383.75;
// Neighbours kept per port; more are refused, so a flood of chassis IDs
// cannot take the process's memory.
const std::size_t neighbours_per_port_max = 32;

// A port as people name it: "1/1/3".
std::string port_name(const Usp& port);

class Agent {
public:
    // Seconds on a clock that never goes back.
    using Clock = std::function<double()>;
    static double steady_seconds();

    // `out` gets the neighbour lines, `log` what the agent ignored or could
    // not do.
    Agent(const AgentSettings& settings, std::ostream& out, std::ostream& log,
          Clock clock = steady_seconds);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Builds each port's LLDPDU, turns on link-local trapping on every port
    // and registers for received frames and link changes.  False, naming
    // what was wrong, with nothing left registered.
    bool start(std::string& error);
    // Deregisters; neighbours are forgotten.  The agent's ports stop
    // trapping link-local frames only if they did not before.
    void stop();

    // One LLDPDU out of each port.
    void transmit();
    // One LLDPDU with a time to live of 0 out of each port: the neighbours
    // forget this agent at once.
    void transmit_shutdown();
    // Forgets the neighbours whose time to live has run out.
    void expire();
    // A frame the CPU received on `port`; what is not LLDP is left alone.
    void receive(const Usp& port, const unsigned char* frame, std::size_t size);
    // A port whose link went down forgets what it heard.
    void link_changed(const Usp& port, bool up);

    std::size_t neighbour_count() const { return neighbours_.size(); }

private:
    struct PortKey {
        unsigned int unit, slot, port;
        bool operator<(const PortKey& other) const
        {
            return std::tie(unit, slot, port) < std::tie(other.unit, other.slot, other.port);
        }
    };
    using NeighbourKey = std::tuple<PortKey, Id, Id>;  // port, chassis ID, port ID
    struct Neighbour {
        Lldpdu lldpdu;
        double expires = 0;
    };

    bool build_packets(const Usp& port, Packet& packet, Packet& shutdown_packet,
                       std::string& error) const;
    bool trap_link_local(std::string& error);
    void send_all(const std::vector<Packet>& packets);
    static void on_rx_packet(RxPacket* packet, void* agent);
    // The link-change callback has no user data: it reaches every agent
    // started, through one registration.
    static void on_link_change(LinkStatus* status, Usp* port);
    static std::vector<Agent*>& started();
    bool listen_to_links(std::string& error);
    void stop_listening_to_links();
    bool mine(const Usp& port) const;
    void forget(const Usp& port, const char* why);
    void print(const char* what, const Usp& port, const Lldpdu& lldpdu, const char* why = nullptr);
    std::size_t neighbours_on(const PortKey& port) const;
    void restore_trapping();

    AgentSettings settings_;
    std::ostream& out_;
    std::ostream& log_;
    Clock clock_;
    bool registered_ = false;

    // By the port's place in settings_.ports.
    std::vector<Packet> packets_;
    std::vector<Packet> shutdown_packets_;
    std::vector<Usp> trapping_turned_on_;
    std::vector<bool> send_failed_;
    std::map<NeighbourKey, Neighbour> neighbours_;
};

}  // namespace lldp

#endif
