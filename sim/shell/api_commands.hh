// Commands derived from the API entry points themselves: one registration
// per entry point names it, its function and its parameters; how each
// argument is read from a word and how each output is printed follows from
// the parameter's type (and, for byte pointers, from its name: a "mac" is a
// MAC address, a "bitmap" a VLAN list, any other an IPv6 address).
#ifndef VORNSH_API_COMMANDS_HH
#define VORNSH_API_COMMANDS_HH

#include <cstring>
#include <functional>
#include <list>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "events.hh"
#include "vorn_api.hh"
#include "words.hh"

namespace vornsh {

// How one parameter type is read and printed.  `words` is how many words an
// argument takes from the command line (0 for what the shell supplies).
template <class T, class Enable = void>
struct Arg;

template <class T>
struct InputArg {
    T value{};
    static int words(const std::string&) { return 1; }
    T& get() { return value; }
    void print(std::ostream&, const std::string&) const {}
};

template <class T>
struct OutputArg {
    T value{};
    static int words(const std::string&) { return 0; }
    void read(const std::string&, const std::string&) {}
    T& get() { return value; }
};

template <>
struct Arg<unsigned int> : InputArg<unsigned int> {
    static std::string sample(const std::string& n) { return n.find("vlan") != std::string::npos ? "10" : "1"; }
    void read(const std::string& w, const std::string&) { value = static_cast<unsigned int>(read_number(w, 0xffffffffu)); }
};
template <>
struct Arg<unsigned short> : InputArg<unsigned short> {
    static std::string sample(const std::string&) { return "0x0800"; }
    void read(const std::string& w, const std::string&) { value = static_cast<unsigned short>(read_number(w, 0xffff)); }
};
template <>
struct Arg<int> : InputArg<int> {
    static std::string sample(const std::string&) { return "100"; }
    void read(const std::string& w, const std::string&) { value = static_cast<int>(read_signed(w, -2147483647 - 1, 2147483647)); }
};
template <>
struct Arg<bool> : InputArg<bool> {
    static std::string sample(const std::string&) { return "on"; }
    void read(const std::string& w, const std::string&) { value = read_flag(w); }
};
template <>
struct Arg<const std::string&> : InputArg<std::string> {
    static std::string sample(const std::string&) { return "trace_level_sdk"; }
    void read(const std::string& w, const std::string&) { value = w; }
};
template <>
struct Arg<const Usp&> : InputArg<Usp> {
    static std::string sample(const std::string& n) { return n == "lag" ? "0/1/1" : "1/1/3"; }
    void read(const std::string& w, const std::string&) { value = read_port(w); }
};
template <>
struct Arg<const std::list<Usp>&> : InputArg<std::list<Usp>> {
    static std::string sample(const std::string&) { return "1/1/1-4,1/1/9"; }
    void read(const std::string& w, const std::string&) { value = read_ports(w); }
};
template <class E>
struct Arg<E, typename std::enable_if<std::is_enum<E>::value>::type> : InputArg<E> {
    static std::string sample(const std::string&) { return EnumNames<E>::list().back().name; }
    void read(const std::string& w, const std::string&) { this->value = read_enum<E>(w); }
};
template <>
struct Arg<const Packet&> : InputArg<Packet> {
    static std::string sample(const std::string&) { return "ffffffffffff02000000000108060001"; }
    void read(const std::string& w, const std::string&) { value.set_data(read_hex(w)); }
};
template <>
struct Arg<of_action_param_s> : InputArg<of_action_param_s> {
    static std::string sample(const std::string&) { return "9"; }
    void read(const std::string& w, const std::string&);
};
template <>
struct Arg<const of_flow_qualify_udf_s&> : InputArg<of_flow_qualify_udf_s> {
    static std::string sample(const std::string&) { return "-"; }
    void read(const std::string& w, const std::string&);
};
template <>
struct Arg<const of_flow_s&> : InputArg<of_flow_s> {
    static std::string sample(const std::string&) { return "in=1/1/1,eth=0x0806"; }
    Arg() { std::memset(&value.match, 0, sizeof value.match); }
    void read(const std::string& w, const std::string&);
};

// Byte pointers: read by name; kept in the argument itself.
template <>
struct Arg<const unsigned char*> {
    std::vector<unsigned char> bytes;
    const unsigned char* pointer = nullptr;
    static int words(const std::string&) { return 1; }
    static std::string sample(const std::string& n)
    {
        return n.find("mac") != std::string::npos ? "00:11:22:33:44:55"
               : n.find("bitmap") != std::string::npos ? "10,20-22"
               : n.find("mask") != std::string::npos ? "ffff:ffff:ffff:ffff::" : "2001:db8::1";
    }
    void read(const std::string& w, const std::string& name);
    const unsigned char* get() { return pointer; }
    void print(std::ostream&, const std::string&) const {}
};
template <>
struct Arg<unsigned char*> {
    std::vector<unsigned char> bytes = std::vector<unsigned char>(512, 0);
    static int words(const std::string& name) { return name.find("bitmap") != std::string::npos ? 1 : 0; }
    static std::string sample(const std::string&) { return "10,20-22"; }
    void read(const std::string& w, const std::string& name);
    unsigned char* get() { return bytes.data(); }
    void print(std::ostream& out, const std::string& name) const;
};
template <>
struct Arg<unsigned char (&)[6]> {
    unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
    static int words(const std::string&) { return 0; }
    void read(const std::string&, const std::string&) {}
    unsigned char (&get())[6] { return mac; }
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << mac_text(mac); }
};

