#!/usr/bin/env bash
# Writes down the interface of the library as it is now, for packaging.abi to compare with; docs/compatibility.md says when.
#   abi-baseline.sh [release|arm64 ...]     no argument: both
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- release arm64
./scripts/setup.sh "$@"
for preset in "$@"; do
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" --target abi-baseline
done
git diff --stat -- Foundation/abi
