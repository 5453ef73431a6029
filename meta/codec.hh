// One text word per argument value, by the argument's kind, and back: the
// trace writes these, the shell reads them.  Every value survives the round
// trip exactly; a word that is not a value of its kind is refused with the
// reason, and the destination is then left as it was.
//
//   encode<Kind::mac>(bytes)                 // "00:1b:21:0a:0b:0c"
//   encode<Kind::ipv4>(0xc0a80001u)          // "192.168.0.1"
//   decode<Kind::port>("0:3", mp)            // "" (mp is 0:3)
//   decode<Kind::port>("0-3", mp)            // "\"0-3\" is not a port: expected module:port"
//   encode(Kind::vlan_bitmap, bitmap)        // the kind known only at run time
//
// The forms: number in decimal; flag "true" or "false"; text in double
// quotes with \" \\ \n \t \r and \xHH escapes; port "0:3"; usp "1/1/3";
// lists "[0:1,0:2]" ("[]" empty); mac six hex bytes with ':'; ipv4 a dotted
// quad of the unsigned int (most significant byte first); ipv6 and ipv6_mask
// eight groups of four hex digits; vlan_bitmap the VLANs whose bit is set,
// "[1,5,10-20]"; packet "{type=2048,length=3,data=0011aa}"; flow and
// flow_usp every match field by name, "{in_port=0:3,dst_mac=...,...}";
// flow_udf and action_param their words, "[1,2,3,4]"; counters
// "[type=value,...]"; callback and user_data the address, "0x1234" or
// "null".
#ifndef VORN_META_CODEC_HH
#define VORN_META_CODEC_HH

#include <array>
#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "arg_kinds.hh"
#include "text.hh"
#include "vorn_types.hh"

namespace vorn_meta {

using Mac = std::array<unsigned char, 6>;
using Ipv6 = std::array<unsigned char, 16>;
using VlanBitmap = std::array<unsigned char, 512>;  // bit (vlan % 8) of byte (vlan / 8)

// The form of one kind: static encode(value) overloads, and
// decode(word, value) that returns "" or the reason the word is refused.
template <Kind K>
struct Form;

namespace codec_detail {

inline const char hex_digits[] = "0123456789abcdef";

inline std::string refused(Kind kind, const std::string& word, const std::string& why)
{
    return '"' + word + "\" is not a " + kind_name(kind) + ": " + why;
}

inline int hex_value(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

inline std::string hex_bytes(const unsigned char* bytes, std::size_t count, const char* between)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        if (i && (*between != '\0')) out += between;
        out += hex_digits[bytes[i] >> 4];
        out += hex_digits[bytes[i] & 15];
    }
    return out;
}

// Reads `digits` hex digits at `at` as one number; false if any is not a hex digit.
inline bool read_hex(const std::string& word, std::size_t at, std::size_t digits,
                     unsigned int& value)
{
    if (at + digits > word.size()) return false;
    value = 0;
    for (std::size_t i = at; i < at + digits; ++i) {
        const int digit = hex_value(word[i]);
        if (digit < 0) return false;
        value = value * 16 + static_cast<unsigned int>(digit);
    }
    return true;
}

// A decimal number, with an optional '-', within [low, high].
inline bool read_decimal(const std::string& word, long long low, unsigned long long high,
                         bool& negative, unsigned long long& magnitude)
{
    negative = !word.empty() && word[0] == '-';
    const std::size_t first = negative ? 1 : 0;
    if (word.size() == first || word.size() - first > 20) return false;
    magnitude = 0;
    for (std::size_t i = first; i < word.size(); ++i) {
        if (word[i] < '0' || word[i] > '9') return false;
        const unsigned long long digit = static_cast<unsigned long long>(word[i] - '0');
        if (magnitude > (std::numeric_limits<unsigned long long>::max() - digit) / 10) return false;
        magnitude = magnitude * 10 + digit;
    }
    if (negative)
        return magnitude != 0 && low < 0 &&
               magnitude - 1 <= static_cast<unsigned long long>(-(low + 1));
    return magnitude <= high;
}

// Splits the inside of "[...]" or "{...}" at the commas outside any inner
// brackets and quotes.  "" is no item.
inline bool split_items(const std::string& inner, std::vector<std::string>& items)
{
    items.clear();
    if (inner.empty()) return true;
    int depth = 0;
    bool quoted = false;
    std::string item;
    for (std::size_t i = 0; i < inner.size(); ++i) {
        const char c = inner[i];
        if (quoted) {
            if (c == '\\' && i + 1 < inner.size())
                item += inner[i++];
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            if (--depth < 0) return false;
        } else if (c == ',' && depth == 0) {
            items.push_back(item);
            item.clear();
            continue;
        }
        item += c;
    }
    items.push_back(item);
    if (depth != 0 || quoted) return false;
    for (const std::string& each : items)
        if (each.empty()) return false;
    return true;
}

// The items of a word in `open` ... `close`.
inline std::string bracketed(Kind kind, const std::string& word, char open, char close,
                             std::vector<std::string>& items)
{
    if (word.size() < 2 || word.front() != open || word.back() != close)
        return refused(kind, word, std::string("expected ") + open + "..." + close);
    if (!split_items(word.substr(1, word.size() - 2), items))
        return refused(kind, word, "an empty item or unbalanced brackets or quotes");
    return "";
}

// "{name=value,...}": the values of exactly these names, in this order.
inline std::string fields(Kind kind, const std::string& word, const std::vector<const char*>& names,
                          std::vector<std::string>& values)
{
    std::vector<std::string> items;
    const std::string why = bracketed(kind, word, '{', '}', items);
    if (!why.empty()) return why;
    if (items.size() != names.size())
        return refused(kind, word,
                       std::to_string(names.size()) + " fields expected, " +
                           std::to_string(items.size()) + " given");
    values.clear();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string prefix = std::string(names[i]) + "=";
        if (items[i].compare(0, prefix.size(), prefix) != 0)
            return refused(kind, word, "field " + std::to_string(i + 1) + " must be " + names[i]);
        values.push_back(items[i].substr(prefix.size()));
    }
    return "";
}

