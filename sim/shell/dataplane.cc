// The data-plane commands of the reference host: frames sent by the CPU,
// trapped to it, injected off the wire or explained stage by stage; captures
// to a pcap file; the MSTP instance of a VLAN.  A port that is not the card's,
// a frame shorter than an Ethernet header or a file that cannot be written
// is the reference host's to refuse, so the rule lives in one place.
#include "shell.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

// What a frame did: each copy that left a port, each delivery to the CPU,
// or why it went nowhere.
void print_outcome(const vorn_sim::FrameResult& result, std::ostream& out)
{
    for (const vorn_sim::EgressFrame& sent : result.egress)
        out << "  out " << port_text(sent.port) << "  " << hex_text(sent.frame) << "\n";
    for (const vorn_sim::CpuFrame& trapped : result.to_cpu)
        out << "  cpu  " << port_text(trapped.port) << " vlan " << trapped.vlan << " " << trapped.reason << " "
            << hex_text(trapped.frame) << "\n";
    if (!result.drop.empty()) out << "  dropped: " << result.drop << "\n";
}

bool inject(const Words& w, std::ostream& out)
{
    const Usp port = read_port(w[1]);
    vorn_sim::FrameResult result;
    if (!vorn_sim::inject_frame(port, read_hex(w[2]), &result)) return false;
    print_outcome(result, out);
    return true;
}

// The decisions first, then where the frame would go; nothing changes.
bool trace(const Words& w, std::ostream& out)
{
    const Usp port = read_port(w[1]);
    vorn_sim::FrameResult result;
    if (!vorn_sim::trace_frame(port, read_hex(w[2]), result)) return false;
    for (const std::string& line : result.trace) out << "  " << line << "\n";
    print_outcome(result, out);
    return true;
}

}  // namespace

std::vector<Form> packet_forms()
{
    return {
        form("send <tagged> <untagged> <hex>",
             [](const Words& w, std::ostream&) {
                 Packet p;
                 p.set_data(read_hex(w[3]));
                 return vorn_send_packet_by_port(read_ports(w[1]), read_ports(w[2]), p);
             }),
        form("inject <port> <hex>", inject),
        form("trace <port> <hex>", trace),
        form("receive <port> <vlan> <hex>",
             [](const Words& w, std::ostream&) {
                 return vorn_sim::receive_frame(read_port(w[1]), read_vlan(w[2]), read_hex(w[3]));
             }),
    };
}

std::vector<Form> capture_forms()
{
    return {
        form("<ports> <file>",
             [](const Words& w, std::ostream&) {
                 const std::list<Usp> ports = read_ports(w[0]);
                 return vorn_sim::start_capture(std::vector<Usp>(ports.begin(), ports.end()), w[1]);
             }),
        form("off", [](const Words&, std::ostream&) { return vorn_sim::stop_capture(), true; }),
    };
}

std::vector<Form> mstp_map_forms()
{
    return {form("<vlan> <instance>", [](const Words& w, std::ostream&) {
        return vorn_sim::set_vlan_instance(read_vlan(w[0]), static_cast<unsigned int>(read_number(w[1], 0xffffffffu)));
    })};
}

}  // namespace vornsh
