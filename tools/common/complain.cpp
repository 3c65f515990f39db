#include "tools/common/complain.h"

#include <iostream>
#include <string>

#include "tools/common/language.h"

void complain(std::string_view program, std::string_view message) {
  std::cerr << std::string(program) + ": " + asCallerReads(message) + '\n';
}
