#!/usr/bin/env bash
# The running configuration rebuilds the card: a first card runs the
# configuration of the bring-up (its traffic left out) and running_config.vsh
# and prints `show running-config`; a fresh card runs that output; both cards
# must then print the same running configuration, the same `show all` and
# the same `show port` of every port (each setting the library reads back).
# Usage: running_config.sh CASES_DIR EXAMPLES_DIR [EMULATOR...] VORNSH
set -uo pipefail
cases=$1
examples=$2
shift 2
vornsh=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Runs standard input on a fresh card, then prints the running configuration
# into $1.config and every table and port into $1.all.
card() {
  { cat; printf 'echo @all\nshow all\n'
    for port in $(seq 1 48); do echo "show port 1/1/$port"; done
    printf 'echo @config\nshow running-config\n'; } |
    "${vornsh[@]}" - >"$work/$1.out" 2>&1 || { cat "$work/$1.out"; echo "FAILED: card $1 stopped"; exit 1; }
  sed -n '/^@all$/,/^@config$/p' "$work/$1.out" | sed '1d;$d' >"$work/$1.all"
  sed -n '/^@config$/,$p' "$work/$1.out" | sed '1d' >"$work/$1.config"
}

grep -h -v -E '^(show|packet|callbacks) ' "$examples/bringup.vsh" "$cases/running_config.vsh" | card first
card second <"$work/first.config"
failed=0
for part in config all; do
  if ! diff -u "$work/first.$part" "$work/second.$part"; then
    echo "FAILED: the rebuilt card's $part differs"
    failed=1
  fi
done
# A round trip of nothing proves nothing: every table must have come across.
for line in '^port 1/1/1-8 pvid 10$' '^vlan create 10,20,30-32,40$' '^lag balance 0/1/3 src-mac$' '^port 1/1/22 pvid 30$' \
            '^port 1/1/9,1/1/25 stp blocking$' '^port 1/1/25-26 mstp 4 learning$' '^port 1/1/33 cos 3 5$' \
            '^port 1/1/32 flood-to 1/1/33 unknown-multicast$' '^port 1/1/29 l2 off$' \
            '^port 1/1/34 protocol-vlan ethernet2 0x0806 30$' '^port 1/1/35 advertise 100fd,1000fd$' \
            '^port 1/1/33 mirror-to 1/1/34 both$' '^vlan mac 31 00:1b:21:00:00:31 3$' \
            '^set_ipv4_subnet_vlan 10.31.0.0 255.255.0.0 31 2$' '^set_ipv6_subnet_vlan 2001:db8:31:: 48 31 1$' '^mac limit 1000$' \
            '^mac add 0/1/3 ' '^create_l3_interface_with_id .* 6 off$' '^l3 host add 2001:db8::2 ' \
            '^add_of_flow_with_id dmac=.*,dport=22 11$' '^add_of_flow_action 12 output 10,1,2$' '^filter add arp 10.1.0.0/16$' \
            '^set_switch_unknown_unicast_to_cpu on$'; do
  grep -q -E "$line" "$work/first.config" || { echo "FAILED: no line $line in the running configuration"; failed=1; }
done
[[ $failed -eq 0 ]] && echo "running-config: the rebuilt card matches"
exit $failed
