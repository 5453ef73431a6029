// How libvornrec stands in for an entry point.  Wrap<&vorn_get_port_pvid>::call
// has the entry point's own parameter types; the assembler exports it under
// the entry point's symbol, so the dynamic linker binds the host's calls to
// it, and it forwards to the library's function found with
// dlsym(RTLD_NEXT, symbol).  What an entry point is to the recorder (its
// index in entry_shapes(), its kinds, whether it is a getter, whether it
// answers 1/0) comes from Entry<&fn>, which interpose_api.cc and
// interpose_capi.cc expand from the tables with VORN_INTERPOSE below.
#ifndef VORN_REC_INTERPOSE_HH
#define VORN_REC_INTERPOSE_HH

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "arg_kinds.hh"
#include "callbacks.hh"
#include "put_values.hh"
#include "recorder.hh"
#include "values.hh"

namespace vorn_rec {

// Every interposed entry point, in entry_shapes() order: the symbol names
// (filled from the tables) and the library's functions (resolved once).
constexpr std::size_t interposed_cpp_count = 0
#define VORN_ENTRY_POINT(name, parameters, kinds) +1
#include "entry_points.def"
#undef VORN_ENTRY_POINT
    ;
constexpr std::size_t interposed_c_count = 0
#define VORN_C_ENTRY_POINT(name, parameters, kinds) +1
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
    ;
constexpr std::size_t interposed_count = interposed_cpp_count + interposed_c_count;

// The symbol of entry point `index` (interpose_api.cc, interpose_capi.cc).
extern const char* const cpp_symbols[interposed_cpp_count];
extern const char* const c_symbols[interposed_c_count];

// The library's function behind entry point `index`: resolved for all at
// load time, or here on first use if a call comes before that.  Aborts
// with a message naming the symbol when the process has no such function.
void* real_function(std::size_t index);
void resolve_real_functions();

// "get_port_pvid" is left out by Options::no_getters.
constexpr bool getter_name(const char* name)
{
    return name[0] == 'g' && name[1] == 'e' && name[2] == 't' && name[3] == '_';
}

// What the recorder knows of one entry point; specialised per entry point.
template <auto F>
struct Entry;

// A thread's inputs of the call in progress, put before the call because
// an in_out argument is overwritten by it.  Keeps its capacity: no heap
// allocation per call once warm.
ByteSink& input_scratch();

template <auto F>
struct Wrap;

template <class R, class... A, R (*F)(A...)>
struct Wrap<F> {
    using Info = Entry<F>;
    using Real = R (*)(A...);

    static R forward(A... args)
    {
        return reinterpret_cast<Real>(real_function(Info::index))(args...);
    }

    static R call(A... args)
    {
        if constexpr (Info::registration != Registration::none) {
            return register_call(args...);
        } else {
            if (!recorder().active()) return forward(args...);
            CallScope scope;  // a getter left out still hides the calls it makes
            if (!scope.outermost()) return forward(args...);
            if constexpr (Info::getter) {
                if (recorder().options() & Options::no_getters) return forward(args...);
            }
            return recorded(args...);
        }
    }

private:
    static bool succeeded(R result)
    {
        if constexpr (std::is_same_v<R, bool>)
            return result;
        else
            return result == 1;
    }

    // Whether the call writes an argument it also reads: only then are the
    // inputs put aside before the call; otherwise they go straight into the
    // record after it.
    static constexpr bool overwrites_inputs()
    {
        for (std::size_t i = 0; i < sizeof...(A); ++i)
            if (Info::kinds[i].dir == vorn_meta::Dir::in_out) return true;
        return false;
    }

    static R recorded(A... args)
    {
        const bool packets = !(recorder().options() & Options::no_packets);
        [[maybe_unused]] ByteSink* inputs = nullptr;
        if constexpr (overwrites_inputs()) {
            inputs = &input_scratch();
            inputs->clear();
            put_inputs<Info::kinds>(*inputs, packets, args...);
        }
        const std::uint64_t start = recorder().now();
        const R result = forward(args...);
        const std::uint64_t end = recorder().now();
        const bool ok = succeeded(result);
        recorder().write(RecordType::call, ok ? RecordFlag::outputs : 0, Info::index, start,
                         [&](Writer& out) {
                             out.put_u64(start);
                             out.put_u32(static_cast<std::uint32_t>(end - start));
                             out.put_u32(static_cast<std::uint32_t>(result));
                             if constexpr (overwrites_inputs())
                                 out.put_bytes(inputs->bytes().data(), inputs->bytes().size());
                             else
                                 put_inputs<Info::kinds>(out, packets, args...);
                             if (ok) put_outputs<Info::kinds>(out, packets, args...);
                         });
        return result;
    }

