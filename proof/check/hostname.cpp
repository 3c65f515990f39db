// Takes the place of `getHostname`, which starts a program to be told: a million times is too
// often.

#include <string>

#include "check/losses.h"

std::string hostName() __asm__("__wrap__Z11getHostnameB5cxx11v");

std::string hostName() { return kHostName; }