// Outputs.
template <class T>
struct PrintedOutput : OutputArg<T> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << this->value; }
};
template <>
struct Arg<unsigned int&> : PrintedOutput<unsigned int> {};
template <>
struct Arg<int&> : PrintedOutput<int> {};
template <>
struct Arg<unsigned long long&> : PrintedOutput<unsigned long long> {};
template <>
struct Arg<bool&> : OutputArg<bool> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << (value ? "on" : "off"); }
};
template <class E>
struct Arg<E&, typename std::enable_if<std::is_enum<E>::value>::type> : OutputArg<E> {
    void print(std::ostream& out, const std::string& name) const
    {
        out << " " << name << "=" << enum_text(this->value);
    }
};
template <>
struct Arg<Usp&> : OutputArg<Usp> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << port_text(value); }
};
template <>
struct Arg<std::list<Usp>&> : OutputArg<std::list<Usp>> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << ports_text(value); }
};
template <class Counter>
struct Arg<std::list<Counter>&, typename std::enable_if<!std::is_same<Counter, Usp>::value>::type>
    : OutputArg<std::list<Counter>> {
    void print(std::ostream& out, const std::string&) const
    {
        for (const Counter& counter : this->value) out << " " << enum_text(counter.type) << "=" << counter.value;
    }
};
// The brief "all" getters take their list by value: nothing comes back.
template <class Counter>
struct Arg<std::list<Counter>> : OutputArg<std::list<Counter>> {
    void print(std::ostream&, const std::string&) const {}
};
template <class Counter>
struct Arg<Counter*, typename std::enable_if<std::is_class<Counter>::value>::type> {
    Counter counters[STAT_TYPE_COUNT];
    static int words(const std::string&) { return 0; }
    void read(const std::string&, const std::string&) {}
    Counter* get() { return counters; }
    void print(std::ostream&, const std::string&) const {}
};

// Callbacks and opaque pointers are the shell's own (see events.hh).
template <class R, class... A>
struct Arg<R (*)(A...)> {
    static int words(const std::string&) { return 0; }
    void read(const std::string&, const std::string&) {}
    R (*get())(A...) { return recorder<R (*)(A...)>(); }
    void print(std::ostream&, const std::string&) const {}
};
template <>
struct Arg<void*> {
    void* pointer = nullptr;
    Arg() {}
    static int words(const std::string& name) { return name == "callback" ? 1 : 0; }
    static std::string sample(const std::string&) { return "mac"; }
    void read(const std::string& w, const std::string& name);
    void* get() { return pointer; }
    void print(std::ostream& out, const std::string& name) const;
};

