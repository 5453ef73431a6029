// What the recorder costs a single-port call, over the do-nothing host
// (noop_host.hh), so that the recorder's own work is what differs.  The
// program is linked against libvornrec ahead of libvornlcapi, and each call
// is measured three ways in one run:
//   absent  libvornlcapi's own definition, found with dlsym past libvornrec
//   off     libvornrec's entry point, the recorder loaded but not recording
//   on      the same, recording into a file (in /dev/shm when there is one),
//           with the program's VORN_RECORD_* options cleared: no rotation,
//           getters and packets recorded
// Each mode calls through a function pointer, so that only what is behind
// it differs.  The C binding calls the C++ entry point through the PLT, so
// even its "absent" call passes libvornrec's entry point once (switched off).
//
// Counters: ns_per_call (the timed loop, the thread's CPU time), added_ns
// (over absent), allocs_per_call (operator new, steady state: after a
// warm-up) and bytes_per_call (the file's growth).  A table follows the
// runs.  The budgets (bench/check_budgets.py): +150 ns per call recording,
// no allocation added per call, at most 64 bytes of file per call.
// --smoke: a short run that fails when the recorder adds an allocation, or
// more than 64 bytes of file, to a call.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "count_allocations.hh"
#include "noop_host.hh"
#include "recorder.hh"
#include "run_args.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"

// The name the linker knows an entry point by (mangled, for C++), put into
// .rodata by the assembler from the function's address, so that no mangled
// name is typed: `label` is a hidden array holding it.  The operand prints
// as the bare symbol: "X" with %p on x86-64 (-fPIE refuses "s" for a symbol
// another object defines), "i" with %c on PowerPC.
#if defined(__x86_64__)
#define BENCH_SYMBOL_OPERAND(function) "X"(function)
#define BENCH_SYMBOL_TEXT "%p0"
#else
#define BENCH_SYMBOL_OPERAND(function) "i"(function)
#define BENCH_SYMBOL_TEXT "%c0"
#endif
#define BENCH_SYMBOL_NAME(label, function)                                                                   \
    extern "C" __attribute__((visibility("hidden"))) const char label[];                                     \
    __attribute__((used, noinline)) static void label##_emit()                                               \
    {                                                                                                        \
        asm(".pushsection .rodata\n" #label ":\n\t.asciz \"" BENCH_SYMBOL_TEXT "\"\n\t.popsection" ::BENCH_SYMBOL_OPERAND( \
            function));                                                                                      \
    }

BENCH_SYMBOL_NAME(bench_symbol_set_port_pvid, &vorn_set_port_pvid)
BENCH_SYMBOL_NAME(bench_symbol_get_port_pvid, &vorn_get_port_pvid)
BENCH_SYMBOL_NAME(bench_symbol_ctype_set_port_pvid, &ctype_vorn_set_port_pvid)

