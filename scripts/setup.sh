#!/usr/bin/env bash
# Installs what a build needs on Debian 12, by apt, and only what is missing: silent and fast when nothing is.
#   setup.sh [release|clang|asan|tsan|arm64|docs|bench|counts|soak|virtual|fuzz|coverage ...]     no argument: release
set -euo pipefail

needed=(g++ cmake ninja-build uuid-dev libcli11-dev libssl-dev nlohmann-json3-dev
        systemtap-sdt-dev)
tests=(libgtest-dev pkgconf coreutils python3 tzdata)
packages=(debhelper)
interface=(abigail-tools)
arm64=(qemu-user g++-aarch64-linux-gnu binutils-aarch64-linux-gnu libc6:arm64 libstdc++6:arm64 libgtest-dev:arm64
       uuid-dev:arm64 libssl-dev:arm64 systemtap-sdt-dev:arm64)
bench=(libbenchmark-dev python3 gnuplot-nox pkgconf tzdata libboost-dev libboost-filesystem-dev libabsl-dev libtbb-dev
       libglib2.0-dev libapr1-dev libaprutil1-dev libuv1-dev libfmt-dev libjemalloc2 libmimalloc2.0)

[ $# -gt 0 ] || set -- release
for use in "$@"; do
    case $use in
        build) ;;
        release) needed+=("${tests[@]}" "${packages[@]}" "${interface[@]}" gdb) ;;
        clang) needed+=("${tests[@]}" clang gdb) ;;
        asan) needed+=("${tests[@]}" libasan8 libubsan1) ;;
        tsan) needed+=("${tests[@]}" libtsan2) ;;
        arm64) needed+=("${tests[@]}" "${packages[@]}" "${interface[@]}" "${arm64[@]}") ;;
        fuzz) needed+=(clang libclang-rt-14-dev) ;;
        coverage) needed+=("${tests[@]}" gcovr) ;;
        docs) needed+=(doxygen python3) ;;
        bench) needed+=("${bench[@]}") ;;
        counts) needed+=(valgrind) ;;
        soak) needed+=(libtsan2 util-linux) ;;
        virtual) needed+=(cpio qemu-system-x86 util-linux) ;;
        *) echo "setup.sh: unknown use: $use" >&2; exit 2 ;;
    esac
done

native=$(dpkg --print-architecture)
installed=" $(dpkg-query -W -f='${Package}:${Architecture}=${db:Status-Status} ' | sed "s/:\(all\|$native\)=/=/g")"
missing=()
for package in $(printf '%s\n' "${needed[@]}" | sort -u); do
    case $installed in *" $package=installed "*) ;; *) missing+=("$package") ;; esac
done
[ ${#missing[@]} -gt 0 ] || exit 0

root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: run as root, or install sudo; missing: ${missing[*]}" >&2; exit 1; }
    root=(sudo)
fi
echo "setup.sh: installing ${missing[*]}"
if printf '%s\n' "${missing[@]}" | grep -q ':arm64$'; then
    "${root[@]}" dpkg --add-architecture arm64
fi
"${root[@]}" apt-get update -qq
"${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
