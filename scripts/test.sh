#!/usr/bin/env bash
# Builds the library and runs its tests.
#   test.sh [release|clang|asan|tsan|arm64|all ...]     no argument: release
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- release
[ "$*" != all ] || set -- release clang asan tsan arm64

./scripts/setup.sh "$@"
for preset in "$@"; do
    echo "== $preset"
    cmake --workflow --preset "$preset"
done
