// Commands derived from the API entry points themselves: the entry-point
// table (meta/entry_points.def) gives each one's name and its parameters with
// their kinds; how each argument is read from a word and how each output is
// printed follows from the parameter's type, and for what a type leaves open
// (a byte pointer is a MAC, an IPv6 address or mask, or a VLAN bitmap; an
// unsigned int an IPv4 address or a number) from its kind.
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

#include "entry_points.hh"
#include "events.hh"
#include "vorn_api.hh"
#include "words.hh"

namespace vornsh {

using vorn_meta::Param;

// How one parameter type is read and printed.  `words` is how many words an
// argument takes from the command line (0 for what the shell supplies).
template <class T, class Enable = void>
struct Arg;

template <class T>
struct InputArg {
    T value{};
    static int words(const Param&) { return 1; }
    static std::vector<std::string> choices(const Param&) { return {}; }
    T& get() { return value; }
    void print(std::ostream&, const Param&) const {}
};

template <class T>
struct OutputArg {
    T value{};
    static int words(const Param&) { return 0; }
    void read(const std::string&, const Param&) {}
    T& get() { return value; }
};

// Unsigned numbers: an IPv4 address or mask as a dotted quad, the forward
// "mode" by name, any other as a number.
std::string unsigned_text(unsigned int value, const Param& param);
template <>
struct Arg<unsigned int> : InputArg<unsigned int> {
    static std::string sample(const Param& param);
    static std::vector<std::string> choices(const Param& param) { return param.name == "mode" ? forward_mode_names() : std::vector<std::string>(); }
    void read(const std::string& w, const Param& param);
};
template <>
struct Arg<unsigned short> : InputArg<unsigned short> {
    static std::string sample(const Param&) { return "0x0800"; }
    void read(const std::string& w, const Param&) { value = static_cast<unsigned short>(read_number(w, 0xffff)); }
};
template <>
struct Arg<int> : InputArg<int> {
    static std::string sample(const Param&) { return "100"; }
    void read(const std::string& w, const Param&) { value = static_cast<int>(read_signed(w, -2147483647 - 1, 2147483647)); }
};
template <>
struct Arg<bool> : InputArg<bool> {
    static std::string sample(const Param&) { return "on"; }
    static std::vector<std::string> choices(const Param&) { return flag_names(); }
    void read(const std::string& w, const Param&) { value = read_flag(w); }
};
template <>
struct Arg<const std::string&> : InputArg<std::string> {
    static std::string sample(const Param&) { return "trace_level_sdk"; }
    void read(const std::string& w, const Param&) { value = w; }
};
template <>
struct Arg<const Usp&> : InputArg<Usp> {
    static std::string sample(const Param& param) { return param.name == "lag" ? "0/1/1" : param.name == "target" ? "1/1/48" : "1/1/3"; }
    void read(const std::string& w, const Param&) { value = read_port(w); }
};
template <>
struct Arg<const std::list<Usp>&> : InputArg<std::list<Usp>> {
    static std::string sample(const Param&) { return "1/1/1-4,1/1/9"; }
    void read(const std::string& w, const Param&) { value = read_ports(w); }
};
template <class E>
struct Arg<E, typename std::enable_if<std::is_enum<E>::value>::type> : InputArg<E> {
    static std::string sample(const Param&) { return EnumNames<E>::list().back().name; }
    static std::vector<std::string> choices(const Param&) { return enum_names<E>(); }
    void read(const std::string& w, const Param&) { this->value = read_enum<E>(w); }
};
template <>
struct Arg<const Packet&> : InputArg<Packet> {
    static std::string sample(const Param&) { return "ffffffffffff02000000000108060001"; }
    void read(const std::string& w, const Param&) { value.set_data(read_hex(w)); }
};
template <>
struct Arg<of_action_param_s> : InputArg<of_action_param_s> {
    static std::string sample(const Param&) { return "9"; }
    void read(const std::string& w, const Param&);
};
template <>
struct Arg<const of_flow_qualify_udf_s&> : InputArg<of_flow_qualify_udf_s> {
    static std::string sample(const Param&) { return "-"; }
    void read(const std::string& w, const Param&);
};
template <>
struct Arg<const of_flow_s&> : InputArg<of_flow_s> {
    static std::string sample(const Param&) { return "in=1/1/1,eth=0x0806"; }
    Arg() { std::memset(&value.match, 0, sizeof value.match); }
    void read(const std::string& w, const Param&);
};

// Byte pointers: read by kind; kept in the argument itself.
template <>
struct Arg<const unsigned char*> {
    std::vector<unsigned char> bytes;
    const unsigned char* pointer = nullptr;
    static int words(const Param&) { return 1; }
    static std::string sample(const Param& param)
    {
        switch (param.kind) {
        case vorn_meta::Kind::mac: return "00:11:22:33:44:55";
        case vorn_meta::Kind::vlan_bitmap: return "1";
        case vorn_meta::Kind::ipv6_mask: return "ffff:ffff:ffff:ffff::";
        default: return "2001:db8::1";
        }
    }
    void read(const std::string& w, const Param& param);
    const unsigned char* get() { return pointer; }
    void print(std::ostream&, const Param&) const {}
};
template <>
struct Arg<unsigned char*> {
    std::vector<unsigned char> bytes = std::vector<unsigned char>(512, 0);
    static int words(const Param& param) { return param.kind == vorn_meta::Kind::vlan_bitmap ? 1 : 0; }
    static std::string sample(const Param&) { return "1"; }
    void read(const std::string& w, const Param& param);
    unsigned char* get() { return bytes.data(); }
    void print(std::ostream& out, const Param& param) const;
};
template <>
struct Arg<unsigned char (&)[6]> {
    unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
    static int words(const Param&) { return 0; }
    void read(const std::string&, const Param&) {}
    unsigned char (&get())[6] { return mac; }
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << mac_text(mac); }
};

