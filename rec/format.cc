// The recording file: the writer libvornrec appends with, the reader
// vorn-replay walks with (the layout is in format.hh).
#include "format.hh"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>

#include "arg_kinds.hh"

#ifndef VORN_REC_LIBRARY_VERSION
#define VORN_REC_LIBRARY_VERSION "unknown"
#endif

namespace vorn_rec {

namespace {

// --- Numbers in the file ---------------------------------------------------

template <class T>
T reversed(T value)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    std::reverse(bytes, bytes + sizeof(T));
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

// --- The interface fingerprint (FNV-1a, 64 bits) ---------------------------

class Fnv {
public:
    void add_byte(unsigned char byte)
    {
        value_ ^= byte;
        value_ *= 1099511628211ull;
    }
    // The text and its terminating zero, so "ab"+"c" differs from "a"+"bc".
    void add_text(const char* text)
    {
        do add_byte(static_cast<unsigned char>(*text));
        while (*text++);
    }
    // One row of a table: its full name and each argument's direction and kind.
    void add_row(const char* prefix, const char* name, std::initializer_list<vorn_meta::DirKind> kinds)
    {
        add_text(prefix);
        add_text(name);
        add_byte(static_cast<unsigned char>(kinds.size()));
        for (const vorn_meta::DirKind& each : kinds) {
            add_byte(static_cast<unsigned char>(each.dir));
            add_byte(static_cast<unsigned char>(each.kind));
        }
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037ull;
};

// "(in(usp), out(number))" as a braced list.
#define VORN_REC_KIND_LIST(...) {__VA_ARGS__}

std::uint64_t table_fingerprint()
{
    using namespace vorn_meta::spelling;
    Fnv fnv;
#define VORN_ENTRY_POINT(name, parameters, kinds) fnv.add_row("vorn_", #name, VORN_REC_KIND_LIST kinds);
#include "entry_points.def"
#undef VORN_ENTRY_POINT
#define VORN_C_ENTRY_POINT(name, parameters, kinds) fnv.add_row("ctype_vorn_", #name, VORN_REC_KIND_LIST kinds);
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
#define VORN_SDK_SLOT(slot, name, parameters, arguments, kinds) fnv.add_row("sdk.", #name, VORN_REC_KIND_LIST kinds);
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
    return fnv.value();
}

#undef VORN_REC_KIND_LIST

// --- Files -------------------------------------------------------------------

std::string system_error(const char* what, const std::string& path)
{
    return std::string(what) + " " + path + ": " + std::strerror(errno);
}

// Writes all of it, through short writes and interruptions.
bool write_all(int fd, const unsigned char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

std::uint64_t epoch_ns()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

// Native-order bytes for the header and the names record, composed once.
class Bytes {
public:
    template <class T>
    void put(T value)
    {
        const auto* first = reinterpret_cast<const unsigned char*>(&value);
        bytes.insert(bytes.end(), first, first + sizeof(T));
    }
    void put_text(const std::string& text)
    {
        put(static_cast<std::uint16_t>(text.size()));
        bytes.insert(bytes.end(), text.begin(), text.end());
    }
    std::vector<unsigned char> bytes;
};

constexpr std::size_t smallest_buffer = 256;
constexpr std::size_t max_text = 0xffff;

}  // namespace

ByteOrder native_byte_order()
{
    const std::uint16_t one = 1;
    unsigned char first = 0;
    std::memcpy(&first, &one, 1);
    return first == 1 ? ByteOrder::little : ByteOrder::big;
}

std::uint64_t interface_fingerprint()
{
    static const std::uint64_t value = table_fingerprint();
    return value;
}

// --- Writer --------------------------------------------------------------------

struct Writer::State {
    Settings settings;
    std::string error;
    int fd = -1;
    bool stopped = false;              // the cap was reached (keep 0) or a write failed
    std::uint64_t start_time = 0;
    std::vector<unsigned char> preamble;  // header and names record
    std::size_t sequence_at = 0;          // of the header's sequence field in the preamble
    std::uint32_t sequence = 0;