inline std::string record(const std::vector<std::pair<const char*, std::string>>& named)
{
    std::string out = "{";
    for (const auto& field : named) {
        if (out.size() > 1) out += ",";
        out += std::string(field.first) + "=" + field.second;
    }
    return out + "}";
}

// Decodes `word` as a K into `field`, the reason naming the field.
template <Kind K, class T>
std::string field_value(const char* name, const std::string& word, T& field)
{
    const std::string why = Form<K>::decode(word, field);
    return why.empty() ? "" : std::string("field ") + name + ": " + why;
}

// A list of items of one form: "[a,b]".
template <Kind Item, class List>
std::string encode_list(const List& items)
{
    std::string out = "[";
    for (const auto& item : items) {
        if (out.size() > 1) out += ",";
        out += Form<Item>::encode(item);
    }
    return out + "]";
}

template <Kind Item, class T>
std::string decode_list(Kind kind, const std::string& word, std::list<T>& items)
{
    std::vector<std::string> words;
    std::string why = bracketed(kind, word, '[', ']', words);
    if (!why.empty()) return why;
    std::list<T> read;
    for (const std::string& each : words) {
        read.emplace_back();
        why = Form<Item>::decode(each, read.back());
        if (!why.empty()) return refused(kind, word, why);
    }
    items = read;
    return "";
}

// Exactly `count` numbers in "[...]", as words of an array of T.
template <class T, std::size_t N, Kind Number = Kind::number>
std::string decode_words(Kind kind, const std::string& word, T (&into)[N])
{
    std::vector<std::string> words;
    std::string why = bracketed(kind, word, '[', ']', words);
    if (!why.empty()) return why;
    if (words.size() != N)
        return refused(
            kind, word,
            std::to_string(N) + " words expected, " + std::to_string(words.size()) + " given");
    T read[N];
    for (std::size_t i = 0; i < N; ++i) {
        why = Form<Number>::decode(words[i], read[i]);
        if (!why.empty()) return refused(kind, word, "word " + std::to_string(i + 1) + ": " + why);
    }
    for (std::size_t i = 0; i < N; ++i) into[i] = read[i];
    return "";
}

