#!/usr/bin/env bash
# The product never reaches into the reference host or the tests: every file
# that an #include "..." of the library's sources (api/, capi/, socket/) and
# public headers (include/, platform/) names must be found in include/,
# platform/ (the host's interfaces, the event-loop headers among them), or
# beside the including file.  Prints each include that resolves elsewhere or
# nowhere.
# Usage: check_layering.sh SOURCE_DIR
set -uo pipefail
cd "$1" || exit 2
allowed=(include platform platform/xorp)
failed=0
checked=0
while IFS= read -r source; do
  while IFS= read -r name; do
    checked=$((checked + 1))
    found=
    for dir in "$(dirname "$source")" "${allowed[@]}"; do
      [[ -f $dir/$name ]] && { found=$dir/$name; break; }
    done
    if [[ -z $found ]]; then
      echo "check_layering: $source includes \"$name\", which is not in include/, platform/ or beside it" \
        "($(git ls-files | grep -E "(^|/)$name\$" | head -n 1 || true))"
      failed=1
    fi
  done < <(sed -n -E 's/^[[:space:]]*#[[:space:]]*include[[:space:]]+"([^"]+)".*/\1/p' "$source")
done < <(find api capi socket include platform -type f \( -name '*.cc' -o -name '*.hh' -o -name '*.h' \) | sort)
[[ $checked -gt 0 ]] || { echo "check_layering: no include was read"; exit 2; }
[[ $failed -eq 0 ]] && echo "check_layering: $checked includes, all from include/, platform/ or beside their file"
exit $failed
