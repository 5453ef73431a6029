# Configuration beyond the bring-up, for the running-config round trip.
vlan create 30-32,40
vlan add 30 1/1/20-21 1/1/22
port 1/1/22 pvid 30
port 1/1/23 admin off
port 1/1/23-24 mtu 9000
port 1/1/24 speed 100m
port 1/1/24 duplex half
port 1/1/24 autoneg off
port 1/1/25 stp blocking
port 1/1/25-26 mstp 4 learning
port 1/1/26 mstp 9 discarding
port 1/1/27 flow-control on off
port 1/1/27 jamming on
port 1/1/27 multicast 500
port 1/1/28 mac-lock on
port 1/1/28 mac-limit 64
port 1/1/28 tagged-only on
port 1/1/28 bpdu off
port 1/1/29 egress off
port 1/1/29 l2 off
port 1/1/29 unknown-unicast-to-cpu on
port 1/1/29 stats off
port 1/1/32 flood-cpu broadcast
port 1/1/32 flood-to 1/1/33 unknown-multicast
port 1/1/33 mirror-to 1/1/34 both
port 1/1/33 priority 2 6
port 1/1/33 cos 3 5
port 1/1/34 protocol-vlan ethernet2 0x0806 30
port 1/1/35 advertise 100fd,1000fd
lag create 0/1/3
lag add 0/1/3 1/1/30-31
lag balance 0/1/3 src-mac
lag create 0/1/2
vlan add 40 0/1/3 -
vlan mac 31 00:1b:21:00:00:31 3
set_ipv4_subnet_vlan 10.31.0.0 255.255.0.0 31 2
set_ipv6_subnet_vlan 2001:db8:31:: 48 31 1
mac aging 600
mac limit 1000
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
mstp-map 20 4
show running-config