template <class T, std::size_t N>
std::string encode_words(const T (&words)[N])
{
    std::string out = "[";
    for (std::size_t i = 0; i < N; ++i) out += (i ? "," : "") + std::to_string(words[i]);
    return out + "]";
}

// Two unsigned numbers around `separator`, or three: "0:3", "1/1/3".
template <std::size_t N>
std::string decode_parts(Kind kind, const std::string& word, char separator, const char* shape,
                         std::array<unsigned int, N>& parts)
{
    std::size_t start = 0;
    for (std::size_t i = 0; i < N; ++i) {
        const std::size_t end = i + 1 < N ? word.find(separator, start) : word.size();
        if (end == std::string::npos) return refused(kind, word, std::string("expected ") + shape);
        bool negative = false;
        unsigned long long value = 0;
        if (!read_decimal(word.substr(start, end - start), 0,
                          std::numeric_limits<unsigned int>::max(), negative, value))
            return refused(kind, word,
                           std::string("expected ") + shape + " in unsigned decimal numbers");
        parts[i] = static_cast<unsigned int>(value);
        start = end + 1;
    }
    return "";
}

// Fixed-length bytes as hex pairs, `groups` of `group` bytes between `separator`s.
template <std::size_t N>
std::string decode_hex(Kind kind, const std::string& word, std::size_t group, const char* shape,
                       std::array<unsigned char, N>& bytes)
{
    const std::size_t groups = N / group;
    if (word.size() != groups * group * 2 + groups - 1)
        return refused(kind, word, std::string("expected ") + shape);
    std::array<unsigned char, N> read{};
    for (std::size_t g = 0; g < groups; ++g) {
        const std::size_t at = g * (group * 2 + 1);
        if (g && word[at - 1] != ':') return refused(kind, word, std::string("expected ") + shape);
        for (std::size_t b = 0; b < group; ++b) {
            unsigned int value = 0;
            if (!read_hex(word, at + 2 * b, 2, value))
                return refused(kind, word, "group " + std::to_string(g + 1) + " is not hex digits");
            read[g * group + b] = static_cast<unsigned char>(value);
        }
    }
    bytes = read;
    return "";
}

// Byte pointers say nothing of their length: the kind does.  A null one is "null".
template <std::size_t N, class Encode>
std::string pointed(const unsigned char* bytes, Encode&& encode)
{
    if (!bytes) return "null";
    std::array<unsigned char, N> copy{};
    for (std::size_t i = 0; i < N; ++i) copy[i] = bytes[i];
    return encode(copy);
}

template <class T>
struct Limits {
    using Number = typename std::conditional<std::is_enum<T>::value, std::underlying_type<T>,
                                             std::common_type<T>>::type::type;
};

}  // namespace codec_detail

template <>
struct Form<Kind::number> {
    template <class T, class = std::enable_if_t<(std::is_integral<T>::value &&
                                                 !std::is_same<T, bool>::value) ||
                                                std::is_enum<T>::value>>
    static std::string encode(T value)
    {
        using Number = typename codec_detail::Limits<T>::Number;
        if (std::is_signed<Number>::value) return std::to_string(static_cast<long long>(value));
        return std::to_string(static_cast<unsigned long long>(value));
    }
    template <class T>
    static std::string decode(const std::string& word, T& value)
    {
        using Number = typename codec_detail::Limits<T>::Number;
        bool negative = false;
        unsigned long long magnitude = 0;
        if (!codec_detail::read_decimal(
                word, static_cast<long long>(std::numeric_limits<Number>::min()),
                static_cast<unsigned long long>(std::numeric_limits<Number>::max()), negative,
                magnitude))
            return codec_detail::refused(Kind::number, word,
                                         "expected a decimal integer from " +
                                             encode(std::numeric_limits<Number>::min()) + " to " +
                                             encode(std::numeric_limits<Number>::max()));
        value = static_cast<T>(negative
                                   ? static_cast<Number>(-static_cast<long long>(magnitude - 1) - 1)
                                   : static_cast<Number>(magnitude));
        return "";
    }
};

