#ifndef TANEXICS_SENDEVENT_OPTION_H
#define TANEXICS_SENDEVENT_OPTION_H

#include <cstring>

/// Whether `argument`, which may be null, begins with `option`.
inline bool beginsWith(const char* argument, const char (&option)[3]) {
  return argument != nullptr && std::strncmp(argument, option, 2) == 0;
}

/// Whether an option has its value, or what stands for it, right after its two characters.
inline bool isJoined(const char* option) { return option[2] != '\0'; }

#endif
