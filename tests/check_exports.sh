#!/usr/bin/env bash
# Checks what libvornlcapi exports: the entry points and nothing of its own
# internals.  Every ctype_vorn_* symbol has C linkage except
# ctype_vorn_delete_of_flow_action, which keeps its C++ linkage.
# Usage: check_exports.sh NM LIBRARY
set -euo pipefail
nm_tool=$1
library=$2

symbols=$("$nm_tool" -D --defined-only "$library" | awk '$2 ~ /^[TDBRVWiu]$/ {print $3}')
status=0
fail() { echo "check_exports: $*"; status=1; }

while read -r symbol; do
  [[ -n $symbol ]] || continue
  case $symbol in
    ctype_vorn_delete_of_flow_action) fail "ctype_vorn_delete_of_flow_action must keep C++ linkage" ;;
    ctype_vorn_*) ;;                                   # C linkage
    _Z32ctype_vorn_delete_of_flow_actionj17ctype_of_action_t23ctype_of_action_param_s) ;;
    _Z*ctype_vorn_*) fail "C entry point with C++ linkage: $symbol" ;;
    _Z[0-9]*vorn_*) ;;                                 # API entry points
    api_trace_enabled) ;;
    _Z*VornSocket*) ;;
    _ZTV10VornSocket|_ZTI10VornSocket|_ZTS10VornSocket) ;;
    _init|_fini|_edata|_end|__bss_start) ;;
    *) fail "exported but not part of the interface: $symbol" ;;
  esac
done <<<"$symbols"

count=$(grep -c -E '^ctype_vorn_' <<<"$symbols" || true)
grep -q '^_Z32ctype_vorn_delete_of_flow_action' <<<"$symbols" || fail "ctype_vorn_delete_of_flow_action missing"
echo "check_exports: $count C entry points with C linkage, $(grep -c -E '^_Z[0-9]+vorn_' <<<"$symbols") API entry points"
exit $status
