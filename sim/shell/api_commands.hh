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
#include <map>
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
    static std::vector<std::string> choices(const std::string&) { return {}; }
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

// Unsigned numbers read by name: an IPv4 "address" or "mask" as a dotted
// quad, the forward "mode" by name, any other as a number.
std::string unsigned_text(unsigned int value, const std::string& name);
template <>
struct Arg<unsigned int> : InputArg<unsigned int> {
    static std::string sample(const std::string& n);
    static std::vector<std::string> choices(const std::string& n) { return n == "mode" ? forward_mode_names() : std::vector<std::string>(); }
    void read(const std::string& w, const std::string& name);
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
    static std::vector<std::string> choices(const std::string&) { return flag_names(); }
    void read(const std::string& w, const std::string&) { value = read_flag(w); }
};
template <>
struct Arg<const std::string&> : InputArg<std::string> {
    static std::string sample(const std::string&) { return "trace_level_sdk"; }
    void read(const std::string& w, const std::string&) { value = w; }
};
template <>
struct Arg<const Usp&> : InputArg<Usp> {
    static std::string sample(const std::string& n) { return n == "lag" ? "0/1/1" : n == "target" ? "1/1/48" : "1/1/3"; }
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
    static std::vector<std::string> choices(const std::string&) { return enum_names<E>(); }
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
               : n.find("bitmap") != std::string::npos ? "1"
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
    static std::string sample(const std::string&) { return "1"; }
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
struct Arg<unsigned int&> : OutputArg<unsigned int> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << unsigned_text(value, name); }
};
template <>
struct Arg<port_ability_type_t> : InputArg<port_ability_type_t> {
    static std::string sample(const std::string&) { return "100fd,1000fd,autoneg"; }
    void read(const std::string& w, const std::string&) { value = read_ability_list(w); }
};
template <>
struct Arg<port_ability_type_t&> : OutputArg<port_ability_type_t> {
    void print(std::ostream& out, const std::string& name) const { out << " " << name << "=" << ability_list_text(value); }
};
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
    static std::vector<std::string> choices(const std::string&) { return recorder_names(); }
    void read(const std::string& w, const std::string& name);
    void* get() { return pointer; }
    void print(std::ostream& out, const std::string& name) const;
};

// One word of a command's form: a sub-command word typed as it stands, or a
// value the command reads.  `choices` are the words a value takes when it
// takes only some (on/off, the names of an enumeration), empty for free-form
// words such as numbers and ports.
struct FormWord {
    enum Kind { Literal, Value, Optional, Rest };
    Kind kind;
    std::string text;  // the literal, or the value's name
    std::vector<std::string> choices;
};

// The choices of values by their names in a pattern.
typedef std::map<std::string, std::vector<std::string>> Choices;

// One way to call a command, e.g. "add <lag> <ports>", "flush all [static]",
// "<words...>".  `run` gets the words after the command's name and prints
// what it has to say; it throws BadWord for input that does not read.
struct Form {
    std::vector<FormWord> words;
    std::function<bool(const Words&, std::ostream&)> run;
    std::string text() const;
};
Form form(const std::string& pattern, std::function<bool(const Words&, std::ostream&)> run,
          const Choices& choices = Choices());

struct Command {
    std::string name;
    std::string summary;
    std::string example;
    std::vector<Form> forms;
    std::string usage() const;  // the forms after the name, " a | b"
};

// The form that `words` (after the command's name) select.  Throws BadWord
// naming the first word that fits no form (a word past the end of every form
// is an extra argument), std::out_of_range naming the first missing value.
const Form& select_form(const Command& command, const Words& words);

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

template <class A, class = void>
struct has_choices : std::false_type {};
template <class A>
struct has_choices<A, decltype(void(A::choices(std::string())))> : std::true_type {};
template <class A>
std::vector<std::string> choices_of(const std::string& name, std::true_type)
{
    return A::choices(name);
}
template <class A>
std::vector<std::string> choices_of(const std::string&, std::false_type)
{
    return {};
}

}  // namespace detail

// The command of one API entry point: `names` names its parameters in order.
// `example`, when given, replaces the sample arguments of the example.
template <class... Params>
Command api_command(const std::string& name, bool (*entry)(Params...), const std::string& names,
                    const std::string& example = "")
{
    Command command;
    command.name = name;
    const std::vector<std::string> parameter_names = detail::names_of(names);
    if (parameter_names.size() != sizeof...(Params)) throw std::logic_error(name + ": parameter names");
    Form only;
    {
        std::size_t i = 0;
        (void)std::initializer_list<int>{
            (Arg<Params>::words(parameter_names[i])
                 ? (only.words.push_back(FormWord{
                        FormWord::Value, parameter_names[i],
                        detail::choices_of<Arg<Params>>(
                            parameter_names[i], std::integral_constant<bool, detail::has_choices<Arg<Params>>::value>())}),
                    command.example += " " + detail::sample_of<Arg<Params>>(
                                                 parameter_names[i],
                                                 std::integral_constant<bool, has_sample<Arg<Params>>::value>()),
                    0)
                 : 0,
             ++i, 0)...};
    }
    command.example = name + (example.empty() ? command.example : " " + example);
    command.summary = "calls vorn_" + name;
    only.run = [entry, parameter_names, name](const Words& words, std::ostream& out) {
        std::tuple<Arg<Params>...> args;
        detail::read_all(args, parameter_names, words, std::index_sequence_for<Params...>());
        const bool ok = std::apply([&](auto&... arg) { return entry(arg.get()...); }, args);
        out << name << ": " << (ok ? "true" : "false");
        if (ok) detail::print_all(args, parameter_names, out, std::index_sequence_for<Params...>());
        out << "\n";
        return ok;
    };
    command.forms.push_back(only);
    return command;
}

// What an example needs that a fresh card lacks.  The example first makes
// it with the API commands themselves, then runs the command it shows.
enum class Needs {
    Lag,               // LAG 0/1/1
    LagMembers,        // LAG 0/1/1 of 1/1/1-4,1/1/9
    MacCallback,       // the shell's MAC-update callback registered
    ProtocolVlan,      // 1/1/3: SNAP frames of protocol 0x0800 to VLAN 1
    Mac,               // 00:11:22:33:44:55 on 1/1/3 in VLAN 1
    L3Interface,       // L3 interface 1: 00:11:22:33:44:55 in VLAN 1
    HostIp4,           // host 10.0.0.1 on 1/1/3 through L3 interface 1
    HostIp6,           // host 2001:db8::1 on 1/1/3 through L3 interface 1
    RouteIp4,          // route 10.0.0.0/24 via 1/1/3 through L3 interface 1
    RouteIp6,          // route 2001:db8::/64 via 1/1/3 through L3 interface 1
    Flow,              // flow 1
    FlowAction,        // flow 1 mirroring to 9
    ArpFilter,         // 10.0.0.0/24
    IpProtocolFilter,  // protocol 1
    L4PortFilter,      // destination port 1
};
// The commands that make what `need` names, each followed by " ; ".
std::string preparation(Needs need);

// The command of an entry point whose example needs `need`.
template <class... Params>
Command api_command(const std::string& name, bool (*entry)(Params...), const std::string& names, Needs need)
{
    Command command = api_command(name, entry, names);
    command.example = preparation(need) + command.example;
    return command;
}

// Every API entry point's command.
std::vector<Command> api_commands();

}  // namespace vornsh

#endif
