# Every port setting over a range that ends in a port the card lacks: the
# ports before it are put back as they were, so the running configuration
# keeps only the VLAN and the LAG made here (and what has no getter to put
# back).  The library passes a MAC limit for a port it cannot translate on
# as a port limit for no port, which the reference host refuses.  run.sh
# checks that this script names every setting.
vlan create 10
lag create 0/1/1
port 1/1/47-49 pvid 10
port 1/1/47-49 admin off
port 1/1/47-49 mtu 9000
port 1/1/47-49 stp blocking
port 1/1/47-49 mstp 3 learning
port 1/1/47-49 speed 10g
port 1/1/47-49 duplex half
port 1/1/47-49 autoneg off
port 1/1/47-49 link down
port 1/1/47-49 flow-control on on
port 1/1/47-49 jamming on
port 1/1/47-49 broadcast 1000
port 1/1/47-49 multicast 1000
port 1/1/47-49 unicast 1000
port 1/1/47-49 mac-lock on
port 1/1/47-49 mac-lock-ext on on
port 1/1/47-49 mac-limit 100
port 1/1/47-49 tagged-only on
port 1/1/47-49 bpdu off
port 1/1/47-49 ingress-discard tagged
port 1/1/47-49 egress off
port 1/1/47-49 l2 off
port 1/1/47-49 unknown-unicast-to-cpu on
port 1/1/47-49 stats off
port 1/1/47-49 advertise 100fd,1000fd
port 1/1/47-49 flood-cpu broadcast
port 1/1/47-49 flood-to 1/1/1 all
port 1/1/47-49 mirror-to 1/1/1 both
port 1/1/47-49 priority 1 5
port 1/1/47-49 cos 1 5
port 0/1/1-2 balance src-ip
port 1/1/47-49 protocol-vlan snap 0x0800 10
show running-config
