#!/usr/bin/env bash
# Each public header compiles on its own, without a warning, as C++11 to C++23.
set -euo pipefail
cxx=$1 include=$2
failed=0
for header in "$include"/*.h; do
    for std in c++11 c++14 c++17 c++20 c++2b; do
        printf '#include <%s>\n' "${header##*/}" |
            "$cxx" -std=$std -Wall -Wextra -Wpedantic -Wshadow -Werror -fsyntax-only -I"$include" -x c++ - ||
            { echo "$header as $std" >&2; failed=1; }
    done
done
exit $failed
