# Bring-up of a 48-port line card, through the library, with vornsh.
# Run: build/native/vornsh examples/bringup.vsh

# Access ports 1-8 in VLAN 10; trunks 47-48 carry VLANs 10 and 20 tagged.
vlan create 10,20
vlan add 10 1/1/47-48 1/1/1-8
vlan add 20 1/1/47-48 -
port 1/1/1-8 pvid 10
port 1/1/1-8 broadcast 1000

# An uplink LAG of ports 45-46 in VLAN 20, balancing on IP addresses.
lag add 0/1/1 1/1/45-46
lag balance 0/1/1 src-dst-ip
vlan add 20 - 0/1/1

# Spanning tree: access ports forward, port 9 blocks.
port 1/1/1-8 stp forwarding
port 1/1/9 stp blocking

# Static MACs and the events the card reports.
callbacks on
mac add 1/1/3 00:1b:21:0a:0b:0c 10
mac system 02:00:00:00:00:01 20
packet receive 1/1/5 10 ffffffffffff001b21aabbcc08060001

# Routing in VLAN 20: an interface, a host, IPv4 and IPv6 routes.
l3 interface create 02:00:00:00:00:01 20
l3 host add 192.168.20.2 1/1/47 00:1b:21:0f:0f:0f 1
l3 route add 10.0.0.0/8 0/1/1 00:1b:21:0f:0f:0f 1 20
l3 route add 10.1.0.0/16 1/1/48 00:1b:21:0f:0f:0f 1 20
l3 route add 2001:db8::/32 1/1/48 00:1b:21:0f:0f:0f 1
l3 route lookup 10.1.2.3
l3 route lookup 10.200.0.1

# A flow sending ARP from port 1 out of port 2, and a filter for OSPF.
flow add in=1/1/1,eth=0x0806 100
flow action 1 output 1/1/2
filter add ip-protocol 89

# A frame from the CPU out of the LAG: it leaves through one member.
packet send 0/1/1 - ffffffffffff02000000000108060001

show port 1/1/1
show vlan
show lag
show fdb
show l3
show route
show flow
show counters
show sent
show events
