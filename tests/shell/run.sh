#!/usr/bin/env bash
# Runs vornsh on each script and compares what it prints, and its exit
# status, with the expected output checked in beside the script.
# Also checks that every API entry point of the public header has a command.
# Usage: run.sh CASES_DIR EXAMPLES_DIR API_HEADER [EMULATOR...] VORNSH
set -uo pipefail
cases=$1
examples=$2
api_header=$3
shift 3
vornsh=("$@")
failed=0
passed=0
actual=$(mktemp)
# Scripts and examples run here, so what they write (captures) stays out of
# the source tree.
work=$(mktemp -d)
trap 'rm -rf "$actual" "$work"' EXIT

check() {
  local script=$1 expected=$2
  shift 2
  cp "$script" "$work/"
  (cd "$work" && "${vornsh[@]}" "$@" "$(basename "$script")") >"$actual" 2>&1
  echo "exit $?" >>"$actual"
  if diff -u "$expected" "$actual"; then
    passed=$((passed + 1))
  else
    echo "FAILED: $script"
    failed=$((failed + 1))
  fi
}

check "$examples/bringup.vsh" "$cases/bringup.out"
for script in "$cases"/*.vsh; do
  check "$script" "${script%.vsh}.out" --keep-going
done
# The capture forwarding.vsh wrote: each frame as it entered or left one of
# its ports, in order, stamped with the card's clock and a sequence number.
# tcpdump reads it when installed; its size is checked in any case.
capture=$work/forwarding.pcap
frames=$(cat <<'FRAMES'
0.000000 00:1b:21:00:00:01 > ff:ff:ff:ff:ff:ff, ethertype ARP (0x0806), length 42:
0.000001 00:1b:21:00:00:01 > ff:ff:ff:ff:ff:ff, ethertype ARP (0x0806), length 42:
0.000002 00:1b:21:00:00:01 > ff:ff:ff:ff:ff:ff, ethertype ARP (0x0806), length 42:
0.000003 00:1b:21:00:00:02 > 00:1b:21:00:00:01, ethertype ARP (0x0806), length 42:
0.000004 00:1b:21:00:00:02 > 00:1b:21:00:00:01, ethertype ARP (0x0806), length 42:
FRAMES
)
size=$(stat -c %s "$capture" 2>/dev/null)
read_back=ok
if [[ $size != $((24 + $(wc -l <<<"$frames") * (16 + 42))) ]]; then
  read_back="forwarding.pcap is ${size:-missing} bytes"
elif command -v tcpdump >/dev/null; then
  said=$(tcpdump -r "$capture" -nn -e -tt 2>/dev/null | cut -d' ' -f1-9)
  [[ $said == "$frames" ]] || read_back=$(printf 'tcpdump -r forwarding.pcap reads\n%s\nnot\n%s' "$said" "$frames")
elif [[ -n ${CI:-} ]]; then
  read_back="tcpdump is not installed (scripts/setup installs it)"
else
  echo "tcpdump is not installed: forwarding.pcap checked by its size only"
fi
if [[ $read_back == ok ]]; then
  passed=$((passed + 1))
else
  echo "FAILED: the capture of forwarding.vsh: $read_back"
  failed=$((failed + 1))
fi
declared=$(grep -o -E 'bool vorn_[a-z0-9_]+\(' "$api_header" | sed -E 's/bool vorn_(.*)\(/\1/' | sort)
commands=$("${vornsh[@]}" --no-init - <<<"help api" | awk '{print $1}' | sort)
if [[ "$declared" == "$commands" ]]; then
  passed=$((passed + 1))
else
  echo "FAILED: API entry points without a command, or commands without an entry point:"
  diff <(echo "$declared") <(echo "$commands")
  failed=$((failed + 1))
fi
if "${vornsh[@]}" --help | grep -q '^usage: vornsh' && "${vornsh[@]}" --no-init - <<<"help port" | grep -q 'example: port'; then
  passed=$((passed + 1))
else
  echo "FAILED: --help or help COMMAND"
  failed=$((failed + 1))
fi
# Without --keep-going a script stops at its first error, with its status.
stopped=$(cd "$cases" && "${vornsh[@]}" errors.vsh 2>&1)
status=$?
if [[ $status -eq 1 && $(grep -c '^errors.vsh:' <<<"$stopped") -eq 1 ]] && ! grep -q '^vlan ' <<<"$stopped"; then
  passed=$((passed + 1))
else
  echo "FAILED: a script goes on after its first error (status $status)"
  failed=$((failed + 1))
fi
# A line of several commands exits with the status of the one that stopped
# it, or 0 when all ran (one case a line: the status, then the line).
while read -r expected line; do
  said=$("${vornsh[@]}" - <<<"$line" 2>&1)
  status=$?
  if [[ $status -eq $expected && $said == *reached* && $said != *"not reached"* ]]; then
    passed=$((passed + 1))
  else
    echo "FAILED: '$line' exits $status, not $expected: $said"
    failed=$((failed + 1))
  fi
done <<'LINES'
0 try lag_id_to_lag_usp 7 ; echo reached
1 echo reached ; vlan create 40 41 ; echo not reached
2 echo reached ; lag_id_to_lag_usp 7 ; echo not reached
2 try echo reached ; lag_id_to_lag_usp 7 ; vlan create 40 41
LINES
# The example of every command (`help COMMAND`), run on a fresh default
# card, ends with the command itself and runs without an error: what it needs
# it makes first (`create_lag 0/1/1 ; delete_lag 0/1/1`).  examples.out lists
# the commands the library refuses by design whatever the card holds, each
# with why; their examples must be refused, and only refused.
by_design=$(grep -v -e '^#' -e '^$' "$cases/examples.out" | awk '{print $1}')
names=$("${vornsh[@]}" --complete "")
while read -r name; do
  example=$("${vornsh[@]}" --no-init - <<<"help $name" | sed -n 's/^  example: //p')
  last=$(awk -F';' '{print $NF}' <<<"$example" | awk '{print ($1 == "try" ? $2 : $1)}')
  [[ $last == "$name" ]] || printf '%s: the example ends with %s: %s\n' "$name" "'$last'" "$example"
  said=$(cd "$work" && "${vornsh[@]}" - <<<"$example" 2>&1 >/dev/null)
  status=$?
  if grep -qx -- "$name" <<<"$by_design"; then
    [[ $status -eq 2 ]] || printf '%s: listed as refused by design, but exits %s: %s\n' "$name" "$status" "$example"
  elif [[ $status -ne 0 ]]; then
    printf '%s\n  exit %s: %s\n' "$example" "$status" "$said"
  fi
done <<<"$names" >"$actual"
for name in $by_design; do
  grep -qx -- "$name" <<<"$names" || echo "$name: listed in examples.out, but no such command"
done >>"$actual"
if [[ ! -s $actual ]]; then
  passed=$((passed + 1))
else
  cat "$actual"
  echo "FAILED: help examples (not ending with their command, or failing on a fresh card)"
  failed=$((failed + 1))
fi
# port_settings.vsh tries every setting that `port` takes.
settings=$("${vornsh[@]}" --complete "port 1/1/1" | sort)
tried=$(sed -n -E 's/^port [^ ]+ ([^ ]+) .*/\1/p' "$cases/port_settings.vsh" | sort -u)
if [[ "$settings" == "$tried" ]]; then
  passed=$((passed + 1))
else
  echo "FAILED: port settings that port_settings.vsh does not try, or tries but port does not take:"
  diff <(echo "$settings") <(echo "$tried")
  failed=$((failed + 1))
fi
# What may follow the words typed: one case a line in completion.cases.
while read -r typed; do
  printf '%s =>' "$typed"
  "${vornsh[@]}" --complete "$typed" | tr '\n' ' ' | sed 's/^/ /; s/ $//'
  echo
done <"$cases/completion.cases" >"$actual"
if diff -u "$cases/completion.out" "$actual"; then
  passed=$((passed + 1))
else
  echo "FAILED: completion"
  failed=$((failed + 1))
fi
# A script that is no readable file, or a second one, is refused before the
# card comes up.
for args in "$cases" "$cases/no-such.vsh" "$cases/errors.vsh $cases/errors.vsh"; do
  # shellcheck disable=SC2086
  said=$("${vornsh[@]}" $args 2>&1)
  if [[ $? -eq 1 && $said == vornsh:* && $said != *"line card up"* ]]; then
    passed=$((passed + 1))
  else
    echo "FAILED: vornsh $args: $said"
    failed=$((failed + 1))
  fi
done
echo "shell scripts: $passed passed, $failed failed"
[[ $failed -eq 0 ]]
