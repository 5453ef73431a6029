// vorn-replay's replayer and printer (rec/replay.hh).
//
// A recorded callback comes in two shapes.  Without the during_call flag it
// came from outside (a cable, a frame): the replayer causes it again on the
// reference host and compares what its observers heard.  With the flag, the
// library call that follows it in the file raised it (the event is written
// when the callback runs, the call when it returns): it is kept and
// compared with what that call's replay raised.
#include "replay.hh"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <set>
#include <utility>
#include <vector>

#include "format.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace vorn_rec {
namespace {

using vorn_meta::Kind;

const char* event_name(EventKind kind)
{
    switch (kind) {
    case EventKind::link_change: return "link_change";
    case EventKind::mac_update: return "mac_update";
    case EventKind::rx_packet: return "rx_packet";
    }
    return "unknown";
}

std::string usp_text(const EventValues& event)
{
    return std::to_string(event.unit) + "/" + std::to_string(event.slot) + "/" + std::to_string(event.port);
}

std::string hex_text(const unsigned char* data, std::size_t size)
{
    std::string text;
    char byte[4];
    for (std::size_t i = 0; i < size; ++i) {
        std::snprintf(byte, sizeof byte, i ? ":%02x" : "%02x", data[i]);
        text += byte;
    }
    return text;
}

// An event's values by name, in the order the file has them.
std::vector<FieldText> event_fields(const EventValues& event)
{
    std::vector<FieldText> fields{{"port", usp_text(event)}};
    switch (event.kind) {
    case EventKind::link_change:
        fields.push_back({"state", std::to_string(event.state)});
        fields.push_back({"speed", std::to_string(event.speed)});
        fields.push_back({"duplex", std::to_string(event.duplex)});
        break;
    case EventKind::mac_update:
        fields.push_back({"mac", hex_text(event.mac, sizeof event.mac)});
        fields.push_back({"flags", std::to_string(event.flags)});
        fields.push_back({"vlan", std::to_string(event.vlan)});
        fields.push_back({"reason", std::to_string(event.reason)});
        break;
    case EventKind::rx_packet:
        fields.push_back({"vlan", std::to_string(event.vlan)});
        fields.push_back({"length", std::to_string(event.length)});
        fields.push_back({"data", event.has_data ? hex_text(event.data.data(), event.data.size()) : "left out"});
        break;
    }
    return fields;
}

std::string joined(const std::vector<FieldText>& fields, const char* separator)
{
    std::string text;
    for (const FieldText& field : fields) {
        if (!text.empty()) text += separator;
        text += field.name + "=" + field.text;
    }
    return text;
}

// --- The replay's observers: the callbacks registered in the recorded
// process's place.  Whatever they hear is collected here.

// One callback as recorded or as the replay raised it.
struct Heard {
    EventValues values;
    bool c_callback = false;
};

std::vector<Heard> heard;

void set_port(EventValues& event, const Usp& port)
{
    event.unit = port.unit();
    event.slot = port.slot();
    event.port = port.port();
}

void set_port(EventValues& event, const usp_s& port)
{
    event.unit = port.unit;
    event.slot = port.slot;
    event.port = port.port;
}

template <bool C>
void hear(EventValues&& values)
{
    heard.push_back({std::move(values), C});
}

template <bool C, class Packet>
void on_rx_packet(Packet* packet, void*)
{
    EventValues event;
    event.kind = EventKind::rx_packet;
    set_port(event, packet->port);
    event.vlan = packet->vlan;
    event.length = packet->length;
    event.has_data = packet->data != nullptr;
    if (event.has_data) event.data.assign(packet->data, packet->data + packet->length);
    hear<C>(std::move(event));
}

template <bool C, class Status, class Port>
void on_link_change(Status* status, Port* port)
{
    EventValues event;
    event.kind = EventKind::link_change;
    set_port(event, *port);
    event.state = static_cast<unsigned int>(status->state);
    event.speed = static_cast<unsigned int>(status->speed);
    event.duplex = static_cast<unsigned int>(status->duplex);
    hear<C>(std::move(event));
}

template <bool C, class Address>
void on_mac_update(Address* address, int reason, void*)
{
    EventValues event;
    event.kind = EventKind::mac_update;
    std::copy(address->mac, address->mac + 6, event.mac);
    event.flags = address->flags;
    event.vlan = address->vlan;
    set_port(event, address->port);
    event.reason = reason;
    hear<C>(std::move(event));
}

template <class F>
void* address_of(F* function)
{
    return reinterpret_cast<void*>(function);
}

const CallbackReplacement& observers()
{
    static const CallbackReplacement replacement = {
        address_of(&on_rx_packet<false, RxPacket>),
        address_of(&on_rx_packet<true, ctype_rx_packet_s>),
        address_of(&on_link_change<false, LinkStatus, Usp>),
        address_of(&on_link_change<true, ctype_link_status_s, usp_s>),
        address_of(&on_mac_update<false, L2Addr>),
        address_of(&on_mac_update<true, ctype_l2_addr_s>),
    };
    return replacement;
}

// The first of `from` of the same kind and binding as `wanted`, taken out.
bool take(std::vector<Heard>& from, const Heard& wanted, Heard& taken)
{
    for (auto it = from.begin(); it != from.end(); ++it) {
        if (it->values.kind == wanted.values.kind && it->c_callback == wanted.c_callback) {
            taken = std::move(*it);
            from.erase(it);
            return true;
        }
    }
    return false;
}

std::string result_text(const EntryShape& entry, std::int32_t result)
{
    if (entry.c_binding) return std::to_string(result);
    return result ? "true" : "false";
}

// Values the replay cannot reproduce: addresses, and the packet bytes a
// recording without packets left out.
bool compared(Kind kind, std::uint32_t options)
{
    if (kind == Kind::callback || kind == Kind::user_data) return false;
    return !(kind == Kind::packet && (options & Options::no_packets));
}

// A note record's time and text; false when it is cut short.
bool note_text(const Record& record, std::uint64_t& time, std::string& text)
{
    Cursor body = record.body;
    time = body.u64();
    text.assign(body.u16(), '\0');
    return body.bytes(&text[0], text.size());
}

struct Records {
    Reader reader;
    std::vector<Record> list;
};

bool read_all(const std::string& path, Records& records, std::ostream& err)
{
    if (!records.reader.open_file(path)) {
        err << "vorn-replay: " << path << ": " << records.reader.error() << "\n";
        return false;
    }
    Record record;
    while (records.reader.next(record)) {
        if (record.type != RecordType::names) records.list.push_back(record);
    }
    return true;
}

class Replayer {
public:
    Replayer(const Records& records, const ReplaySettings& settings, std::ostream& out)
        : records_(records), settings_(settings), out_(out), options_(records.reader.header().options)
    {
        for (const std::string& name : records.reader.names()) {
            const EntryShape* shape = find_entry(name);
            entries_.push_back(shape ? static_cast<long>(shape - entry_shapes().data()) : -1);
        }
    }

