// What the recording-file tests share: a directory of their own, records
// with a counted payload, a file laid out by hand in either byte order, and
// where each record of a file starts.
#ifndef VORN_TESTS_REC_FORMAT_SAMPLES_HH
#define VORN_TESTS_REC_FORMAT_SAMPLES_HH

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "format.hh"

namespace vorn_rec::test {

using Bytes = std::vector<unsigned char>;

inline const std::vector<std::string> sample_names = {"vorn_get_port_pvid", "ctype_vorn_get_port_pvid",
                                                      "sdk.get_port_pvid"};

class TempDir {
public:
    TempDir()
    {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/vorn_rec_format.XXXXXX";
        if (mkdtemp(&pattern[0])) path_ = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline Bytes file_bytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool exists(const std::string& path) { return std::filesystem::exists(path); }

// A record as the tests write it: the time, then a counted payload.
struct Sample {
    RecordType type;
    std::uint8_t flags;
    std::uint16_t entry;
    std::uint64_t time;
    Bytes payload;
};

inline bool operator==(const Sample& a, const Sample& b)
{
    return a.type == b.type && a.flags == b.flags && a.entry == b.entry && a.time == b.time && a.payload == b.payload;
}

inline std::ostream& operator<<(std::ostream& out, const Sample& s)
{
    return out << "{type " << unsigned(s.type) << " flags " << unsigned(s.flags) << " entry " << s.entry << " time "
               << s.time << " payload " << s.payload.size() << " bytes}";
}

inline Bytes pattern(std::size_t size, unsigned seed)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(seed * 31 + i * 7);
    return bytes;
}

inline void write_sample(Writer& writer, const Sample& s)
{
    writer.begin(s.type, s.flags, s.entry);
    writer.put_u64(s.time);
    writer.put_u32(static_cast<std::uint32_t>(s.payload.size()));
    writer.put_bytes(s.payload.data(), s.payload.size());
    writer.commit(s.time);
}

inline Sample read_sample(Record& record)
{
    Sample s{record.type, record.flags, record.entry, record.body.u64(), {}};
    s.payload.resize(record.body.u32());
    record.body.bytes(s.payload.data(), s.payload.size());
    EXPECT_FALSE(record.body.failed()) << "record " << record.index;
    EXPECT_EQ(record.body.left(), 0u) << "record " << record.index;
    return s;
}

// The samples of a file written with write_sample, the end record left out.
inline std::vector<Sample> read_samples(Reader& reader)
{
    std::vector<Sample> samples;
    Record record;
    while (reader.next(record))
        if (record.type != RecordType::end) samples.push_back(read_sample(record));
    return samples;
}

inline std::vector<Sample> mixed_samples()
{
    return {
        {RecordType::call, RecordFlag::outputs, 0, 10, pattern(12, 1)},
        {RecordType::call, 0, 2, 20, pattern(0, 2)},
        {RecordType::event, RecordFlag::during_call | RecordFlag::c_callback,
         static_cast<std::uint16_t>(EventKind::link_change), 30, pattern(20, 3)},
        {RecordType::note, 0, 0, 40, pattern(5, 4)},
        {RecordType::call, RecordFlag::outputs, 1, 50, pattern(3000, 5)},  // larger than the smallest buffer
        {RecordType::event, 0, static_cast<std::uint16_t>(EventKind::rx_packet), 60, pattern(300, 6)},
        {RecordType::call, 0, 0xffff, 70, pattern(700, 7)},
    };
}

inline Writer::Settings settings_for(const std::string& path)
{
    Writer::Settings settings;
    settings.path = path;
    return settings;
}

// --- A file made by hand ------------------------------------------------------------

// Lays a file out field by field as format.hh documents it, numbers in the
// order asked for.
class HandFile {
public:
    explicit HandFile(ByteOrder order) : swap_(order != native_byte_order()), order_(order) {}

