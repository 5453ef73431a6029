// Refusals of the LAG and MAC table operations, MAC limits included.
#include <gtest/gtest.h>

#include "refusal_cases.hh"
#include "vorn_contract.hh"

namespace refusal_cases {

namespace {
const std::string unknown = "unknown hardware port 0:99";
const std::string no_such_lag =
    "LAG 0/1/2 does not exist";  // LAG id 1, as the model names it by default
const unsigned char mac_e[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x0e};

// A VLAN bitmap: bit n of byte n / 8 for each VLAN n.
std::vector<unsigned char> bitmap(std::initializer_list<unsigned int> vlans)
{
    std::vector<unsigned char> bits(4096 / 8, 0);
    for (unsigned int vlan : vlans) bits[vlan / 8] |= static_cast<unsigned char>(1u << (vlan % 8));
    return bits;
}

bool second_lag(Model& m)
{
    unsigned int lag_id = 0;
    return m.create_lag(lag_id) && lag_id == 1;
}

// The MAC table holds 6 entries; the common state has 4.
bool mac_table_of_5(Model& m)
{
    return m.add_system_mac(mac_e, 20);
}
bool full_mac_table(Model& m)
{
    return m.add_system_mac(mac_e, 20) && m.add_system_mac(mac_e, 10);
}
}  // namespace

const std::vector<RefusalCase>& lag_fdb_refusals()
{
    using namespace vorn_contract;
    static const std::vector<RefusalCase> cases = {
        {Slot::create_lag, "LAG table full (2 LAGs)",
         [](Model& m) { return m.create_lag(ignored<unsigned int>()); }, second_lag},
        {Slot::delete_lag, no_such_lag, [](Model& m) { return m.delete_lag(1); }},
        {Slot::add_ports_to_lag, no_such_lag,
         [](Model& m) {
             std::list<Mp> p{port7};
             return m.add_ports_to_lag(1, p);
         }},
        {Slot::add_ports_to_lag, unknown,
         [](Model& m) {
             std::list<Mp> p{port5, nowhere};
             return m.add_ports_to_lag(0, p);
         }},
        {Slot::add_ports_to_lag, "port 1/1/5 is already in LAG 0/1/1",
         [](Model& m) {
             std::list<Mp> p{port7, port5};
             return m.add_ports_to_lag(1, p);
         },
         second_lag},
        {Slot::add_ports_to_lag, "LAG 0/1/1 cannot take 3 members (at most 2)",
         [](Model& m) {
             std::list<Mp> p{port5, port6, port7};
             return m.add_ports_to_lag(0, p);
         }},
        {Slot::delete_ports_from_lag, no_such_lag,
         [](Model& m) {
             std::list<Mp> p{port5};
             return m.delete_ports_from_lag(1, p);
         }},
        {Slot::delete_ports_from_lag, unknown,
         [](Model& m) {
             std::list<Mp> p{port5, nowhere};
             return m.delete_ports_from_lag(0, p);
         }},
        {Slot::set_lag_balancing_strategy, no_such_lag,
         [](Model& m) { return m.set_lag_balancing_strategy(1, LAG_PSC_SRC_MAC); }},
        {Slot::set_lag_balancing_strategy, "balancing strategy 6 is out of range (0-5)",
         [](Model& m) { return m.set_lag_balancing_strategy(0, lag_psc_t(6)); }},
        {Slot::get_lag_balancing_strategy, no_such_lag,
         [](Model& m) { return m.get_lag_balancing_strategy(1, ignored<lag_psc_t>()); }},
        // Static entries.
        {Slot::add_mac_to_port, "no MAC address given (null pointer)",
         [](Model& m) { return m.add_mac_to_port(port1, nullptr, 10, false); }},
        {Slot::add_mac_to_port, "is a multicast address",
         [](Model& m) { return m.add_mac_to_port(port1, multicast_mac, 10, false); }},
        {Slot::add_mac_to_port, "VLAN 30 does not exist",
         [](Model& m) { return m.add_mac_to_port(port1, mac_new, 30, false); }},
        {Slot::add_mac_to_port, unknown,
         [](Model& m) { return m.add_mac_to_port(nowhere, mac_new, 10, false); }},
        {Slot::add_mac_to_port, no_such_lag,
         [](Model& m) { return m.add_mac_to_port(no_lag, mac_new, 10, true); }},
        {Slot::add_mac_to_port, "MAC table full (6 entries)",
         [](Model& m) { return m.add_mac_to_port(port1, mac_new, 10, false); }, full_mac_table},
        {Slot::add_system_mac, "no MAC address given (null pointer)",
         [](Model& m) { return m.add_system_mac(nullptr, 10); }},
        {Slot::add_system_mac, "VLAN 30 does not exist",
         [](Model& m) { return m.add_system_mac(mac_new, 30); }},
        {Slot::add_system_mac, "MAC table full (6 entries)",
         [](Model& m) { return m.add_system_mac(mac_new, 10); }, full_mac_table},
        {Slot::add_system_mac_vlan_bitmap, "no MAC address given (null pointer)",
         [](Model& m) { return m.add_system_mac_vlan_bitmap(nullptr, bitmap({10}).data()); }},
        {Slot::add_system_mac_vlan_bitmap, "no VLAN bitmap given (null pointer)",
         [](Model& m) { return m.add_system_mac_vlan_bitmap(mac_new, nullptr); }},
        // VLAN 10 is not added when VLAN 30 of the same bitmap is unknown.
        {Slot::add_system_mac_vlan_bitmap, "VLAN 30 does not exist",
         [](Model& m) {
             return m.add_system_mac_vlan_bitmap(mac_new, bitmap({10, 30}).data());
         }},
        {Slot::add_system_mac_vlan_bitmap, "the VLAN bitmap names no VLAN",
         [](Model& m) { return m.add_system_mac_vlan_bitmap(mac_new, bitmap({}).data()); }},
        // One entry free, two VLANs: neither is added.
        {Slot::add_system_mac_vlan_bitmap, "MAC table full (6 entries)",
         [](Model& m) {
             return m.add_system_mac_vlan_bitmap(mac_new, bitmap({10, 20}).data());
         },
         mac_table_of_5},
        // Removal.
        {Slot::delete_mac, "no MAC address given (null pointer)",
         [](Model& m) { return m.delete_mac(nullptr, 10); }},
        {Slot::delete_mac, "is not in VLAN 20", [](Model& m) { return m.delete_mac(mac_a, 20); }},
        {Slot::delete_mac_vlan_bitmap, "no MAC address given (null pointer)",
         [](Model& m) { return m.delete_mac_vlan_bitmap(nullptr, bitmap({10}).data()); }},
        {Slot::delete_mac_vlan_bitmap, "no VLAN bitmap given (null pointer)",
         [](Model& m) { return m.delete_mac_vlan_bitmap(mac_a, nullptr); }},
        {Slot::delete_mac_vlan_bitmap, "is in none of the VLANs of the bitmap",
         [](Model& m) { return m.delete_mac_vlan_bitmap(mac_a, bitmap({20}).data()); }},
        {Slot::delete_mac_by_mac, "no MAC address given (null pointer)",
         [](Model& m) { return m.delete_mac_by_mac(nullptr); }},
        {Slot::delete_mac_by_mac, "is not in the table",
         [](Model& m) { return m.delete_mac_by_mac(mac_new); }},
        {Slot::clear_fdb_by_port, unknown,
         [](Model& m) { return m.clear_fdb_by_port(nowhere, false, true); }},
        {Slot::clear_fdb_by_port, no_such_lag,
         [](Model& m) { return m.clear_fdb_by_port(no_lag, true, true); }},
        {Slot::clear_fdb_by_vlan, "VLAN 0 is outside 1-4094",
         [](Model& m) { return m.clear_fdb_by_vlan(0, true); }},
        {Slot::clear_fdb_by_vlan, "VLAN 4095 is outside 1-4094",
         [](Model& m) { return m.clear_fdb_by_vlan(4095, true); }},
        {Slot::set_fdb_aging_time, "aging time -1 is out of range (0-1000000)",
         [](Model& m) { return m.set_fdb_aging_time(-1); }},
        {Slot::set_fdb_aging_time, "aging time 1000001 is out of range",
         [](Model& m) { return m.set_fdb_aging_time(1000001); }},
        {Slot::traverse_mac_table, "no visitor given (null pointer)",
         [](Model& m) { return m.traverse_mac_table(nullptr); }},
        // MAC limits, by kind.
        {Slot::set_system_mac_limit, "unknown MAC limit kind 5",
         [](Model& m) { return m.set_system_mac_limit(port1, 9, 5); }},
        {Slot::set_system_mac_limit, "unknown hardware port 0:0",
         [](Model& m) { return m.set_system_mac_limit(Mp(0, 0), 9, mac_limit_port); }},
        {Slot::set_system_mac_limit, no_such_lag,
         [](Model& m) { return m.set_system_mac_limit(no_lag, 9, mac_limit_lag); }},
        {Slot::set_system_mac_limit, "VLAN 30 does not exist",
         [](Model& m) { return m.set_system_mac_limit(Mp(0, 30), 9, mac_limit_vlan_interface); }},
        {Slot::set_system_mac_limit, "MAC limit -1 is out of range",
         [](Model& m) { return m.set_system_mac_limit(port4, -1, mac_limit_port); }},
        {Slot::set_system_mac_limit, "MAC limit -2 is out of range",
         [](Model& m) { return m.set_system_mac_limit(Mp(0, 0), -2, mac_limit_switch); }},
        {Slot::get_system_mac_limit, "unknown MAC limit kind 0",
         [](Model& m) { return m.get_system_mac_limit(port1, ignored<int>(), 0); }},
        {Slot::get_system_mac_limit, unknown,
         [](Model& m) { return m.get_system_mac_limit(nowhere, ignored<int>(), mac_limit_port); }},
        {Slot::get_system_mac_limit, no_such_lag,
         [](Model& m) { return m.get_system_mac_limit(no_lag, ignored<int>(), mac_limit_lag); }},
    };
    return cases;
}

}  // namespace refusal_cases

namespace {

TEST(Refusals, LagAndMacTableOperationsRefuseAndChangeNothing)
{
    refusal_cases::check_refusals(refusal_cases::lag_fdb_refusals());
}

}  // namespace
