// The replayer over recordings written record by record: what it reports for
// calls and events that differ, that it cannot map or cannot cause, and what
// it leaves alone (a record type it does not know, another interface's
// fingerprint).  Recordings of real programs are the round-trip test's.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "format.hh"
#include "replay.hh"

namespace vorn_rec {
namespace {

using Compose = std::function<void(Writer&)>;

void put_number(Writer& out, std::uint64_t value)
{
    out.put_u8(1);
    out.put_u64(value);
}

void put_usp(Writer& out, unsigned int unit, unsigned int slot, unsigned int port)
{
    out.put_u8(1);
    out.put_u32(unit);
    out.put_u32(slot);
    out.put_u32(port);
}

void put_address(Writer& out) { put_number(out, 0x1234); }

// Events carry their values without tags.
void put_event_port(Writer& out, unsigned int port)
{
    out.put_u32(1);
    out.put_u32(1);
    out.put_u32(port);
}

const unsigned char server_mac[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};

void put_mac(Writer& out)
{
    out.put_u8(1);
    out.put_bytes(server_mac, sizeof server_mac);
}

// A recording written record by record, with this build's names and
// whatever else a case adds.
class Recording {
public:
    explicit Recording(const std::vector<std::string>& names)
        : path_(file_name())
    {
        Writer::Settings settings;
        settings.path = path_;
        EXPECT_TRUE(writer_.open(settings, names)) << writer_.error();
    }

    // A call at `time` ns: its inputs, and its outputs when given.
    Recording& call(std::uint16_t entry, std::int32_t result, const Compose& inputs, const Compose& outputs = nullptr,
                    std::uint64_t time = 0, std::uint32_t duration = 0)
    {
        writer_.begin(RecordType::call, outputs ? RecordFlag::outputs : 0, entry);
        writer_.put_u64(time);
        writer_.put_u32(duration);
        writer_.put_u32(static_cast<std::uint32_t>(result));
        if (inputs) inputs(writer_);
        if (outputs) outputs(writer_);
        writer_.commit(time);
        return *this;
    }

    Recording& event(EventKind kind, std::uint8_t flags, const Compose& values)
    {
        writer_.begin(RecordType::event, flags, static_cast<std::uint16_t>(kind));
        writer_.put_u64(0);
        values(writer_);
        writer_.commit(0);
        return *this;
    }

    Recording& note(const std::string& text)
    {
        writer_.note(0, text);
        return *this;
    }

    Recording& unknown_record()
    {
        writer_.begin(static_cast<RecordType>(77), 0, 0);
        writer_.put_u64(0);
        writer_.commit(0);
        return *this;
    }

    std::string close()
    {
        writer_.close(0);
        return path_;
    }

private:
    static std::string file_name()
    {
        std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        std::replace(name.begin(), name.end(), '/', '_');
        return ::testing::TempDir() + "replay_test_" + name + ".vrec";
    }