    std::vector<unsigned char> buffer;  // committed records, then the one being composed
    std::size_t committed = 0;          // bytes of whole records at the buffer's start
    std::vector<unsigned char> spill;   // the record being composed, once it outgrew the buffer
    bool spilled = false;
    bool composing = false;
    std::size_t record_size = 0;

    std::uint64_t file_bytes = 0;  // of the current file, buffered included
    std::uint64_t total_bytes = 0;
    std::uint64_t last_flush = 0;

    unsigned char* record() { return spilled ? spill.data() : buffer.data() + committed; }

    bool fail(const char* what)
    {
        error = system_error(what, settings.path);
        stopped = true;
        composing = false;
        committed = 0;
        return false;
    }

    bool write_committed()
    {
        if (committed == 0) return true;
        if (!write_all(fd, buffer.data(), committed)) return fail("cannot write");
        committed = 0;
        return true;
    }

    // Room for `size` more bytes of the record being composed: the whole
    // records go to the file first; a record larger than the buffer moves to
    // the spill area.
    bool make_room(std::size_t size)
    {
        if (spilled) {
            spill.resize(record_size + size);
            return true;
        }
        if (committed + record_size + size <= buffer.size()) return true;
        const std::size_t partial_at = committed;
        if (!write_committed()) return false;
        std::memmove(buffer.data(), buffer.data() + partial_at, record_size);
        if (record_size + size <= buffer.size()) return true;
        spill.assign(buffer.data(), buffer.data() + record_size);
        spill.resize(record_size + size);
        spilled = true;
        return true;
    }

    void put(const void* data, std::size_t size)
    {
        if (!composing || size == 0 || !make_room(size)) return;
        std::memcpy(record() + record_size, data, size);
        record_size += size;
    }

    void start_record(RecordType type, std::uint8_t flags, std::uint16_t entry)
    {
        composing = fd >= 0 && !stopped;
        spilled = false;
        record_size = 0;
        const std::uint32_t size = 0;
        const std::uint8_t type_byte = static_cast<std::uint8_t>(type);
        put(&size, 4);
        put(&type_byte, 1);
        put(&flags, 1);
        put(&entry, 2);
    }

    // The record composed becomes part of the file.
    void finish_record()
    {
        const auto size = static_cast<std::uint32_t>(record_size);
        std::memcpy(record(), &size, 4);
        if (spilled) {
            spilled = false;
            if (write_committed() && !write_all(fd, spill.data(), record_size)) fail("cannot write");
        } else {
            committed += record_size;
        }
        file_bytes += record_size;
        total_bytes += record_size;
    }

    bool open_file()
    {
        fd = ::open(settings.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) return fail("cannot open");
        std::memcpy(preamble.data() + sequence_at, &sequence, 4);
        if (!write_all(fd, preamble.data(), preamble.size())) return fail("cannot write");
        file_bytes = preamble.size();
        total_bytes += preamble.size();
        return true;
    }

    void close_file()
    {
        if (fd < 0) return;
        write_committed();
        ::close(fd);
        fd = -1;
    }

    std::string old_file(unsigned int k) const { return settings.path + "." + std::to_string(k); }

    // FILE.(keep-1) -> FILE.keep, ..., FILE -> FILE.1, and a fresh FILE.
    void rotate()
    {
        close_file();
        for (unsigned int k = settings.keep; k > 1; --k) ::rename(old_file(k - 1).c_str(), old_file(k).c_str());
        if (::rename(settings.path.c_str(), old_file(1).c_str()) != 0) {
            fail("cannot rotate");
            return;
        }
        ++sequence;
        open_file();
    }

    // keep 0: the record is dropped, a note says why if it fits, and nothing
    // more is written.
    void stop_at_cap(std::uint64_t now)
    {
        composing = false;
        const std::string text =
            "size cap of " + std::to_string(settings.max_bytes) + " bytes reached: recording stopped";
        start_record(RecordType::note, 0, 0);
        put(&now, 8);
        const auto text_size = static_cast<std::uint16_t>(text.size());
        put(&text_size, 2);
        put(text.data(), text.size());
        if (composing && file_bytes + record_size <= settings.max_bytes) finish_record();
        composing = false;
        spilled = false;
        write_committed();
        stopped = true;
    }

