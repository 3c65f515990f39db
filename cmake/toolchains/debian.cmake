# What the toolchain files beside it have in common: the compilers of Debian for another machine, and the emulator that
# runs its programs. The file that includes it sets CMAKE_SYSTEM_PROCESSOR, `triplet` and `emulator`, which
# is empty where none is needed.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER "${triplet}-gcc")
set(CMAKE_CXX_COMPILER "${triplet}-g++")

# Programs, and packages of headers alone, are those of this machine; libraries never.
set(CMAKE_FIND_ROOT_PATH "/usr/${triplet}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)

if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${emulator};-L;/usr/${triplet}")
endif()

# There is no built one for another machine.
set(TANEXICS_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's source")
