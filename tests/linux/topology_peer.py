"""A peer of the card, played with scapy inside a namespace.

As a program (run in the namespace by `ip netns exec`):
  topology_peer.py send INTERFACE HEX...
      sends each frame, in order, on INTERFACE
  topology_peer.py sniff INTERFACE SOURCE_MAC COUNT SECONDS
      prints "ready" once listening, then "frame HEX" for each frame from
      SOURCE_MAC that INTERFACE receives, 802.1Q tag included (scapy puts
      back the tag the kernel moved into the packet's auxiliary data), and
      ends after COUNT such frames or SECONDS
As a module: the test's side of both.
"""
import os
import sys

import topology_net

HERE = os.path.abspath(__file__)


def _peer(netns, *argv):
    return ("ip", "netns", "exec", netns, sys.executable, HERE) + argv


def send(netns, interface, frames):
    topology_net.run(*_peer(netns, "send", interface, *(bytes(f).hex() for f in frames)))


def start_sniffer(topology, netns, interface, source, count):
    """Listens on `interface` in `netns` for `count` frames from MAC
    `source`; returns once it listens."""
    sniffer = topology.watch(_peer(netns, "sniff", interface, source, str(count), str(topology_net.DEADLINE)),
                             "sniffer on %s in %s" % (interface, netns))
    sniffer.wait_for(r"^ready$")
    return sniffer


def sniffed(sniffer):
    """The frames the sniffer saw, once it has ended."""
    status = sniffer.finish()
    if status != 0:
        raise AssertionError("%s failed:\n%s" % (sniffer.name, sniffer.output()))
    return [bytes.fromhex(line.split()[1]) for line in sniffer.lines if line.startswith("frame ")]


def main(argv):
    from scapy.all import Ether, conf, sniff  # pylint: disable=import-outside-toplevel

    command, interface = argv[1], argv[2]
    if command == "send":
        sock = conf.L2socket(iface=interface)
        for text in argv[3:]:
            sock.send(Ether(bytes.fromhex(text)))
        sock.close()
        return 0
    if command == "sniff":
        source, count, seconds = argv[3].lower(), int(argv[4]), float(argv[5])
        sniff(iface=interface, count=count, timeout=seconds, store=False,
              lfilter=lambda p: Ether in p and p[Ether].src.lower() == source,
              started_callback=lambda: print("ready", flush=True),
              prn=lambda p: print("frame", bytes(p.original or p).hex(), flush=True))
        return 0
    print("topology_peer.py: unknown command %r" % command, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
