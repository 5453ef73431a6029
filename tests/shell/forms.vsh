# What a getter prints, its setter reads: abilities as comma lists, the
# forward mode by name, IPv4 addresses as dotted quads.
get_port_advertising_ability 1/1/1
set_port_advertising_ability 1/1/1 100fd,1000fd,autoneg
get_port_advertising_ability 1/1/1
port 1/1/2 advertise 10hd,pause-rx
get_port_advertising_ability 1/1/2
set_port_advertising_ability 1/1/1 100fd,warp
get_switch_forward_mode
set_switch_forward_mode flow
get_switch_forward_mode
set_switch_forward_mode 0
get_switch_forward_mode
set_switch_forward_mode sideways
l3 interface create 00:1b:21:0f:0f:0f 1
add_l3_route_ip4 1/1/3 10.1.0.0 255.255.0.0 00:1b:21:0f:0f:0f 1 1
get_l3_route_by_subnet_ip4 10.1.0.0 255.255.0.0 1/1/3
add_l3_host_ip4 1/1/3 10.1.2.3 00:1b:21:0f:0f:01 1
get_l3_host_ip4 10.1.2.3 1/1/3
add_arp_filter 10.0.0.0 255.0.0.0
set_ipv4_subnet_vlan 10.31.0.0 255.255.0.0 1 2
add_arp_filter 10.0.0 255.0.0.0