template <>
struct Form<Kind::flag> {
    static std::string encode(bool value) { return value ? "true" : "false"; }
    static std::string decode(const std::string& word, bool& value)
    {
        if (word != "true" && word != "false")
            return codec_detail::refused(Kind::flag, word, "expected true or false");
        value = word == "true";
        return "";
    }
};

template <>
struct Form<Kind::text> {
    static std::string encode(const std::string& value)
    {
        std::string out = "\"";
        for (const char c : value) {
            const unsigned char byte = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\')
                out += std::string("\\") + c;
            else if (c == '\n')
                out += "\\n";
            else if (c == '\t')
                out += "\\t";
            else if (c == '\r')
                out += "\\r";
            else if (byte < 0x20 || byte == 0x7f)
                out += "\\x" + codec_detail::hex_bytes(&byte, 1, "");
            else
                out += c;
        }
        return out + "\"";
    }
    static std::string decode(const std::string& word, std::string& value)
    {
        using codec_detail::refused;
        if (word.size() < 2 || word.front() != '"' || word.back() != '"')
            return refused(Kind::text, word, "expected a string in double quotes");
        std::string read;
        for (std::size_t i = 1; i + 1 < word.size(); ++i) {
            const char c = word[i];
            if (c == '"') return refused(Kind::text, word, "a '\"' inside must be written \\\"");
            if (c != '\\') {
                read += c;
                continue;
            }
            if (i + 2 >= word.size()) return refused(Kind::text, word, "a '\\' ends it");
            const char escaped = word[++i];
            unsigned int byte = 0;
            if (escaped == '"' || escaped == '\\')
                read += escaped;
            else if (escaped == 'n')
                read += '\n';
            else if (escaped == 't')
                read += '\t';
            else if (escaped == 'r')
                read += '\r';
            else if (escaped == 'x' && i + 3 < word.size() &&
                     codec_detail::read_hex(word, i + 1, 2, byte))
                read += static_cast<char>(byte), i += 2;
            else
                return refused(Kind::text, word, std::string("unknown escape \\") + escaped);
        }
        value = read;
        return "";
    }
};

template <>
struct Form<Kind::port> {
    static std::string encode(const Mp& port) { return vorn_text::text(port); }
    static std::string decode(const std::string& word, Mp& port)
    {
        std::array<unsigned int, 2> parts{};
        const std::string why =
            codec_detail::decode_parts(Kind::port, word, ':', "module:port", parts);
        if (why.empty()) port = Mp(parts[0], parts[1]);
        return why;
    }
};

template <>
struct Form<Kind::usp> {
    static std::string encode(const Usp& usp) { return vorn_text::text(usp); }
    static std::string decode(const std::string& word, Usp& usp)
    {
        std::array<unsigned int, 3> parts{};
        const std::string why =
            codec_detail::decode_parts(Kind::usp, word, '/', "unit/slot/port", parts);
        if (why.empty()) usp = Usp(parts[0], parts[1], parts[2]);
        return why;
    }
};

template <>
struct Form<Kind::port_list> {
    static std::string encode(const std::list<Mp>& ports)
    {
        return codec_detail::encode_list<Kind::port>(ports);
    }
    static std::string decode(const std::string& word, std::list<Mp>& ports)
    {
        return codec_detail::decode_list<Kind::port>(Kind::port_list, word, ports);
    }
};

template <>
struct Form<Kind::usp_list> {
    static std::string encode(const std::list<Usp>& usps)
    {
        return codec_detail::encode_list<Kind::usp>(usps);
    }
    static std::string decode(const std::string& word, std::list<Usp>& usps)
    {
        return codec_detail::decode_list<Kind::usp>(Kind::usp_list, word, usps);
    }
};

template <>
struct Form<Kind::mac> {
    static std::string encode(const Mac& mac)
    {
        return codec_detail::hex_bytes(mac.data(), mac.size(), ":");
    }
    static std::string encode(const unsigned char* mac)
    {
        return codec_detail::pointed<6>(mac, [](const Mac& copy) { return encode(copy); });
    }
    static std::string decode(const std::string& word, Mac& mac)
    {
        return codec_detail::decode_hex(Kind::mac, word, 1, "six hex bytes separated by ':'", mac);
    }
};

