// The recording file's writer: the size cap (rotation, or a stop with a
// note), the flush interval, and no allocation per record.
#include "format.hh"

#include <gtest/gtest.h>

#include "count_allocations.hh"
#include "format_samples.hh"

namespace {

using namespace vorn_rec;
using namespace vorn_rec::test;

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
