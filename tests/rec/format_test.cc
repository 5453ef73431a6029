// The recording file: what the writer puts down reads back the same, in
// either byte order, and no damage makes the reader misbehave.
#include "format.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>

#include "count_allocations.hh"

namespace {

using namespace vorn_rec;
using Bytes = std::vector<unsigned char>;

const std::vector<std::string> sample_names = {"vorn_get_port_pvid", "ctype_vorn_get_port_pvid", "sdk.get_port_pvid"};

// A directory of the test's own, removed with everything in it.
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

Bytes file_bytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool exists(const std::string& path) { return std::filesystem::exists(path); }

// A record as the tests write it: the time, then a counted payload.
struct Sample {
    RecordType type;
    std::uint8_t flags;
    std::uint16_t entry;
    std::uint64_t time;
    Bytes payload;
};

bool operator==(const Sample& a, const Sample& b)
{
    return a.type == b.type && a.flags == b.flags && a.entry == b.entry && a.time == b.time && a.payload == b.payload;
}

std::ostream& operator<<(std::ostream& out, const Sample& s)
{
    return out << "{type " << unsigned(s.type) << " flags " << unsigned(s.flags) << " entry " << s.entry << " time "
               << s.time << " payload " << s.payload.size() << " bytes}";
}

Bytes pattern(std::size_t size, unsigned seed)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(seed * 31 + i * 7);
    return bytes;
}

void write_sample(Writer& writer, const Sample& s)
{
    writer.begin(s.type, s.flags, s.entry);
    writer.put_u64(s.time);
    writer.put_u32(static_cast<std::uint32_t>(s.payload.size()));
    writer.put_bytes(s.payload.data(), s.payload.size());
    writer.commit(s.time);
}

Sample read_sample(Record& record)
{
    Sample s{record.type, record.flags, record.entry, record.body.u64(), {}};
    s.payload.resize(record.body.u32());
    record.body.bytes(s.payload.data(), s.payload.size());
    EXPECT_FALSE(record.body.failed()) << "record " << record.index;
    EXPECT_EQ(record.body.left(), 0u) << "record " << record.index;
    return s;
}

// The samples of a file written with write_sample, the end record left out.
std::vector<Sample> read_samples(Reader& reader)
{
    std::vector<Sample> samples;
    Record record;
    while (reader.next(record))
        if (record.type != RecordType::end) samples.push_back(read_sample(record));
    return samples;
}

std::vector<Sample> mixed_samples()
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

Writer::Settings settings_for(const std::string& path)
{
    Writer::Settings settings;
    settings.path = path;
    return settings;
}

// --- Round trip ----------------------------------------------------------------

TEST(RecFormatRoundTrip, RecordsOfEveryTypeReadBackAtEveryBufferSize)
{
    TempDir dir;
    for (std::size_t buffer_bytes : {std::size_t{0}, std::size_t{256}, std::size_t{1000}, std::size_t{64 * 1024}}) {
        SCOPED_TRACE("buffer " + std::to_string(buffer_bytes));
        Writer::Settings settings = settings_for(dir.file("rt"));
        settings.buffer_bytes = buffer_bytes;
        settings.options = Options::no_getters | Options::no_packets;
        Writer writer;
        ASSERT_TRUE(writer.open(settings, sample_names)) << writer.error();
        const std::vector<Sample> samples = mixed_samples();
        for (const Sample& s : samples) write_sample(writer, s);
        writer.close(80);
        EXPECT_FALSE(writer.is_open());

        Reader reader;
        ASSERT_TRUE(reader.open_file(settings.path)) << reader.error();
        const Header& header = reader.header();
        EXPECT_EQ(header.version, format_version);
        EXPECT_EQ(header.byte_order, native_byte_order());
        EXPECT_EQ(header.word_size, sizeof(void*));
        EXPECT_EQ(header.fingerprint, interface_fingerprint());
        EXPECT_EQ(header.start_time, writer.start_time());
        EXPECT_EQ(header.options, settings.options);
        EXPECT_EQ(header.sequence, 0u);
        EXPECT_FALSE(header.library.empty());
        EXPECT_FALSE(reader.swapped());
        EXPECT_EQ(reader.names(), sample_names);
        EXPECT_EQ(read_samples(reader), samples);
        EXPECT_TRUE(reader.clean_end());
        EXPECT_EQ(reader.stop_reason(), "");
        EXPECT_EQ(reader.skipped(), 0u);
        EXPECT_EQ(writer.bytes_written(), file_bytes(settings.path).size());
    }
}

