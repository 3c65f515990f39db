# 32 bits; Debian's package g++-i686-linux-gnu.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-linux-gnu)
set(emulator qemu-i386-static)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
