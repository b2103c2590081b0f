#!/usr/bin/env bash
# The library has the probes of the table in docs/observing.md, each with as many arguments, and no others; the scripts in
# tools/ ask for these alone.
#   probes.sh LIBRARY TABLE WITH_PROBES
set -euo pipefail
library=$1 table=$2 with=$3
found=$(readelf -n "$library" | awk '
    /Provider: / { ours = $2 == "zqfoundation" } /Name: / { name = $2 } ours && /Arguments: / { print name, gsub(/@/, "") }' | sort -u)
if [ "$with" = OFF ]; then
    [ -z "$found" ] && echo "skipped: the library is built without probes" && exit 77
fi
diff <(awk -F'|' '/^\| `[a-z]+_[a-z_]+` \|/ { gsub(/[ `]/, "", $2); print $2, split($3, arguments, ",") }' "$table" | sort) - <<<"$found"
grep -oh 'zqfoundation:[a-z_]*' "${table%/*}"/../tools/*.bt | while IFS=: read -r _ name; do grep "^$name " <<<"$found"; done
[ "$(wc -l <<<"$found")" -ge 10 ]