TEST(RecFormatRoundTrip, NumbersPatchesAndFlagsReadBack)
{
    TempDir dir;
    Writer writer;
    ASSERT_TRUE(writer.open(settings_for(dir.file("numbers")), sample_names)) << writer.error();
    writer.begin(RecordType::call, 0, 1);
    writer.put_u8(0xab);
    writer.put_u16(0xbeef);
    writer.put_u32(0);  // patched below
    writer.put_u64(0x0102030405060708ull);
    EXPECT_EQ(writer.record_size(), record_head_size + 1 + 2 + 4 + 8);
    writer.patch_u32(record_head_size + 3, 0xdeadbeef);
    writer.patch_u32(writer.record_size() - 2, 0x11111111);  // runs past what was put: ignored
    writer.set_flags(RecordFlag::outputs);
    writer.commit(1);
    writer.note(2, "a note");
    writer.close(3);

    Reader reader;
    ASSERT_TRUE(reader.open_file(dir.file("numbers"))) << reader.error();
    Record record;
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.index, 1u);  // the names record is record 0
    EXPECT_EQ(record.type, RecordType::call);
    EXPECT_EQ(record.flags, RecordFlag::outputs);
    EXPECT_EQ(record.entry, 1);
    EXPECT_EQ(record.body.u8(), 0xab);
    EXPECT_EQ(record.body.u16(), 0xbeef);
    EXPECT_EQ(record.body.u32(), 0xdeadbeefu);
    EXPECT_EQ(record.body.u64(), 0x0102030405060708ull);
    EXPECT_FALSE(record.body.failed());
    EXPECT_EQ(record.body.u32(), 0u);  // past the body: zero, failed
    EXPECT_TRUE(record.body.failed());

    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.type, RecordType::note);
    EXPECT_EQ(record.body.u64(), 2u);
    std::string text(record.body.u16(), '\0');
    EXPECT_TRUE(record.body.bytes(&text[0], text.size()));
    EXPECT_EQ(text, "a note");

    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.type, RecordType::end);
    EXPECT_EQ(record.body.u64(), 3u);
    EXPECT_FALSE(reader.next(record));
    EXPECT_TRUE(reader.clean_end());
}

TEST(RecFormatRoundTrip, OpenRefusesWhatItCannotWrite)
{
    TempDir dir;
    Writer writer;
    EXPECT_FALSE(writer.open(settings_for(dir.file("no/such/dir")), sample_names));
    EXPECT_NE(writer.error().find("cannot open " + dir.file("no/such/dir") + ": "), std::string::npos)
        << writer.error();
    EXPECT_FALSE(writer.is_open());
    writer.begin(RecordType::call, 0, 0);  // harmless when not open
    writer.put_u64(1);
    writer.commit(1);
    EXPECT_FALSE(writer.open(settings_for(""), sample_names));
    EXPECT_EQ(writer.error(), "no file to record into");
    const std::vector<std::string> too_long = {std::string(70000, 'x')};
    EXPECT_FALSE(writer.open(settings_for(dir.file("long")), too_long));
    EXPECT_NE(writer.error().find("longer than 65535 bytes"), std::string::npos) << writer.error();
    EXPECT_FALSE(exists(dir.file("long")));
}

// --- A file made by hand, in either byte order ----------------------------------

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

Header sample_header()
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
HandFile call_file(ByteOrder order, const Bytes& extra_header = {})
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

