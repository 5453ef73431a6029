#include "port_settings.hh"

#include <set>

#include "model.hh"
#include "shell.hh"
#include "vorn_api.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

// How a value word is read and written back.
template <class T>
struct Value {
    std::function<T(const std::string&)> read;
    std::function<std::string(const T&)> text;
    std::vector<std::string> choices;
};

Value<unsigned int> number(unsigned int max)
{
    return {[max](const std::string& w) { return static_cast<unsigned int>(read_number(w, max)); },
            [](const unsigned int& n) { return std::to_string(n); },
            {}};
}

Value<int> signed_number(int min, int max)
{
    return {[min, max](const std::string& w) { return static_cast<int>(read_signed(w, min, max)); },
            [](const int& n) { return std::to_string(n); },
            {}};
}

Value<bool> flag()
{
    return {read_flag, [](const bool& on) { return std::string(on ? "on" : "off"); }, flag_names()};
}

template <class E>
Value<E> names()
{
    return {read_enum<E>, [](const E& e) { return enum_text(e); }, enum_names<E>()};
}

Value<port_ability_type_t> abilities()
{
    return {read_ability_list, [](const port_ability_type_t& a) { return ability_list_text(a); },
            enum_names<port_ability_type_t>()};
}

Value<Usp> port()
{
    return {read_port, [](const Usp& p) { return port_text(p); }, {}};
}

std::string word_of(const std::string& name) { return "<" + name + ">"; }

template <class T>
Choices choices_of(const std::string& name, const Value<T>& value)
{
    return value.choices.empty() ? Choices() : Choices{{name, value.choices}};
}

Choices merged(Choices a, const Choices& b)
{
    a.insert(b.begin(), b.end());
    return a;
}

// A setting's name, value words and choices; the rest to be filled in.
PortSetting setting_of(const std::string& name, const std::string& values, Choices choices)
{
    PortSetting setting;
    setting.name = name;
    setting.values = values;
    setting.choices = std::move(choices);
    return setting;
}

// A setting of one value.
template <class T>
PortSetting single(const std::string& name, const std::string& value_name, Value<T> value,
                   std::function<bool(const Usp&, T)> set, std::function<bool(const Usp&, T&)> get)
{
    PortSetting setting = setting_of(name, word_of(value_name), choices_of(value_name, value));
    setting.set = [value, set](const Usp& p, const Words& w) { return set(p, value.read(w.at(0))); };
    if (get)
        setting.get = [value, get](const Usp& p, const Words&, Words& out) {
            T current{};
            if (!get(p, current)) return false;
            out = {value.text(current)};
            return true;
        };
    return setting;
}

// A setting of two values set together.
template <class A, class B>
PortSetting pair(const std::string& name, const std::string& a_name, Value<A> a, const std::string& b_name,
                 Value<B> b, std::function<bool(const Usp&, A, B)> set, std::function<bool(const Usp&, A&, B&)> get)
{
    PortSetting setting = setting_of(name, word_of(a_name) + " " + word_of(b_name),
                                     merged(choices_of(a_name, a), choices_of(b_name, b)));
    setting.set = [a, b, set](const Usp& p, const Words& w) { return set(p, a.read(w.at(0)), b.read(w.at(1))); };
    setting.get = [a, b, get](const Usp& p, const Words&, Words& out) {
        A first{};
        B second{};
        if (!get(p, first, second)) return false;
        out = {a.text(first), b.text(second)};
        return true;
    };
    return setting;
}

// A value selected by a key: the getter reads the value of the key given;
// `every_key` gives the keys worth reading back.
template <class K, class T>
PortSetting keyed(const std::string& name, const std::string& key_name, Value<K> key,
                  std::function<std::vector<Words>()> every_key, const std::string& value_name, Value<T> value,
                  std::function<bool(const Usp&, K, T)> set, std::function<bool(const Usp&, K, T&)> get)
{
    PortSetting setting = setting_of(name, word_of(key_name) + " " + word_of(value_name),
                                     merged(choices_of(key_name, key), choices_of(value_name, value)));
    setting.keys = 1;
    setting.every_key = every_key;
    setting.set = [key, value, set](const Usp& p, const Words& w) {
        return set(p, key.read(w.at(0)), value.read(w.at(1)));
    };
    setting.get = [key, value, get](const Usp& p, const Words& keys, Words& out) {
        const K selected = key.read(keys.at(0));
        T current{};
        if (!get(p, selected, current)) return false;
        out = {key.text(selected), value.text(current)};
        return true;
    };
    return setting;
}

// `setting`, put back by `put_back` where its getter gives nothing.
PortSetting put_back_by(PortSetting setting, decltype(PortSetting::put_back) put_back)
{
    setting.put_back = std::move(put_back);
    return setting;
}

// `setting`, whose value is not configuration.
PortSetting not_configuration(PortSetting setting)
{
    setting.configuration = false;
    return setting;
}

std::list<Usp> one(const Usp& p) { return std::list<Usp>{p}; }