// Outputs.
template <class T>
struct PrintedOutput : OutputArg<T> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << this->value; }
};
template <>
struct Arg<unsigned int&> : OutputArg<unsigned int> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << unsigned_text(value, param); }
};
template <>
struct Arg<port_ability_type_t> : InputArg<port_ability_type_t> {
    static std::string sample(const Param&) { return "100fd,1000fd,autoneg"; }
    void read(const std::string& w, const Param&) { value = read_ability_list(w); }
};
template <>
struct Arg<port_ability_type_t&> : OutputArg<port_ability_type_t> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << ability_list_text(value); }
};
template <>
struct Arg<int&> : PrintedOutput<int> {};
template <>
struct Arg<unsigned long long&> : PrintedOutput<unsigned long long> {};
template <>
struct Arg<bool&> : OutputArg<bool> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << (value ? "on" : "off"); }
};
template <class E>
struct Arg<E&, typename std::enable_if<std::is_enum<E>::value>::type> : OutputArg<E> {
    void print(std::ostream& out, const Param& param) const
    {
        out << " " << param.name << "=" << enum_text(this->value);
    }
};
template <>
struct Arg<Usp&> : OutputArg<Usp> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << port_text(value); }
};
template <>
struct Arg<std::list<Usp>&> : OutputArg<std::list<Usp>> {
    void print(std::ostream& out, const Param& param) const { out << " " << param.name << "=" << ports_text(value); }
};
template <class Counter>
struct Arg<std::list<Counter>&, typename std::enable_if<!std::is_same<Counter, Usp>::value>::type>
    : OutputArg<std::list<Counter>> {
    void print(std::ostream& out, const Param&) const
    {
        for (const Counter& counter : this->value) out << " " << enum_text(counter.type) << "=" << counter.value;
    }
};
// The brief "all" getters take their list by value: nothing comes back.
template <class Counter>
struct Arg<std::list<Counter>> : OutputArg<std::list<Counter>> {
    void print(std::ostream&, const Param&) const {}
};
template <class Counter>
struct Arg<Counter*, typename std::enable_if<std::is_class<Counter>::value>::type> {
    Counter counters[STAT_TYPE_COUNT];
    static int words(const Param&) { return 0; }
    void read(const std::string&, const Param&) {}
    Counter* get() { return counters; }
    void print(std::ostream&, const Param&) const {}
};