void expect_call_file_reads(const Bytes& bytes, bool swapped)
{
    Reader reader;
    ASSERT_TRUE(reader.open(bytes.data(), bytes.size())) << reader.error();
    EXPECT_EQ(reader.swapped(), swapped);
    const Header expected = sample_header();
    const Header& header = reader.header();
    EXPECT_EQ(header.word_size, expected.word_size);
    EXPECT_EQ(header.fingerprint, expected.fingerprint);
    EXPECT_EQ(header.start_time, expected.start_time);
    EXPECT_EQ(header.options, expected.options);
    EXPECT_EQ(header.sequence, expected.sequence);
    EXPECT_EQ(header.library, expected.library);
    EXPECT_EQ(reader.names(), sample_names);
    Record record;
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.type, RecordType::call);
    EXPECT_EQ(record.flags, RecordFlag::outputs);
    EXPECT_EQ(record.entry, 2);
    EXPECT_EQ(record.body.u64(), 0xa1a2a3a4a5a6a7a8ull);
    EXPECT_EQ(record.body.u32(), 0xb1b2b3b4u);
    EXPECT_EQ(static_cast<std::int32_t>(record.body.u32()), -2);
    EXPECT_EQ(record.body.u16(), 0xc1c2);
    EXPECT_EQ(record.body.u8(), 0xd1);
    EXPECT_EQ(record.body.left(), 0u);
    EXPECT_FALSE(record.body.failed());
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.type, RecordType::end);
    EXPECT_EQ(record.body.u64(), 99u);
    EXPECT_FALSE(reader.next(record));
    EXPECT_TRUE(reader.clean_end());
}

TEST(RecFormatByteOrder, EitherOrderReadsToTheSameValues)
{
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        SCOPED_TRACE(order == ByteOrder::little ? "little-endian file" : "big-endian file");
        const HandFile file = call_file(order);
        expect_call_file_reads(file.bytes, order != native_byte_order());
        Reader reader;
        ASSERT_TRUE(reader.open(file.bytes.data(), file.bytes.size()));
        EXPECT_EQ(reader.header().byte_order, order);
    }
}

TEST(RecFormatByteOrder, WriterLaysOutTheFileAsDocumented)
{
    TempDir dir;
    Writer::Settings settings = settings_for(dir.file("layout"));
    settings.options = Options::no_getters;
    Writer writer;
    ASSERT_TRUE(writer.open(settings, sample_names)) << writer.error();
    writer.begin(RecordType::event, RecordFlag::during_call, static_cast<std::uint16_t>(EventKind::mac_update));
    writer.put_u64(5);
    writer.put_u16(6);
    writer.commit(5);
    writer.close(7);

    const Bytes written = file_bytes(settings.path);
    Reader reader;
    ASSERT_TRUE(reader.open(written.data(), written.size())) << reader.error();
    Header h = reader.header();  // the library's version and the start time are the writer's own
    EXPECT_EQ(h.word_size, sizeof(void*));
    EXPECT_EQ(h.options, Options::no_getters);
    HandFile hand(native_byte_order());
    hand.header(h).names(sample_names);
    hand.record(static_cast<std::uint8_t>(RecordType::event), RecordFlag::during_call,
                static_cast<std::uint16_t>(EventKind::mac_update))
        .number(std::uint64_t{5})
        .number(std::uint16_t{6})
        .end();
    hand.record(static_cast<std::uint8_t>(RecordType::end), 0, 0).number(std::uint64_t{7}).end();
    EXPECT_EQ(written, hand.bytes);
}

// --- Headers: newer, older, not ours -----------------------------------------------

TEST(RecFormatHeader, NewerFieldsAreSkipped)
{
    const Bytes extra = pattern(37, 9);
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        SCOPED_TRACE(order == ByteOrder::little ? "little-endian file" : "big-endian file");
        expect_call_file_reads(call_file(order, extra).bytes, order != native_byte_order());
    }
}

