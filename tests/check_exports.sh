#!/usr/bin/env bash
# Checks what libvornlcapi exports against the frozen list of its interface
# (abi/exports-<processor>.txt): every symbol demangled, with its linkage.
# An added, removed or re-typed symbol fails with its name.  Also checks the
# linkage rules: every ctype_vorn_* symbol has C linkage except
# ctype_vorn_delete_of_flow_action, which keeps its C++ linkage.
# Usage: check_exports.sh NM LIBRARY LIST [--update]
set -euo pipefail
nm_tool=$1
library=$2
list=$3

current=$("$nm_tool" -D --defined-only "$library" |
  awk '$2 ~ /^[TDBRVWiu]$/ && $3 !~ /^(_init|_fini|_edata|_end|__bss_start)$/ {print $3}' |
  while read -r symbol; do
    if [[ $symbol == _Z* ]]; then echo "C++ $(c++filt "$symbol")"; else echo "C   $symbol"; fi
  done | LC_ALL=C sort -u)

if [[ ${4:-} == --update ]]; then
  printf '%s\n' "$current" >"$list"
  echo "check_exports: wrote $(wc -l <"$list") symbols to $list"
  exit 0
fi

status=0
fail() { echo "check_exports: $*"; status=1; }

while read -r line; do
  case $line in
    "C   ctype_vorn_delete_of_flow_action") fail "ctype_vorn_delete_of_flow_action must keep C++ linkage" ;;
    "C++ ctype_vorn_delete_of_flow_action("*) ;;
    "C++ ctype_vorn_"*) fail "C entry point with C++ linkage: $line" ;;
    "C   ctype_vorn_"* | "C++ vorn_"* | "C   api_trace_enabled" | "C++ VornSocket::"*) ;;
    *) fail "exported but not part of the interface: $line" ;;
  esac
done <<<"$current"

frozen=$(LC_ALL=C sort -u "$list")
while read -r line; do
  [[ -n $line ]] && fail "exported but not in the frozen interface ($list): $line"
done < <(LC_ALL=C comm -23 <(echo "$current") <(echo "$frozen"))
while read -r line; do
  [[ -n $line ]] && fail "in the frozen interface but no longer exported: $line"
done < <(LC_ALL=C comm -13 <(echo "$current") <(echo "$frozen"))

echo "check_exports: $(grep -c '^C   ctype_vorn_' <<<"$current") C entry points with C linkage," \
     "$(grep -c '^C++ vorn_' <<<"$current") API entry points, $(wc -l <<<"$current") symbols in all"
exit $status
