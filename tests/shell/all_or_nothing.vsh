# A command does all it says or, refused, undoes what it did and says so.
vlan create 5-8
vlan create 2-9
vlan create 30-32
vlan add 31 1/1/40 1/1/41
vlan delete 30-33
show vlan
lag add 0/1/1 1/1/49
lag add 0/1/1 1/1/1-2
lag add 0/1/2 1/1/2-3
lag add 0/1/1 1/1/3,1/1/49
show lag
port 1/1/46-49 pvid 5
port 1/1/47-49 speed 10g
port 1/1/47-49 flow-control off on
show ports 1/1/46-48
show port 1/1/47
link 1/1/47-49 down
show ports 1/1/46-48
callbacks on
callbacks on
flow add in=1/1/1 70000
show flow