template <>
struct Form<Kind::ipv4> {
    static std::string encode(unsigned int address)
    {
        std::string out;
        for (int shift = 24; shift >= 0; shift -= 8)
            out += std::to_string((address >> shift) & 255) + (shift ? "." : "");
        return out;
    }
    static std::string decode(const std::string& word, unsigned int& address)
    {
        std::array<unsigned int, 4> parts{};
        std::string why = codec_detail::decode_parts(Kind::ipv4, word, '.', "a.b.c.d", parts);
        unsigned int read = 0;
        for (unsigned int part : parts) {
            if (why.empty() && part > 255)
                why = codec_detail::refused(Kind::ipv4, word, "a part above 255");
            read = read << 8 | part;
        }
        if (why.empty()) address = read;
        return why;
    }
};

// IPv6 addresses and masks: eight groups of four hex digits, nothing shortened.
template <Kind K>
struct SixteenBytes {
    static std::string encode(const Ipv6& bytes)
    {
        std::string out;
        for (std::size_t i = 0; i < bytes.size(); i += 2)
            out += (i ? ":" : "") + codec_detail::hex_bytes(&bytes[i], 2, "");
        return out;
    }
    static std::string encode(const unsigned char* bytes)
    {
        return codec_detail::pointed<16>(bytes, [](const Ipv6& copy) { return encode(copy); });
    }
    static std::string decode(const std::string& word, Ipv6& bytes)
    {
        return codec_detail::decode_hex(K, word, 2,
                                        "eight groups of four hex digits separated by ':'", bytes);
    }
};
template <>
struct Form<Kind::ipv6> : SixteenBytes<Kind::ipv6> {
};
template <>
struct Form<Kind::ipv6_mask> : SixteenBytes<Kind::ipv6_mask> {
};

template <>
struct Form<Kind::vlan_bitmap> {
    static bool has(const VlanBitmap& bitmap, unsigned int vlan)
    {
        return (bitmap[vlan / 8] >> (vlan % 8)) & 1;
    }

    static std::string encode(const VlanBitmap& bitmap)
    {
        std::string out = "[";
        for (unsigned int vlan = 0; vlan < 4096; ++vlan) {
            if (!has(bitmap, vlan)) continue;
            unsigned int last = vlan;
            while (last + 1 < 4096 && has(bitmap, last + 1)) ++last;
            if (out.size() > 1) out += ",";
            out += std::to_string(vlan) + (last > vlan ? "-" + std::to_string(last) : "");
            vlan = last;
        }
        return out + "]";
    }
    static std::string encode(const unsigned char* bitmap)
    {
        return codec_detail::pointed<512>(bitmap,
                                          [](const VlanBitmap& copy) { return encode(copy); });
    }
    static std::string decode(const std::string& word, VlanBitmap& bitmap)
    {
        using codec_detail::refused;
        std::vector<std::string> items;
        const std::string why = codec_detail::bracketed(Kind::vlan_bitmap, word, '[', ']', items);
        if (!why.empty()) return why;
        VlanBitmap read{};
        for (const std::string& item : items) {
            const std::size_t dash = item.find('-');
            unsigned int first = 0, last = 0;
            if (!Form<Kind::number>::decode(item.substr(0, dash), first).empty() ||
                !Form<Kind::number>::decode(
                     dash == std::string::npos ? item.substr(0, dash) : item.substr(dash + 1), last)
                     .empty())
                return refused(Kind::vlan_bitmap, word,
                               "\"" + item + "\" is not a VLAN or a range a-b");
            if (first > last || last > 4095)
                return refused(Kind::vlan_bitmap, word,
                               "\"" + item + "\" is not within 0-4095 in order");
            for (unsigned int vlan = first; vlan <= last; ++vlan)
                read[vlan / 8] = static_cast<unsigned char>(read[vlan / 8] | 1u << (vlan % 8));
        }
        bitmap = read;
        return "";
    }
};

