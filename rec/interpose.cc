// The library's functions behind the interposed entry points, found once.
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "interpose.hh"

namespace vorn_rec {
namespace {

std::atomic<void*> real_functions[interposed_count];

const char* symbol_of(std::size_t index)
{
    return index < interposed_cpp_count ? cpp_symbols[index]
                                        : c_symbols[index - interposed_cpp_count];
}

// Before main(): the entry points are bound before the host calls any.
__attribute__((constructor)) void resolve_at_load() { resolve_real_functions(); }

}  // namespace

void resolve_real_functions()
{
    static std::once_flag once;
    std::call_once(once, [] {
        for (std::size_t index = 0; index < interposed_count; ++index)
            real_functions[index].store(dlsym(RTLD_NEXT, symbol_of(index)),
                                        std::memory_order_release);
    });
}

void* real_function(std::size_t index)
{
    void* function = real_functions[index].load(std::memory_order_acquire);
    if (__builtin_expect(function != nullptr, 1)) return function;
    resolve_real_functions();
    function = real_functions[index].load(std::memory_order_acquire);
    if (!function) {
        std::fprintf(stderr, "vornrec: %s: not in any library loaded after libvornrec\n",
                     symbol_of(index));
        std::abort();
    }
    return function;
}

ByteSink& input_scratch()
{
    static thread_local ByteSink inputs;
    return inputs;
}

}  // namespace vorn_rec