    template <class T>
    HandFile& number(T value)
    {
        unsigned char raw[sizeof(T)];
        std::memcpy(raw, &value, sizeof(T));
        if (swap_) std::reverse(raw, raw + sizeof(T));
        bytes.insert(bytes.end(), raw, raw + sizeof(T));
        return *this;
    }
    HandFile& text(const std::string& value)
    {
        number(static_cast<std::uint16_t>(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
        return *this;
    }
    HandFile& raw(const Bytes& more)
    {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }

    // extra: bytes a newer writer appends to the header.
    HandFile& header(const Header& h, const Bytes& extra = {}, std::uint16_t version = format_version)
    {
        bytes.insert(bytes.end(), file_magic, file_magic + sizeof file_magic);
        bytes.push_back(static_cast<unsigned char>(version >> 8));
        bytes.push_back(static_cast<unsigned char>(version));
        bytes.push_back(static_cast<unsigned char>(order_));
        bytes.push_back(h.word_size);
        number(static_cast<std::uint32_t>(8 + 8 + 4 + 4 + 2 + h.library.size() + extra.size()));
        number(h.fingerprint).number(h.start_time).number(h.options).number(h.sequence).text(h.library);
        return raw(extra);
    }
    // A record whose body the caller then adds; end() sets its size.
    HandFile& record(std::uint8_t type, std::uint8_t flags, std::uint16_t entry)
    {
        record_at_ = bytes.size();
        return number(std::uint32_t{0}).number(type).number(flags).number(entry);
    }
    HandFile& end()
    {
        const std::size_t at = record_at_;
        const Bytes tail(bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4, bytes.end());
        bytes.resize(at);
        number(static_cast<std::uint32_t>(tail.size() + 4));
        return raw(tail);
    }
    HandFile& names(const std::vector<std::string>& list)
    {
        record(static_cast<std::uint8_t>(RecordType::names), 0, 0).number(static_cast<std::uint16_t>(list.size()));
        for (const std::string& name : list) text(name);
        return end();
    }

    Bytes bytes;

private:
    bool swap_;
    ByteOrder order_;
    std::size_t record_at_ = 0;
};

inline Header sample_header()
{
    Header h;
    h.word_size = 4;
    h.fingerprint = 0x1122334455667788ull;
    h.start_time = 1790000000123456789ull;
    h.options = Options::no_packets;
    h.sequence = 3;
    h.library = "0.19.0";
    return h;
}

// A call record with numbers of every width, as a PowerPC recorder writes it.
inline HandFile call_file(ByteOrder order, const Bytes& extra_header = {})
{
    HandFile file(order);
    file.header(sample_header(), extra_header).names(sample_names);
    file.record(static_cast<std::uint8_t>(RecordType::call), RecordFlag::outputs, 2)
        .number(std::uint64_t{0xa1a2a3a4a5a6a7a8ull})
        .number(std::uint32_t{0xb1b2b3b4})
        .number(std::int32_t{-2})
        .number(std::uint16_t{0xc1c2})
        .number(std::uint8_t{0xd1})
        .end();
    file.record(static_cast<std::uint8_t>(RecordType::end), 0, 0).number(std::uint64_t{99}).end();
    return file;
}

// Where the records after the names start, and how large each is.
struct Layout {
    std::size_t names_end;                  // where the first record after the names starts
    std::vector<std::pair<std::size_t, std::size_t>> records;  // offset, size of each after the names
};

inline Layout layout_of(const Bytes& bytes)
{
    Reader reader;
    EXPECT_TRUE(reader.open(bytes.data(), bytes.size())) << reader.error();
    Layout layout{bytes.size(), {}};
    Record record;
    while (reader.next(record)) {
        if (layout.records.empty()) layout.names_end = record.offset;
        layout.records.push_back({record.offset, record.body.left() + record_head_size});
    }
    return layout;
}

// Cuts a file at every byte from `first_cut` on: open() refuses a cut
// header with its reason; otherwise the whole records before the cut read,

}  // namespace vorn_rec::test

#endif
