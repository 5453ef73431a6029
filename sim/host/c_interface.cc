// The reference host's host-side operations as C (vornsim.h): the card's
// settings, refusals, faults, the clock, cables, tracing, capture and ports
// on Linux interfaces.  The frame functions are in c_results.cc.  Each
// function turns its C arguments into the C++ interface's (vorn_sim.hh) and
// answers 1 or 0; what it refuses itself goes through the host's refusals.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "c_interface.hh"

namespace vorn_sim {
namespace c_interface {
namespace {

// --- Settings: NAME=VALUE words over Config ------------------------------------

struct Setting {
    const char* name;
    unsigned long long max;
    unsigned long long (*get)(const Config&);
    void (*set)(Config&, unsigned long long);
};

template <auto Field>
unsigned long long get(const Config& config)
{
    return config.*Field;
}

template <auto Field>
void set(Config& config, unsigned long long value)
{
    config.*Field = static_cast<std::remove_reference_t<decltype(config.*Field)>>(value);
}

template <auto Field>
constexpr Setting setting(const char* name, unsigned long long max)
{
    return Setting{name, max, get<Field>, set<Field>};
}

// Bounds: the port counts are vornsh's; the tables' keep a card's memory
// within reason.
const Setting settings[] = {
    setting<&Config::units>("units", 64),
    setting<&Config::slots>("slots", 64),
    setting<&Config::ports_per_slot>("ports", 64),
    setting<&Config::max_lags>("lags", 1024),
    setting<&Config::max_lag_members>("lag_members", 64),
    setting<&Config::mac_entries>("mac_entries", 1024 * 1024),
    setting<&Config::l3_interfaces>("l3_interfaces", 64 * 1024),
    setting<&Config::hosts>("hosts", 1024 * 1024),
    setting<&Config::ipv4_routes>("ipv4_routes", 1024 * 1024),
    setting<&Config::ipv6_routes>("ipv6_routes", 1024 * 1024),
    setting<&Config::flows>("flows", 64 * 1024),
    setting<&Config::filters>("filters", 64 * 1024),
};

const Setting* setting_named(const std::string& name)
{
    for (const Setting& s : settings)
        if (name == s.name) return &s;
    return nullptr;
}

const char* const blanks = " \t\r\n";

// One NAME=VALUE word into `config`, or a refusal of "configure".
bool apply_word(const std::string& word, Config& config)
{
    const std::string::size_type equals = word.find('=');
    if (equals == std::string::npos) return refuse("configure", "expected NAME=VALUE, got '", word, "'");
    const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
    const Setting* s = setting_named(name);
    if (!s) return refuse("configure", "unknown setting '", name, "'");
    if (value.empty() || value.find_first_not_of("0123456789") != std::string::npos)
        return refuse("configure", name, ": '", value, "' is not a number");
    errno = 0;
    const unsigned long long n = std::strtoull(value.c_str(), nullptr, 10);
    if (errno == ERANGE || n < 1 || n > s->max) return refuse("configure", name, " must be 1..", s->max);
    s->set(config, n);
    return true;
}

// --- Refusals: what was handed out, and what was taken ---------------------------

// The texts one function handed out, valid until its next call.
struct Handed {
    std::string operation;
    std::string reason;
};

struct Refusals {
    unsigned long taken = 0;  // the refusal count at the last take (or at the library's last lookup)
    Handed last;
    Handed take;
};

Refusals& refusals()
{
    static Refusals instance;
    return instance;
}

// The most recent refusal when `any`, else none (slot -1, empty texts).
int hand_out(bool any, Handed& texts, vornsim_refusal* out)
{
    const Refusal& last = last_refusal();
    texts.operation = any ? last.operation : std::string();
    texts.reason = any ? last.reason : std::string();
    if (out) *out = vornsim_refusal{any ? last.slot : -1, texts.operation.c_str(), texts.reason.c_str()};
    return answer(any);
}

// --- Faults and ports on Linux interfaces -----------------------------------------

const char* text_or_empty(const char* text) { return text ? text : ""; }

bool known_slot(const char* action, int slot)
{
    return (slot >= 0 && slot < vorn_meta::slot_count) ||
           refuse(action, "unknown SDK slot ", slot, " (0..", vorn_meta::slot_count - 1, ")");
}

// --- Tracing ----------------------------------------------------------------------

std::unique_ptr<std::ofstream>& trace_file()
{
    static std::unique_ptr<std::ofstream> file;
    return file;
}

void stop_trace()
{
    set_trace_stream(nullptr);
    trace_file().reset();
}

}  // namespace
}  // namespace c_interface
}  // namespace vorn_sim

using namespace vorn_sim::c_interface;
using vorn_sim::refuse;

// --- The card -------------------------------------------------------------------------