    void run();
    std::size_t differences() const { return differences_; }
    void summary() const;

private:
    void call(const Record& record);
    void event(std::size_t position);
    void cause(const Record& record, const EventValues& event);
    void cause_next_frame(std::size_t position);
    void compare_outputs(const Record& record, const EntryShape& entry, const std::vector<FieldText>& recorded,
                         const ByteSink& replayed);
    void compare_event(std::size_t index, const Heard& recorded, const Heard& replayed);
    void compare_in_call(std::size_t index);
    void left_over(std::size_t index, std::vector<Heard>& replayed);
    void advance_to(std::uint64_t time);
    void difference(const std::string& line);
    // A recording without packets has no received frames: the replay
    // raises none, nor the MAC updates of what they taught the card.
    bool ignored(const Heard& event) const
    {
        return event.values.kind == EventKind::rx_packet && (options_ & Options::no_packets);
    }
    bool unreproducible(const Heard& recorded) const
    {
        return recorded.values.kind == EventKind::mac_update && (options_ & Options::no_packets);
    }
    void missing(std::size_t index, const Heard& recorded);

    const Records& records_;
    const ReplaySettings& settings_;
    std::ostream& out_;
    std::uint32_t options_;
    std::vector<long> entries_;  // by the file's entry number: the index in entry_shapes(), -1 unknown
    std::vector<Heard> pending_;  // raised by causing outside events, not yet matched
    std::vector<std::pair<std::size_t, Heard>> expected_in_call_;  // recorded during the next call
    std::set<std::size_t> caused_early_;  // frames received ahead of their MAC updates
    std::uint64_t seconds_ = 0;
    std::size_t differences_ = 0;
    std::size_t calls_ = 0, events_ = 0, replayed_ = 0, last_ = 0;
    bool stopped_first_ = false;
};

void Replayer::difference(const std::string& line)
{
    ++differences_;
    if (!settings_.quiet) out_ << line << "\n";
    if (settings_.stop_at_first) stopped_first_ = true;
}

void Replayer::advance_to(std::uint64_t time)
{
    const std::uint64_t seconds = time / 1000000000u;
    if (seconds <= seconds_) return;
    vorn_sim::advance_clock(static_cast<unsigned int>(seconds - seconds_));
    seconds_ = seconds;
}

void Replayer::run()
{
    vorn_sim::reset();
    vorn_sim::configure(vorn_sim::Config());
    heard.clear();
    for (std::size_t position = 0; position < records_.list.size() && !stopped_first_; ++position) {
        const Record& record = records_.list[position];
        if (settings_.has_until && record.index > settings_.until) break;
        ++replayed_;
        last_ = record.index;
        if (record.type == RecordType::call) {
            ++calls_;
            call(record);
        } else if (record.type == RecordType::event) {
            ++events_;
            event(position);
        } else if (record.type == RecordType::note && !settings_.quiet) {
            std::uint64_t time = 0;
            std::string text;
            if (note_text(record, time, text)) out_ << "note: record " << record.index << ": " << text << "\n";
        }
    }
    if (!stopped_first_) left_over(last_, pending_);
}

void Replayer::call(const Record& record)
{
    left_over(record.index, pending_);
    const std::string prefix = "record " + std::to_string(record.index) + " ";
    if (record.entry >= entries_.size()) {
        expected_in_call_.clear();
        return difference(prefix + "call: entry " + std::to_string(record.entry) + " is not in the names record");
    }
    const std::string& name = records_.reader.names()[record.entry];
    if (entries_[record.entry] < 0) {
        expected_in_call_.clear();
        return difference(prefix + name + ": not an entry point of this library");
    }
    const std::size_t index = static_cast<std::size_t>(entries_[record.entry]);
    const EntryShape& entry = entry_shapes()[index];
    std::vector<FieldText> inputs, outputs;
    std::int32_t recorded = 0, replayed = 0;
    std::uint64_t time = 0;
    std::uint32_t duration = 0;
    std::string why;
    if (!read_call_fields(entry, record, inputs, outputs, recorded, time, duration, why)) {
        expected_in_call_.clear();
        return difference(prefix + name + ": unreadable: " + why);
    }
    advance_to(time);
    Cursor in = record.body;
    in.u64();
    in.u32();
    in.u32();
    ByteSink sink;
    heard.clear();
    if (!replay_call(index, in, observers(), replayed, sink, why)) {
        expected_in_call_.clear();
        return difference(prefix + name + ": not replayed: " + why);
    }
    if (replayed != recorded) {
        difference(prefix + name + ": result: recorded " + result_text(entry, recorded) + ", replayed " +
                   result_text(entry, replayed));
    } else if (record.flags & RecordFlag::outputs) {
        compare_outputs(record, entry, outputs, sink);
    }
    compare_in_call(record.index);
}

void Replayer::compare_outputs(const Record& record, const EntryShape& entry, const std::vector<FieldText>& recorded,
                               const ByteSink& replayed)
{
    Cursor in(replayed.bytes().data(), replayed.bytes().size(), false);
    std::size_t field = 0;
    for (const ParamShape& param : entry.params) {
        if (!vorn_meta::written(param.dir) || field >= recorded.size()) continue;
        const std::string text = read_value_text(in, param.kind);
        const FieldText& was = recorded[field++];
        if (compared(param.kind, options_) && was.text != text) {
            difference("record " + std::to_string(record.index) + " " + entry.name + ": " + was.name +
                       ": recorded " + was.text + ", replayed " + text);
        }
    }
}

// The callbacks the call just replayed raised, against those recorded
// before it with the during_call flag.
void Replayer::compare_in_call(std::size_t index)
{
    std::vector<Heard> raised = std::move(heard);
    heard.clear();
    for (auto& expected : expected_in_call_) {
        Heard replayed;
        if (take(raised, expected.second, replayed)) {
            compare_event(expected.first, expected.second, replayed);
        } else {
            missing(expected.first, expected.second);
        }
    }
    expected_in_call_.clear();
    left_over(index, raised);
}

void Replayer::missing(std::size_t index, const Heard& recorded)
{
    if (unreproducible(recorded)) return;
    difference("record " + std::to_string(index) + " event " + event_name(recorded.values.kind) + ": recorded " +
               joined(event_fields(recorded.values), " ") + ", replayed none");
}

void Replayer::left_over(std::size_t index, std::vector<Heard>& replayed)
{
    for (const Heard& extra : replayed) {
        if (ignored(extra)) continue;
        difference("record " + std::to_string(index) + " event " + event_name(extra.values.kind) +
                   ": recorded none, replayed " + joined(event_fields(extra.values), " "));
    }
    replayed.clear();
}

void Replayer::compare_event(std::size_t index, const Heard& recorded, const Heard& replayed)
{
    const std::vector<FieldText> was = event_fields(recorded.values);
    const std::vector<FieldText> now = event_fields(replayed.values);
    for (std::size_t i = 0; i < was.size() && i < now.size(); ++i) {
        if (was[i].text == now[i].text) continue;
        if (was[i].name == "data" && !recorded.values.has_data) continue;
        difference("record " + std::to_string(index) + " event " + event_name(recorded.values.kind) + ": " +
                   was[i].name + ": recorded " + was[i].text + ", replayed " + now[i].text);
    }
}

void Replayer::event(std::size_t position)
{
    const Record& record = records_.list[position];
    Heard recorded;
    std::string why;
    if (!read_event(record, recorded.values, why)) {
        return difference("record " + std::to_string(record.index) + " event: unreadable: " + why);
    }
    recorded.c_callback = record.flags & RecordFlag::c_callback;
    advance_to(recorded.values.time);
    if (record.flags & RecordFlag::during_call) {
        expected_in_call_.emplace_back(record.index, std::move(recorded));
        return;
    }
    Heard replayed;
    if (!take(pending_, recorded, replayed)) {
        if (recorded.values.kind == EventKind::mac_update) {
            cause_next_frame(position);
        } else if (!caused_early_.count(position)) {
            cause(record, recorded.values);
        }
        if (!take(pending_, recorded, replayed)) return missing(record.index, recorded);
    }
    compare_event(record.index, recorded, replayed);
}

// A link change is a cable pulled or plugged; a received frame enters the
// port past the pipeline.  A MAC update has no cause of its own.
void Replayer::cause(const Record& record, const EventValues& event)
{
    const Usp port(event.unit, event.slot, event.port);
    bool done = true;
    if (event.kind == EventKind::link_change) {
        done = vorn_sim::set_cable(port, event.state == PHY_STATE_UP);
    } else if (event.kind == EventKind::rx_packet && event.has_data) {
        done = vorn_sim::receive_frame(port, event.vlan, event.data);
    }
    if (!done) {
        difference("record " + std::to_string(record.index) + " event " + event_name(event.kind) +
                   ": the reference host refused it: " + vorn_sim::last_refusal().reason);
    }
    pending_.insert(pending_.end(), heard.begin(), heard.end());
    heard.clear();
}

// A received frame raises the MAC update of its source before the rx-packet
// callback: the recording has the update first, so the frame is received
// when its update is met.
void Replayer::cause_next_frame(std::size_t position)
{
    for (std::size_t next = position + 1; next < records_.list.size(); ++next) {
        const Record& record = records_.list[next];
        if (record.type != RecordType::event || (record.flags & RecordFlag::during_call)) return;
        if (record.entry != static_cast<std::uint16_t>(EventKind::rx_packet) || caused_early_.count(next)) continue;
        EventValues frame;
        std::string why;
        if (!read_event(record, frame, why)) return;
        caused_early_.insert(next);
        return cause(record, frame);
    }
}

void Replayer::summary() const
{
    out_ << "replayed " << replayed_ << " records (" << calls_ << " calls, " << events_ << " events): ";
    if (differences_ == 0) {
        out_ << "no differences\n";
    } else {
        out_ << differences_ << (differences_ == 1 ? " difference\n" : " differences\n");
    }
    if (stopped_first_) out_ << "stopped at the first difference, in record " << last_ << "\n";
    const std::string& stop = records_.reader.stop_reason();
    if (!stop.empty()) out_ << "file " << stop << ": replayed up to record " << last_ << "\n";
}

// --- Printing ---------------------------------------------------------------

std::string seconds_text(std::uint64_t ns)
{
    char text[32];
    std::snprintf(text, sizeof text, "+%" PRIu64 ".%06" PRIu64, ns / 1000000000u, ns % 1000000000u / 1000u);
    return text;
}

std::string options_text(std::uint32_t options)
{
    std::string text;
    if (options & Options::no_getters) text += "no getters";
    if (options & Options::no_packets) text += text.empty() ? "no packets" : ", no packets";
    return text.empty() ? "everything" : text;
}

std::string start_text(std::uint64_t ns)
{
    const std::time_t seconds = static_cast<std::time_t>(ns / 1000000000u);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
    return text;
}

void print_header(const Reader& reader, std::ostream& out)
{
    const Header& header = reader.header();
    out << "recording: format " << header.version << ", library " << header.library << ", "
        << (header.byte_order == ByteOrder::big ? "big-endian" : "little-endian") << ", "
        << header.word_size * 8 << "-bit words, started " << start_text(header.start_time) << ", file "
        << header.sequence << ", recorded " << options_text(header.options) << ", interface "
        << (header.fingerprint == interface_fingerprint() ? "as this library's" : "differs from this library's")
        << "\n";
}

std::string call_line(const Reader& reader, const Record& record)
{
    const std::string name = record.entry < reader.names().size() ? reader.names()[record.entry] : "?";
    const EntryShape* entry = find_entry(name);
    if (!entry) {
        Cursor body = record.body;
        return seconds_text(body.u64()) + " " + name + " (not an entry point of this library)";
    }
    std::vector<FieldText> inputs, outputs;
    std::int32_t result = 0;
    std::uint64_t time = 0;
    std::uint32_t duration = 0;
    std::string why;
    if (!read_call_fields(*entry, record, inputs, outputs, result, time, duration, why)) {
        return name + " (unreadable: " + why + ")";
    }
    std::string line = seconds_text(time) + " " + name + "(" + joined(inputs, ", ") + ") -> " +
                       result_text(*entry, result);
    if (!outputs.empty()) line += " " + joined(outputs, " ");
    char took[32];
    std::snprintf(took, sizeof took, " (%.1f us)", duration / 1000.0);
    return line + took;
}

std::string event_line(const Record& record)
{
    EventValues event;
    std::string why;
    if (!read_event(record, event, why)) return "event (unreadable: " + why + ")";
    std::string line = seconds_text(event.time) + " event " + event_name(event.kind) + " " +
                       joined(event_fields(event), " ");
    if (record.flags & RecordFlag::c_callback) line += " (C callback)";
    if (record.flags & RecordFlag::during_call) line += " (during call)";
    return line;
}

std::string other_line(const Record& record)
{
    std::uint64_t time = 0;
    std::string text;
    const bool whole = note_text(record, time, text);
    if (record.type == RecordType::end) return seconds_text(time) + " end";
    return seconds_text(time) + (whole ? " note \"" + text + "\"" : " note (cut short)");
}

}  // namespace