namespace {

constexpr unsigned long bytes_budget = 64;
constexpr long warm_up_calls = 1000;

// --- The calls: the entry point as this program sees it (libvornrec's),
// its symbol, and one call through a pointer of its type.

struct SetPortPvid {
    using Function = bool (*)(const Usp&, unsigned int);
    static Function interposed() { return &vorn_set_port_pvid; }
    static const char* symbol() { return bench_symbol_set_port_pvid; }
    bool operator()(Function function) const { return function(port, 10); }
    Usp port{1, 1, 3};
};

struct GetPortPvid {
    using Function = bool (*)(const Usp&, unsigned int&);
    static Function interposed() { return &vorn_get_port_pvid; }
    static const char* symbol() { return bench_symbol_get_port_pvid; }
    bool operator()(Function function) { return function(port, pvid); }
    Usp port{1, 1, 3};
    unsigned int pvid = 0;
};

struct CSetPortPvid {
    using Function = int (*)(usp_s*, unsigned int);
    static Function interposed() { return &ctype_vorn_set_port_pvid; }
    static const char* symbol() { return bench_symbol_ctype_set_port_pvid; }
    bool operator()(Function function) { return function(&port, 10) == 1; }
    usp_s port{1, 1, 3};
};

// libvornlcapi's own definition of `symbol`, or null.
void* library_definition(const char* symbol)
{
    void* library = dlopen("libvornlcapi.so.0", RTLD_NOLOAD | RTLD_LAZY);
    return library ? dlsym(library, symbol) : nullptr;
}

enum class Mode { absent, off, on };
const char* const mode_names[] = {"absent", "off", "on"};

// --- The recording file of the `on` mode.

std::string recording_path()
{
    static const std::string path =
        (::access("/dev/shm", W_OK) == 0 ? std::string("/dev/shm") : std::string("/tmp")) +
        "/vorn_bench_recorder." + std::to_string(::getpid()) + ".rec";
    return path;
}

long long file_size(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

// The recording switched on for the life of the object (mode `on` only);
// stop() gives the file's size.
class Recording {
public:
    explicit Recording(bool on) : on_(on)
    {
        if (on_ && (vornrec_start(recording_path().c_str()) != 0 || !vornrec_active()))
            error_ = std::string("cannot record: ") + vornrec_error();
    }
    ~Recording() { stop(); }
    const std::string& error() const { return error_; }
    long long stop()
    {
        if (!on_) return 0;
        on_ = false;
        vornrec_stop();
        return file_size(recording_path());
    }

private:
    bool on_;
    std::string error_;
};

// The size of a recording without calls: its header, names and end record.
long long empty_recording_size()
{
    Recording empty(true);
    return empty.error().empty() ? empty.stop() : -1;
}

// The thread's CPU time, the system calls of the file's writes included:
// on a shared machine, less noisy than the wall clock.
double thread_cpu_ns()
{
    timespec now;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e9 + now.tv_nsec;
}

// ns per call of the absent mode by call, for the others' added_ns.
std::map<std::string, double>& absent_ns()
{
    static std::map<std::string, double> ns;
    return ns;
}

template <class Call>
void measure(benchmark::State& state, const std::string& name, Mode mode, long long empty_size)
{
    Call call;
    const typename Call::Function function =
        mode == Mode::absent ? reinterpret_cast<typename Call::Function>(library_definition(Call::symbol()))
                             : Call::interposed();
    if (!function) {
        state.SkipWithError(("libvornlcapi.so.0 does not define " + std::string(Call::symbol())).c_str());
        return;
    }
    Recording recording(mode == Mode::on);
    if (!recording.error().empty() || !call(function)) {
        state.SkipWithError(recording.error().empty() ? "the call does not succeed over the do-nothing host"
                                                      : recording.error().c_str());
        return;
    }
    for (long i = 1; i < warm_up_calls; ++i) call(function);
    vorn_test::start_counting_allocations();
    const double begin = thread_cpu_ns();
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(function));
        benchmark::ClobberMemory();
    }
    const double end = thread_cpu_ns();
    const unsigned long allocations = vorn_test::stop_counting_allocations();
    const double iterations = static_cast<double>(state.iterations());
    const double ns = (end - begin) / iterations;
    state.counters["ns_per_call"] = ns;
    state.counters["allocs_per_call"] = allocations / iterations;
    if (mode == Mode::absent) absent_ns()[name] = ns;
    else if (absent_ns().count(name)) state.counters["added_ns"] = ns - absent_ns()[name];
    if (mode == Mode::on)
        state.counters["bytes_per_call"] = (recording.stop() - empty_size) / (warm_up_calls + iterations);
}

template <class Call>
void add(const std::string& name, long long empty_size)
{
    for (const Mode mode : {Mode::absent, Mode::off, Mode::on})
        benchmark::RegisterBenchmark(
            (std::string("BM_") + mode_names[static_cast<int>(mode)] + "/" + name).c_str(),
            [name, mode, empty_size](benchmark::State& state) { measure<Call>(state, name, mode, empty_size); });
}

