#!/usr/bin/env bash
# Builds the Debian packages into build/packages/PRESET. With Doxygen installed, the documents have the reference too.
#   package.sh [release|arm64 ...]     no argument: release
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- release
./scripts/setup.sh "$@"
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || date -r CHANGELOG.md +%s)}
export SOURCE_DATE_EPOCH DEB_RULES_REQUIRES_ROOT=no  # the files belong to root in the packages, whoever makes them

for preset in "$@"; do
    case $preset in
        release) architecture=$(dpkg --print-architecture) ;;
        arm64) architecture=arm64 ;;
        *) echo "package.sh: no packages of the preset $preset" >&2; exit 2 ;;
    esac
    eval "$(dpkg-architecture -f -s -a"$architecture" 2>/dev/null)"  # exported, for all of debhelper
    build=$PWD/build/package-$preset
    out=$PWD/build/packages/$preset
    cmake --preset "$preset" -B "$build" -DZQ_BUILD_TESTS=OFF -DZQ_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX=/usr \
        -DCMAKE_INSTALL_LIBDIR="lib/$DEB_HOST_MULTIARCH" >/dev/null
    cmake --build "$build"
    if cmake --build "$build" --target help | grep -q '^docs:'; then
        cmake --build "$build" --target docs
    fi

    # What debhelper works on: the control files, of which the version, the date and the symbols are known only now.
    stage=$build/stage
    rm -rf "$stage" "$out"
    mkdir -p "$stage" "$out"
    cp -r packaging/debian README.md CHANGELOG.md docs "$stage"
    version=$(sed -n 's/^Version: //p' "$build/Foundation/ZQFoundation.pc")
    {
        printf 'libzqfoundation (%s-1) unstable; urgency=medium\n\n  * Release %s; CHANGELOG.md says what changes.\n\n' \
            "$version" "$version"
        printf ' -- %s  %s\n' "$(sed -n 's/^Maintainer: //p' packaging/debian/control)" \
            "$(date -R -u -d "@$SOURCE_DATE_EPOCH")"
    } >"$stage/debian/changelog"
    {
        printf '%s\n' 'libZQFoundation.so.1 libzqfoundation1 #MINVER#' '* Build-Depends-Package: libzqfoundation-dev'
        awk 'FNR == NR { if (/^[0-9]/) since[$2] = $1; next }
             { printf " %s@ZQFOUNDATION_1 %s\n", $1, $1 in since ? since[$1] : "0.1.0" }' \
            Foundation/since.txt <(echo ZQFOUNDATION_1) Foundation/exports.txt
    } >"$stage/debian/libzqfoundation1.symbols"
    DESTDIR=$stage/debian/libzqfoundation1 cmake --install "$build" --component runtime >/dev/null
    DESTDIR=$stage/debian/libzqfoundation-dev cmake --install "$build" --component dev >/dev/null
    (
        cd "$stage"
        doc=(README.md docs)
        if [ -d ../html ]; then cp -r ../html . && doc+=(html); fi
        dh_installdocs -plibzqfoundation-doc --doc-main-package=libzqfoundation-doc "${doc[@]}"
        dh_installdocs --remaining-packages
        dh_installchangelogs -k CHANGELOG.md
        if [ -d ../man/man3 ]; then dh_installman -plibzqfoundation-doc ../man/man3/*.3; fi
        dh_compress -X.md
        dh_fixperms
        dh_strip
        dh_makeshlibs -- -c4  # an export that is missing from the list or gone from the library is an error
        dh_shlibdeps
        dh_installdeb
        dh_gencontrol
        dh_md5sums
        dh_builddeb --destdir="$out"
    ) >/dev/null
    printf '%s\n' "$out"/*
done
