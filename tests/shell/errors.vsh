# Bad input is named with its line and changes nothing; a refusal says so.
vlan create 10
frobnicate 1/1/1
port 1/1/1-3,1/1/x pvid 10
port 1/1/1 pvid 70000
set_port_pvid 1/1/1 70000
set_port_pvid 1/1/1
vlan add 10 1/1/1
port 1/1/1 speed warp
set_port_pvid 1/1/1 99
try set_port_pvid 1/1/1 99
show vlan
get_port_pvid 1/1/1