struct Command {
    std::string name;
    std::string usage;    // the words after the name
    std::string summary;
    std::string example;
    // Runs with the words after the name; prints what it has to say.  Throws
    // BadWord for input that does not read.
    std::function<bool(const std::vector<std::string>&, std::ostream&)> run;
};

template <class A, class = void>
struct has_sample : std::false_type {};
template <class A>
struct has_sample<A, decltype(void(A::sample(std::string())))> : std::true_type {};

namespace detail {

inline std::vector<std::string> names_of(const std::string& names)
{
    std::vector<std::string> list;
    std::istringstream stream(names);
    std::string name;
    while (stream >> name) list.push_back(name);
    return list;
}

template <class Tuple, std::size_t... I>
void read_all(Tuple& args, const std::vector<std::string>& names, const std::vector<std::string>& words,
              std::index_sequence<I...>)
{
    std::size_t next = 0;
    // What the shell supplies itself (outputs, callbacks) is prepared by name.
    auto read_one = [&](auto& arg, const std::string& name) {
        arg.read(arg.words(name) == 0 ? std::string() : words.at(next++), name);
    };
    (void)read_one;
    (void)std::initializer_list<int>{(read_one(std::get<I>(args), names[I]), 0)...};
}

template <class Tuple, std::size_t... I>
void print_all(const Tuple& args, const std::vector<std::string>& names, std::ostream& out,
               std::index_sequence<I...>)
{
    (void)args;
    (void)names;
    (void)out;
    (void)std::initializer_list<int>{(std::get<I>(args).print(out, names[I]), 0)...};
}

template <class A>
std::string sample_of(const std::string& name, std::true_type)
{
    return A::sample(name);
}
template <class A>
std::string sample_of(const std::string&, std::false_type)
{
    return "";
}

}  // namespace detail

// The command of one API entry point: `names` names its parameters in order.
template <class... Params>
Command api_command(const std::string& name, bool (*entry)(Params...), const std::string& names,
                    const std::string& summary = "")
{
    Command command;
    command.name = name;
    const std::vector<std::string> parameter_names = detail::names_of(names);
    if (parameter_names.size() != sizeof...(Params)) throw std::logic_error(name + ": parameter names");
    std::size_t inputs = 0;
    {
        std::size_t i = 0;
        (void)std::initializer_list<int>{
            (Arg<Params>::words(parameter_names[i])
                 ? (command.usage += " <" + parameter_names[i] + ">",
                    command.example += " " + detail::sample_of<Arg<Params>>(
                                                 parameter_names[i],
                                                 std::integral_constant<bool, has_sample<Arg<Params>>::value>()),
                    ++inputs)
                 : 0,
             ++i, 0)...};
    }
    command.example = name + command.example;
    command.summary = summary.empty() ? "calls vorn_" + name : summary;
    command.run = [entry, parameter_names, inputs, name](const std::vector<std::string>& words,
                                                         std::ostream& out) {
        if (words.size() != inputs)
            throw BadWord("expected " + std::to_string(inputs) + " argument" + (inputs == 1 ? "" : "s") +
                          ", got " + std::to_string(words.size()));
        std::tuple<Arg<Params>...> args;
        detail::read_all(args, parameter_names, words, std::index_sequence_for<Params...>());
        const bool ok = std::apply([&](auto&... arg) { return entry(arg.get()...); }, args);
        out << name << ": " << (ok ? "true" : "false");
        if (ok) detail::print_all(args, parameter_names, out, std::index_sequence_for<Params...>());
        out << "\n";
        return ok;
    };
    return command;
}

// Every API entry point's command.
std::vector<Command> api_commands();

}  // namespace vornsh

#endif
