// The recording file cut short or damaged: the reader reads what is whole,
// says where it stopped, and never misbehaves.
#include "format.hh"

#include <gtest/gtest.h>

#include <random>

#include "format_samples.hh"

namespace {

using namespace vorn_rec;
using namespace vorn_rec::test;

// --- Cut files ---------------------------------------------------------------------

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


}  // namespace