template <>
struct Form<Kind::packet> {
    static std::string encode(const Packet& packet)
    {
        return codec_detail::record(
            {{"type", std::to_string(packet.type())},
             {"length", std::to_string(packet.length())},
             {"data", codec_detail::hex_bytes(packet.data().data(), packet.data().size(), "")}});
    }
    static std::string decode(const std::string& word, Packet& packet)
    {
        using codec_detail::refused;
        std::vector<std::string> values;
        std::string why =
            codec_detail::fields(Kind::packet, word, {"type", "length", "data"}, values);
        if (!why.empty()) return why;
        unsigned int type = 0, length = 0;
        why = codec_detail::field_value<Kind::number>("type", values[0], type);
        if (why.empty()) why = codec_detail::field_value<Kind::number>("length", values[1], length);
        if (!why.empty()) return refused(Kind::packet, word, why);
        const std::string& hex = values[2];
        if (hex.size() % 2) return refused(Kind::packet, word, "data is not whole hex bytes");
        std::vector<unsigned char> data(hex.size() / 2);
        for (std::size_t i = 0; i < data.size(); ++i) {
            unsigned int byte = 0;
            if (!codec_detail::read_hex(hex, 2 * i, 2, byte))
                return refused(Kind::packet, word,
                               "data byte " + std::to_string(i + 1) + " is not hex");
            data[i] = static_cast<unsigned char>(byte);
        }
        if (data.size() != length)
            return refused(Kind::packet, word,
                           "length " + std::to_string(length) + " but " +
                               std::to_string(data.size()) + " data bytes");
        packet.set_type(type);
        packet.set_data(data);
        return "";
    }
};

// A flow: the in-port by its own kind, then every match field.
template <Kind K, Kind InPort, class Flow>
struct FlowForm {
    static Mac mac(const unsigned char (&bytes)[6])
    {
        Mac out{};
        for (std::size_t i = 0; i < out.size(); ++i) out[i] = bytes[i];
        return out;
    }
    static std::vector<const char*> names()
    {
        return {"in_port",  "dst_mac", "src_mac",     "vlan_id",     "vlan_pcp",
                "eth_type", "src_ip",  "src_ip_mask", "dst_ip",      "dst_ip_mask",
                "ip_proto", "ip_tos",  "l4_src_port", "l4_dst_port", "match_flags"};
    }
    static std::string encode(const Flow& flow)
    {
        const of_flow_match_s& m = flow.match;
        using N = Form<Kind::number>;
        using A = Form<Kind::ipv4>;
        const std::vector<std::string> values = {Form<InPort>::encode(flow.in_port),
                                                 Form<Kind::mac>::encode(mac(m.dst_mac)),
                                                 Form<Kind::mac>::encode(mac(m.src_mac)),
                                                 N::encode(m.vlan_id),
                                                 N::encode(m.vlan_pcp),
                                                 N::encode(m.eth_type),
                                                 A::encode(m.src_ip),
                                                 A::encode(m.src_ip_mask),
                                                 A::encode(m.dst_ip),
                                                 A::encode(m.dst_ip_mask),
                                                 N::encode(m.ip_proto),
                                                 N::encode(m.ip_tos),
                                                 N::encode(m.l4_src_port),
                                                 N::encode(m.l4_dst_port),
                                                 N::encode(m.match_flags)};
        std::vector<std::pair<const char*, std::string>> named;
        const std::vector<const char*> fields = names();
        for (std::size_t i = 0; i < fields.size(); ++i) named.emplace_back(fields[i], values[i]);
        return codec_detail::record(named);
    }
    static std::string decode(const std::string& word, Flow& flow)
    {
        using codec_detail::field_value;
        std::vector<std::string> v;
        std::string why = codec_detail::fields(K, word, names(), v);
        if (!why.empty()) return why;
        Flow read = flow;
        of_flow_match_s& m = read.match;
        Mac dst{}, src{};
        const std::string reasons[] = {
            field_value<InPort>("in_port", v[0], read.in_port),
            field_value<Kind::mac>("dst_mac", v[1], dst),
            field_value<Kind::mac>("src_mac", v[2], src),
            field_value<Kind::number>("vlan_id", v[3], m.vlan_id),
            field_value<Kind::number>("vlan_pcp", v[4], m.vlan_pcp),
            field_value<Kind::number>("eth_type", v[5], m.eth_type),
            field_value<Kind::ipv4>("src_ip", v[6], m.src_ip),
            field_value<Kind::ipv4>("src_ip_mask", v[7], m.src_ip_mask),
            field_value<Kind::ipv4>("dst_ip", v[8], m.dst_ip),
            field_value<Kind::ipv4>("dst_ip_mask", v[9], m.dst_ip_mask),
            field_value<Kind::number>("ip_proto", v[10], m.ip_proto),
            field_value<Kind::number>("ip_tos", v[11], m.ip_tos),
            field_value<Kind::number>("l4_src_port", v[12], m.l4_src_port),
            field_value<Kind::number>("l4_dst_port", v[13], m.l4_dst_port),
            field_value<Kind::number>("match_flags", v[14], m.match_flags)};
        for (const std::string& reason : reasons)
            if (!reason.empty()) return codec_detail::refused(K, word, reason);
        for (std::size_t i = 0; i < dst.size(); ++i) m.dst_mac[i] = dst[i], m.src_mac[i] = src[i];
        flow = read;
        return "";
    }
};
template <>
struct Form<Kind::flow> : FlowForm<Kind::flow, Kind::port, of_flow_mp_s> {
};
template <>
struct Form<Kind::flow_usp> : FlowForm<Kind::flow_usp, Kind::usp, of_flow_s> {
};

