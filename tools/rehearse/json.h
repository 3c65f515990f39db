#ifndef TANEXICS_REHEARSE_JSON_H
#define TANEXICS_REHEARSE_JSON_H

#include <string>

#include "tools/rehearse/folder.h"
#include "tools/rehearse/judgement.h"

/// What a run has left, as one JSON object in one line without a line feed: the fields that
/// docs/tanexics-rehearse.1 describes. Bytes that are not UTF-8, and control characters, become
/// `\xhh`, and a backslash is doubled.
///
/// `waitStatus`  the run's raw wait status.
std::string makeJson(const RehearsalFolder& folder, int waitStatus, const Judgement& judgement);

#endif
