// libvornrec preloaded into an unmodified host: this program runs itself
// again (`--scenario NAME`) with LD_PRELOAD=libvornrec.so and VORN_RECORD,
// as an agent would be run, and reads what the recorder wrote.
//
// The environment CTest gives it: VORNREC_TEST_LIBRARY (libvornrec.so),
// VORNREC_TEST_SELF (this program), VORNREC_TEST_NM and
// VORNREC_TEST_READELF (the target's binutils), VORNREC_TEST_EMULATOR (the
// cross build's emulator command, empty natively).
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "count_allocations.hh"
#include "format.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sim.hh"
#include "callbacks.hh"

extern char** environ;

namespace {

// --- The host side: what the preloaded process does -------------------------

const unsigned char station[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
int user_token = 0;  // its address is the user data of every registration

std::vector<unsigned char> frame_from(const unsigned char* source)
{
    std::vector<unsigned char> frame(64, 0);
    std::memset(frame.data(), 0xff, 6);
    std::memcpy(frame.data() + 6, source, 6);
    frame[12] = 0x08;
    return frame;
}

// A check inside the host process: a failure makes it exit 3 with a line.
bool failed_check = false;
void expect(bool holds, const std::string& what)
{
    if (holds) return;
    std::printf("host check failed: %s\n", what.c_str());
    failed_check = true;
}

void start_card()
{
    vorn_sim::reset();
    vorn_sim::configure(vorn_sim::Config());
    int ports = 0;
    expect(vorn_lcmgr_api_init(ports) && ports == 48, "vorn_lcmgr_api_init");
}

// C++ and C calls: setter, getter, a multi-port call, a list output, a
// failing call, and a packet.
void host_calls()
{
    start_card();
    expect(vorn_create_vlan(10), "vorn_create_vlan");
    expect(vorn_set_port_pvid(Usp(1, 1, 3), 10), "vorn_set_port_pvid");
    unsigned int pvid = 0;
    expect(vorn_get_port_pvid(Usp(1, 1, 3), pvid) && pvid == 10, "vorn_get_port_pvid");
    usp_s port4 = {1, 1, 4};
    expect(ctype_vorn_set_port_pvid(&port4, 10) == 1, "ctype_vorn_set_port_pvid");
    pvid = 0;
    expect(ctype_vorn_get_port_pvid(&port4, &pvid) == 1 && pvid == 10, "ctype_vorn_get_port_pvid");
    expect(vorn_add_ports_to_vlan(10, {Usp(1, 1, 1)}, {Usp(1, 1, 2)}), "vorn_add_ports_to_vlan");
    std::list<Usp> tagged, untagged;
    expect(vorn_get_vlan_info(10, tagged, untagged) && tagged.size() == 1, "vorn_get_vlan_info");
    // The counts are read (room for 8) and then written (1 each): the record
    // keeps the 8 the call read.
    usp_s tagged_c[8], untagged_c[8];
    unsigned int tagged_count = 8, untagged_count = 8;
    expect(ctype_vorn_get_vlan_info(10, tagged_c, &tagged_count, untagged_c, &untagged_count) == 1 &&
               tagged_count == 1,
           "ctype_vorn_get_vlan_info");
    expect(!vorn_get_port_pvid(Usp(1, 1, 99), pvid), "vorn_get_port_pvid of no port");
    const unsigned char bytes[4] = {0xde, 0xad, 0xbe, 0xef};
    ctype_packet_s packet = {sizeof bytes, 0, bytes};
    expect(ctype_vorn_send_packet_from_cpu(&packet) == 1, "ctype_vorn_send_packet_from_cpu");
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

// What the host's callbacks heard, printed by the host for the test to read.
void link_heard(LinkStatus* status, Usp* port)
{
    std::printf("link %u/%u/%u state=%d\n", port->unit(), port->slot(), port->port(),
                static_cast<int>(status->state));
}
void mac_heard(L2Addr* address, int reason, void* user_data)
{
    std::printf("mac %02x vlan=%u reason=%d user_data=%s\n", address->mac[5], address->vlan, reason,
                user_data == &user_token ? "mine" : "other");
}
void rx_heard_c(ctype_rx_packet_s* packet, void* user_data)
{
    std::printf("rx %u/%u/%u vlan=%u length=%u byte11=%02x user_data=%s\n", packet->port.unit,
                packet->port.slot, packet->port.port, packet->vlan, packet->length,
                packet->data[11], user_data == &user_token ? "mine" : "other");
}

// Events from outside (a cable, a frame) and from inside a call (a static
// MAC learned), and a deregistration.
void host_callbacks()
{
    start_card();
    expect(vorn_register_link_change_callback(link_heard), "register link change");
    expect(vorn_register_mac_update_callback(mac_heard, &user_token), "register MAC update");
    expect(ctype_vorn_register_rx_packet_callback(rx_heard_c, &user_token) == 1, "register rx");
    expect(vorn_add_ports_to_vlan(1, {}, {Usp(1, 1, 3)}), "vorn_add_ports_to_vlan");
    expect(vorn_sim::receive_frame(Usp(1, 1, 3), 1, frame_from(station)), "receive_frame");
    expect(vorn_sim::set_cable(Usp(1, 1, 3), false), "set_cable");
    phy_state_t state = PHY_STATE_UP;
    expect(vorn_get_port_link_state(Usp(1, 1, 3), state), "vorn_get_port_link_state");
    const unsigned char other[6] = {0x02, 0, 0, 0, 0, 0x77};
    expect(vorn_add_mac_to_port(Usp(1, 1, 3), other, 1), "vorn_add_mac_to_port");
    expect(vorn_deregister_event_callback(LCMGR_EVENT_LINK_CHANGE,
                                          reinterpret_cast<void*>(link_heard), nullptr),
           "deregister link change");
    expect(vorn_sim::set_cable(Usp(1, 1, 3), true), "set_cable again");
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

// Enough calls to fill a few small files.
void host_many_calls()
{
    start_card();
    unsigned int pvid = 0;
    for (int round = 0; round < 1000; ++round) expect(vorn_get_port_pvid(Usp(1, 1, 3), pvid), "get");
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

// Steady state: the same calls, counted; the test compares the count with
// and without the recorder.
void host_allocations()
{
    start_card();
    unsigned int pvid = 0;
    usp_s port = {1, 1, 4};
    const auto calls = [&] {
        for (int round = 0; round < 100; ++round) {
            vorn_set_port_pvid(Usp(1, 1, 3), 1);
            vorn_get_port_pvid(Usp(1, 1, 3), pvid);
            ctype_vorn_set_port_pvid(&port, 1);
            vorn_set_ports_pvid({Usp(1, 1, 5), Usp(1, 1, 6)}, 1);
        }
    };
    calls();
    std::printf("allocations %lu\n", vorn_test::allocations_of(calls));
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

// A forked child calls too, and exits: only the parent's calls are in the
// file, and one end record.
void host_fork()
{
    start_card();
    expect(vorn_set_port_pvid(Usp(1, 1, 3), 1), "before the fork");
    const pid_t child = fork();
    if (child == 0) {
        vorn_set_port_pvid(Usp(1, 1, 4), 1);
        std::exit(0);
    }
    int status = 0;
    expect(child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
               WEXITSTATUS(status) == 0,
           "the child");
    expect(vorn_set_port_pvid(Usp(1, 1, 5), 1), "after the fork");
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

template <class Function>
Function recorder_switch(const char* name)
{
    void* found = dlsym(RTLD_DEFAULT, name);
    expect(found != nullptr, std::string(name) + " not found");
    return reinterpret_cast<Function>(found);
}

// vornsh's way: recording started and stopped by the host itself, the
// callbacks registered before it started heard once it runs.
void host_switches()
{
    const auto start = recorder_switch<int (*)(const char*)>("vornrec_start");
    const auto stop = recorder_switch<int (*)()>("vornrec_stop");
    const auto active = recorder_switch<int (*)()>("vornrec_active");
    const auto error = recorder_switch<const char* (*)()>("vornrec_error");
    if (!start || !stop || !active || !error) return;
    start_card();
    expect(vorn_register_link_change_callback(link_heard), "register link change");
    expect(vorn_set_port_pvid(Usp(1, 1, 3), 1), "before the start");
    expect(active() == 0, "active before the start");
    expect(start("/no/such/directory/file.rec") == -1, "start into no directory");
    std::printf("refused: %s\n", error());
    expect(start(std::getenv("VORNREC_TEST_TARGET")) == 0, "start");
    expect(active() == 1, "active after the start");
    expect(start("/no/such/directory/other.rec") == -1 && active() == 1,
           "a refused start leaves the recording running");
    expect(vorn_sim::set_cable(Usp(1, 1, 3), false), "set_cable");
    expect(vorn_set_port_pvid(Usp(1, 1, 4), 1), "while recording");
    expect(stop() == 0 && active() == 0, "stop");
    expect(vorn_set_port_pvid(Usp(1, 1, 5), 1), "after the stop");
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

// More distinct registrations than a pool has trampolines; the same one
// twice takes no second trampoline.
int heard_by_many = 0;
void many_heard(L2Addr*, int, void* user_data) { heard_by_many += user_data != nullptr; }
void host_many_callbacks()
{
    start_card();
    static int tokens[40];
    for (int n = 0; n < 40; ++n)
        expect(vorn_register_mac_update_callback(many_heard, &tokens[n]), "register");
    expect(!vorn_register_mac_update_callback(many_heard, &tokens[0]), "register again");
    expect(vorn_add_ports_to_vlan(1, {}, {Usp(1, 1, 3)}), "vorn_add_ports_to_vlan");
    expect(vorn_sim::receive_frame(Usp(1, 1, 3), 1, frame_from(station)), "receive_frame");
    expect(heard_by_many == 40, "heard " + std::to_string(heard_by_many));
    expect(vorn_lcmgr_api_terminate(), "vorn_lcmgr_api_terminate");
}

int run_host(const std::string& scenario)
{
    if (scenario == "calls")
        host_calls();
    else if (scenario == "callbacks")
        host_callbacks();
    else if (scenario == "many_calls")
        host_many_calls();
    else if (scenario == "allocations")
        host_allocations();
    else if (scenario == "fork")
        host_fork();
    else if (scenario == "switches")
        host_switches();
    else if (scenario == "many_callbacks")
        host_many_callbacks();
    else
        expect(false, "no scenario " + scenario);
    std::fflush(stdout);
    return failed_check ? 3 : 0;
}

// --- The test side -------------------------------------------------------------

std::string setting(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::vector<std::string> words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> all;
    for (std::string word; in >> word;) all.push_back(word);
    return all;
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

bool exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// The sanitizer runtime this program was built with must come first in a
// preloaded process too.
std::string sanitizer_runtime()
{
    std::string found;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* out) {
            if (std::strstr(info->dlpi_name, "/libasan.so"))
                *static_cast<std::string*>(out) = info->dlpi_name;
            return 0;
        },
        &found);
    return found;
}

struct Finished {
    int status = -1;
    std::string out;
    std::string err;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// Runs `scenario` in a new process with libvornrec preloaded and the
// recorder's variables of `variables` (and none of this process's).
Finished run_preloaded(const std::string& scenario, const Environment& variables, bool preload = true)
{
    const std::string dir = ::testing::TempDir();
    const std::string out_path = dir + "vornrec_host_out", err_path = dir + "vornrec_host_err";
    std::string preload_list = setting("VORNREC_TEST_LIBRARY");
    const std::string asan = sanitizer_runtime();
    if (!asan.empty()) preload_list = asan + ":" + preload_list;
    const std::vector<std::string> emulator = words(setting("VORNREC_TEST_EMULATOR"));

    std::vector<std::string> env;
    for (char** each = environ; *each; ++each)
        if (std::strncmp(*each, "VORN_RECORD", 11) != 0 && std::strncmp(*each, "LD_PRELOAD=", 11) != 0)
            env.push_back(*each);
    for (const auto& variable : variables) env.push_back(variable.first + "=" + variable.second);
    std::vector<std::string> argv = emulator;
    if (preload) {
        if (emulator.empty())
            env.push_back("LD_PRELOAD=" + preload_list);
        else
            argv.insert(argv.end(), {"-E", "LD_PRELOAD=" + preload_list});
    }
    argv.insert(argv.end(), {setting("VORNREC_TEST_SELF"), "--scenario", scenario});

    std::vector<char*> c_argv, c_env;
    for (std::string& each : argv) c_argv.push_back(&each[0]);
    for (std::string& each : env) c_env.push_back(&each[0]);
    c_argv.push_back(nullptr);
    c_env.push_back(nullptr);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        std::freopen(out_path.c_str(), "w", stdout);
        std::freopen(err_path.c_str(), "w", stderr);
        execvpe(c_argv[0], c_argv.data(), c_env.data());
        std::fprintf(stderr, "cannot run %s\n", c_argv[0]);
        _exit(127);
    }
    Finished finished;
    int status = 0;
    // A host that hangs (a lock a forked child never gets back) is stopped
    // after two minutes, its children with it, and fails.
    for (int waited = 0; child > 0; ++waited) {
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child) {
            if (WIFEXITED(status)) finished.status = WEXITSTATUS(status);
            break;
        }
        if (done < 0) break;
        if (waited == 120 * 100) {
            kill(-child, SIGKILL);
            waitpid(child, &status, 0);
            finished.err = "stopped after two minutes\n";
            break;
        }
        usleep(10000);
    }
    finished.out = read_file(out_path);
    finished.err += read_file(err_path);
    return finished;
}

// One record as a line: "vorn_get_port_pvid port=1/1/3 -> 1 pvid=10",
// "event link_change 1/1/3 state=0 ... (outside)".
std::string record_line(const vorn_rec::Reader& reader, const vorn_rec::Record& record)
{
    using vorn_rec::RecordType;
    if (record.type == RecordType::call) {
        const std::string& name = reader.names().at(record.entry);
        const vorn_rec::EntryShape* shape = vorn_rec::find_entry(name);
        if (!shape) return "unknown entry " + name;
        std::vector<vorn_rec::FieldText> inputs, outputs;
        std::int32_t result = 0;
        std::uint64_t time = 0;
        std::uint32_t duration = 0;
        std::string why;
        if (!vorn_rec::read_call_fields(*shape, record, inputs, outputs, result, time, duration, why))
            return name + " unreadable: " + why;
        std::string line = name;
        for (const auto& field : inputs)
            if (field.text.find("0x") != 0) line += " " + field.name + "=" + field.text;
        line += " -> " + std::to_string(result);
        for (const auto& field : outputs) line += " " + field.name + "=" + field.text;
        return line;
    }
    if (record.type == RecordType::event) {
        vorn_rec::EventValues event;
        std::string why;
        if (!vorn_rec::read_event(record, event, why)) return "event unreadable: " + why;
        std::string line = "event " + vorn_rec::event_text(event);
        line += (record.flags & vorn_rec::RecordFlag::during_call) ? " (during call)" : " (outside)";
        if (record.flags & vorn_rec::RecordFlag::c_callback) line += " (C)";
        return line;
    }
    if (record.type == RecordType::note) return "note";
    if (record.type == RecordType::end) return "end";
    return "other";
}

struct Recording {
    bool opened = false;
    std::string error;
    vorn_rec::Header header;
    std::vector<std::string> lines;
    std::vector<vorn_rec::Record> records;
};

Recording read_recording(const std::string& path)
{
    static std::vector<vorn_rec::Reader> readers;  // records point into them
    readers.reserve(64);
    readers.emplace_back();
    vorn_rec::Reader& reader = readers.back();
    Recording recording;
    recording.opened = reader.open_file(path);
    recording.error = reader.error();
    if (!recording.opened) return recording;
    recording.header = reader.header();
    for (vorn_rec::Record record; reader.next(record);) {
        recording.records.push_back(record);
        recording.lines.push_back(record_line(reader, record));
    }
    return recording;
}

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

class Preloaded : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (setting("VORNREC_TEST_LIBRARY").empty() || setting("VORNREC_TEST_SELF").empty())
            GTEST_FAIL() << "run through CTest: VORNREC_TEST_LIBRARY and VORNREC_TEST_SELF unset";
        path_ = ::testing::TempDir() + "vornrec_test_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".rec";
        for (const std::string& each : {path_, path_ + ".1", path_ + ".2", path_ + ".3"})
            std::remove(each.c_str());
    }
    Recording record(const std::string& scenario, Environment variables = {})
    {
        variables.insert(variables.begin(), {"VORN_RECORD", path_});
        const Finished finished = run_preloaded(scenario, variables);
        EXPECT_EQ(finished.status, 0) << finished.out << finished.err;
        out_ = finished.out;
        Recording recording = read_recording(path_);
        EXPECT_TRUE(recording.opened) << recording.error;
        return recording;
    }
    std::string path_;
    std::string out_;
};

// --- Calls -----------------------------------------------------------------

const std::vector<std::string> calls_recorded = {
    "vorn_lcmgr_api_init -> 1 line_card=48",
    "vorn_create_vlan vlan=10 -> 1",
    "vorn_set_port_pvid port=1/1/3 pvid=10 -> 1",
    "vorn_get_port_pvid port=1/1/3 -> 1 pvid=10",
    "ctype_vorn_set_port_pvid port=1/1/4 pvid=10 -> 1",
    "ctype_vorn_get_port_pvid port=1/1/4 -> 1 pvid=10",
    "vorn_add_ports_to_vlan vlan=10 tagged=[1/1/1] untagged=[1/1/2] -> 1",
    "vorn_get_vlan_info vlan=10 -> 1 tagged=[1/1/1] untagged=[1/1/2]",
    "ctype_vorn_get_vlan_info vlan=10 tagged_count=8 untagged_count=8 -> 1 tagged=[1/1/1] "
    "tagged_count=1 untagged=[1/1/2] untagged_count=1",
    "vorn_get_port_pvid port=1/1/99 -> 0",
    "ctype_vorn_send_packet_from_cpu packet=PACKET -> 1",
    "vorn_lcmgr_api_terminate -> 1",
    "end",
};

// The packet's text is the values' business: the test looks at its bytes.
std::vector<std::string> without_packet_text(std::vector<std::string> lines)
{
    for (std::string& line : lines) {
        const std::size_t at = line.find("packet=");
        if (at == std::string::npos) continue;
        line.replace(at, line.find(" -> ") - at, "packet=PACKET");
    }
    return lines;
}

// The send call's packet value: tag, type, length, has_data, data.
struct PacketValue {
    unsigned int tag = 0, type = 0, length = 0, has_data = 0;
    std::vector<unsigned char> data;
};
PacketValue sent_packet(const Recording& recording)
{
    PacketValue value;
    for (std::size_t n = 0; n < recording.lines.size(); ++n) {
        if (recording.lines[n].find("ctype_vorn_send_packet_from_cpu") != 0) continue;
        vorn_rec::Cursor body = recording.records[n].body;
        body.u64(), body.u32(), body.u32();  // time, duration, result
        value.tag = body.u8();
        value.type = body.u32();
        value.length = body.u32();
        value.has_data = body.u8();
        value.data.resize(body.left());
        body.bytes(value.data.data(), value.data.size());
    }
    return value;
}

TEST_F(Preloaded, EachCallRecordedOnceInOrderWithInputsResultAndOutputsOnSuccess)
{
    const Recording recording = record("calls");
    EXPECT_EQ(joined(without_packet_text(recording.lines)), joined(calls_recorded));
    EXPECT_EQ(recording.header.options, 0u);
    const PacketValue packet = sent_packet(recording);
    EXPECT_EQ(packet.has_data, 1u);
    EXPECT_EQ(packet.data, (std::vector<unsigned char>{0xde, 0xad, 0xbe, 0xef}));
    // Times rise with the records.
    std::uint64_t last = 0;
    for (const vorn_rec::Record& each : recording.records) {
        vorn_rec::Cursor body = each.body;
        const std::uint64_t time = body.u64();
        EXPECT_GE(time, last);
        last = time;
    }
}

// --- Options from the environment ----------------------------------------------

TEST_F(Preloaded, OptionsLeaveOutGettersOrPacketBytes)
{
    const Recording no_getters = record("calls", {{"VORN_RECORD_GETTERS", "0"}});
    std::vector<std::string> setters;
    for (const std::string& line : calls_recorded)
        if (line.find("get_") == std::string::npos) setters.push_back(line);
    EXPECT_EQ(joined(without_packet_text(no_getters.lines)), joined(setters));
    EXPECT_EQ(no_getters.header.options, vorn_rec::Options::no_getters);

    const Recording no_packets = record("calls", {{"VORN_RECORD_PACKETS", "0"}});
    EXPECT_EQ(joined(without_packet_text(no_packets.lines)), joined(calls_recorded));
    EXPECT_EQ(no_packets.header.options, vorn_rec::Options::no_packets);
    const PacketValue packet = sent_packet(no_packets);
    EXPECT_EQ(packet.tag, 1u);
    EXPECT_EQ(packet.length, 4u);
    EXPECT_EQ(packet.has_data, 0u);
    EXPECT_TRUE(packet.data.empty());
}

TEST_F(Preloaded, BadSettingIsRefusedByNameAndNothingIsRecorded)
{
    struct Case {
        const char* variable;
        const char* value;
        const char* says;
    };
    const Case cases[] = {
        {"VORN_RECORD_KEEP", "x", "VORN_RECORD_KEEP=x: not a number"},
        {"VORN_RECORD_KEEP", "-1", "VORN_RECORD_KEEP=-1: not a number"},
        {"VORN_RECORD_MAX_BYTES", "12q", "VORN_RECORD_MAX_BYTES=12q: not a size"},
        {"VORN_RECORD_MAX_BYTES", "99999999999G", "VORN_RECORD_MAX_BYTES=99999999999G: not a size"},
        {"VORN_RECORD_GETTERS", "yes", "VORN_RECORD_GETTERS=yes: not 0 or 1"},
        {"VORN_RECORD_PACKETS", "2", "VORN_RECORD_PACKETS=2: not 0 or 1"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.says);
        const Finished finished =
            run_preloaded("calls", {{"VORN_RECORD", path_}, {each.variable, each.value}});
        EXPECT_EQ(finished.status, 0) << finished.out;
        EXPECT_EQ(finished.err.find("vornrec: "), 0u) << finished.err;
        EXPECT_NE(finished.err.find(each.says), std::string::npos) << finished.err;
        EXPECT_EQ(std::count(finished.err.begin(), finished.err.end(), '\n'), 1) << finished.err;
        EXPECT_FALSE(exists(path_));
    }
}

TEST_F(Preloaded, SizeCapRotatesThroughTheEnvironment)
{
    // Each file starts with the header and the names record: room for 4k
    // of calls after them.
    const Recording whole = record("calls");
    ASSERT_FALSE(whole.records.empty());
    const std::uint64_t cap = whole.records[0].offset + 4096;
    record("many_calls", {{"VORN_RECORD_MAX_BYTES", std::to_string(cap / 1024 + 1) + "k"},
                          {"VORN_RECORD_KEEP", "2"}});
    EXPECT_FALSE(exists(path_ + ".3"));
    std::uint32_t sequence = ~0u;
    std::size_t calls = 0;
    for (const std::string& file : {path_ + ".2", path_ + ".1", path_}) {
        SCOPED_TRACE(file);
        const Recording part = read_recording(file);
        ASSERT_TRUE(part.opened) << part.error;
        if (sequence != ~0u) {
            EXPECT_EQ(part.header.sequence, sequence + 1);
        }
        sequence = part.header.sequence;
        struct stat info;
        ASSERT_EQ(stat(file.c_str(), &info), 0);
        EXPECT_LE(static_cast<std::uint64_t>(info.st_size), (cap / 1024 + 1) * 1024);
        for (const std::string& line : part.lines)
            if (line.find("vorn_get_port_pvid") == 0) ++calls;
    }
    EXPECT_GE(sequence, 2u);
    EXPECT_GT(calls, 0u);
    EXPECT_LT(calls, 1000u);  // the oldest files were dropped
}

TEST_F(Preloaded, WithoutVornRecordItForwardsAndRecordsNothing)
{
    const Finished finished = run_preloaded("calls", {});
    EXPECT_EQ(finished.status, 0) << finished.out << finished.err;
    EXPECT_EQ(finished.err, "");
    EXPECT_FALSE(exists(path_));
    // The same host without the recorder, for comparison.
    const Finished plain = run_preloaded("calls", {}, false);
    EXPECT_EQ(plain.status, 0) << plain.out << plain.err;
    EXPECT_EQ(finished.out, plain.out);
}

// --- Callbacks -------------------------------------------------------------------

TEST_F(Preloaded, CallbacksAreEventsInOrderAndStillReachTheHost)
{
    const Recording recording = record("callbacks");
    std::string frame_hex;
    char hex[3];
    for (const unsigned char byte : frame_from(station))
        std::snprintf(hex, sizeof hex, "%02x", byte), frame_hex += hex;
    // The frame's source learned and the frame itself come from outside;
    // the cable too, heard until deregistered; the static MAC comes from
    // inside the call that adds it, and is recorded before the call ends.
    const std::vector<std::string> expected = {
        "vorn_lcmgr_api_init -> 1 line_card=48",
        "vorn_register_link_change_callback -> 1",
        "vorn_register_mac_update_callback -> 1",
        "ctype_vorn_register_rx_packet_callback -> 1",
        "vorn_add_ports_to_vlan vlan=1 tagged=[] untagged=[1/1/3] -> 1",
        "event mac_update 00:1b:21:0a:0b:0c flags=0 vlan=1 port=1/1/3 reason=1 (outside)",
        "event rx_packet 1/1/3 vlan=1 length=64 data=" + frame_hex + " (outside) (C)",
        "event link_change 1/1/3 state=0 speed=2 duplex=1 (outside)",
        "vorn_get_port_link_state port=1/1/3 -> 1 state=0",
        "event mac_update 02:00:00:00:00:77 flags=1 vlan=1 port=1/1/3 reason=1 (during call)",
        "vorn_add_mac_to_port port=1/1/3 mac=02:00:00:00:00:77 vlan=1 -> 1",
        "vorn_deregister_event_callback event=1 user_data=null -> 1",
        "vorn_lcmgr_api_terminate -> 1",
        "end",
    };
    EXPECT_EQ(joined(recording.lines), joined(expected));
    EXPECT_EQ(out_,
              "mac 0c vlan=1 reason=1 user_data=mine\n"
              "rx 1/1/3 vlan=1 length=64 byte11=0c user_data=mine\n"
              "link 1/1/3 state=0\n"
              "mac 77 vlan=1 reason=1 user_data=mine\n");
}

TEST_F(Preloaded, PacketsOffLeavesReceivedFramesOut)
{
    const Recording recording = record("callbacks", {{"VORN_RECORD_PACKETS", "0"}});
    for (const std::string& line : recording.lines)
        EXPECT_EQ(line.find("event rx_packet"), std::string::npos) << line;
    EXPECT_NE(out_.find("rx 1/1/3"), std::string::npos) << out_;
}

TEST_F(Preloaded, RecordingAllocatesNothingPerCall)
{
    record("allocations");
    const std::string recorded = out_;
    const Finished plain = run_preloaded("allocations", {}, false);
    EXPECT_EQ(plain.status, 0) << plain.out << plain.err;
    EXPECT_NE(recorded.find("allocations "), std::string::npos) << recorded;
    EXPECT_EQ(recorded, plain.out);
}

TEST_F(Preloaded, ForkedChildWritesNothingIntoTheParentsFile)
{
    const Recording recording = record("fork");
    const std::vector<std::string> expected = {
        "vorn_lcmgr_api_init -> 1 line_card=48",
        "vorn_set_port_pvid port=1/1/3 pvid=1 -> 1",
        "vorn_set_port_pvid port=1/1/5 pvid=1 -> 1",
        "vorn_lcmgr_api_terminate -> 1",
        "end",
    };
    EXPECT_EQ(joined(recording.lines), joined(expected));
}

TEST_F(Preloaded, HostStartsAndStopsRecordingItself)
{
    const Finished finished =
        run_preloaded("switches", {{"VORNREC_TEST_TARGET", path_}});
    EXPECT_EQ(finished.status, 0) << finished.out << finished.err;
    EXPECT_NE(finished.out.find("refused: "), std::string::npos) << finished.out;
    EXPECT_NE(finished.out.find("/no/such/directory/file.rec"), std::string::npos) << finished.out;
    const Recording recording = read_recording(path_);
    ASSERT_TRUE(recording.opened) << recording.error;
    const std::vector<std::string> expected = {
        "event link_change 1/1/3 state=0 speed=2 duplex=1 (outside)",
        "vorn_set_port_pvid port=1/1/4 pvid=1 -> 1",
        "end",
    };
    EXPECT_EQ(joined(recording.lines), joined(expected));
}

TEST_F(Preloaded, CallbacksBeyondThePoolAreRegisteredUnrecordedWithANote)
{
    const Recording recording = record("many_callbacks");
    std::size_t notes = 0, events = 0, registrations = 0;
    for (const std::string& line : recording.lines) {
        notes += line == "note";
        events += line.find("event mac_update") == 0;
        registrations += line.find("vorn_register_mac_update_callback") == 0;
    }
    EXPECT_EQ(registrations, 41u);
    EXPECT_EQ(notes, 40u - vorn_rec::trampolines_per_type);
    EXPECT_EQ(events, vorn_rec::trampolines_per_type);
}

// --- What libvornrec exports -----------------------------------------------------

std::string command_output(const std::string& command)
{
    std::string text;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[4096];
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            text.append(buffer, got);
        pclose(pipe);
    }
    return text;
}

TEST(Exports, EveryEntryPointOfBothTablesAndTheSwitchesOnly)
{
    const std::string library = setting("VORNREC_TEST_LIBRARY");
    ASSERT_FALSE(library.empty());
    std::set<std::string> expected = {"vornrec_start", "vornrec_stop", "vornrec_active",
                                      "vornrec_error"};
#define VORN_ENTRY_POINT(name, parameters, dir_kinds) expected.insert("vorn_" #name);
#include "entry_points.def"
#undef VORN_ENTRY_POINT
#define VORN_C_ENTRY_POINT(name, parameters, dir_kinds) expected.insert("ctype_vorn_" #name);
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
    // "0001a2b0 T vorn_get_port_pvid(Usp const&, unsigned int&)": the name
    // before the parameters.
    const std::string symbols =
        command_output(setting("VORNREC_TEST_NM") + " -D -C --defined-only " + library);
    std::set<std::string> exported;
    std::istringstream lines(symbols);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() < 3) continue;
        std::string name = line.substr(line.find(' ', line.find(' ') + 1) + 1);
        name = name.substr(0, name.find('('));
        if (name.find('@') != std::string::npos) name = name.substr(0, name.find('@'));
        exported.insert(name);
    }
    std::vector<std::string> missing, extra;
    for (const std::string& name : expected)
        if (!exported.count(name)) missing.push_back(name);
    for (const std::string& name : exported)
        if (!expected.count(name)) extra.push_back(name);
    EXPECT_EQ(joined(missing), "") << "not exported";
    EXPECT_EQ(joined(extra), "") << "exported beyond the entry points and vornrec_*";
    EXPECT_GT(exported.size(), 300u) << symbols;

    const std::string dynamic = command_output(setting("VORNREC_TEST_READELF") + " -d " + library);
    EXPECT_NE(dynamic.find("(NEEDED)"), std::string::npos) << dynamic;
    EXPECT_EQ(dynamic.find("vornlcapi"), std::string::npos) << dynamic;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::string(argv[1]) == "--scenario") return run_host(argv[2]);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