// The call file with one change, and what open() says of it.
struct BadHeader {
    const char* what;
    std::function<void(Bytes&)> damage;
    std::string error;
};

TEST(RecFormatHeader, RefusedWithTheReason)
{
    const Bytes good = call_file(native_byte_order()).bytes;
    const std::size_t rest_size_at = 12;
    const std::size_t names_at = 16 + 26 + sample_header().library.size();
    auto put_u32 = [](Bytes& bytes, std::size_t at, std::uint32_t value) { std::memcpy(&bytes[at], &value, 4); };
    const std::vector<BadHeader> cases = {
        {"other magic", [](Bytes& b) { b[3] = 'X'; }, "not a recording: it does not start with VORNREC"},
        {"empty", [](Bytes& b) { b.clear(); }, "not a recording: it does not start with VORNREC"},
        {"newer version", [](Bytes& b) { b[9] = 2; }, "format version 2 is newer than this reader (1)"},
        {"much newer version", [](Bytes& b) { b[8] = 1; }, "format version 257 is newer than this reader (1)"},
        {"version 0", [](Bytes& b) { b[9] = 0; }, "format version 0 is not a format version"},
        {"byte order 3", [](Bytes& b) { b[10] = 3; }, "byte order 3 is neither 1 (little-endian) nor 2 (big-endian)"},
        {"rest too short for version 1", [&](Bytes& b) { put_u32(b, rest_size_at, 25); },
         "header too short: 25 bytes after its size, version 1 has 26 at least"},
        {"rest past the end", [&](Bytes& b) { put_u32(b, rest_size_at, 0x7fffffff); },
         "header cut short: " + std::to_string(good.size()) + " bytes of " + std::to_string(16 + 0x7fffffffull)},
        {"library text past the rest", [&](Bytes& b) { b[names_at - 8] = 0xff; },
         "header damaged: the library version runs past its end"},
        {"no records", [&](Bytes& b) { b.resize(names_at); }, "no names record after the header"},
        {"first record not names", [&](Bytes& b) { b[names_at + 4] = static_cast<unsigned char>(RecordType::call); },
         "the first record is of type 2, not the names record"},
        {"names past their record", [&](Bytes& b) { b[names_at + 8] = 200; },
         "names record damaged: 200 names do not fit in its " +
             std::to_string(2 + (2 + 18) + (2 + 24) + (2 + 17)) + " bytes"},
    };
    for (const BadHeader& each : cases) {
        SCOPED_TRACE(each.what);
        Bytes bytes = good;
        each.damage(bytes);
        Reader reader;
        EXPECT_FALSE(reader.open(bytes.data(), bytes.size()));
        EXPECT_EQ(reader.error(), each.error);
        Record record;
        EXPECT_FALSE(reader.next(record));
    }
}

TEST(RecFormatHeader, MissingFileIsNamed)
{
    Reader reader;
    EXPECT_FALSE(reader.open_file("/nonexistent/recording"));
    EXPECT_EQ(reader.error().rfind("cannot open /nonexistent/recording: ", 0), 0u) << reader.error();
}

// --- Unknown records -------------------------------------------------------------

TEST(RecFormatRecords, UnknownTypesAreSkippedAndCounted)
{
    TempDir dir;
    Writer writer;
    ASSERT_TRUE(writer.open(settings_for(dir.file("unknown")), sample_names));
    std::vector<Sample> expected;
    for (const Sample& s : mixed_samples()) {
        write_sample(writer, Sample{static_cast<RecordType>(200), 0, 7, s.time, pattern(40, 8)});
        write_sample(writer, s);
        expected.push_back(s);
    }
    write_sample(writer, Sample{static_cast<RecordType>(0), 0, 7, 1, {}});
    writer.close(100);
    Reader reader;
    ASSERT_TRUE(reader.open_file(dir.file("unknown"))) << reader.error();
    EXPECT_EQ(read_samples(reader), expected);
    EXPECT_EQ(reader.skipped(), expected.size() + 1);
    EXPECT_TRUE(reader.clean_end());
}

