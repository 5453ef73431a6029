from scapy.layers.inet import IP, UDP
from scapy.layers.l2 import Ether


def test_unknown_destination_floods_then_the_reply_goes_straight_back(card, ports):
    card.vlan.create(10)
    card.vlan.add_ports(10, untagged=["1/1/1", "1/1/2", "1/1/3"])
    for port in ("1/1/1", "1/1/2", "1/1/3"):
        card.port(port).pvid = 10
    hello = Ether(src="02:00:00:00:00:01", dst="02:00:00:00:00:02") / IP() / UDP()
    ports.send("1/1/1", hello)
    ports.verify_packets(hello, ["1/1/2", "1/1/3"])  # unknown destination: flooded
    reply = Ether(src="02:00:00:00:00:02", dst="02:00:00:00:00:01") / IP() / UDP()
    ports.send("1/1/2", reply)
    ports.verify_packets(reply, ["1/1/1"])  # learned: to 1/1/1 alone
