# 32 bits; Debian's package g++-i686-linux-gnu. What it builds runs on x86-64 with the package lib32stdc++6.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-linux-gnu)
set(emulator "")
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
