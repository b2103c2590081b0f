#!/usr/bin/env bash
# A program finds the library that is installed below PREFIX by CMake and by pkg-config, builds and runs.
#   use.sh PREFIX CMAKE CXX [EMULATOR]
set -euo pipefail
prefix=$1 cmake=$2 cxx=$3 emulator=${4:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pc=$(find "$prefix" -name ZQFoundation.pc)
library=$(dirname "$(find "$prefix" -name 'libZQFoundation.so.1')")
test -f "$prefix/include/ZQFoundation/ZQFoundation.h"

"$cmake" -G Ninja -S "$here/program" -B "$work/build" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" \
    -DZQFoundation_DIR="$library/cmake/ZQFoundation" >/dev/null
"$cmake" --build "$work/build" >/dev/null
$emulator "$work/build/program"

read -ra flags <<<"$(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs ZQFoundation)"
"$cxx" -std=c++11 "$here/program/main.cpp" "${flags[@]}" -o "$work/program"
if [ -n "$emulator" ]; then
    $emulator -E LD_LIBRARY_PATH="$library" "$work/program"
else
    LD_LIBRARY_PATH=$library "$work/program"
fi