template <>
struct Form<Kind::flow_udf> {
    static std::string encode(const of_flow_qualify_udf_s& udf)
    {
        return codec_detail::encode_words(udf.word);
    }
    static std::string decode(const std::string& word, of_flow_qualify_udf_s& udf)
    {
        return codec_detail::decode_words(Kind::flow_udf, word, udf.word);
    }
};

template <>
struct Form<Kind::action_param> {
    static std::string encode(const of_action_param_s& param)
    {
        return codec_detail::encode_words(param.word);
    }
    static std::string decode(const std::string& word, of_action_param_s& param)
    {
        return codec_detail::decode_words(Kind::action_param, word, param.word);
    }
};

// Counter records as "type=value"; in a list or an array of `count`.
template <>
struct Form<Kind::counters> {
    template <class Counter, class = decltype(std::declval<Counter>().value)>
    static std::string one(const Counter& counter)
    {
        return std::to_string(static_cast<long long>(counter.type)) + "=" +
               std::to_string(counter.value);
    }
    template <class Counter, class = decltype(std::declval<Counter>().value)>
    static std::string encode(const std::list<Counter>& counters)
    {
        return encode(counters.begin(), counters.end());
    }
    template <class Counter, class = decltype(std::declval<Counter>().value)>
    static std::string encode(const Counter* counters, std::size_t count)
    {
        return counters ? encode(counters, counters + count) : "null";
    }
    template <class Iterator>
    static std::string encode(Iterator first, Iterator last)
    {
        std::string out = "[";
        for (; first != last; ++first) out += (out.size() > 1 ? "," : "") + one(*first);
        return out + "]";
    }
    template <class Counter, class = decltype(std::declval<Counter>().value)>
    static std::string decode(const std::string& word, std::list<Counter>& counters)
    {
        using codec_detail::refused;
        std::vector<std::string> items;
        const std::string why = codec_detail::bracketed(Kind::counters, word, '[', ']', items);
        if (!why.empty()) return why;
        std::list<Counter> read;
        for (const std::string& item : items) {
            const std::size_t equals = item.find('=');
            Counter counter{};
            if (equals == std::string::npos ||
                !Form<Kind::number>::decode(item.substr(0, equals), counter.type).empty() ||
                !Form<Kind::number>::decode(item.substr(equals + 1), counter.value).empty())
                return refused(Kind::counters, word,
                               "\"" + item + "\" is not type=value in decimal");
            read.push_back(counter);
        }
        counters = read;
        return "";
    }
};

