#!/usr/bin/env bash
# The Debian packages are made from a copy of the sources, installed into a root of their own, used, and removed without a
# trace. A build of a second copy, with other folders, gives the same library bit for bit.
#   packages.sh SOURCE PRESET OUT CMAKE CXX [EMULATOR]
set -euo pipefail
source=$1 preset=$2 out=$3 cmake=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CCACHE_DISABLE=1  # a cache may hold what was built from yet another folder

for copy in "$work/one" "$work/below/the other"; do
    mkdir -p "$copy"
    tar -C "$source" --exclude=./build --exclude=./.git -c . | tar -C "$copy" -x
done
"$work/one/scripts/package.sh" "$preset" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
(cd "$work/below/the other" && "$cmake" --preset "$preset" -B "$work/tree" -DZQ_BUILD_TESTS=OFF -DZQ_BUILD_EXAMPLES=OFF) >"$work/log" 2>&1 ||
    { cat "$work/log"; exit 1; }
"$cmake" --build "$work/tree" --target ZQFoundation >>"$work/log" || { cat "$work/log"; exit 1; }
cmp {"$work/one/build/package-$preset","$work/tree"}/Foundation/libZQFoundation.so

rm -rf "$out"
cp -r "$work/one/build/packages/$preset" "$out"
architecture=$([ "$preset" = arm64 ] && echo arm64 || dpkg --print-architecture)
for name in libzqfoundation{1,1-dbgsym,-dev}; do
    test "$(dpkg-deb -f "$out/$name"_*.deb Architecture Multi-Arch | tr '\n' ' ')" = \
        "Architecture: $architecture Multi-Arch: same "
done
version=$(dpkg-deb -f "$out"/libzqfoundation1_*.deb Version)
depends=" $(dpkg-deb -f "$out"/libzqfoundation1_*.deb Depends), $(dpkg-deb -f "$out"/libzqfoundation-dev_*.deb Depends),"
for needed in "libc6 (>= " "libstdc++6 (>= " "libuuid1 (>= " "libzqfoundation1 (= $version)," "uuid-dev,"; do
    case $depends in *" $needed"*) ;; *) echo "no dependency on $needed"; exit 1 ;; esac
done
test "$(dpkg-deb -I "$out"/libzqfoundation1_*.deb symbols | grep -c '@ZQFOUNDATION_1 [0-9.]*$')" = \
    $(($(wc -l <"$source/Foundation/exports.txt") + 1))

root=$work/root
mkdir -p "$root/db/info" "$root/db/updates"
touch "$root/db/status"
packages() {
    dpkg --instdir="$root" --admindir="$root/db" --log=/dev/null --force-not-root,depends,architecture,bad-path "$@" \
        >"$work/log" 2>&1 || { cat "$work/log"; return 1; }
}
packages -i "$out"/*.deb
while read -r name file; do
    dpkg --admindir="$root/db" -S "$file" | grep -q "^$name:" && ls "$root/"$file >/dev/null
done <<'END'
libzqfoundation1 /usr/lib/*-linux-gnu/libZQFoundation.so.1
libzqfoundation1-dbgsym /usr/lib/debug/.build-id/*/*.debug
libzqfoundation-dev /usr/lib/*-linux-gnu/libZQFoundation.so
libzqfoundation-dev /usr/lib/*-linux-gnu/cmake/ZQFoundation/ZQFoundationConfig.cmake
libzqfoundation-dev /usr/lib/*-linux-gnu/pkgconfig/ZQFoundation.pc
libzqfoundation-dev /usr/include/ZQFoundation/ZQFoundation.h
libzqfoundation-doc /usr/share/doc/libzqfoundation-doc/README.md
libzqfoundation-doc /usr/share/doc/libzqfoundation-doc/docs/design.md
END
"$(dirname "$0")/use.sh" "$root/usr" "$cmake" "${@:5}"
packages -P libzqfoundation1 libzqfoundation1-dbgsym libzqfoundation-dev libzqfoundation-doc
test -z "$(find "$root" -mindepth 1 -path "$root/db" -prune -o -print)"
