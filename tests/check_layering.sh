#!/usr/bin/env bash
# The product never reaches into the reference host or the tests: every file
# that an #include "..." of the library's sources (api/, capi/, socket/) and
# public headers (include/, platform/) names must be found in include/,
# platform/ (the host's interfaces, the event-loop headers among them), or
# beside the including file.  The library's own tests (tests/, tests/coverage/,
# tests/c_program/) may add the slot table and its texts (meta/) and the
# test doubles (tests/), never the reference host (sim/).  Prints each include
# that resolves elsewhere or nowhere.
# Usage: check_layering.sh SOURCE_DIR
set -uo pipefail
cd "$1" || exit 2
failed=0
checked=0

# check_includes "WHAT" "ALLOWED DIRS" FILE...
check_includes() {
  local what=$1
  local -a allowed
  read -r -a allowed <<<"$2"
  shift 2
  local source name dir found
  for source in "$@"; do
    while IFS= read -r name; do
      checked=$((checked + 1))
      found=
      for dir in "$(dirname "$source")" "${allowed[@]}"; do
        [[ -f $dir/$name ]] && { found=$dir/$name; break; }
      done
      if [[ -z $found ]]; then
        echo "check_layering: $source includes \"$name\", which is not in ${allowed[*]} or beside it" \
          "($(git ls-files | grep -E "(^|/)$name\$" | head -n 1 || true)); $what"
        failed=1
      fi
    done < <(sed -n -E 's/^[[:space:]]*#[[:space:]]*include[[:space:]]+"([^"]+)".*/\1/p' "$source")
  done
}

sources() { find "$@" -maxdepth 1 -type f \( -name '*.cc' -o -name '*.hh' -o -name '*.h' -o -name '*.c' \) | sort; }

mapfile -t product < <(find api capi socket include platform -type f \( -name '*.cc' -o -name '*.hh' -o -name '*.h' \) | sort)
check_includes "the product" "include platform platform/xorp" "${product[@]}"
mapfile -t library_tests < <(sources tests tests/coverage tests/c_program 2>/dev/null)
check_includes "the library's tests" "include platform platform/xorp meta tests" "${library_tests[@]}"

[[ $checked -gt 0 ]] || { echo "check_layering: no include was read"; exit 2; }
[[ $failed -eq 0 ]] && echo "check_layering: $checked includes, all from include/, platform/, meta/ (tests) or beside their file"
exit $failed
