// The closed library at its worst. Linked into it as a maker would link it, with the C++ runtime
// shared: what it throws comes from another runtime than the command's. kelcom.cpp sees to what it
// can do and yet return: "return N", "status N" (of KEL_GetStatus: the word that it stores) and
// "garbage N" (of KEL_Communicate: every word that it hands back).

#include <unistd.h>

#include <csignal>
#include <cstring>
#include <stdexcept>

void misbehave(const char* deed, int value) {
  const auto is = [deed](const char* name) { return std::strcmp(deed, name) == 0; };
  if (is("throw")) throw value;
  if (is("object")) throw std::runtime_error("thrown by the closed library");
  if (is("crash")) std::raise(SIGSEGV);
  while (is("hang")) ::pause();
}