// --- Cut files ---------------------------------------------------------------------

struct Layout {
    std::size_t names_end;                  // where the first record after the names starts
    std::vector<std::pair<std::size_t, std::size_t>> records;  // offset, size of each after the names
};

Layout layout_of(const Bytes& bytes)
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
// and the reader says where the cut record starts and how much of it is left.
void expect_every_cut_reads(const Bytes& whole, std::size_t first_cut)
{
    const Layout layout = layout_of(whole);
    std::uint32_t rest_size = 0;
    std::memcpy(&rest_size, &whole[12], 4);
    const std::size_t header_end = 16 + rest_size;
    const std::size_t names_size = layout.names_end - header_end;
    auto refusal = [&](std::size_t cut) -> std::string {
        if (cut < sizeof file_magic) return "not a recording: it does not start with VORNREC";
        if (cut < 16) return "header cut short: " + std::to_string(cut) + " bytes of 16";
        if (cut < header_end) return "header cut short: " + std::to_string(cut) + " bytes of " + std::to_string(header_end);
        if (cut == header_end) return "no names record after the header";
        return "cut at byte " + std::to_string(header_end) + " in record 0: " + std::to_string(cut - header_end) +
               " bytes of " + std::to_string(cut - header_end < 4 ? record_head_size : names_size);
    };

    for (std::size_t cut = first_cut; cut < whole.size(); ++cut) {
        SCOPED_TRACE("cut at " + std::to_string(cut));
        const Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
        Reader reader;
        const bool opened = reader.open(bytes.data(), bytes.size());
        if (cut < layout.names_end) {
            EXPECT_FALSE(opened);
            EXPECT_EQ(reader.error(), refusal(cut));
            continue;
        }
        ASSERT_TRUE(opened) << reader.error();
        std::size_t whole_records = 0;
        while (whole_records < layout.records.size() &&
               layout.records[whole_records].first + layout.records[whole_records].second <= cut)
            ++whole_records;
        Record record;
        std::size_t read = 0;
        while (reader.next(record)) {
            ASSERT_LT(read, whole_records);
            EXPECT_EQ(record.offset, layout.records[read++].first);
        }
        EXPECT_EQ(read, whole_records);
        if (whole_records < layout.records.size() && cut == layout.records[whole_records].first) {
            EXPECT_TRUE(reader.clean_end());  // the data's end exactly
            EXPECT_EQ(reader.stop_reason(), "");
            continue;
        }
        const auto [offset, size] = layout.records[whole_records];
        EXPECT_FALSE(reader.clean_end());
        EXPECT_EQ(reader.stop_reason(), "cut at byte " + std::to_string(offset) + " in record " +
                                            std::to_string(whole_records + 1) + ": " + std::to_string(cut - offset) +
                                            " bytes of " + std::to_string(cut - offset < 4 ? record_head_size : size));
    }
}


TEST(RecFormatCut, CutFilesReadTheirWholeRecords)
{
    struct Case {
        const char* what;
        std::size_t samples;
        std::size_t cut_from_record;  // of the records after the names; 0 with the header too
        bool from_the_start;
    };
    const Case cases[] = {
        {"a small file at every byte", 4, 0, true},
        {"a larger file in its last records", mixed_samples().size(), mixed_samples().size() - 3, false},
    };
    TempDir dir;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Writer writer;
        ASSERT_TRUE(writer.open(settings_for(dir.file("cut")), sample_names));
        std::vector<Sample> samples = mixed_samples();
        samples.resize(each.samples);
        for (const Sample& s : samples) write_sample(writer, s);
        writer.close(100);
        const Bytes whole = file_bytes(dir.file("cut"));
        const Layout layout = layout_of(whole);
        ASSERT_EQ(layout.records.size(), samples.size() + 1);  // and the end record
        expect_every_cut_reads(whole, each.from_the_start ? 0 : layout.records[each.cut_from_record].first);
    }
}

