// The process's recorder: one file, one writer, shared by the interposed
// entry points, the wrapped callbacks and the SDK decorator.
//
//   if (!vorn_rec::recorder().active()) return real(args...);  // off: one load
//   vorn_rec::CallScope scope;           // nests: only the outermost call records
//   ...
//
// Started by libvornrec's constructor when VORN_RECORD names a file, or by
// vornrec_start() (vornsh's `record FILE`).  The environment gives the
// options either way:
//   VORN_RECORD=FILE            record into FILE
//   VORN_RECORD_MAX_BYTES=N     rotate (or stop, with KEEP=0) at N bytes;
//                               suffixes k, M, G
//   VORN_RECORD_KEEP=N          old files kept on rotation (FILE.1 ... FILE.N)
//   VORN_RECORD_GETTERS=0       leave out get_* calls
//   VORN_RECORD_PACKETS=0       leave out received frames and packet bytes
// A bad value is refused by name ("VORN_RECORD_KEEP=x: not a number"), and
// nothing is recorded.
#ifndef VORN_REC_RECORDER_HH
#define VORN_REC_RECORDER_HH

#include <atomic>
#include <cstdint>
#include <string>

#include "format.hh"

namespace vorn_rec {

// The options of the environment for a recording into `path`.  False with
// `why` naming the variable and its value when one is not valid.
bool settings_from_environment(const std::string& path, Writer::Settings& settings,
                               std::string& why);

class Recorder {
public:
    // Opens the file (header and names record: entry_names()) and starts
    // recording.  False with `why` when it cannot, and a recording already
    // running goes on; otherwise that one is closed (end record) first.
    bool start(const Writer::Settings& settings, std::string& why);
    // Writes the end record, flushes and closes.
    void stop();
    bool active() const { return active_.load(std::memory_order_relaxed); }
    std::uint32_t options() const { return options_; }

    // Nanoseconds since the recording started: the processor's cycle counter
    // (time stamp counter, time base) scaled by a rate measured against the
    // monotonic clock when the recording starts; the monotonic clock itself
    // where there is no counter.  A counter read costs a third of a clock
    // read, and every recorded call takes two.
    std::uint64_t now() const
    {
        if (ns_per_tick_ > 0)
            return static_cast<std::uint64_t>(static_cast<double>(ticks() - tick_base_) *
                                              ns_per_tick_);
        return clock_now();
    }
    static std::uint64_t ticks()
    {
#if defined(__x86_64__) || defined(__i386__)
        return __builtin_ia32_rdtsc();
#elif defined(__powerpc__)
        return __builtin_ppc_get_timebase();
#else
        return 0;
#endif
    }

    // Writes one record under the recorder's lock: compose(writer) puts the
    // body between begin() and commit().  Nothing when not active.
    template <class Compose>
    void write(RecordType type, std::uint8_t flags, std::uint16_t entry, std::uint64_t time,
               Compose&& compose);

private:
    void lock();
    void unlock();
    Writer& writer();
    std::uint64_t clock_now() const;
    void calibrate();

    double ns_per_tick_ = 0;  // 0: no usable counter, the clock is read
    std::uint64_t tick_base_ = 0;

    std::atomic<bool> active_{false};
    std::uint32_t options_ = 0;
};

Recorder& recorder();

// Marks a library call in progress on this thread: only the outermost one is
// recorded (the C binding calls the C++ entry points, which are interposed
// too), and a callback that runs inside one is an event the call caused.
class CallScope {
public:
    CallScope() : outermost_(depth()++ == 0) {}
    ~CallScope() { --depth(); }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    bool outermost() const { return outermost_; }
    static bool inside_call() { return depth() > 0; }

private:
    static int& depth()
    {
        // Initial-exec: the recorder is preloaded or linked, never opened
        // late, so the depth is a fixed offset from the thread pointer
        // instead of a __tls_get_addr call on every entry point.
        static thread_local int calls __attribute__((tls_model("initial-exec"))) = 0;
        return calls;
    }
    bool outermost_;
};

template <class Compose>
void Recorder::write(RecordType type, std::uint8_t flags, std::uint16_t entry, std::uint64_t time,
                     Compose&& compose)
{
    lock();
    if (active()) {
        Writer& out = writer();
        out.begin(type, flags, entry);
        compose(out);
        out.commit(time);
    }
    unlock();
}

}  // namespace vorn_rec

// The recorder's own switches, exported by libvornrec for a host that starts
// and stops recording itself (vornsh's `record FILE` / `record off`).  The
// options come from the environment as above.  0 on success; -1 with the
// reason in vornrec_error().
extern "C" {
__attribute__((visibility("default"))) int vornrec_start(const char* path);
__attribute__((visibility("default"))) int vornrec_stop(void);
__attribute__((visibility("default"))) int vornrec_active(void);
__attribute__((visibility("default"))) const char* vornrec_error(void);
}

#endif
