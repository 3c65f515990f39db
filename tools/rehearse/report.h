#ifndef TANEXICS_REHEARSE_REPORT_H
#define TANEXICS_REHEARSE_REPORT_H

#include <string>

#include "tools/rehearse/folder.h"

/// What a person is shown after a run: the calls of the stand-in library's record in order, each
/// agent error with what the command's catalogue says about it, the action log, how the run ended,
/// and where a kept folder is. Rows fit in `kScreenColumns`; what cannot be shown is said in its
/// place, so that a report is made of any record and any log.
///
/// `waitStatus`  the run's raw wait status.
std::string makeReport(const RehearsalFolder& folder, int waitStatus);

#endif
