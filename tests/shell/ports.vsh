# Port settings through the friendly commands and through the API commands.
vlan create 30
port 1/1/1-2 pvid 30
port 1/1/1 speed 100m
port 1/1/1 duplex half
port 1/1/1 mtu 9000
port 1/1/1 flow-control on off
port 1/1/1 mstp 5 discarding
port 1/1/1 cos 3 5
port 1/1/2 mirror-to 1/1/4 both
port 1/1/2 flood-to 1/1/3 broadcast
get_port_mstp_state 1/1/1 5
get_port_cos_mapping 1/1/1 3
get_port_mirror 1/1/2
get_port_flood_blocking 1/1/2 1/1/3
get_port_flow_control_8023x 1/1/1
set_ports_flow_control_8023x 1/1/2 on off
get_port_flow_control_8023x 1/1/2
lag add 0/1/2 1/1/5-6
set_port_jaming_control 0/1/2 on
get_port_jaming_control 1/1/6
try set_port_speed 0/1/2 10g
get_port_mac_limit 0/1/2
set_port_mac_limit 1/1/7 50
get_port_mac_limit 1/1/7
show port 1/1/1
