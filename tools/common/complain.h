#ifndef TANEXICS_TOOLS_COMMON_COMPLAIN_H
#define TANEXICS_TOOLS_COMMON_COMPLAIN_H

#include <string_view>

/// Says on standard error what has gone wrong: "PROGRAM: MESSAGE", as the caller reads it.
///
/// `message`  UTF-8 in one line, in the language that is spoken.
void complain(std::string_view program, std::string_view message);

#endif
