// Received frames for the agent's tests, built TLV by TLV, so that a test
// can break any rule on purpose; and an LLDPDU of the shape Debian's lldpd
// sends.
#ifndef VORN_EXAMPLES_LLDP_FRAMES_HH
#define VORN_EXAMPLES_LLDP_FRAMES_HH

#include <initializer_list>
#include <string>
#include <vector>

namespace lldp_test {

const unsigned char peer_chassis[6] = {0x52, 0x54, 0x00, 0x12, 0x34, 0x56};
const unsigned char peer_port_mac[6] = {0x9e, 0x3c, 0x01, 0x02, 0x03, 0x04};

inline std::vector<unsigned char> tlv(unsigned int type, const std::vector<unsigned char>& value)
{
    std::vector<unsigned char> out = {static_cast<unsigned char>(type << 1 | value.size() >> 8),
                                      static_cast<unsigned char>(value.size())};
    out.insert(out.end(), value.begin(), value.end());
    return out;
}

class Frame {
public:
    explicit Frame(unsigned short ethertype = 0x88cc) : ethertype_(ethertype)
    {
        header_ = {0x01, 0x80, 0xc2, 0x00, 0x00, 0x0e};
        header_.insert(header_.end(), peer_port_mac, peer_port_mac + 6);
    }

    // A chassis or port ID's value: the subtype, then the bytes.
    static std::vector<unsigned char> id(unsigned char subtype, const unsigned char* bytes,
                                         std::size_t size)
    {
        std::vector<unsigned char> value = {subtype};
        value.insert(value.end(), bytes, bytes + size);
        return value;
    }
    static std::vector<unsigned char> id(unsigned char subtype, const std::string& text)
    {
        return id(subtype, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }

    Frame& tag(unsigned short tpid, unsigned short vid)
    {
        raw_to(header_, {static_cast<unsigned char>(tpid >> 8), static_cast<unsigned char>(tpid),
                         static_cast<unsigned char>(vid >> 8), static_cast<unsigned char>(vid)});
        return *this;
    }
    Frame& tlvs(std::initializer_list<std::vector<unsigned char>> tlvs)
    {
        for (const auto& t : tlvs) body_.insert(body_.end(), t.begin(), t.end());
        return *this;
    }
    Frame& raw(std::initializer_list<unsigned char> bytes) { return raw_to(body_, bytes), *this; }
    Frame& end_tlv() { return raw({0x00, 0x00}); }

    std::vector<unsigned char> bytes(bool pad = false) const
    {
        std::vector<unsigned char> out = header_;
        out.push_back(static_cast<unsigned char>(ethertype_ >> 8));
        out.push_back(static_cast<unsigned char>(ethertype_));
        out.insert(out.end(), body_.begin(), body_.end());
        if (pad && out.size() < 60) out.resize(60, 0);
        return out;
    }

private:
    static void raw_to(std::vector<unsigned char>& to, std::initializer_list<unsigned char> bytes)
    {
        to.insert(to.end(), bytes.begin(), bytes.end());
    }

    unsigned short ethertype_;
    std::vector<unsigned char> header_;
    std::vector<unsigned char> body_;
};

// What lldpd sends out of veth1: its chassis MAC, the port's MAC as the port
// ID, the interface name as the port description, then the TLVs this agent
// does not read (system description, capabilities, management address, an
// IEEE 802.3 TLV).
inline std::vector<unsigned char> lldpd_frame(const std::string& system_name, unsigned int ttl,
                                              bool pad = true,
                                              const unsigned char* chassis = peer_chassis)
{
    const std::string description =
        "Debian GNU/Linux 12 (bookworm) Linux 6.1.0-13-amd64 #1 SMP x86_64";
    return Frame()
        .tlvs({tlv(1, Frame::id(4, chassis, 6)), tlv(2, Frame::id(3, peer_port_mac, 6)),
               tlv(3, {static_cast<unsigned char>(ttl >> 8), static_cast<unsigned char>(ttl)}),
               tlv(5, std::vector<unsigned char>(system_name.begin(), system_name.end())),
               tlv(6, std::vector<unsigned char>(description.begin(), description.end())),
               tlv(7, {0x00, 0x9c, 0x00, 0x00}), tlv(4, {'v', 'e', 't', 'h', '1'}),
               tlv(8, {0x05, 0x01, 0x0a, 0x00, 0x00, 0x02, 0x02, 0x00, 0x00, 0x00, 0x03, 0x00}),
               tlv(127, {0x00, 0x12, 0x0f, 0x01, 0x03, 0x6c, 0x00, 0x00, 0x10})})
        .end_tlv()
        .bytes(pad);
}

}  // namespace lldp_test

#endif
