#!/usr/bin/env bash
# A program finds the installed package by CMake and by pkg-config, also after the tree was moved.
#   install.sh CMAKE BUILD_DIR CXX [EMULATOR]
set -euo pipefail
cmake=$1 build=$2 cxx=$3 emulator=${4:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
pc=$(find "$work/moved" -name ZQFoundation.pc)
library=$(dirname "$(find "$work/moved" -name 'libZQFoundation.so.1')")
test -f "$work/moved/include/ZQFoundation/ZQFoundation.h"

"$cmake" -G Ninja -S "$here/program" -B "$work/build" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$work/moved" \
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
