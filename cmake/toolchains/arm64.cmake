# 64 bits; Debian's package g++-aarch64-linux-gnu.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triplet aarch64-linux-gnu)
set(emulator qemu-aarch64-static)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
