#!/usr/bin/env bash
# Compares the ABI of the built library, and of the probe that reaches every
# public record and the SDK class, with the baselines in abi/ (abidw dumps):
# a changed record layout, enumeration, parameter type or a reordered
# VornSdkBase fails with abidiff's report.
# Usage: check_abi.sh ABIDW ABIDIFF BASELINE_DIR TARGET LIBRARY PROBE [--update]
set -euo pipefail
abidw=$1
abidiff=$2
baselines=$3
target=$4
library=$5
probe=$6
update=${7:-}
root=$(cd "$(dirname "$0")/../.." && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
check() {  # check NAME ELF
  local baseline=$baselines/$1-$target.abi current=$work/$1.abi
  "$abidw" --no-show-locs --no-corpus-path --no-comp-dir-path --type-id-style hash \
           --out-file "$current" "$2"
  # Source paths say where the tree was built, not what the interface is.
  sed -i "s|path='$root/|path='|" "$current"
  if [[ $update == --update ]]; then
    cp "$current" "$baseline"
    echo "check_abi: wrote $baseline"
  elif ! "$abidiff" "$baseline" "$current" >"$work/report" 2>&1; then
    echo "check_abi: $1 differs from $baseline:"
    cat "$work/report"
    status=1
  else
    echo "check_abi: $1 matches $baseline"
  fi
}
check vornlcapi "$library"
check public-types "$probe"
exit $status
