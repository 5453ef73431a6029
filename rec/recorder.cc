// The process's recorder: the settings from the environment, the one writer
// under one lock, and libvornrec's start at load and close at exit.
#include "recorder.hh"

#include <dlfcn.h>
#include <pthread.h>
#include <time.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "values.hh"

namespace vorn_rec {
namespace {

std::mutex recorder_lock;
Writer* open_writer = nullptr;     // while active
Writer* parents_writer = nullptr;  // a forked child's copy of it: never flushed, never freed
std::uint64_t clock_base = 0;   // monotonic ns at start
char last_error[512];  // no destructor: read by vornrec_error() at any time
Recorder the_recorder;

void set_error(const std::string& why)
{
    std::snprintf(last_error, sizeof last_error, "%s", why.c_str());
}

std::uint64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
           static_cast<std::uint64_t>(now.tv_nsec);
}

// "12", "64k", "10M", "1G" (k = 1024): false when `text` is anything else.
bool parse_size(const std::string& text, std::uint64_t& value)
{
    if (text.empty() || text[0] < '0' || text[0] > '9') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    if (errno == ERANGE) return false;
    unsigned int shift = 0;
    const std::string suffix(end);
    if (suffix == "k")
        shift = 10;
    else if (suffix == "M")
        shift = 20;
    else if (suffix == "G")
        shift = 30;
    else if (!suffix.empty())
        return false;
    if (shift && number > (~0ull >> shift)) return false;
    value = static_cast<std::uint64_t>(number) << shift;
    return true;
}

// One variable: absent leaves `apply` uncalled; a value `apply` refuses
// gives `why` ("VORN_RECORD_KEEP=x: not a number").
template <class Apply>
bool read_variable(const char* name, const char* expected, std::string& why, Apply apply)
{
    const char* value = std::getenv(name);
    if (!value) return true;
    if (apply(std::string(value))) return true;
    why = std::string(name) + "=" + value + ": " + expected;
    return false;
}

bool parse_switch(const std::string& text, bool& on)
{
    if (text != "0" && text != "1") return false;
    on = text == "1";
    return true;
}

void forget_in_child()
{
    // The parent's file and buffer are the parent's: kept, never written.
    parents_writer = open_writer;
    open_writer = nullptr;
    recorder_lock.unlock();
    the_recorder.stop();
}

}  // namespace

bool settings_from_environment(const std::string& path, Writer::Settings& settings,
                               std::string& why)
{
    Writer::Settings read;
    read.path = path;
    bool getters = true, packets = true;
    const bool ok =
        read_variable("VORN_RECORD_MAX_BYTES",
                      "not a size (a number of bytes, optionally followed by k, M or G)", why,
                      [&](const std::string& text) { return parse_size(text, read.max_bytes); }) &&
        read_variable("VORN_RECORD_KEEP", "not a number from 0 to 1000", why,
                      [&](const std::string& text) {
                          if (text.empty() || text.size() > 4 ||
                              text.find_first_not_of("0123456789") != std::string::npos)
                              return false;
                          read.keep = static_cast<unsigned int>(std::stoul(text));
                          return read.keep <= 1000;
                      }) &&
        read_variable("VORN_RECORD_GETTERS", "not 0 or 1", why,
                      [&](const std::string& text) { return parse_switch(text, getters); }) &&
        read_variable("VORN_RECORD_PACKETS", "not 0 or 1", why,
                      [&](const std::string& text) { return parse_switch(text, packets); });
    if (!ok) return false;
    if (!getters) read.options |= Options::no_getters;
    if (!packets) read.options |= Options::no_packets;
    settings = read;
    return true;
}

// The new file is opened before the running recording (if any) is closed:
// a file that cannot be opened leaves that recording running.
bool Recorder::start(const Writer::Settings& settings, std::string& why)
{
    Writer* writer = new Writer();
    if (!writer->open(settings, entry_names())) {
        why = writer->error();
        delete writer;
        return false;
    }
    lock();
    Writer* previous = open_writer;
    if (previous) previous->close(now());
    open_writer = writer;
    options_ = settings.options;
    calibrate();
    active_.store(true, std::memory_order_release);
    unlock();
    delete previous;
    return true;
}

void Recorder::stop()
{
    lock();
    Writer* writer = open_writer;
    active_.store(false, std::memory_order_release);
    open_writer = nullptr;
    if (writer) writer->close(now());
    unlock();
    delete writer;
}

std::uint64_t Recorder::clock_now() const { return monotonic_ns() - clock_base; }

// The counter's rate over 2 ms of the monotonic clock: within a few parts in
// 100,000, so durations are exact to the nanosecond and times drift by
// milliseconds an hour.  A counter that does not move, or moves at a rate
// no processor has, is not used.
void Recorder::calibrate()
{
    clock_base = monotonic_ns();
    const std::uint64_t first = ticks();
    std::uint64_t clock = clock_base;
    std::uint64_t last = first;
    while (clock - clock_base < 2000000) {
        clock = monotonic_ns();
        last = ticks();
    }
    const double rate = last > first ? static_cast<double>(clock - clock_base) /
                                           static_cast<double>(last - first)
                                     : 0;
    ns_per_tick_ = rate > 0.001 && rate < 1000 ? rate : 0;
    tick_base_ = first;
}

void Recorder::lock() { recorder_lock.lock(); }
void Recorder::unlock() { recorder_lock.unlock(); }
Writer& Recorder::writer() { return *open_writer; }

Recorder& recorder() { return the_recorder; }

}  // namespace vorn_rec

using vorn_rec::recorder;

extern "C" int vornrec_start(const char* path)
{
    vorn_rec::Writer::Settings settings;
    std::string why;
    if (!path || !*path) {
        vorn_rec::set_error("no file named");
        return -1;
    }
    if (!vorn_rec::settings_from_environment(path, settings, why) ||
        !recorder().start(settings, why)) {
        vorn_rec::set_error(why);
        return -1;
    }
    vorn_rec::set_error("");
    return 0;
}

extern "C" int vornrec_stop(void)
{
    recorder().stop();
    return 0;
}

extern "C" int vornrec_active(void) { return recorder().active() ? 1 : 0; }

extern "C" const char* vornrec_error(void) { return vorn_rec::last_error; }

namespace {

__attribute__((constructor)) void start_from_environment()
{
    pthread_atfork([] { vorn_rec::recorder_lock.lock(); }, [] { vorn_rec::recorder_lock.unlock(); },
                   vorn_rec::forget_in_child);
    const char* path = std::getenv("VORN_RECORD");
    if (!path || !*path) return;
    // A program this one starts inherits the environment: only a process
    // with the library in it records (and truncates the file).
    if (!dlsym(RTLD_NEXT, "ctype_vorn_lcmgr_api_init")) return;
    if (vornrec_start(path) != 0)
        std::fprintf(stderr, "vornrec: %s: %s\n", path, vornrec_error());
}

__attribute__((destructor)) void close_at_exit() { recorder().stop(); }

}  // namespace
