from scapy.layers.inet import IP, UDP
from scapy.layers.l2 import Ether


def test_unknown_destination_floods_then_reply_goes_straight_back(card, ports):
    card.vlan.create(10)
    card.vlan.add_ports(10, untagged=["1/1/1", "1/1/2", "1/1/3"])
    for port in ("1/1/1", "1/1/2", "1/1/3"):
        card.port(port).pvid = 10
    hello = Ether(src="00:1b:21:00:00:01", dst="00:1b:21:00:00:02") / IP(dst="10.0.0.2") / UDP()
    ports.send("1/1/1", hello)
    ports.verify_packet("1/1/2", hello)
    ports.verify_packet("1/1/3", hello)
    reply = Ether(src="00:1b:21:00:00:02", dst="00:1b:21:00:00:01") / IP(dst="10.0.0.1") / UDP()
    ports.send("1/1/2", reply)
    ports.verify_packet("1/1/1", reply)
    ports.verify_no_other_packets()
