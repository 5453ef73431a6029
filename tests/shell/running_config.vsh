# Configuration beyond the bring-up, for the running-config round trip.
vlan create 30-32,40
vlan add 30 1/1/20-21 1/1/22
port 1/1/22 pvid 30
lag create 0/1/3
lag add 0/1/3 1/1/30-31
lag balance 0/1/3 src-mac
lag create 0/1/2
vlan add 40 0/1/3 -
mac aging 600
mac add 0/1/3 00:1b:21:00:00:03 40
create_l3_interface_with_id 02:00:00:00:00:30 30 5 off
create_l3_interface_with_id 02:00:00:00:00:40 40 6 off
l3 interface delete 5
l3 host add 2001:db8::2 1/1/20 00:1b:21:00:00:20 6
l3 route add 172.16.0.0/12 1/1/20 00:1b:21:00:00:20 6 40
add_of_flow_with_id eth=0x86dd 10
add_of_flow_with_id dmac=00:1b:21:00:00:01,vlan=30,pcp=3,sip=10.0.0.0/8,dip=192.168.1.1/32,proto=6,tos=4,sport=1000,dport=22 11
add_of_flow_with_id in=1/1/2,smac=00:1b:21:00:00:02,eth=0x0800 12
set_of_flow_priority 12 7
delete_of_flow 10
flow action 11 output 1/1/9
flow action 11 drop
add_of_flow_action 12 output 10,1,2
filter add l4-port 179
filter add arp 10.1.0.0/16
set_switch_forward_mode 1
set_switch_unknown_unicast_to_cpu on
show running-config
