// The benchmark programs' command line: Google Benchmark's own flags, with
// the program's short minimum time per benchmark unless one is given, so
// that a program runs in a few seconds.
#ifndef VORN_BENCH_RUN_ARGS_HH
#define VORN_BENCH_RUN_ARGS_HH

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace vorn_bench {

// Initializes the library from argv, with --benchmark_min_time=`seconds`
// unless argv sets it; false after reporting an unknown flag.
inline bool initialize(int argc, char** argv, const char* seconds)
{
    // Kept for the life of the program, as argv is.
    static std::string min_time;
    static std::vector<char*> args;
    min_time = std::string("--benchmark_min_time=") + seconds;
    args.assign(argv, argv + argc);
    bool min_time_given = false;
    for (char* arg : args)
        min_time_given = min_time_given || std::strncmp(arg, "--benchmark_min_time", 20) == 0;
    if (!min_time_given) args.insert(args.begin() + (argc > 0 ? 1 : 0), &min_time[0]);
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    return !benchmark::ReportUnrecognizedArguments(count, args.data());
}

}  // namespace vorn_bench

#endif
