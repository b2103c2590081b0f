#!/usr/bin/env bash
# The installed package is found and works, also after the tree was moved.
#   install.sh CMAKE BUILD_DIR CXX [EMULATOR]
set -euo pipefail
cmake=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
"$(dirname "$0")/use.sh" "$work/moved" "$cmake" "${@:3}"
