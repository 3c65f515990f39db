#ifndef TANEXICS_CHECK_JSON_H
#define TANEXICS_CHECK_JSON_H

#include <functional>
#include <string>

#include "tools/check/report.h"

namespace check {

/// Gives the report as one JSON object and a line feed, in pieces. Texts of the input are readable;
/// where the answer is not known, `result` and `status` are null.
void writeJson(const Report& report, const std::function<void(const std::string&)>& write);

}  // namespace check

#endif