    // A registration hands the library a trampoline that records the events
    // (whether or not a recording runs now: one started later hears them),
    // and is recorded with the caller's own pointers.
    static R register_call(A... args)
    {
        CallScope scope;
        if (!scope.outermost()) return forward(args...);
        if (!recorder().active()) return substitute_and_forward(args...);
        const bool packets = !(recorder().options() & Options::no_packets);
        ByteSink& inputs = input_scratch();
        inputs.clear();
        put_inputs<Info::kinds>(inputs, packets, args...);
        const std::uint64_t start = recorder().now();
        const R result = substitute_and_forward(args...);
        const std::uint64_t end = recorder().now();
        recorder().write(RecordType::call, succeeded(result) ? RecordFlag::outputs : 0,
                         Info::index, start, [&](Writer& out) {
                             out.put_u64(start);
                             out.put_u32(static_cast<std::uint32_t>(end - start));
                             out.put_u32(static_cast<std::uint32_t>(result));
                             out.put_bytes(inputs.bytes().data(), inputs.bytes().size());
                         });
        return result;
    }

    static R substitute_and_forward(A... args)
    {
        if constexpr (Info::registration == Registration::deregister) {
            return deregister(args...);
        } else {
            return register_with(args...);
        }
    }

    template <class Callback, class... Rest>
    static R register_with(Callback callback, Rest... rest)
    {
        void* user_data = user_data_of(rest...);
        const Callback trampoline = reinterpret_cast<Callback>(
            trampoline_for(Info::registration, reinterpret_cast<void*>(callback), user_data));
        return forward(trampoline, rest...);
    }

    template <class Event>
    static R deregister(Event event, void* callback, void* user_data)
    {
        void* trampoline = registered_trampoline(static_cast<int>(event), callback, user_data);
        const R result = forward(event, trampoline ? trampoline : callback, user_data);
        if (trampoline && succeeded(result)) release_trampoline(trampoline);
        return result;
    }

    static void* user_data_of() { return nullptr; }
    static void* user_data_of(void* user_data) { return user_data; }
};

}  // namespace vorn_rec

// The symbol operand of the aliases below: a constant that prints as the
// bare symbol name, with %p on x86-64 ("X", since -fPIC refuses "s" for a
// symbol another object may define) and %c on PowerPC ("i").
#if defined(__x86_64__)
#define VORN_SYM(x) "X"(x)
#define VORN_SYM_TEXT(n) "%p" #n
#elif defined(__powerpc__)
#define VORN_SYM(x) "i"(x)
#define VORN_SYM_TEXT(n) "%c" #n
#else
#error "libvornrec: no symbol operand for this processor"
#endif

// One interposed entry point `fn` (its symbol): Entry<&fn> from the table
// row, the symbol defined as Wrap<&fn>::call, and its name as a string in
// vornrec_symbol_<label>[] for dlsym.  Expanded inside a function that is
// never called; the asm statements only make the assembler define symbols.
#define VORN_INTERPOSE_ENTRY(fn, label, position, kinds_array, getter_flag, registration_kind) \
    namespace vorn_rec {                                                                      \
    template <>                                                                               \
    struct Entry<&fn> {                                                                       \
        static constexpr std::uint16_t index = position;                                      \
        static constexpr const vorn_meta::DirKind* kinds = kinds_array;                       \
        static constexpr bool getter = getter_flag;                                           \
        static constexpr Registration registration = registration_kind;                       \
    };                                                                                        \
    }                                                                                         \
    extern "C" __attribute__((visibility("hidden"))) const char vornrec_symbol_##label[];

#define VORN_INTERPOSE_ALIAS(fn, label)                                                        \
    asm(".globl " VORN_SYM_TEXT(0) "\n\t.set " VORN_SYM_TEXT(0) ", " VORN_SYM_TEXT(1) "\n"     \
        ::VORN_SYM(&fn), VORN_SYM(&vorn_rec::Wrap<&fn>::call));                                \
    asm(".pushsection .rodata\n\t.globl vornrec_symbol_" #label "\n\t.hidden vornrec_symbol_"  \
        #label "\nvornrec_symbol_" #label ":\n\t.asciz \"" VORN_SYM_TEXT(0) "\"\n\t.popsection\n" \
        ::VORN_SYM(&fn));

#endif
