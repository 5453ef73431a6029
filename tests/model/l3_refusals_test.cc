// Refusals of the L3 operations: interfaces, hosts and routes.
#include <gtest/gtest.h>

#include "refusal_cases.hh"

namespace refusal_cases {

namespace {
const std::string unknown = "unknown hardware port 0:99";
const std::string no_interface = "L3 interface 9 does not exist";
const unsigned int other_route4 = 0x0a020000;                     // 10.2.0.0/16, in no table
const unsigned char other6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 2};  // 2001:db8:2::, in no table
const unsigned char holey_mask6[16] = {0xff, 0x00, 0xff};

// The tables hold 3 interfaces, 4 hosts, 2 routes of each family; the
// common state has 2, 2, 1 and 1.
bool full_interfaces(Model& m)
{
    return m.create_l3_interface(mac_new, 10, ignored<unsigned int>());
}
bool full_hosts(Model& m)
{
    return m.add_l3_host_ip4(port1, false, host4 + 1, mac_a, 1) &&
           m.add_l3_host_ip4(port1, false, host4 + 2, mac_a, 1);
}
bool full_routes4(Model& m)
{
    return m.add_l3_route_ip4(port2, false, other_route4, route4_mask, mac_a, 1, 10);
}
bool full_routes6(Model& m)
{
    return m.add_l3_route_ip6(port3, false, other6, route6_mask, mac_b, 2);
}
}  // namespace

