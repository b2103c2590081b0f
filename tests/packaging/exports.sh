#!/usr/bin/env bash
# The shared object exports the documented names and nothing else, and no symbol that would keep it from being unloaded.
set -euo pipefail
nm=$1 library=$2 list=$3
symbols=$("$nm" -D --defined-only "$library")
diff <(awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' <<<"$symbols" | LC_ALL=C sort) "$list"
! grep -q ' u ' <<<"$symbols"
