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
trap 'rm -f "$actual"' EXIT

check() {
  local script=$1 expected=$2
  shift 2
  (cd "$(dirname "$script")" && "${vornsh[@]}" "$@" "$(basename "$script")") >"$actual" 2>&1
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
echo "shell scripts: $passed passed, $failed failed"
[[ $failed -eq 0 ]]
