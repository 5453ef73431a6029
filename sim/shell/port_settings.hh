// The settings of `port PORTS SETTING VALUE...`: one table, each setting with
// its value words, how they are read, the API setter and, where the library
// has one, the API getter.  The shell's `port` command, its help and its
// completion are derived from it; so can anything that prints a port's
// configuration in the form the setter reads.
#ifndef VORNSH_PORT_SETTINGS_HH
#define VORNSH_PORT_SETTINGS_HH

#include <functional>
#include <string>
#include <vector>

#include "api_commands.hh"

namespace vornsh {

struct PortSetting {
    std::string name;
    // The value words after the name, as in a form: "<rx> <tx>".
    std::string values;
    // The words each value takes where it takes only some.
    Choices choices;
    // How many leading value words select what is set rather than being set
    // (the CoS key, the MSTP instance, the flood-blocking peer): the getter
    // reads the value of that selection.
    std::size_t keys = 0;
    // The keys worth reading back (the running configuration reads each):
    // every CoS key, the MSTP instances some port has, every port as a peer.
    std::function<std::vector<Words>()> every_key;
    // False where the value is not configuration (the link is the cable's).
    bool configuration = true;
    // Reads the value words (throws BadWord) and calls the API setter.
    std::function<bool(const Usp& port, const Words& values)> set;
    // Calls the API getter and gives back the value words that `set` reads
    // (the keys included); empty where the library has no getter.
    std::function<bool(const Usp& port, const Words& keys, Words& values)> get;
    // Where the getter gives nothing (there is none, or nothing is set yet):
    // reads from the reference host's model what setting `values` on `port`
    // would replace, and returns what puts it back; null where that is not
    // known.
    std::function<std::function<bool()>(const Usp& port, const Words& values)> put_back;
};

// What puts `port` back as it is now should `setting` be changed to
// `values`: the getter's value set again, or the setting's own put_back;
// null where neither knows.
std::function<bool()> undo_of(const PortSetting& setting, const Usp& port, const Words& values);

const std::vector<PortSetting>& port_settings();
const PortSetting* find_port_setting(const std::string& name);

// The current value of `setting` on `port`, in the words its setter reads
// (e.g. "pvid 10" gives "10", "flow-control" gives "on off"); `keys` selects
// for a keyed setting.  False where there is no getter or the library
// refused.
bool port_setting_value(const PortSetting& setting, const Usp& port, const Words& keys, std::string& value);

}  // namespace vornsh

#endif
