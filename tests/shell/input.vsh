# Words past the end of a command are named; nothing runs.  A flow action's
# port must have a flow port number (unit 1, slot 1).
vlan create 10 20
mac add 1/1/3 00:1b:21:0a:0b:0c 10 extra
mac flush all extra
port 1/1/1 pvid 10 11
set_port_pvid 1/1/1 10 11
echo any number of words is fine
show vlan
show fdb
flow add in=1/1/1 5
flow action 1 output 2/1/3
flow action 1 output 1/2/3
flow action 1 output 1/1/3
show flow
vlan
lag frob 0/1/1
