# Frames through the card's pipeline: a VLAN of three access ports.
vlan create 10
vlan add 10 - 1/1/1-3
port 1/1/1-3 pvid 10
capture 1/1/1-3 forwarding.pcap
# A (00:1b:21:00:00:01) asks for 10.0.0.2 by broadcast: flooded to the
# other two ports, and to the CPU.
packet inject 1/1/1 ffffffffffff001b2100000108060001080006040001001b210000010a0000010000000000000a000002
# B answers from 1/1/2: A was learned on 1/1/1, so the reply leaves there only.
packet inject 1/1/2 001b21000001001b2100000208060001080006040002001b210000020a000002001b210000010a000001
capture off
show fdb
show counters
# A known unicast explained, stage by stage: the tables and counters stay as they were.
packet trace 1/1/1 001b21000002001b2100000108060001080006040002001b210000010a000001001b210000020a000002
show fdb
show counters
# VLAN 10 in MSTP instance 3, where 1/1/3 discards: the broadcast reaches 1/1/2 only.
mstp-map 10 3
port 1/1/3 mstp 3 discarding
packet inject 1/1/1 ffffffffffff001b2100000108060001080006040001001b210000010a0000010000000000000a000002
# 1/1/4 is in no VLAN: what enters there goes nowhere.
packet inject 1/1/4 ffffffffffff001b2100000408060001
# A frame trapped to the CPU, past the pipeline.
packet receive 1/1/3 10 ffffffffffff001b21000003080600
show fdb 1/1/3
# Bad input, and refusals: nothing changes.
packet inject 1/1/49 ffffffffffff001b2100000108060001
packet inject 1/1/1 ffffffffffff001b210000010806000
packet inject 1/1/1 ffffffffffff001b21000001080600zz
packet inject 1/1/1 ffffffffffff001b21
packet trace 0/1/1 ffffffffffff001b2100000108060001
capture 1/1/1 no-such-directory/forwarding.pcap
capture 1/1/1,1/1/49 forwarding.pcap
mstp-map 4095 3
mstp-map 10 4095
show counters
