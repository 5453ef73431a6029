"""Frames per second a pytest test sends and checks on in-memory ports.

Run by bench_python.py, which reads the rate recorded here and checks its
budget; on its own:
    pytest -p vornlcapi.pytest_plugin -s bench/python/test_frame_rate.py
VORN_BENCH_FRAMES frames per loop (default 50,000), VORN_BENCH_REPEAT loops
(default 5): the fastest loop counts.  Every frame is checked, so a card
that forwards wrongly fails the test instead of reporting a rate.
"""
import os
import time

from scapy.layers.inet import IP, UDP
from scapy.layers.l2 import Ether

CLIENT, SERVER = "00:1b:21:00:00:01", "00:1b:21:00:00:02"
# 64 bytes on the wire with its FCS: 60 handed to the card.
FRAME = bytes(Ether(src=CLIENT, dst=SERVER) / IP(src="10.0.0.1", dst="10.0.0.2") /
              UDP(sport=1024, dport=7) / bytes(18))


def loops():
    return int(os.environ.get("VORN_BENCH_FRAMES", "50000")), int(os.environ.get("VORN_BENCH_REPEAT", "5"))


def test_known_unicast_send_and_verify(card, ports, record_property):
    assert len(FRAME) == 60
    card.vlan.create(10)
    card.vlan.add_ports(10, untagged=["1/1/1", "1/1/2", "1/1/3"])
    for port in ("1/1/1", "1/1/2", "1/1/3"):
        card.api.set_port_pvid(port, 10)
    card.fdb.add("1/1/2", SERVER, 10)

    frames, repeat = loops()
    send, verify_packet = ports.send, ports.verify_packet
    fastest = float("inf")
    for _ in range(repeat):
        start = time.perf_counter()
        for _ in range(frames):
            send("1/1/1", FRAME)
            verify_packet("1/1/2", FRAME)
        fastest = min(fastest, time.perf_counter() - start)
    ports.verify_no_other_packets()
    rate = frames / fastest
    record_property("frames_per_second", rate)
    print(f"\n{frames} frames sent and verified in {fastest:.3f} s: {rate:,.0f} frames/s")