    bool over_cap() const
    {
        return settings.max_bytes != 0 && file_bytes + record_size > settings.max_bytes &&
               file_bytes > preamble.size();  // a record alone in a fresh file is written anyway
    }

    void commit(std::uint64_t now)
    {
        if (!composing) return;
        composing = false;
        if (over_cap()) {
            if (settings.keep == 0) {
                stop_at_cap(now);
                return;
            }
            // The record waits at the buffer's start (or in the spill area)
            // while the old file takes what was before it.
            if (!spilled) {
                const std::size_t partial_at = committed;
                if (!write_committed()) return;
                std::memmove(buffer.data(), buffer.data() + partial_at, record_size);
            }
            rotate();
            if (fd < 0) return;
        }
        finish_record();
        if (now - last_flush >= settings.flush_interval_ns) {
            last_flush = now;
            write_committed();
        }
    }
};

Writer::Writer() : state_(new State) {}

Writer::~Writer()
{
    state_->close_file();
    delete state_;
}

bool Writer::open(const Settings& settings, const std::vector<std::string>& names)
{
    State& s = *state_;
    s.close_file();
    s = State{};
    s.settings = settings;
    if (settings.path.empty()) {
        s.error = "no file to record into";
        return false;
    }
    if (names.size() > max_text) {
        s.error = std::to_string(names.size()) + " names is more than a recording holds (65535)";
        return false;
    }
    for (const std::string& name : names)
        if (name.size() > max_text) {
            s.error = "name " + name.substr(0, 40) + "... is longer than 65535 bytes";
            return false;
        }
    s.start_time = epoch_ns();

    Bytes header;
    header.bytes.assign(file_magic, file_magic + sizeof file_magic);
    header.bytes.push_back(static_cast<unsigned char>(format_version >> 8));
    header.bytes.push_back(static_cast<unsigned char>(format_version & 0xff));
    header.bytes.push_back(static_cast<unsigned char>(native_byte_order()));
    header.bytes.push_back(static_cast<unsigned char>(sizeof(void*)));
    const std::size_t rest_size_at = header.bytes.size();
    header.put(std::uint32_t{0});
    header.put(interface_fingerprint());
    header.put(s.start_time);
    header.put(settings.options);
    s.sequence_at = header.bytes.size();
    header.put(std::uint32_t{0});
    header.put_text(VORN_REC_LIBRARY_VERSION);
    const auto rest_size = static_cast<std::uint32_t>(header.bytes.size() - rest_size_at - 4);
    std::memcpy(header.bytes.data() + rest_size_at, &rest_size, 4);

    const std::size_t names_at = header.bytes.size();
    header.put(std::uint32_t{0});
    header.put(static_cast<std::uint8_t>(RecordType::names));
    header.put(std::uint8_t{0});
    header.put(std::uint16_t{0});
    header.put(static_cast<std::uint16_t>(names.size()));
    for (const std::string& name : names) header.put_text(name);
    const auto names_size = static_cast<std::uint32_t>(header.bytes.size() - names_at);
    std::memcpy(header.bytes.data() + names_at, &names_size, 4);
    s.preamble = std::move(header.bytes);

    s.buffer.resize(std::max(settings.buffer_bytes, smallest_buffer));
    if (!s.open_file()) {
        s.close_file();
        return false;
    }
    return true;
}

bool Writer::is_open() const { return state_->fd >= 0; }
const std::string& Writer::error() const { return state_->error; }

void Writer::sync_window()
{
    if (window_at_) state_->record_size = static_cast<std::size_t>(window_at_ - state_->record());
}

void Writer::reopen_window()
{
    State& s = *state_;
    if (s.composing && !s.spilled) {
        window_at_ = s.record() + s.record_size;
        window_end_ = s.buffer.data() + s.buffer.size();
    } else {
        window_at_ = window_end_ = nullptr;
    }
}

void Writer::begin(RecordType type, std::uint8_t flags, std::uint16_t entry)
{
    sync_window();
    state_->start_record(type, flags, entry);
    reopen_window();
}

void Writer::put_slow(const void* data, std::size_t size)
{
    sync_window();
    state_->put(data, size);
    reopen_window();
}

void Writer::patch_u32(std::size_t offset, std::uint32_t value)
{
    sync_window();
    State& s = *state_;
    if (s.composing && offset >= record_head_size && offset + 4 <= s.record_size)
        std::memcpy(s.record() + offset, &value, 4);
}

std::size_t Writer::record_size() const
{
    if (window_at_) return static_cast<std::size_t>(window_at_ - state_->record());
    return state_->composing ? state_->record_size : 0;
}

void Writer::set_flags(std::uint8_t flags)
{
    if (state_->composing) state_->record()[5] = flags;
}

void Writer::commit(std::uint64_t now)
{
    sync_window();
    window_at_ = window_end_ = nullptr;
    state_->commit(now);
}

void Writer::note(std::uint64_t now, const std::string& text)
{
    const std::size_t size = std::min(text.size(), max_text);
    begin(RecordType::note, 0, 0);
    put_u64(now);
    put_u16(static_cast<std::uint16_t>(size));
    put_bytes(text.data(), size);
    commit(now);
}

void Writer::flush()
{
    if (state_->fd >= 0) state_->write_committed();
}

void Writer::close(std::uint64_t now)
{
    begin(RecordType::end, 0, 0);
    put_u64(now);
    commit(now);
    state_->close_file();
}

std::uint64_t Writer::start_time() const { return state_->start_time; }
std::uint64_t Writer::bytes_written() const { return state_->total_bytes; }

// --- Cursor --------------------------------------------------------------------

namespace {

template <class T>
T take(const unsigned char* data, std::size_t size, std::size_t& at, bool swap, bool& failed)
{
    if (size - at < sizeof(T)) {
        failed = true;
        at = size;
        return 0;
    }
    T value;
    std::memcpy(&value, data + at, sizeof(T));
    at += sizeof(T);
    return swap ? reversed(value) : value;
}

}  // namespace

std::uint8_t Cursor::u8() { return take<std::uint8_t>(data_, size_, at_, false, failed_); }
std::uint16_t Cursor::u16() { return take<std::uint16_t>(data_, size_, at_, swap_, failed_); }
std::uint32_t Cursor::u32() { return take<std::uint32_t>(data_, size_, at_, swap_, failed_); }
std::uint64_t Cursor::u64() { return take<std::uint64_t>(data_, size_, at_, swap_, failed_); }

bool Cursor::skip(std::size_t size)
{
    if (size_ - at_ < size) {
        failed_ = true;
        at_ = size_;
        return false;
    }
    at_ += size;
    return true;
}

bool Cursor::bytes(void* out, std::size_t size)
{
    const unsigned char* from = here();
    if (!skip(size)) return false;
    if (size > 0) std::memcpy(out, from, size);
    return true;
}

// --- Reader --------------------------------------------------------------------

namespace {

// The fixed part of the header before rest_size, and what version 1 puts
// after it (the library's text aside).
constexpr std::size_t header_lead = sizeof file_magic + 2 + 1 + 1 + 4;
constexpr std::size_t header_rest_v1 = 8 + 8 + 4 + 4 + 2;

std::string byte_count(std::size_t have, std::size_t of) { return std::to_string(have) + " bytes of " + std::to_string(of); }

std::string read_text(Cursor& cursor)
{
    const std::uint16_t size = cursor.u16();
    const char* text = reinterpret_cast<const char*>(cursor.here());
    if (!cursor.skip(size)) return std::string();
    return std::string(text, size);
}

}  // namespace

bool Reader::open(const unsigned char* data, std::size_t size)
{
    data_ = data;
    size_ = size;
    at_ = 0;
    index_ = 0;
    swap_ = false;
    clean_end_ = false;
    skipped_ = 0;
    header_ = Header{};
    names_.clear();
    error_.clear();
    stop_reason_.clear();
    auto refuse = [this](const std::string& why) {
        error_ = why;
        data_ = nullptr;
        size_ = at_ = 0;
        clean_end_ = false;
        return false;
    };

    if (size < sizeof file_magic || std::memcmp(data, file_magic, sizeof file_magic) != 0)
        return refuse("not a recording: it does not start with VORNREC");
    if (size < header_lead) return refuse("header cut short: " + byte_count(size, header_lead));
    header_.version = static_cast<std::uint16_t>(data[8] << 8 | data[9]);
    if (header_.version > format_version)
        return refuse("format version " + std::to_string(header_.version) + " is newer than this reader (" +
                      std::to_string(format_version) + ")");
    if (header_.version == 0) return refuse("format version 0 is not a format version");
    if (data[10] != static_cast<unsigned char>(ByteOrder::little) &&
        data[10] != static_cast<unsigned char>(ByteOrder::big))
        return refuse("byte order " + std::to_string(data[10]) + " is neither 1 (little-endian) nor 2 (big-endian)");
    header_.byte_order = static_cast<ByteOrder>(data[10]);
    header_.word_size = data[11];
    swap_ = header_.byte_order != native_byte_order();

    Cursor lead(data + 12, 4, swap_);
    const std::uint32_t rest_size = lead.u32();
    if (size - header_lead < rest_size)
        return refuse("header cut short: " + byte_count(size, header_lead + std::size_t{rest_size}));
    if (rest_size < header_rest_v1)
        return refuse("header too short: " + std::to_string(rest_size) + " bytes after its size, version 1 has " +
                      std::to_string(header_rest_v1) + " at least");
    Cursor rest(data + header_lead, rest_size, swap_);
    header_.fingerprint = rest.u64();
    header_.start_time = rest.u64();
    header_.options = rest.u32();
    header_.sequence = rest.u32();
    header_.library = read_text(rest);
    if (rest.failed()) return refuse("header damaged: the library version runs past its end");
    at_ = header_lead + rest_size;

    Record names;
    if (!next(names)) {
        const std::string why = stop_reason_.empty() ? "no names record after the header" : stop_reason_;
        return refuse(why);
    }
    if (names.type != RecordType::names)
        return refuse("the first record is of type " + std::to_string(static_cast<unsigned>(names.type)) +
                      ", not the names record");
    const std::uint16_t count = names.body.u16();
    for (std::uint16_t i = 0; i < count && !names.body.failed(); ++i) names_.push_back(read_text(names.body));
    if (names.body.failed())
        return refuse("names record damaged: " + std::to_string(count) + " names do not fit in its " +
                      std::to_string(names.body.offset()) + " bytes");
    return true;
}

bool Reader::open_file(const std::string& path)
{
    owned_.clear();
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error_ = system_error("cannot open", path);
        return false;
    }
    unsigned char chunk[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            error_ = system_error("cannot read", path);
            ::close(fd);
            return false;
        }
        if (got == 0) break;
        owned_.insert(owned_.end(), chunk, chunk + got);
    }
    ::close(fd);
    return open(owned_.data(), owned_.size());
}

bool Reader::next(Record& record)
{
    for (;;) {
        if (clean_end_ || !stop_reason_.empty() || !error_.empty()) return false;
        const std::size_t left = size_ - at_;
        if (left == 0) {
            clean_end_ = true;
            return false;
        }
        auto stop = [this](const char* how, const std::string& what) {
            stop_reason_ = std::string(how) + " at byte " + std::to_string(at_) + " in record " +
                           std::to_string(index_) + ": " + what;
            return false;
        };
        if (left < 4) return stop("cut", byte_count(left, record_head_size));
        Cursor head(data_ + at_, left, swap_);
        const std::uint32_t size = head.u32();
        if (size < record_head_size)
            return stop("damaged", "size " + std::to_string(size) + " is less than " + std::to_string(record_head_size));
        if (size > left) return stop("cut", byte_count(left, size));
        const std::uint8_t type = head.u8();
        record.index = index_++;
        record.offset = at_;
        record.flags = head.u8();
        record.entry = head.u16();
        record.body = Cursor(data_ + at_ + record_head_size, size - record_head_size, swap_);
        at_ += size;
        if (type < static_cast<std::uint8_t>(RecordType::names) || type > static_cast<std::uint8_t>(RecordType::end)) {
            ++skipped_;
            continue;
        }
        record.type = static_cast<RecordType>(type);
        if (record.type == RecordType::end) clean_end_ = true;  // returned; nothing after it is read
        return true;
    }
}

}  // namespace vorn_rec