ReplayStatus replay_recording(const std::string& path, const ReplaySettings& settings, std::ostream& out,
                              std::ostream& err)
{
    Records records;
    if (!read_all(path, records, err)) return replay_unreadable;
    const std::uint64_t fingerprint = records.reader.header().fingerprint;
    if (fingerprint != interface_fingerprint() && !settings.quiet) {
        char line[160];
        std::snprintf(line, sizeof line,
                      "note: recorded with interface %016" PRIx64 ", this library's is %016" PRIx64
                      ": calls are matched by name",
                      fingerprint, interface_fingerprint());
        out << line << "\n";
    }
    Replayer replayer(records, settings, out);
    replayer.run();
    replayer.summary();
    return replayer.differences() == 0 ? replay_matched : replay_differed;
}

ReplayStatus print_recording(const std::string& path, std::ostream& out, std::ostream& err)
{
    Records records;
    if (!read_all(path, records, err)) return replay_unreadable;
    print_header(records.reader, out);
    for (const Record& record : records.list) {
        out << "#" << record.index << " ";
        if (record.type == RecordType::call) {
            out << call_line(records.reader, record);
        } else if (record.type == RecordType::event) {
            out << event_line(record);
        } else {
            out << other_line(record);
        }
        out << "\n";
    }
    out << records.list.size() << " records";
    if (records.reader.skipped()) out << ", " << records.reader.skipped() << " of unknown types skipped";
    out << "\n";
    if (!records.reader.stop_reason().empty()) out << "file " << records.reader.stop_reason() << "\n";
    return replay_matched;
}

}  // namespace vorn_rec
