# Links, callbacks, aging, counters, traces and CPU packets.
callbacks on
vlan create 40
vlan add 40 - 1/1/1-3
link 1/1/2 down
packet receive 1/1/1 40 ffffffffffff001b2100000108060001
mac aging 60
clock 61
packet send 1/1/1-3 - ffffffffffff001b2100000108060001
show sent
show counters 1/1/1-3
show events
trace on
get_port_pvid 1/1/1
trace off
callbacks off
link 1/1/2 up
show events
get_switch_forward_mode
add_ip_protocol_filter 6
filter add l4-port 179
filter add arp 10.0.0.0/8
show flow
mac add 1/1/3 00:1b:21:0a:0b:0c 40
traverse_mac_table
