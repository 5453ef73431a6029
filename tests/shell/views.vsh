# The show views with their filters, and what they refuse.
vlan create 10,20
vlan add 10 1/1/3 1/1/1-2
vlan add 20 1/1/3 -
lag add 0/1/1 1/1/5-6
lag balance 0/1/1 src-ip
vlan add 20 - 0/1/1
port 1/1/1 mstp 3 learning
port 1/1/1 mstp 7 discarding
port 1/1/1 cos 0 7
port 1/1/1 cos 4 2
port 1/1/2 mirror-to 1/1/4 ingress
port 1/1/1-2 pvid 10
mac add 1/1/1 00:1b:21:00:00:01 10
mac add 0/1/1 00:1b:21:00:00:05 20
mac add 1/1/3 00:1b:21:00:00:03 20
packet receive 1/1/2 10 ffffffffffff001b21000002080600
flow add in=1/1/1,dmac=00:1b:21:00:00:03,vlan=10,sip=10.1.0.0/16,proto=17,dport=53 5
flow action 1 output 1/1/3
flow action 1 drop
show ports 1/1/1-2,1/1/5
show vlan 20
show vlan 1,10
show lag 0/1/1
show fdb 20
show fdb 1/1/1-2
show fdb 0/1/1
show counters 1/1/2
show flow
show port 1/1/1
show port 1/1/2
show port 1/1/5
show port 0/1/1
# Each of these is bad input: a port, VLAN or LAG the card does not have.
show port 1/1/49
show port 0/1/2
show ports 1/1/47-49
show vlan 30
show lag 0/1/2
show fdb 2/1/1
show counters 1/1/60
show nothing