const std::vector<RefusalCase>& l3_refusals()
{
    static const std::vector<RefusalCase> cases = {
        // Interfaces.
        {Slot::create_l3_interface, "no MAC address given (null pointer)",
         [](Model& m) { return m.create_l3_interface(nullptr, 10, ignored<unsigned int>()); }},
        {Slot::create_l3_interface, "VLAN 30 does not exist",
         [](Model& m) { return m.create_l3_interface(mac_new, 30, ignored<unsigned int>()); }},
        {Slot::create_l3_interface, "L3 interface 1 has MAC",
         [](Model& m) { return m.create_l3_interface(router_mac, 10, ignored<unsigned int>()); }},
        {Slot::create_l3_interface, "L3 interface table full (3 entries)",
         [](Model& m) { return m.create_l3_interface(mac_new, 20, ignored<unsigned int>()); },
         full_interfaces},
        {Slot::create_l3_interface_with_id, "no MAC address given (null pointer)",
         [](Model& m) { return m.create_l3_interface_with_id(nullptr, 10, 7, false); }},
        {Slot::create_l3_interface_with_id, "VLAN 30 does not exist",
         [](Model& m) { return m.create_l3_interface_with_id(mac_new, 30, 7, false); }},
        {Slot::create_l3_interface_with_id, "L3 interface id 0 is reserved",
         [](Model& m) { return m.create_l3_interface_with_id(mac_new, 10, 0, true); }},
        {Slot::create_l3_interface_with_id, "L3 interface 2 already exists",
         [](Model& m) { return m.create_l3_interface_with_id(mac_new, 10, 2, false); }},
        {Slot::create_l3_interface_with_id, "L3 interface table full (3 entries)",
         [](Model& m) { return m.create_l3_interface_with_id(mac_new, 20, 9, false); },
         full_interfaces},
        {Slot::get_l3_interface, no_interface,
         [](Model& m) { return m.get_l3_interface(9, ignored<unsigned int>(), mac_buffer()); }},
        {Slot::get_l3_interface, "no MAC buffer given (null pointer)",
         [](Model& m) { return m.get_l3_interface(1, ignored<unsigned int>(), nullptr); }},
        {Slot::delete_l3_interface, "no MAC address given (null pointer)",
         [](Model& m) { return m.delete_l3_interface(nullptr, 10); }},
        {Slot::delete_l3_interface, "no L3 interface has MAC",
         [](Model& m) { return m.delete_l3_interface(router_mac, 30); }},
        {Slot::delete_l3_interface_by_id, no_interface,
         [](Model& m) { return m.delete_l3_interface_by_id(9); }},
        // Hosts.
        {Slot::add_l3_host_ip4, "no MAC address given (null pointer)",
         [](Model& m) { return m.add_l3_host_ip4(port1, false, host4 + 1, nullptr, 1); }},
        {Slot::add_l3_host_ip4, unknown,
         [](Model& m) { return m.add_l3_host_ip4(nowhere, false, host4 + 1, mac_a, 1); }},
        {Slot::add_l3_host_ip4, "LAG 0/1/2 does not exist",
         [](Model& m) { return m.add_l3_host_ip4(no_lag, true, host4 + 1, mac_a, 1); }},
        {Slot::add_l3_host_ip4, no_interface,
         [](Model& m) { return m.add_l3_host_ip4(port1, false, host4 + 1, mac_a, 9); }},
        {Slot::add_l3_host_ip4, "host 10.0.0.5 already exists",
         [](Model& m) { return m.add_l3_host_ip4(port2, false, host4, mac_new, 2); }},
        {Slot::add_l3_host_ip4, "host table full (4 entries)",
         [](Model& m) { return m.add_l3_host_ip4(port1, false, host4 + 3, mac_a, 1); }, full_hosts},
        {Slot::add_l3_host_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) { return m.add_l3_host_ip6(lag0, true, nullptr, mac_b, 2); }},
        {Slot::add_l3_host_ip6, "no MAC address given (null pointer)",
         [](Model& m) { return m.add_l3_host_ip6(lag0, true, other6, nullptr, 2); }},
        {Slot::add_l3_host_ip6, unknown,
         [](Model& m) { return m.add_l3_host_ip6(nowhere, false, other6, mac_b, 2); }},
        {Slot::add_l3_host_ip6, no_interface,
         [](Model& m) { return m.add_l3_host_ip6(lag0, true, other6, mac_b, 9); }},
        {Slot::add_l3_host_ip6, "host 2001:db8::5 already exists",
         [](Model& m) { return m.add_l3_host_ip6(port1, false, host6, mac_a, 1); }},
        {Slot::add_l3_host_ip6, "host table full (4 entries)",
         [](Model& m) { return m.add_l3_host_ip6(lag0, true, other6, mac_b, 2); }, full_hosts},
        {Slot::get_l3_host_ip4, "no MAC buffer given (null pointer)",
         [](Model& m) {
             return m.get_l3_host_ip4(host4, port1, nullptr, ignored<unsigned int>(), false);
         }},
        {Slot::get_l3_host_ip4, "host 10.0.0.9 does not exist",
         [](Model& m) {
             return m.get_l3_host_ip4(host4 + 4, port1, mac_buffer(), ignored<unsigned int>(),
                                      false);
         }},
        {Slot::get_l3_host_ip4, "host 10.0.0.5 leads to port 1/1/1, not port 1/1/2",
         [](Model& m) {
             return m.get_l3_host_ip4(host4, port2, mac_buffer(), ignored<unsigned int>(), false);
         }},
        {Slot::get_l3_host_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) {
             return m.get_l3_host_ip6(nullptr, lag0, mac_buffer(), ignored<unsigned int>(), true);
         }},
        {Slot::get_l3_host_ip6, "no MAC buffer given (null pointer)",
         [](Model& m) {
             return m.get_l3_host_ip6(host6, lag0, nullptr, ignored<unsigned int>(), true);
         }},
        {Slot::get_l3_host_ip6, "host 2001:db8:2:: does not exist",
         [](Model& m) {
             return m.get_l3_host_ip6(other6, lag0, mac_buffer(), ignored<unsigned int>(), true);
         }},
        {Slot::get_l3_host_ip6, "host 2001:db8::5 leads to LAG 0/1/1, not port 1/1/1",
         [](Model& m) {
             return m.get_l3_host_ip6(host6, port1, mac_buffer(), ignored<unsigned int>(), false);
         }},
        {Slot::delete_l3_host_by_network_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) { return m.delete_l3_host_by_network_ip6(nullptr); }},
        {Slot::delete_l3_host_by_addr_ip4, "host 10.0.0.9 does not exist",
         [](Model& m) { return m.delete_l3_host_by_addr_ip4(host4 + 4, port1, false); }},
        {Slot::delete_l3_host_by_addr_ip4, "host 10.0.0.5 leads to port 1/1/1, not LAG 0/1/1",
         [](Model& m) { return m.delete_l3_host_by_addr_ip4(host4, lag0, true); }},
        {Slot::delete_l3_host_by_addr_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) { return m.delete_l3_host_by_addr_ip6(nullptr, lag0, true); }},
        {Slot::delete_l3_host_by_addr_ip6, "host 2001:db8:2:: does not exist",
         [](Model& m) { return m.delete_l3_host_by_addr_ip6(other6, lag0, true); }},
        {Slot::delete_l3_host_by_addr_ip6, "host 2001:db8::5 leads to LAG 0/1/1, not port 1/1/5",
         [](Model& m) { return m.delete_l3_host_by_addr_ip6(host6, port5, false); }},
        // Routes.
        {Slot::add_l3_route_ip4, "mask 255.0.255.0 is not contiguous",
         [](Model& m) {
             return m.add_l3_route_ip4(port2, false, other_route4, 0xff00ff00, mac_a, 1, 10);
         }},
        {Slot::add_l3_route_ip4, "no MAC address given (null pointer)",
         [](Model& m) {
             return m.add_l3_route_ip4(port2, false, other_route4, route4_mask, nullptr, 1, 10);
         }},
        {Slot::add_l3_route_ip4, unknown,
         [](Model& m) {
             return m.add_l3_route_ip4(nowhere, false, other_route4, route4_mask, mac_a, 1, 10);
         }},
        {Slot::add_l3_route_ip4, no_interface,
         [](Model& m) {
             return m.add_l3_route_ip4(port2, false, other_route4, route4_mask, mac_a, 9, 10);
         }},
        {Slot::add_l3_route_ip4, "route 10.1.0.0/16 already exists",
         [](Model& m) {
             return m.add_l3_route_ip4(port3, false, route4 + 7, route4_mask, mac_b, 2, 20);
         }},
        {Slot::add_l3_route_ip4, "IPv4 route table full (2 entries)",
         [](Model& m) {
             return m.add_l3_route_ip4(port2, false, 0x0a030000, route4_mask, mac_a, 1, 10);
         },
         full_routes4},
        {Slot::add_l3_route_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) { return m.add_l3_route_ip6(port3, false, nullptr, route6_mask, mac_b, 2); }},
        {Slot::add_l3_route_ip6, "no IPv6 mask given (null pointer)",
         [](Model& m) { return m.add_l3_route_ip6(port3, false, other6, nullptr, mac_b, 2); }},
        {Slot::add_l3_route_ip6, "mask ff00:ff00:: is not contiguous",
         [](Model& m) { return m.add_l3_route_ip6(port3, false, other6, holey_mask6, mac_b, 2); }},
        {Slot::add_l3_route_ip6, "no MAC address given (null pointer)",
         [](Model& m) {
             return m.add_l3_route_ip6(port3, false, other6, route6_mask, nullptr, 2);
         }},
        {Slot::add_l3_route_ip6, unknown,
         [](Model& m) {
             return m.add_l3_route_ip6(nowhere, false, other6, route6_mask, mac_b, 2);
         }},
        {Slot::add_l3_route_ip6, no_interface,
         [](Model& m) { return m.add_l3_route_ip6(port3, false, other6, route6_mask, mac_b, 9); }},
        {Slot::add_l3_route_ip6, "route 2001:db8:1::/48 already exists",
         [](Model& m) { return m.add_l3_route_ip6(port2, false, route6, route6_mask, mac_a, 1); }},
        {Slot::add_l3_route_ip6, "IPv6 route table full (2 entries)",
         [](Model& m) { return m.add_l3_route_ip6(port3, false, host6, route6_mask, mac_b, 2); },
         full_routes6},
        {Slot::get_l3_route_by_subnet_ip4, "mask 255.0.255.0 is not contiguous",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip4(route4, 0xff00ff00, port2, false, mac_buffer(),
                                                 ignored<unsigned int>(), ignored<unsigned int>());
         }},
        {Slot::get_l3_route_by_subnet_ip4, "no MAC buffer given (null pointer)",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip4(route4, route4_mask, port2, false, nullptr,
                                                 ignored<unsigned int>(), ignored<unsigned int>());
         }},
        {Slot::get_l3_route_by_subnet_ip4, "route 10.2.0.0/16 does not exist",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip4(other_route4, route4_mask, port2, false,
                                                 mac_buffer(), ignored<unsigned int>(),
                                                 ignored<unsigned int>());
         }},
        {Slot::get_l3_route_by_subnet_ip4, "route 10.1.0.0/16 leads to port 1/1/2, not port 1/1/3",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip4(route4, route4_mask, port3, false, mac_buffer(),
                                                 ignored<unsigned int>(), ignored<unsigned int>());
         }},
        {Slot::get_l3_route_by_subnet_ip6, "no IPv6 mask given (null pointer)",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip6(route6, nullptr, port3, false,
                                                 ignored<unsigned int>(), mac_buffer());
         }},
        {Slot::get_l3_route_by_subnet_ip6, "no MAC buffer given (null pointer)",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip6(route6, route6_mask, port3, false,
                                                 ignored<unsigned int>(), nullptr);
         }},
        {Slot::get_l3_route_by_subnet_ip6, "route 2001:db8:2::/48 does not exist",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip6(other6, route6_mask, port3, false,
                                                 ignored<unsigned int>(), mac_buffer());
         }},
        {Slot::get_l3_route_by_subnet_ip6,
         "route 2001:db8:1::/48 leads to port 1/1/3, not LAG 0/1/1",
         [](Model& m) {
             return m.get_l3_route_by_subnet_ip6(route6, route6_mask, lag0, true,
                                                 ignored<unsigned int>(), mac_buffer());
         }},
        {Slot::delete_l3_route_by_subnet_ip4, "mask 255.0.255.0 is not contiguous",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip4(route4, 0xff00ff00, port2, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip4, "route 10.2.0.0/16 does not exist",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip4(other_route4, route4_mask, port2, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip4,
         "route 10.1.0.0/16 leads to port 1/1/2, not port 1/1/1",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip4(route4, route4_mask, port1, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip6, "no IPv6 address given (null pointer)",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip6(nullptr, route6_mask, port3, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip6, "mask ff00:ff00:: is not contiguous",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip6(route6, holey_mask6, port3, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip6, "route 2001:db8:2::/48 does not exist",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip6(other6, route6_mask, port3, false);
         }},
        {Slot::delete_l3_route_by_subnet_ip6,
         "route 2001:db8:1::/48 leads to port 1/1/3, not port 1/1/2",
         [](Model& m) {
             return m.delete_l3_route_by_subnet_ip6(route6, route6_mask, port2, false);
         }},
    };
    return cases;
}

}  // namespace refusal_cases

namespace {

TEST(Refusals, L3OperationsRefuseAndChangeNothing)
{
    refusal_cases::check_refusals(refusal_cases::l3_refusals());
}

}  // namespace