TEST(RecFormatCut, SizesTooSmallAreDamage)
{
    const Bytes good = call_file(native_byte_order()).bytes;
    const Layout layout = layout_of(good);
    for (const std::uint32_t size : {0u, 1u, 7u}) {
        SCOPED_TRACE("size " + std::to_string(size));
        Bytes bytes = good;
        std::memcpy(&bytes[layout.records[1].first], &size, 4);
        Reader reader;
        ASSERT_TRUE(reader.open(bytes.data(), bytes.size()));
        Record record;
        EXPECT_TRUE(reader.next(record));
        EXPECT_FALSE(reader.next(record));
        EXPECT_FALSE(reader.clean_end());
        EXPECT_EQ(reader.stop_reason(), "damaged at byte " + std::to_string(layout.records[1].first) +
                                            " in record 2: size " + std::to_string(size) + " is less than 8");
    }
}

// --- Damage of every kind ---------------------------------------------------------

// Reads everything a damaged file holds, every body to its last byte.
void read_everything(const Bytes& bytes)
{
    Reader reader;
    if (!reader.open(bytes.data(), bytes.size())) {
        EXPECT_FALSE(reader.error().empty());
        return;
    }
    Record record;
    std::size_t records = 0;
    while (reader.next(record)) {
        ASSERT_LE(record.offset + record_head_size + record.body.left(), bytes.size());
        while (!record.body.failed()) record.body.u64();
        unsigned char some[3];
        EXPECT_FALSE(record.body.bytes(some, sizeof some));
        ASSERT_LE(++records, bytes.size() / record_head_size);
    }
    EXPECT_TRUE(reader.clean_end() || !reader.stop_reason().empty());
}

