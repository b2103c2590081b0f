# Cross compilation for 64-bit Arm with Debian's toolchain. Programs run under qemu-user on the libraries of the arm64
# packages, not on those of the cross toolchain, on which forked children hang or crash.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(PKG_CONFIG_EXECUTABLE aarch64-linux-gnu-pkg-config)