    std::string path_;
    Writer writer_;
};

struct Replayed {
    ReplayStatus status;
    std::string out;
    std::vector<std::string> differences;
};

Replayed replay(const std::string& path)
{
    std::ostringstream out, err;
    Replayed replayed{replay_recording(path, ReplaySettings(), out, err), out.str(), {}};
    std::istringstream lines(replayed.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("record ", 0) == 0) replayed.differences.push_back(line);
    }
    EXPECT_EQ(err.str(), "");
    return replayed;
}

// The record numbers of a file's calls and events, in order.
std::vector<std::size_t> indexes(const std::string& path)
{
    Reader reader;
    EXPECT_TRUE(reader.open_file(path)) << reader.error();
    std::vector<std::size_t> found;
    for (Record record; reader.next(record);) {
        if (record.type == RecordType::call || record.type == RecordType::event) found.push_back(record.index);
    }
    return found;
}

const std::vector<std::string> names = {
    "vorn_lcmgr_api_init",   "vorn_lcmgr_api_terminate",        "vorn_get_port_pvid",
    "vorn_create_vlan",      "vorn_register_mac_update_callback", "vorn_add_mac_to_port",
    "vorn_register_link_change_callback", "vorn_frobnicate"};
enum : std::uint16_t { init, terminate, get_pvid, create_vlan, register_mac, add_mac, register_link, frobnicate };

Recording& card_up(Recording& recording)
{
    return recording.call(init, 1, nullptr, [](Writer& out) { put_number(out, 48); });
}

void port_3(Writer& out) { put_usp(out, 1, 1, 3); }
void pvid(Writer& out, std::uint64_t value) { put_number(out, value); }
void link_down_at_5(Writer& out)
{
    put_event_port(out, 5);
    out.put_u32(0);  // down
    out.put_u32(2);  // the reference host's speed and duplex
    out.put_u32(1);
}

struct Case {
    const char* name;
    std::function<void(Recording&)> compose;
    ReplayStatus status;
    // The differences, with %N replaced by the number of the file's
    // call-or-event record N (from 0).
    std::vector<std::string> differences;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

std::string with_indexes(std::string line, const std::vector<std::size_t>& found)
{
    const std::size_t at = line.find('%');
    if (at == std::string::npos) return line;
    const std::size_t n = static_cast<std::size_t>(line[at + 1] - '0');
    return line.substr(0, at) + std::to_string(found.at(n)) + line.substr(at + 2);
}

class ReplayCases : public ::testing::TestWithParam<Case> {};

TEST_P(ReplayCases, ReportsExactlyTheDifferences)
{
    const Case& c = GetParam();
    Recording recording(names);
    c.compose(recording);
    const std::string path = recording.close();
    const Replayed replayed = replay(path);
    std::vector<std::string> wanted;
    for (const std::string& line : c.differences) wanted.push_back(with_indexes(line, indexes(path)));
    EXPECT_EQ(replayed.status, c.status) << replayed.out;
    EXPECT_EQ(replayed.differences, wanted) << replayed.out;
    std::remove(path.c_str());
}

const Case cases[] = {
    {"Matching",
     [](Recording& r) {
         card_up(r).call(get_pvid, 1, port_3, [](Writer& out) { pvid(out, 1); }).call(terminate, 1, nullptr);
     },
     replay_matched, {}},
    {"OutputDiffers",
     [](Recording& r) {
         card_up(r).call(get_pvid, 1, port_3, [](Writer& out) { pvid(out, 5); }).call(terminate, 1, nullptr);
     },
     replay_differed, {"record %1 vorn_get_port_pvid: pvid: recorded 5, replayed 1"}},
    {"ResultDiffers",
     [](Recording& r) { r.call(get_pvid, 1, port_3, [](Writer& out) { pvid(out, 1); }); },
     replay_differed, {"record %0 vorn_get_port_pvid: result: recorded true, replayed false"}},
    {"UnknownEntryPoint", [](Recording& r) { r.call(frobnicate, 1, nullptr); }, replay_differed,
     {"record %0 vorn_frobnicate: not an entry point of this library"}},
    {"EntryOutsideTheNames", [](Recording& r) { r.call(42, 1, nullptr); }, replay_differed,
     {"record %0 call: entry 42 is not in the names record"}},
    {"OutsideLinkChangeCaused",
     [](Recording& r) {
         card_up(r).call(register_link, 1, put_address);
         r.event(EventKind::link_change, 0, link_down_at_5).call(terminate, 1, nullptr);
     },
     replay_matched, {}},
    {"LinkChangeToACallbackNeverRegistered",
     [](Recording& r) {
         card_up(r).call(register_link, 1, put_address);
         r.event(EventKind::link_change, RecordFlag::c_callback, link_down_at_5).call(terminate, 1, nullptr);
     },
     replay_differed,
     {"record %2 event link_change: recorded port=1/1/5 state=0 speed=2 duplex=1, replayed none",
      "record %3 event link_change: recorded none, replayed port=1/1/5 state=0 speed=2 duplex=1"}},
    {"MacUpdateWithoutACause",
     [](Recording& r) {
         card_up(r).call(register_mac, 1, [](Writer& out) { put_address(out), put_address(out); });
         r.event(EventKind::mac_update, 0, [](Writer& out) {
             out.put_bytes(server_mac, sizeof server_mac);
             out.put_u16(0);
             out.put_u32(10);
             put_event_port(out, 3);
             out.put_u32(1);
         });
         r.call(terminate, 1, nullptr);
     },
     replay_differed,
     {"record %2 event mac_update: recorded port=1/1/3 mac=00:1b:21:0a:0b:0c flags=0 vlan=10 reason=1, "
      "replayed none"}},
    {"EventRaisedByACallNotRecorded",
     [](Recording& r) {
         card_up(r).call(register_mac, 1, [](Writer& out) { put_address(out), put_address(out); });
         r.call(create_vlan, 1, [](Writer& out) { put_number(out, 10); });
         r.call(add_mac, 1, [](Writer& out) {
             port_3(out);
             put_mac(out);
             put_number(out, 10);
         });
         r.call(terminate, 1, nullptr);
     },
     replay_differed,
     {"record %3 event mac_update: recorded none, replayed port=1/1/3 mac=00:1b:21:0a:0b:0c flags=1 vlan=10 "
      "reason=1"}},
    {"UnknownRecordTypeSkipped",
     [](Recording& r) { card_up(r).unknown_record().call(terminate, 1, nullptr); }, replay_matched, {}},
};

INSTANTIATE_TEST_SUITE_P(Replay, ReplayCases, ::testing::ValuesIn(cases),
                         [](const ::testing::TestParamInfo<Case>& info) { return info.param.name; });

TEST(Replay, AnotherInterfaceIsANoteNotADifference)
{
    Recording recording(names);
    card_up(recording).call(terminate, 1, nullptr);
    const std::string path = recording.close();
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(16);  // the fingerprint, after magic, version, order, word size and rest size
        file.write("\x5a\x5a\x5a\x5a", 4);
    }
    const Replayed replayed = replay(path);
    EXPECT_EQ(replayed.status, replay_matched) << replayed.out;
    EXPECT_TRUE(std::regex_search(replayed.out, std::regex("^note: recorded with interface [0-9a-f]{16}, this "
                                                           "library's is [0-9a-f]{16}: calls are matched by name\n")))
        << replayed.out;
    EXPECT_NE(replayed.out.find("no differences"), std::string::npos) << replayed.out;
}

TEST(Replay, PrintsOneLinePerRecord)
{
    Recording recording(names);
    card_up(recording).call(get_pvid, 1, port_3, [](Writer& out) { pvid(out, 10); }, 1234000, 800);
    recording.event(EventKind::link_change, RecordFlag::during_call, link_down_at_5).unknown_record();
    recording.call(frobnicate, 0, nullptr).note("size cap reached: recording stopped");
    const std::string path = recording.close();
    const std::vector<std::size_t> found = indexes(path);
    std::ostringstream out, err;
    EXPECT_EQ(print_recording(path, out, err), replay_matched);
    const std::string printed = out.str();
    for (const std::string& line :
         {"#" + std::to_string(found[1]) + " +0.001234 vorn_get_port_pvid(port=1/1/3) -> true pvid=10 (0.8 us)\n",
          "#" + std::to_string(found[2]) +
              " +0.000000 event link_change port=1/1/5 state=0 speed=2 duplex=1 (during call)\n",
          "#" + std::to_string(found[3]) + " +0.000000 vorn_frobnicate (not an entry point of this library)\n",
          "#" + std::to_string(found[3] + 1) + " +0.000000 note \"size cap reached: recording stopped\"\n",
          std::string("1 of unknown types skipped\n")}) {
        EXPECT_NE(printed.find(line), std::string::npos) << "no line " << line << "in\n" << printed;
    }
    EXPECT_EQ(printed.rfind("recording: format 1, library ", 0), 0u) << printed;
}

TEST(Replay, PassesTheRecordersNotesOn)
{
    Recording recording(names);
    card_up(recording).note("size cap reached: recording stopped");
    const std::string path = recording.close();
    const Replayed replayed = replay(path);
    EXPECT_EQ(replayed.status, replay_matched) << replayed.out;
    const std::string line = "note: record " + std::to_string(indexes(path).at(0) + 1) +
                             ": size cap reached: recording stopped\n";
    EXPECT_NE(replayed.out.find(line), std::string::npos) << replayed.out;
}

TEST(Replay, AFileThatIsNoRecordingIsUnreadable)
{
    const std::string path = ::testing::TempDir() + "replay_test_not_a_recording";
    std::ofstream(path) << "not a recording\n";
    std::ostringstream out, err;
    EXPECT_EQ(replay_recording(path, ReplaySettings(), out, err), replay_unreadable);
    EXPECT_EQ(err.str().rfind("vorn-replay: " + path + ": ", 0), 0u) << err.str();
    EXPECT_EQ(out.str(), "");
    std::remove(path.c_str());
}

}  // namespace
}  // namespace vorn_rec
