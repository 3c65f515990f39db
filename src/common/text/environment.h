#ifndef TANEXICS_COMMON_TEXT_ENVIRONMENT_H
#define TANEXICS_COMMON_TEXT_ENVIRONMENT_H

#include <string>

/// The value of the environment variable `name`, "" when it is not set. Null: "", and "invalid
/// param" is logged at (common:602).
std::string getEnvValue(const char* name);

/// `text` with references to environment variables replaced by their values, "" for one not set:
/// "$NAME", where the name is as many letters, digits and "_" as follow, and "%NAME%", where it is
/// all up to the next "%". "%%" gives "%"; a "$" before any other byte stays, and so does a "%"
/// without a second one, with all that follows it. Values are not expanded again. Null gives "".
std::string replaceEnvValue(const char* text);

/// Where the product's package is installed, from the environment variable PKG_INSTALL_ROOT, with
/// one trailing "/" removed; "" when it is not set.
///
/// `withSlash`  non-zero: a "/" is appended, also to an empty text.
std::string getInstallRoot(int withSlash);

#endif
