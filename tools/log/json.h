#ifndef TANEXICS_LOG_JSON_H
#define TANEXICS_LOG_JSON_H

#include <string>

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// One JSON object without a line feed, all of whose fields are always there; null is what the log
/// does not tell. Texts are made readable. `log`: the path of the log, in bytes.
std::string jsonOf(const outcome::Run& run, const std::string& log, outcome::Encoding encoding);

/// A time of the log, "YYYY/MM/DD HH:MM:SS", as ISO 8601 has it: "YYYY-MM-DDTHH:MM:SS", local and
/// without a zone.
std::string isoTime(std::string time);

#endif
