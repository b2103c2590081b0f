#!/usr/bin/env bash
# Builds the library and hashes every file below a directory on a task pool.
#   demo.sh [DIR]     no argument: this project's own tree
set -euo pipefail
dir=$(realpath -- "${1:-$(dirname "$0")/..}")
cd "$(dirname "$0")/.."

./scripts/setup.sh build
cmake --preset release -DZQ_BUILD_TESTS=OFF -B build/demo >/dev/null
cmake --build build/demo --target zqsum
./build/demo/examples/zqsum/zqsum "$dir"
