# A refusal says who refused and why, naming the element; host-side actions
# are refused by the reference host, not by the library.
vlan add 5 1/1/1 -
set_port_jaming_control 0/2/1 on
lag add 0/1/1 1/1/1-2
lag add 0/1/2 1/1/2-3
link 1/1/49 down
link 1/1/47-49 down
packet receive 1/1/49 1 ffffffffffff001b21000002080600
port 1/1/1,1/1/49,1/1/2 pvid 1
try link 1/1/49 down
show ports 1/1/47-48
