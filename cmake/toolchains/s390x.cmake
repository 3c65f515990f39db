# 64 bits, the most significant byte first; Debian's package g++-s390x-linux-gnu.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(triplet s390x-linux-gnu)
set(emulator qemu-s390x-static)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