// The reference host's state of a port, for what the library cannot read
// back; null where the card has no such port.
const vorn_sim::PortState* model_state(const Usp& port)
{
    const vorn_sim::SwitchModel* model = vorn_sim::model();
    Mp mp;
    if (!model || !vorn_usp_to_mp(port, mp)) return nullptr;
    return const_cast<vorn_sim::SwitchModel*>(model)->port_state(mp);
}

// The keys of the keyed settings.
std::vector<Words> keys_up_to(unsigned int last)
{
    std::vector<Words> keys;
    for (unsigned int key = 0; key <= last; ++key) keys.push_back({std::to_string(key)});
    return keys;
}

std::vector<Words> mstp_instances_in_use()
{
    std::set<unsigned int> instances;
    for (const Usp& port : card_ports())
        if (const vorn_sim::PortState* state = model_state(port))
            for (const auto& instance : state->mstp) instances.insert(instance.first);
    std::vector<Words> keys;
    for (unsigned int instance : instances) keys.push_back({std::to_string(instance)});
    return keys;
}

std::vector<Words> every_port()
{
    std::vector<Words> keys;
    for (const Usp& port : card_ports()) keys.push_back({port_text(port)});
    return keys;
}

// Not mirrored yet reads as nothing: such a port is put back unmirrored.
std::function<bool()> unmirrored(const Usp& p, const Words& values)
{
    const Usp target = read_port(values.at(0));
    return [p, target] { return vorn_set_port_mirror(target, p, MIRROR_TYPE_NONE); };
}

// The L2 switch has no getter: the model says what it was.
std::function<bool()> l2_as_it_was(const Usp& p, const Words&)
{
    const vorn_sim::PortState* state = model_state(p);
    if (!state) return nullptr;
    const bool was = state->l2;
    return [p, was] { return vorn_set_port_l2_enable(p, was); };
}

// A protocol VLAN has no getter: three values read and set together, put
// back from the model.
PortSetting protocol_vlan()
{
    const Value<frame_type_t> frame = names<frame_type_t>();
    PortSetting setting = setting_of("protocol-vlan", "<frame> <protocol> <vlan>", choices_of("frame", frame));
    setting.set = [frame](const Usp& p, const Words& w) {
        const frame_type_t type = frame.read(w.at(0));
        const unsigned short protocol = static_cast<unsigned short>(read_number(w.at(1), 0xffff));
        return vorn_set_port_protocol_vlan(p, type, protocol, static_cast<unsigned int>(read_number(w.at(2), 4095)));
    };
    setting.put_back = [frame](const Usp& p, const Words& w) -> std::function<bool()> {
        const vorn_sim::PortState* state = model_state(p);
        if (!state) return nullptr;
        const frame_type_t type = frame.read(w.at(0));
        const unsigned short protocol = static_cast<unsigned short>(read_number(w.at(1), 0xffff));
        const auto found = state->protocol_vlans.find({static_cast<int>(type), protocol});
        if (found == state->protocol_vlans.end())
            return [p, type, protocol] { return vorn_delete_port_protocol_vlan(p, type, protocol); };
        const unsigned int vlan = found->second;
        return [p, type, protocol, vlan] { return vorn_set_port_protocol_vlan(p, type, protocol, vlan); };
    };
    return setting;
}