int vornsim_configure(const char* text)
{
    keep_unreported_frames();
    if (!given("configure", text, "settings")) return 0;
    vorn_sim::Config config = vorn_sim::config();
    const std::string all = text;
    for (std::string::size_type at = all.find_first_not_of(blanks); at != std::string::npos;) {
        const std::string::size_type end = all.find_first_of(blanks, at);
        if (!apply_word(all.substr(at, end == std::string::npos ? std::string::npos : end - at), config)) return 0;
        at = all.find_first_not_of(blanks, end);
    }
    vorn_sim::configure(config);
    return 1;
}

const char* vornsim_settings(void)
{
    static std::string text;
    text.clear();
    for (const Setting& s : settings)
        text += (text.empty() ? "" : " ") + std::string(s.name) + "=" + std::to_string(s.get(vorn_sim::config()));
    return text.c_str();
}

void vornsim_reset(void)
{
    vorn_sim::reset();
    stop_trace();
    refusals().taken = 0;
    reset_frames();
}

// --- Why the host refused -----------------------------------------------------------

unsigned long vornsim_refusal_count(void) { return vorn_sim::refusal_count(); }

int vornsim_last_refusal(vornsim_refusal* out)
{
    return hand_out(vorn_sim::refusal_count() > 0, refusals().last, out);
}

int vornsim_take_refusal(vornsim_refusal* out)
{
    const unsigned long count = vorn_sim::refusal_count();
    Refusals& r = refusals();
    if (count < r.taken) r.taken = 0;  // the host was reset behind this interface's back
    r.taken = std::max(r.taken, vorn_sim::host().refusals_at_lookup);
    const bool fresh = count > r.taken;
    r.taken = count;
    return hand_out(fresh, r.take, out);
}

// --- Faults -------------------------------------------------------------------------------

int vornsim_slot(const char* operation)
{
    for (int slot = 0; operation && slot < vorn_meta::slot_count; ++slot)
        if (std::strcmp(operation, vorn_meta::slot_name(static_cast<vorn_meta::Slot>(slot))) == 0) return slot;
    return -1;
}

int vornsim_fail_slot(int slot, unsigned int nth)
{
    if (!known_slot("fail_slot", slot)) return 0;
    vorn_sim::fail_slot(slot, nth);
    return 1;
}

int vornsim_fail_slot_for_port(int slot, const usp_s* port, unsigned int nth)
{
    const char* const action = "fail_slot_for_port";
    Usp usp;
    Mp mp;
    if (!known_slot(action, slot) || !port_of(action, port, usp) || !vorn_sim::mapped(action, usp, mp)) return 0;
    vorn_sim::fail_slot_for_port(slot, mp, nth);
    return 1;
}

void vornsim_clear_faults(void) { vorn_sim::clear_faults(); }

// --- Clock, cables, spanning-tree instances --------------------------------------------

void vornsim_advance_clock(unsigned int seconds) { vorn_sim::advance_clock(seconds); }

int vornsim_set_cable(const usp_s* port, int plugged)
{
    Usp usp;
    return answer(port_of("set_cable", port, usp) && vorn_sim::set_cable(usp, plugged != 0));
}

int vornsim_set_vlan_instance(unsigned int vlan, unsigned int instance)
{
    return answer(vorn_sim::set_vlan_instance(vlan, instance));
}

// --- Tracing and capture ------------------------------------------------------------------

int vornsim_set_trace_file(const char* path)
{
    if (!path || !*path) {
        stop_trace();
        return 1;
    }
    std::unique_ptr<std::ofstream> file(new std::ofstream(path, std::ios::app));
    if (!*file) return answer(refuse("set_trace_file", "cannot open ", path, ": ", std::strerror(errno)));
    stop_trace();
    trace_file() = std::move(file);
    vorn_sim::set_trace_stream(trace_file().get());
    return 1;
}

int vornsim_start_capture(const usp_s* ports, size_t count, const char* path)
{
    const char* const action = "start_capture";
    if ((count && !given(action, ports, "ports")) || !given(action, path, "path")) return 0;
    std::vector<Usp> list;
    for (size_t i = 0; i < count; ++i) list.emplace_back(ports[i].unit, ports[i].slot, ports[i].port);
    return answer(vorn_sim::start_capture(list, path));
}

void vornsim_stop_capture(void) { vorn_sim::stop_capture(); }

// --- Ports on Linux interfaces -------------------------------------------------------------

int vornsim_attach_tap(const usp_s* port, const char* name, const char* netns)
{
    Usp usp;
    return answer(port_of("attach_tap", port, usp) && given("attach_tap", name, "interface name") &&
                  vorn_sim::attach_tap(usp, name, text_or_empty(netns)));
}

int vornsim_attach_device(const usp_s* port, const char* name)
{
    Usp usp;
    return answer(port_of("attach_device", port, usp) && given("attach_device", name, "interface name") &&
                  vorn_sim::attach_device(usp, name));
}

int vornsim_detach(const usp_s* port)
{
    Usp usp;
    return answer(port_of("detach", port, usp) && vorn_sim::detach(usp));
}

int vornsim_serve(double seconds) { return answer(vorn_sim::serve(seconds)); }

void vornsim_stop_serving(void) { vorn_sim::stop_serving(); }
