// The recording file: what the writer puts down reads back the same, in
// either byte order; headers newer or not ours; records of unknown types.
#include "format.hh"

#include <gtest/gtest.h>

#include <functional>

#include "format_samples.hh"

namespace {

using namespace vorn_rec;
using namespace vorn_rec::test;

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
    if (exists("/dev/full")) {  // refuses every write
        EXPECT_FALSE(writer.open(settings_for("/dev/full"), sample_names));
        EXPECT_EQ(writer.error().rfind("cannot write /dev/full: ", 0), 0u) << writer.error();
        EXPECT_FALSE(writer.is_open());
    }
}

// --- Either byte order ------------------------------------------------------------

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
        {"names past their record", [&](Bytes& b) {
             const std::uint16_t count = 200;
             std::memcpy(&b[names_at + 8], &count, 2);
         },
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


}  // namespace
