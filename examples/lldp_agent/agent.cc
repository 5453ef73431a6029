#include "agent.hh"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <list>
#include <sstream>
#include <utility>

namespace lldp {

namespace {

const unsigned int hold_multiplier = 4;

// Reads as a sentence after "neighbour": where, and who.
std::string describe(const Lldpdu& lldpdu)
{
    std::string text =
        "chassis " + format_id(lldpdu.chassis, true) + " port " + format_id(lldpdu.port, false);
    if (!lldpdu.port_description.empty()) text += " description " + quoted(lldpdu.port_description);
    if (!lldpdu.system_name.empty()) text += " system " + quoted(lldpdu.system_name);
    return text;
}

}  // namespace

std::string port_name(const Usp& port)
{
    return std::to_string(port.unit()) + "/" + std::to_string(port.slot()) + "/" +
           std::to_string(port.port());
}

double Agent::steady_seconds()
{
    using std::chrono::duration;
    return duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Agent::Agent(const AgentSettings& settings, std::ostream& out, std::ostream& log, Clock clock)
    : settings_(settings), out_(out), log_(log), clock_(std::move(clock))
{
}

Agent::~Agent()
{
    stop();
}

bool Agent::start(std::string& error)
{
    stop();
    if (!(settings_.interval > 0 && settings_.interval <= interval_max)) {
        std::ostringstream text;
        text << std::setprecision(10) << "interval of " << settings_.interval
             << " seconds (more than 0, at most " << interval_max << ")";
        error = text.str();
        return false;
    }
    std::vector<Packet> packets, shutdown_packets;
    for (auto port = settings_.ports.begin(); port != settings_.ports.end(); ++port) {
        if (std::find(settings_.ports.begin(), port, *port) != port) {
            error = "port " + port_name(*port) + " is listed twice";
            return false;
        }
        packets.emplace_back();
        shutdown_packets.emplace_back();
        if (!build_packets(*port, packets.back(), shutdown_packets.back(), error)) return false;
    }
    if (!trap_link_local(error)) return false;
    if (!vorn_register_rx_packet_callback(&Agent::on_rx_packet, this)) {
        error = "the card refused the rx-packet callback";
        restore_trapping();
        return false;
    }
    registered_ = true;
    if (!listen_to_links(error)) {
        stop();
        return false;
    }
    packets_.swap(packets);
    shutdown_packets_.swap(shutdown_packets);
    send_failed_.assign(settings_.ports.size(), false);
    return true;
}

bool Agent::build_packets(const Usp& port, Packet& packet, Packet& shutdown_packet,
                          std::string& error) const
{
    const std::string name = port_name(port);
    Lldpdu lldpdu;
    lldpdu.chassis = mac_id(chassis_mac_address, settings_.chassis_mac);
    lldpdu.port = text_id(port_interface_name, name);
    lldpdu.ttl = static_cast<unsigned int>(std::ceil(settings_.interval * hold_multiplier));
    lldpdu.port_description = "port " + name;
    lldpdu.system_name = settings_.system_name;
    Lldpdu shutdown = lldpdu;
    shutdown.ttl = 0;
    std::vector<unsigned char> frame, shutdown_frame;
    if (!encode_frame(settings_.chassis_mac, lldpdu, frame, error) ||
        !encode_frame(settings_.chassis_mac, shutdown, shutdown_frame, error)) {
        error = "port " + name + ": " + error;
        return false;
    }
    packet.set_data(frame);
    shutdown_packet.set_data(shutdown_frame);
    return true;
}

// LLDPDUs go to a link-local group address: the card hands them to the CPU
// only while a port processes BPDUs.
bool Agent::trap_link_local(std::string& error)
{
    for (const Usp& port : settings_.ports) {
        bool trapping = false;
        if (!vorn_get_port_bpdu_processing(port, trapping) ||
            (!trapping && !vorn_set_port_bpdu_processing(port, true))) {
            error =
                "port " + port_name(port) + ": the card does not trap link-local frames to the CPU";
            restore_trapping();
            return false;
        }
        if (!trapping) trapping_turned_on_.push_back(port);
    }
    return true;
}

void Agent::stop()
{
    stop_listening_to_links();
    if (registered_)
        vorn_deregister_event_callback(LCMGR_EVENT_RX_PACKET,
                                       reinterpret_cast<void*>(&Agent::on_rx_packet), this);
    registered_ = false;
    restore_trapping();
    neighbours_.clear();
    packets_.clear();
    shutdown_packets_.clear();
}

std::vector<Agent*>& Agent::started()
{
    static std::vector<Agent*> agents;
    return agents;
}

bool Agent::listen_to_links(std::string& error)
{
    if (started().empty() && !vorn_register_link_change_callback(&Agent::on_link_change)) {
        error = "the card refused the link-change callback";
        return false;
    }
    started().push_back(this);
    return true;
}

void Agent::stop_listening_to_links()
{
    auto& agents = started();
    const auto me = std::find(agents.begin(), agents.end(), this);
    if (me == agents.end()) return;
    agents.erase(me);
    if (agents.empty())
        vorn_deregister_event_callback(LCMGR_EVENT_LINK_CHANGE,
                                       reinterpret_cast<void*>(&Agent::on_link_change), nullptr);
}

void Agent::restore_trapping()
{
    for (const Usp& port : trapping_turned_on_) vorn_set_port_bpdu_processing(port, false);
    trapping_turned_on_.clear();
}

void Agent::transmit()
{
    send_all(packets_);
}

void Agent::transmit_shutdown()
{
    send_all(shutdown_packets_);
}

void Agent::send_all(const std::vector<Packet>& packets)
{
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const Usp& port = settings_.ports[i];
        const bool sent = vorn_send_packet_by_port({}, {port}, packets[i]);
        if (!sent && !send_failed_[i])
            log_ << "lldp: port " << port_name(port) << ": the card refused to send the LLDPDU"
                 << std::endl;
        send_failed_[i] = !sent;
    }
}

void Agent::expire()
{
    const double now = clock_();
    for (auto it = neighbours_.begin(); it != neighbours_.end();) {
        if (it->second.expires > now) {
            ++it;
            continue;
        }
        const PortKey& key = std::get<0>(it->first);
        print("neighbour gone", Usp(key.unit, key.slot, key.port), it->second.lldpdu,
              "time to live ran out");
        it = neighbours_.erase(it);
    }
}

void Agent::on_link_change(LinkStatus* status, Usp* port)
{
    const std::vector<Agent*> agents = started();  // a callback may stop an agent
    for (Agent* agent : agents) agent->link_changed(*port, status->state == PHY_STATE_UP);
}

void Agent::link_changed(const Usp& port, bool up)
{
    if (!up) forget(port, "link down");
}

void Agent::forget(const Usp& port, const char* why)
{
    for (auto it = neighbours_.begin(); it != neighbours_.end();) {
        const PortKey& key = std::get<0>(it->first);
        if (Usp(key.unit, key.slot, key.port) != port) {
            ++it;
            continue;
        }
        print("neighbour gone", port, it->second.lldpdu, why);
        it = neighbours_.erase(it);
    }
}

bool Agent::mine(const Usp& port) const
{
    return std::find(settings_.ports.begin(), settings_.ports.end(), port) != settings_.ports.end();
}

void Agent::on_rx_packet(RxPacket* packet, void* agent)
{
    static_cast<Agent*>(agent)->receive(packet->port, packet->data, packet->length);
}

void Agent::receive(const Usp& port, const unsigned char* frame, std::size_t size)
{
    if (!mine(port)) return;
    Lldpdu lldpdu;
    std::string error;
    switch (decode_frame(frame, size, lldpdu, error)) {
        case Decoded::not_lldp:
            return;
        case Decoded::malformed:
            log_ << "lldp: port " << port_name(port) << ": ignored a malformed LLDPDU: " << error
                 << std::endl;
            return;
        case Decoded::lldpdu:
            break;
    }
    const PortKey where{port.unit(), port.slot(), port.port()};
    const NeighbourKey key(where, lldpdu.chassis, lldpdu.port);
    auto known = neighbours_.find(key);
    if (lldpdu.ttl == 0) {
        if (known != neighbours_.end()) {
            print("neighbour gone", port, known->second.lldpdu, "shut down");
            neighbours_.erase(known);
        }
        return;
    }
    const double expires = clock_() + lldpdu.ttl;
    if (known == neighbours_.end()) {
        if (neighbours_on(where) >= neighbours_per_port_max) {
            log_ << "lldp: port " << port_name(port) << ": ignored a neighbour beyond the "
                 << neighbours_per_port_max << " a port keeps: " << describe(lldpdu) << std::endl;
            return;
        }
        print("neighbour", port, lldpdu);
        neighbours_.emplace(key, Neighbour{std::move(lldpdu), expires});
        return;
    }
    Neighbour& neighbour = known->second;
    neighbour.expires = expires;
    if (neighbour.lldpdu.port_description == lldpdu.port_description &&
        neighbour.lldpdu.system_name == lldpdu.system_name)
        return;
    print("neighbour", port, lldpdu);
    neighbour.lldpdu = std::move(lldpdu);
}

std::size_t Agent::neighbours_on(const PortKey& port) const
{
    auto first = neighbours_.lower_bound(NeighbourKey(port, Id(), Id()));
    std::size_t count = 0;
    for (auto it = first; it != neighbours_.end(); ++it) {
        const PortKey& key = std::get<0>(it->first);
        if (port < key || key < port) break;
        ++count;
    }
    return count;
}

void Agent::print(const char* what, const Usp& port, const Lldpdu& lldpdu, const char* why)
{
    out_ << what << " " << port_name(port) << ": " << describe(lldpdu);
    if (why) out_ << " (" << why << ")";
    out_ << std::endl;
}

}  // namespace lldp