TEST(RecFormatDamage, NoDamageMakesTheReaderMisbehave)
{
    TempDir dir;
    Writer writer;
    ASSERT_TRUE(writer.open(settings_for(dir.file("fuzz")), sample_names));
    for (const Sample& s : mixed_samples()) write_sample(writer, s);
    writer.close(100);
    const Bytes good = file_bytes(dir.file("fuzz"));
    const Layout layout = layout_of(good);
    std::vector<std::size_t> size_fields = {12};  // the header's rest_size, then each record's size
    for (const auto& record : layout.records) size_fields.push_back(record.first);

    std::mt19937 random(20261124);  // the same corruptions every run
    auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const std::uint32_t odd_sizes[] = {0, 1, 7, 8, 9, 0x7fffffff, 0xffffffff, static_cast<std::uint32_t>(good.size())};
    for (int round = 0; round < 4000; ++round) {
        Bytes bytes = good;
        switch (round % 4) {
        case 0:  // flip a few bytes
            for (std::size_t n = 1 + below(4); n > 0; --n) bytes[below(bytes.size())] ^= static_cast<unsigned char>(1 + below(255));
            break;
        case 1: {  // a size field overwritten, in either byte order
            std::uint32_t size = odd_sizes[below(std::size(odd_sizes))];
            if (below(2)) size = (size >> 24) | ((size >> 8) & 0xff00) | ((size << 8) & 0xff0000) | (size << 24);
            std::memcpy(&bytes[size_fields[below(size_fields.size())]], &size, 4);
            break;
        }
        case 2: {  // garbage after a valid header and names
            bytes.resize(layout.names_end + below(200));
            for (std::size_t i = layout.names_end; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(random());
            break;
        }
        default:  // cut anywhere, then a byte flipped
            bytes.resize(below(bytes.size()) + 1);
            bytes[below(bytes.size())] ^= 0xff;
            break;
        }
        SCOPED_TRACE("round " + std::to_string(round));
        read_everything(bytes);
        if (HasFatalFailure()) return;
    }
}

// --- Size cap ------------------------------------------------------------------

// The number each record of a capped recording carries, in order.
std::vector<std::uint64_t> numbers_in(Reader& reader, std::string* last_note = nullptr, bool* ended = nullptr)
{
    std::vector<std::uint64_t> numbers;
    Record record;
    while (reader.next(record)) {
        if (record.type == RecordType::call) numbers.push_back(read_sample(record).time);
        if (record.type == RecordType::note && last_note) {
            record.body.u64();
            *last_note = std::string(record.body.u16(), '\0');
            record.body.bytes(&(*last_note)[0], last_note->size());
        }
        if (record.type == RecordType::end && ended) *ended = true;
    }
    EXPECT_TRUE(reader.clean_end()) << reader.stop_reason();
    return numbers;
}

TEST(RecFormatSizeCap, RotationKeepsTheNewestFiles)
{
    TempDir dir;
    Writer::Settings settings = settings_for(dir.file("cap"));
    settings.max_bytes = 1000;
    settings.keep = 2;
    settings.buffer_bytes = 300;  // rotations meet records in the buffer and in the spill area
    Writer writer;
    ASSERT_TRUE(writer.open(settings, sample_names));
    const std::uint64_t count = 60;
    for (std::uint64_t n = 0; n < count; ++n)
        write_sample(writer, Sample{RecordType::call, 0, 1, n, pattern(n % 5 == 0 ? 400 : 40, unsigned(n))});
    writer.close(count);
    EXPECT_FALSE(exists(settings.path + ".3"));

    std::vector<std::uint64_t> all;
    std::uint32_t sequence = 0;
    bool ended = false;
    for (const char* suffix : {".2", ".1", ""}) {
        SCOPED_TRACE(settings.path + suffix);
        Reader reader;
        ASSERT_TRUE(reader.open_file(settings.path + suffix)) << reader.error();
        EXPECT_LE(file_bytes(settings.path + suffix).size(), settings.max_bytes);
        EXPECT_EQ(reader.names(), sample_names);
        EXPECT_EQ(reader.header().start_time, writer.start_time());
        if (suffix != std::string(".2")) {
            EXPECT_EQ(reader.header().sequence, sequence + 1);
        }
        sequence = reader.header().sequence;
        const std::vector<std::uint64_t> numbers = numbers_in(reader, nullptr, &ended);
        EXPECT_FALSE(numbers.empty());
        all.insert(all.end(), numbers.begin(), numbers.end());
    }
    EXPECT_TRUE(ended);
    EXPECT_GE(sequence, 3u);  // older files were dropped
    ASSERT_FALSE(all.empty());
    EXPECT_GT(all.front(), 0u);
    EXPECT_EQ(all.back(), count - 1);
    for (std::size_t i = 1; i < all.size(); ++i) EXPECT_EQ(all[i], all[i - 1] + 1) << "lost before " << all[i];
}

TEST(RecFormatSizeCap, KeepZeroStopsWithANote)
{
    const std::string note_text = "size cap of 2000 bytes reached: recording stopped";
    const std::size_t note_bytes = record_head_size + 8 + 2 + note_text.size();
    struct Case {
        const char* what;
        std::size_t room_left;  // under the cap when a record does not fit
        bool note;
    };
    const Case cases[] = {
        {"room for the note", note_bytes, true},
        {"no room for the note", note_bytes - 1, false},
    };
    const std::size_t payload = 150;  // records larger than the note
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        TempDir dir;
        Writer::Settings settings = settings_for(dir.file("cap"));
        settings.max_bytes = 2000;
        Writer writer;
        ASSERT_TRUE(writer.open(settings, sample_names));
        const std::size_t framing = record_head_size + 8 + 4;
        std::uint64_t n = 0;
        while (settings.max_bytes - writer.bytes_written() >= each.room_left + 2 * framing + payload)
            write_sample(writer, Sample{RecordType::call, 0, 0, n++, pattern(payload, 1)});
        const std::size_t filler = settings.max_bytes - writer.bytes_written() - each.room_left;
        write_sample(writer, Sample{RecordType::call, 0, 0, n++, pattern(filler - framing, 1)});
        ASSERT_EQ(writer.bytes_written(), settings.max_bytes - each.room_left);
        const std::uint64_t kept = n;
        for (; n < kept + 20; ++n) write_sample(writer, Sample{RecordType::call, 0, 0, n, pattern(payload, 1)});
        EXPECT_TRUE(writer.is_open());
        writer.close(n);
        EXPECT_FALSE(exists(settings.path + ".1"));

        Reader reader;
        ASSERT_TRUE(reader.open_file(settings.path)) << reader.error();
        EXPECT_EQ(file_bytes(settings.path).size(), settings.max_bytes - (each.note ? 0 : each.room_left));
        std::string note;
        bool ended = false;
        const std::vector<std::uint64_t> numbers = numbers_in(reader, &note, &ended);
        EXPECT_EQ(numbers.size(), kept);
        EXPECT_EQ(note, each.note ? note_text : "");
        EXPECT_FALSE(ended);  // nothing after the cap, the end record neither
    }
}

