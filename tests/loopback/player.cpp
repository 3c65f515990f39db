// Makes one of every call on whatever libkelcom the loader gives it, so that the rehearsal has a
// command that uses the library. Its arguments are the files that it sends.

#include "rmglib/kelcom.h"

int main(int argc, char** argv) {
  int value = 0;
  int error[3] = {};
  char text[] = "INCNO=\"1\"";
  KEL_GetID(&value);
  KEL_GetStatus(0, &value);
  KEL_StartComm(0, &value);
  KEL_Communicate(0x40017, 0, 0, text, error);
  if (argc > 1) KEL_Communicate(0x4010b, 0, argc - 1, argv + 1, error);
  KEL_StopComm();
  return 0;
}
