#include "lldpdu.hh"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace lldp {

const unsigned char nearest_bridge[6] = {0x01, 0x80, 0xc2, 0x00, 0x00, 0x0e};

namespace {

enum TlvType : unsigned int {
    end_tlv = 0,
    chassis_id_tlv = 1,
    port_id_tlv = 2,
    ttl_tlv = 3,
    port_description_tlv = 4,
    system_name_tlv = 5,
};

const char* tlv_name(unsigned int type)
{
    static const char* const names[] = {"End",          "Chassis ID",       "Port ID",
                                        "Time To Live", "Port Description", "System Name"};
    return type < sizeof names / sizeof names[0] ? names[type] : "unknown";
}

const std::size_t ethernet_header = 14;
const std::size_t ethernet_minimum = 60;  // without the FCS
const std::size_t id_value_max = 255;
const std::size_t text_max = 255;
const std::size_t tlv_length_max = 511;  // nine bits
// The subtypes 802.1AB defines for both IDs; 0 and 8-255 are reserved.
const unsigned char id_subtype_max = 7;

void put_u16(std::vector<unsigned char>& out, unsigned int value)
{
    out.push_back(static_cast<unsigned char>(value >> 8));
    out.push_back(static_cast<unsigned char>(value));
}

unsigned int get_u16(const unsigned char* p)
{
    return static_cast<unsigned int>(p[0]) << 8 | p[1];
}

void put_tlv_header(std::vector<unsigned char>& out, unsigned int type, std::size_t length)
{
    put_u16(out, type << 9 | static_cast<unsigned int>(length));
}

bool put_id(std::vector<unsigned char>& out, unsigned int type, const Id& id, std::string& error)
{
    if (id.subtype == 0 || id.subtype > id_subtype_max || id.value.empty() ||
        id.value.size() > id_value_max) {
        char text[96];
        std::snprintf(text, sizeof text,
                      "%s of subtype %u and %zu bytes (subtype 1 to 7, 1 to 255 bytes)",
                      tlv_name(type), id.subtype, id.value.size());
        error = text;
        return false;
    }
    put_tlv_header(out, type, 1 + id.value.size());
    out.push_back(id.subtype);
    out.insert(out.end(), id.value.begin(), id.value.end());
    return true;
}

bool put_text(std::vector<unsigned char>& out, unsigned int type, const std::string& text,
              std::string& error)
{
    if (text.empty()) return true;
    if (text.size() > text_max) {
        error = std::string(tlv_name(type)) + " of " + std::to_string(text.size()) +
                " bytes (at most 255)";
        return false;
    }
    put_tlv_header(out, type, text.size());
    out.insert(out.end(), text.begin(), text.end());
    return true;
}

// Why an LLDPDU is refused, as one phrase.
bool malformed(std::string& error, const std::string& why)
{
    error = why;
    return false;
}

bool read_id(const unsigned char* value, std::size_t length, unsigned int type, Id& id,
             std::string& error)
{
    const std::string name = tlv_name(type);
    if (length < 2 || length > 1 + id_value_max)
        return malformed(error, name + " TLV of length " + std::to_string(length) + " (2 to 256)");
    id.subtype = value[0];
    id.value.assign(value + 1, value + length);
    if (id.subtype == 0 || id.subtype > id_subtype_max)
        return malformed(error, name + " subtype " + std::to_string(id.subtype) + " is reserved");
    const bool mac =
        id.subtype == (type == chassis_id_tlv ? chassis_mac_address : port_mac_address);
    if (mac && id.value.size() != 6)
        return malformed(
            error, name + " is a MAC address of " + std::to_string(id.value.size()) + " bytes");
    return true;
}

// The TLVs of one LLDPDU in order: the three mandatory ones first, each
// optional one at most once, then End.
bool read_tlvs(const unsigned char* p, const unsigned char* end, Lldpdu& lldpdu, std::string& error)
{
    static const unsigned int mandatory[] = {chassis_id_tlv, port_id_tlv, ttl_tlv};
    bool seen[system_name_tlv + 1] = {};
    for (unsigned int index = 0;; ++index) {
        if (p == end) return malformed(error, "no End TLV");
        if (end - p < 2) return malformed(error, "a TLV header cut short (1 byte)");
        const unsigned int type = get_u16(p) >> 9;
        const std::size_t length = get_u16(p) & tlv_length_max;
        p += 2;
        if (length > static_cast<std::size_t>(end - p))
            return malformed(error, std::string(tlv_name(type)) + " TLV (type " +
                                        std::to_string(type) + ") of length " +
                                        std::to_string(length) + " runs past the frame (" +
                                        std::to_string(end - p) + " bytes left)");
        const unsigned char* value = p;
        p += length;
        if (index < 3 && type != mandatory[index])
            return malformed(error, "TLV " + std::to_string(index + 1) + " is " + tlv_name(type) +
                                        " (type " + std::to_string(type) + "), not " +
                                        tlv_name(mandatory[index]));
        if (type <= system_name_tlv && seen[type])
            return malformed(error, std::string("a second ") + tlv_name(type) + " TLV");
        if (type <= system_name_tlv) seen[type] = true;
        switch (type) {
            case end_tlv:
                return length == 0 ||
                       malformed(error, "End TLV of length " + std::to_string(length));
            case chassis_id_tlv:
                if (!read_id(value, length, type, lldpdu.chassis, error)) return false;
                break;
            case port_id_tlv:
                if (!read_id(value, length, type, lldpdu.port, error)) return false;
                break;
            case ttl_tlv:
                if (length != 2)
                    return malformed(error, "Time To Live TLV of length " + std::to_string(length) +
                                                " (must be 2)");
                lldpdu.ttl = get_u16(value);
                break;
            case port_description_tlv:
                lldpdu.port_description.assign(value, value + length);
                break;
            case system_name_tlv:
                lldpdu.system_name.assign(value, value + length);
                break;
            default:
                break;
        }
    }
}

bool printable(const std::vector<unsigned char>& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](unsigned char c) { return c >= 0x20 && c < 0x7f; });
}