// Callbacks and opaque pointers are the shell's own (see events.hh).
template <class R, class... A>
struct Arg<R (*)(A...)> {
    static int words(const Param&) { return 0; }
    void read(const std::string&, const Param&) {}
    R (*get())(A...) { return recorder<R (*)(A...)>(); }
    void print(std::ostream&, const Param&) const {}
};
template <>
struct Arg<void*> {
    void* pointer = nullptr;
    Arg() {}
    static int words(const Param& param) { return param.kind == vorn_meta::Kind::callback ? 1 : 0; }
    static std::string sample(const Param&) { return "mac"; }
    static std::vector<std::string> choices(const Param&) { return recorder_names(); }
    void read(const std::string& w, const Param& param);
    void* get() { return pointer; }
    void print(std::ostream& out, const Param& param) const;
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
struct has_sample<A, decltype(void(A::sample(Param())))> : std::true_type {};

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
void read_all(Tuple& args, const std::vector<Param>& params, const std::vector<std::string>& words,
              std::index_sequence<I...>)
{
    std::size_t next = 0;
    // What the shell supplies itself (outputs, callbacks) is prepared by kind.
    auto read_one = [&](auto& arg, const Param& param) {
        arg.read(arg.words(param) == 0 ? std::string() : words.at(next++), param);
    };
    (void)read_one;
    (void)std::initializer_list<int>{(read_one(std::get<I>(args), params[I]), 0)...};
}

template <class Tuple, std::size_t... I>
void print_all(const Tuple& args, const std::vector<Param>& params, std::ostream& out,
               std::index_sequence<I...>)
{
    (void)args;
    (void)params;
    (void)out;
    (void)std::initializer_list<int>{(std::get<I>(args).print(out, params[I]), 0)...};
}

template <class A>
std::string sample_of(const Param& param, std::true_type)
{
    return A::sample(param);
}
template <class A>
std::string sample_of(const Param&, std::false_type)
{
    return "";
}

template <class A, class = void>
struct has_choices : std::false_type {};
template <class A>
struct has_choices<A, decltype(void(A::choices(Param())))> : std::true_type {};
template <class A>
std::vector<std::string> choices_of(const Param& param, std::true_type)
{
    return A::choices(param);
}
template <class A>
std::vector<std::string> choices_of(const Param&, std::false_type)
{
    return {};
}

// The value word of one parameter, or nothing for what the shell supplies.
template <class A>
void add_value_word(Form& form, std::string& sample_words, const Param& param)
{
    if (!A::words(param)) return;
    form.words.push_back(FormWord{FormWord::Value, param.name,
                                  choices_of<A>(param, std::integral_constant<bool, has_choices<A>::value>())});
    sample_words += " " + sample_of<A>(param, std::integral_constant<bool, has_sample<A>::value>());
}

}  // namespace detail

// The example of an entry point's command: its name and the sample words of
// its values, after the commands that make what the example needs.
std::string example_of(const std::string& name, const std::string& sample_words);

// The command of one API entry point, from its row of the entry-point table.
template <class... Params>
Command api_command(const vorn_meta::EntryPoint& row, bool (*entry)(Params...))
{
    if (row.params.size() != sizeof...(Params))
        throw std::logic_error("vorn_" + row.name + ": the entry-point table's parameters");
    Command command;
    command.name = row.name;
    command.summary = "calls vorn_" + row.name;
    Form only;
    std::string sample_words;
    std::size_t i = 0;
    (void)i;
    (void)std::initializer_list<int>{
        (detail::add_value_word<Arg<Params>>(only, sample_words, row.params[i++]), 0)...};
    command.example = example_of(row.name, sample_words);
    only.run = [entry, row](const Words& words, std::ostream& out) {
        std::tuple<Arg<Params>...> args;
        detail::read_all(args, row.params, words, std::index_sequence_for<Params...>());
        const bool ok = std::apply([&](auto&... arg) { return entry(arg.get()...); }, args);
        out << row.name << ": " << (ok ? "true" : "false");
        if (ok) detail::print_all(args, row.params, out, std::index_sequence_for<Params...>());
        out << "\n";
        return ok;
    };
    command.forms.push_back(only);
    return command;
}

// Every API entry point's command.
std::vector<Command> api_commands();

}  // namespace vornsh

#endif