std::vector<PortSetting> make_settings()
{
    const unsigned int any_rate = 0xffffffffu;
    return {
        single<unsigned int>("pvid", "vlan", number(4095), vorn_set_port_pvid, vorn_get_port_pvid),
        single<bool>("admin", "on|off", flag(), vorn_set_port_state, vorn_get_port_state),
        single<unsigned int>("mtu", "bytes", number(65535), vorn_set_port_mtu, vorn_get_port_mtu),
        single<stp_state_t>("stp", "state", names<stp_state_t>(), vorn_set_port_stp_state,
                            vorn_get_port_stp_state),
        keyed<unsigned int, mstp_state_t>(
            "mstp", "instance", number(4094), mstp_instances_in_use, "state", names<mstp_state_t>(),
            [](const Usp& p, unsigned int instance, mstp_state_t state) {
                return vorn_set_port_mstp_state(p, state, instance);
            },
            [](const Usp& p, unsigned int instance, mstp_state_t& state) {
                return vorn_get_port_mstp_state(p, state, instance);
            }),
        single<speed_type_t>("speed", "speed", names<speed_type_t>(), vorn_set_port_speed, vorn_get_port_speed),
        single<duplex_type_t>("duplex", "duplex", names<duplex_type_t>(), vorn_set_port_duplex,
                              vorn_get_port_duplex),
        single<bool>("autoneg", "on|off", flag(), vorn_set_port_autoneg, vorn_get_port_autoneg),
        not_configuration(single<phy_state_t>("link", "state", names<phy_state_t>(), vorn_set_port_link_state,
                                              vorn_get_port_link_state)),
        pair<bool, bool>("flow-control", "rx", flag(), "tx", flag(), vorn_set_port_flow_control_8023x,
                         vorn_get_port_flow_control_8023x),
        single<bool>("jamming", "on|off", flag(), vorn_set_port_jaming_control, vorn_get_port_jaming_control),
        single<unsigned int>("broadcast", "rate", number(any_rate), vorn_set_port_broadcast_control,
                             vorn_get_port_broadcast_control),
        single<unsigned int>("multicast", "rate", number(any_rate), vorn_set_port_multicast_control,
                             vorn_get_port_multicast_control),
        single<unsigned int>("unicast", "rate", number(any_rate), vorn_set_port_unicast_control,
                             vorn_get_port_unicast_control),
        single<bool>("mac-lock", "on|off", flag(), vorn_set_port_mac_lock, vorn_get_port_mac_lock),
        pair<bool, bool>("mac-lock-ext", "locked", flag(), "drop-unknown", flag(), vorn_set_port_mac_lock_ext,
                         vorn_get_port_mac_lock_ext),
        single<int>("mac-limit", "entries", signed_number(0, 1 << 24), vorn_set_port_mac_limit,
                    vorn_get_port_mac_limit),
        single<bool>("tagged-only", "on|off", flag(), vorn_set_port_vlan_accept_frame,
                     vorn_get_port_vlan_accept_frame),
        single<bool>("bpdu", "on|off", flag(), vorn_set_port_bpdu_processing, vorn_get_port_bpdu_processing),
        single<ingress_discard_type_t>("ingress-discard", "type", names<ingress_discard_type_t>(),
                                       vorn_set_port_ingress_discarding, vorn_get_port_ingress_discarding),
        single<bool>("egress", "on|off", flag(), vorn_set_port_egress_admin_state,
                     vorn_get_port_egress_admin_state),
        put_back_by(single<bool>("l2", "on|off", flag(), vorn_set_port_l2_enable, nullptr), l2_as_it_was),
        single<bool>("unknown-unicast-to-cpu", "on|off", flag(), vorn_set_port_switch_unknown_unicast_to_cpu,
                     vorn_get_port_switch_unknown_unicast_to_cpu),
        single<bool>("stats", "on|off", flag(), vorn_set_port_stat_enable, vorn_get_port_stat_enabled),
        single<port_ability_type_t>("advertise", "abilities", abilities(), vorn_set_port_advertising_ability,
                                    vorn_get_port_advertising_ability),
        single<flood_block_type_t>(
            "flood-cpu", "type", names<flood_block_type_t>(),
            [](const Usp& p, flood_block_type_t type) { return vorn_set_port_flood_blocking_cpu(one(p), type); },
            vorn_get_port_flood_blocking_cpu),
        keyed<Usp, flood_block_type_t>(
            "flood-to", "port", port(), every_port, "type", names<flood_block_type_t>(),
            [](const Usp& p, Usp other, flood_block_type_t type) {
                return vorn_set_port_flood_blocking(one(p), other, type);
            },
            [](const Usp& p, Usp other, flood_block_type_t& type) {
                return vorn_get_port_flood_blocking(p, other, type);
            }),
        put_back_by(pair<Usp, mirror_type_t>(
                        "mirror-to", "target", port(), "type", names<mirror_type_t>(),
                        [](const Usp& p, Usp target, mirror_type_t type) { return vorn_set_port_mirror(target, p, type); },
                        // Not mirrored reads as nothing: no target to name.
                        [](const Usp& p, Usp& target, mirror_type_t& type) {
                            return vorn_get_port_mirror(target, p, type) && type != MIRROR_TYPE_NONE;
                        }),
                    unmirrored),
        keyed<unsigned int, unsigned int>("priority", "key", number(7), [] { return keys_up_to(7); }, "priority",
                                          number(7), vorn_set_port_vlan_priority, vorn_get_port_vlan_priority),
        keyed<unsigned int, unsigned int>("cos", "key", number(7), [] { return keys_up_to(7); }, "queue", number(7),
                                          vorn_set_port_cos_mapping, vorn_get_port_cos_mapping),
        single<lag_psc_t>("balance", "strategy", names<lag_psc_t>(), vorn_set_lag_balancing_strategy,
                          vorn_get_lag_balancing_strategy),
        protocol_vlan(),
    };
}

}  // namespace

const std::vector<PortSetting>& port_settings()
{
    static const std::vector<PortSetting> settings = make_settings();
    return settings;
}

const PortSetting* find_port_setting(const std::string& name)
{
    for (const PortSetting& setting : port_settings())
        if (setting.name == name) return &setting;
    return nullptr;
}

std::function<bool()> undo_of(const PortSetting& setting, const Usp& port, const Words& values)
{
    const Words keys(values.begin(), values.begin() + static_cast<long>(setting.keys));
    Words old;
    if (setting.get && setting.get(port, keys, old)) {
        const auto set = setting.set;
        return [set, port, old] { return set(port, old); };
    }
    return setting.put_back ? setting.put_back(port, values) : nullptr;
}

bool port_setting_value(const PortSetting& setting, const Usp& port, const Words& keys, std::string& value)
{
    Words words;
    if (!setting.get || !setting.get(port, keys, words)) return false;
    value = join(words, " ");
    return true;
}

}  // namespace vornsh