// Addresses handed over unread: "null" or the address in hex.
template <Kind K>
struct AddressForm {
    template <class Pointer, class = std::enable_if_t<std::is_pointer<Pointer>::value>>
    static std::string encode(Pointer pointer)
    {
        if (!pointer) return "null";
        std::uintptr_t address = reinterpret_cast<std::uintptr_t>(pointer);
        std::string digits;
        for (; address; address >>= 4)
            digits.insert(digits.begin(), codec_detail::hex_digits[address & 15]);
        return "0x" + digits;
    }
    template <class Pointer>
    static std::string decode(const std::string& word, Pointer& pointer)
    {
        if (word == "null") return pointer = nullptr, "";
        std::uintptr_t address = 0;
        const std::size_t digits = word.size() - 2;
        if (word.size() < 3 || word.compare(0, 2, "0x") != 0 || digits > 2 * sizeof address)
            return codec_detail::refused(K, word, "expected null or 0x and hex digits");
        for (std::size_t i = 2; i < word.size(); ++i) {
            const int digit = codec_detail::hex_value(word[i]);
            if (digit < 0)
                return codec_detail::refused(K, word, "expected null or 0x and hex digits");
            address = address << 4 | static_cast<std::uintptr_t>(digit);
        }
        pointer = reinterpret_cast<Pointer>(address);
        return "";
    }
};
template <>
struct Form<Kind::callback> : AddressForm<Kind::callback> {
};
template <>
struct Form<Kind::user_data> : AddressForm<Kind::user_data> {
};

// The word of a value of kind K, and back.  decode returns "" or the reason,
// and changes `value` only when it returns "".
template <Kind K, class T>
std::string encode(const T& value)
{
    return Form<K>::encode(value);
}

template <Kind K, class T>
std::string decode(const std::string& word, T& value)
{
    return Form<K>::decode(word, value);
}

namespace codec_detail {

template <Kind K, class T, class = void>
struct Encodes : std::false_type {
};
template <Kind K, class T>
struct Encodes<K, T, decltype(void(Form<K>::encode(std::declval<const T&>())))> : std::true_type {
};

template <Kind K, class T>
std::string encode_if(const T& value)
{
    if constexpr (Encodes<K, T>::value)
        return Form<K>::encode(value);
    else
        return vorn_text::text(value);  // a kind the type cannot hold: the slot table's test refuses it
}

}  // namespace codec_detail

// The word of a value whose kind is known at run time (a slot table entry).
template <class T>
std::string encode(Kind kind, const T& value)
{
    using namespace codec_detail;
    switch (kind) {
        case Kind::number:
            return encode_if<Kind::number>(value);
        case Kind::flag:
            return encode_if<Kind::flag>(value);
        case Kind::text:
            return encode_if<Kind::text>(value);
        case Kind::port:
            return encode_if<Kind::port>(value);
        case Kind::usp:
            return encode_if<Kind::usp>(value);
        case Kind::port_list:
            return encode_if<Kind::port_list>(value);
        case Kind::usp_list:
            return encode_if<Kind::usp_list>(value);
        case Kind::mac:
            return encode_if<Kind::mac>(value);
        case Kind::ipv4:
            return encode_if<Kind::ipv4>(value);
        case Kind::ipv6:
            return encode_if<Kind::ipv6>(value);
        case Kind::ipv6_mask:
            return encode_if<Kind::ipv6_mask>(value);
        case Kind::vlan_bitmap:
            return encode_if<Kind::vlan_bitmap>(value);
        case Kind::packet:
            return encode_if<Kind::packet>(value);
        case Kind::flow:
            return encode_if<Kind::flow>(value);
        case Kind::flow_usp:
            return encode_if<Kind::flow_usp>(value);
        case Kind::flow_udf:
            return encode_if<Kind::flow_udf>(value);
        case Kind::action_param:
            return encode_if<Kind::action_param>(value);
        case Kind::counters:
            return encode_if<Kind::counters>(value);
        case Kind::callback:
            return encode_if<Kind::callback>(value);
        case Kind::user_data:
            return encode_if<Kind::user_data>(value);
    }
    return vorn_text::text(value);
}

}  // namespace vorn_meta

#endif
