// What the command is linked against, whether the maker's library is installed or not: a library
// with its name and its five calls, so that the linker records "libkelcom.so" and nothing of its
// file. It is never installed, and no run finds it: it does not lie on the command's search path.

#include <cstdlib>

#include "rmglib/kelcom.h"

int KEL_StartComm(int, int*) { std::abort(); }
int KEL_StopComm() { std::abort(); }
int KEL_Communicate(unsigned int, int, int, void*, void*) { std::abort(); }
int KEL_GetID(int*) { std::abort(); }
int KEL_GetStatus(int, int*) { std::abort(); }