std::string joined_hex(const std::vector<unsigned char>& bytes)
{
    std::string text;
    char byte[4];
    for (unsigned char c : bytes) {
        std::snprintf(byte, sizeof byte, text.empty() ? "%02x" : ":%02x", c);
        text += byte;
    }
    return text;
}

}  // namespace

bool operator==(const Id& a, const Id& b)
{
    return a.subtype == b.subtype && a.value == b.value;
}
bool operator!=(const Id& a, const Id& b)
{
    return !(a == b);
}
bool operator<(const Id& a, const Id& b)
{
    return std::tie(a.subtype, a.value) < std::tie(b.subtype, b.value);
}

Id mac_id(unsigned char subtype, const unsigned char* mac)
{
    Id id;
    id.subtype = subtype;
    id.value.assign(mac, mac + 6);
    return id;
}

Id text_id(unsigned char subtype, const std::string& text)
{
    Id id;
    id.subtype = subtype;
    id.value.assign(text.begin(), text.end());
    return id;
}

bool encode_frame(const unsigned char* source, const Lldpdu& lldpdu,
                  std::vector<unsigned char>& frame, std::string& error)
{
    std::vector<unsigned char> out(nearest_bridge, nearest_bridge + 6);
    out.insert(out.end(), source, source + 6);
    put_u16(out, ethertype);
    if (lldpdu.ttl > 0xffff) {
        error = "Time To Live of " + std::to_string(lldpdu.ttl) + " seconds (at most 65535)";
        return false;
    }
    if (!put_id(out, chassis_id_tlv, lldpdu.chassis, error) ||
        !put_id(out, port_id_tlv, lldpdu.port, error))
        return false;
    put_tlv_header(out, ttl_tlv, 2);
    put_u16(out, lldpdu.ttl);
    if (!put_text(out, port_description_tlv, lldpdu.port_description, error) ||
        !put_text(out, system_name_tlv, lldpdu.system_name, error))
        return false;
    put_tlv_header(out, end_tlv, 0);
    if (out.size() < ethernet_minimum) out.resize(ethernet_minimum, 0);
    frame.swap(out);
    return true;
}

Decoded decode_frame(const unsigned char* frame, std::size_t size, Lldpdu& lldpdu,
                     std::string& error)
{
    if (size < ethernet_header) return Decoded::not_lldp;
    std::size_t offset = 12;
    for (int tags = 0; tags < 2 && size - offset >= 6; ++tags) {
        const unsigned int type = get_u16(frame + offset);
        if (type != 0x8100 && type != 0x88a8) break;
        offset += 4;
    }
    if (get_u16(frame + offset) != ethertype) return Decoded::not_lldp;
    offset += 2;
    Lldpdu read;
    if (!read_tlvs(frame + offset, frame + size, read, error)) return Decoded::malformed;
    lldpdu = std::move(read);
    return Decoded::lldpdu;
}

std::string format_id(const Id& id, bool chassis)
{
    const unsigned char mac_subtype = chassis ? chassis_mac_address : port_mac_address;
    if (id.subtype == mac_subtype && id.value.size() == 6) return joined_hex(id.value);
    if (printable(id.value)) return quoted(std::string(id.value.begin(), id.value.end()));
    return joined_hex(id.value);
}

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", c);
            out += escape;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

}  // namespace lldp
