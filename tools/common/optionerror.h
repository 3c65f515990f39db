#ifndef TANEXICS_TOOLS_COMMON_OPTIONERROR_H
#define TANEXICS_TOOLS_COMMON_OPTIONERROR_H

#include <string>

/// What the option library says of a wrong command line, in the language that is spoken. A sentence
/// of it that is not known, as of another version of it, stays as it is.
std::string translatedOptionError(const std::string& sentence);

#endif