// The console output, a table of the three modes by call at the end, and
// the budgets that do not depend on the machine's speed.
class ModeTable : public benchmark::ConsoleReporter {
public:
    ModeTable() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && run.iterations > 0 && !run.error_occurred) record(run);
            else if (run.error_occurred) failures_.push_back(run.benchmark_name() + ": " + run.error_message);
        ConsoleReporter::ReportRuns(runs);
    }

    // The table, then one check per run: no allocation, and no more than
    // the budget of bytes when recording.  The number of checks failed.
    unsigned int print()
    {
        std::cout.flush();
        std::printf("\n%-20s %10s %10s %10s %11s %10s %13s %10s %10s\n", "call", "absent ns", "off ns", "on ns",
                    "off-absent", "on-absent", "allocs absent", "allocs on", "bytes/call");
        for (const std::string& call : order_) {
            const Row& row = rows_.at(call);
            std::printf("%-20s %10.1f %10.1f %10.1f %11.1f %10.1f %13.3f %10.3f %10.1f\n", call.c_str(), row.ns[0],
                        row.ns[1], row.ns[2], row.ns[1] - row.ns[0], row.ns[2] - row.ns[0], row.allocations[0],
                        row.allocations[2], row.bytes);
        }
        std::printf("\n");
        unsigned int passes = 0;
        for (const std::string& call : order_) {
            const Row& row = rows_.at(call);
            // What the library and the host allocate themselves is not the recorder's.
            for (int mode = 1; mode < 3; ++mode)
                if (row.ran[0] && row.ran[mode])
                    check(row.allocations[mode] <= row.allocations[0],
                          call + " " + mode_names[mode] + ": " + std::to_string(row.allocations[mode]) +
                              " allocations per call, " + std::to_string(row.allocations[0]) + " absent",
                          passes);
            if (row.ran[static_cast<int>(Mode::on)])
                check(row.bytes > 0 && row.bytes <= bytes_budget,
                      call + " on: " + std::to_string(row.bytes) + " bytes per call, budget " +
                          std::to_string(bytes_budget),
                      passes);
        }
        for (const std::string& failure : failures_) std::printf("FAILED: %s\n", failure.c_str());
        const unsigned int failed = static_cast<unsigned int>(failures_.size());
        if (failed > 0) std::printf("[  FAILED  ] %u tests, listed above\n", failed);
        std::printf("[  PASSED  ] %u tests.\n", passes);
        return failed;
    }

private:
    struct Row {
        bool ran[3] = {false, false, false};
        double ns[3] = {0, 0, 0};
        double allocations[3] = {0, 0, 0};
        double bytes = 0;
    };

    // "BM_<mode>/<call>".
    void record(const Run& run)
    {
        const std::string name = run.benchmark_name();
        const std::string call = name.substr(name.find('/') + 1);
        const std::string mode = name.substr(3, name.find('/') - 3);
        if (!rows_.count(call)) order_.push_back(call);
        Row& row = rows_[call];
        for (int m = 0; m < 3; ++m) {
            if (mode != mode_names[m]) continue;
            row.ran[m] = true;
            row.ns[m] = counter(run, "ns_per_call");
            row.allocations[m] = counter(run, "allocs_per_call");
            if (m == static_cast<int>(Mode::on)) row.bytes = counter(run, "bytes_per_call");
        }
    }

    static double counter(const Run& run, const char* name)
    {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? -1 : found->second.value;
    }

    void check(bool ok, const std::string& what, unsigned int& passes)
    {
        if (ok) ++passes;
        else failures_.push_back(what);
    }

    std::vector<std::string> order_;
    std::map<std::string, Row> rows_;
    std::vector<std::string> failures_;
};

// The recorder belongs to the benchmark: one the environment started is
// stopped, and the environment's options would change what is measured.
void take_the_recorder()
{
    if (vornrec_active()) {
        std::fprintf(stderr, "vorn_bench_recorder: stopping the recording VORN_RECORD started\n");
        vornrec_stop();
    }
    for (const char* option : {"VORN_RECORD_MAX_BYTES", "VORN_RECORD_KEEP", "VORN_RECORD_GETTERS", "VORN_RECORD_PACKETS"})
        ::unsetenv(option);
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<char*> args(argv, argv + argc);
    bool smoke = false;
    for (auto arg = args.begin(); arg != args.end();)
        if (std::strcmp(*arg, "--smoke") == 0) {
            smoke = true;
            arg = args.erase(arg);
        } else {
            ++arg;
        }
    if (!vorn_bench::initialize(static_cast<int>(args.size()), args.data(), smoke ? "0.01" : "0.2")) return 1;
    take_the_recorder();
    int line_card = 0;
    if (!vorn_lcmgr_api_init(line_card)) return 1;
    const long long empty_size = empty_recording_size();
    if (empty_size < 0) {
        std::fprintf(stderr, "vorn_bench_recorder: cannot record into %s: %s\n", recording_path().c_str(),
                     vornrec_error());
        return 1;
    }
    add<SetPortPvid>("set_port_pvid", empty_size);
    add<GetPortPvid>("get_port_pvid", empty_size);
    add<CSetPortPvid>("ctype_set_port_pvid", empty_size);
    ModeTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    const unsigned int failed = table.print();
    benchmark::Shutdown();
    ::unlink(recording_path().c_str());
    return failed == 0 ? 0 : 1;
}