// --- Flushing and allocation ------------------------------------------------------

TEST(RecFormatFlush, RecordsReachTheFileByTheInterval)
{
    struct Case {
        const char* what;
        std::uint64_t interval;
        std::uint64_t step;     // between records' times
        std::size_t records;    // the file holds after record n: n + 1 with every commit flushed
        bool every_commit;
    };
    const Case cases[] = {
        {"interval 0: every commit", 0, 1, 20, true},
        {"interval passed at each record", 1000, 1000, 20, true},
        {"interval not reached: buffered", 1000000000, 1, 20, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        TempDir dir;
        Writer::Settings settings = settings_for(dir.file("flush"));
        settings.flush_interval_ns = each.interval;
        Writer writer;
        ASSERT_TRUE(writer.open(settings, sample_names));
        for (std::size_t n = 0; n < each.records; ++n) {
            write_sample(writer, Sample{RecordType::call, 0, 0, (n + 1) * each.step, pattern(30, 2)});
            Reader reader;
            ASSERT_TRUE(reader.open_file(settings.path)) << reader.error();
            EXPECT_EQ(numbers_in(reader).size(), each.every_commit ? n + 1 : 0) << "after record " << n;
        }
        writer.flush();
        Reader reader;
        ASSERT_TRUE(reader.open_file(settings.path)) << reader.error();
        EXPECT_EQ(numbers_in(reader).size(), each.records);
    }
}

TEST(RecFormatAllocations, NoneForARecordOnceOpen)
{
    for (const std::uint64_t interval : {std::uint64_t{0}, std::uint64_t{100000000}}) {
        SCOPED_TRACE("flush interval " + std::to_string(interval));
        TempDir dir;
        Writer::Settings settings = settings_for(dir.file("alloc"));
        settings.flush_interval_ns = interval;
        settings.buffer_bytes = 4096;  // fills and flushes many times below
        Writer writer;
        ASSERT_TRUE(writer.open(settings, sample_names));
        const Bytes payload = pattern(48, 3);
        auto one_call = [&](std::uint64_t now) {
            writer.begin(RecordType::call, 0, 1);
            writer.put_u64(now);
            writer.put_u32(120);
            writer.put_u32(1);
            writer.put_bytes(payload.data(), payload.size());
            writer.patch_u32(record_head_size + 12, 0);
            writer.set_flags(RecordFlag::outputs);
            writer.commit(now);
        };
        one_call(0);
        const unsigned long allocations = vorn_test::allocations_of([&] {
            for (std::uint64_t n = 1; n <= 2000; ++n) one_call(n * 1000);
            writer.flush();
        });
        EXPECT_EQ(allocations, 0u);
        writer.close(0);
        Reader reader;
        ASSERT_TRUE(reader.open_file(settings.path));
        Record record;
        std::size_t calls = 0;
        while (reader.next(record)) calls += record.type == RecordType::call;
        EXPECT_EQ(calls, 2001u);
    }
}

}  // namespace
