#ifndef TANEXICS_REHEARSE_REPORT_H
#define TANEXICS_REHEARSE_REPORT_H

#include <string>

#include "tools/common/terminal.h"
#include "tools/rehearse/folder.h"
#include "tools/rehearse/judgement.h"

/// What a person is shown after a run: the calls of the stand-in library's record in order, each
/// agent error with what the command's catalogue says about it, the action log, how the run ended,
/// where a kept folder is, and last of all the verdict. Rows fit `terminal`; what cannot be shown
/// is said in its place, so that a report is made of any record and any log.
///
/// `waitStatus`  the run's raw wait status.
std::string makeReport(const RehearsalFolder& folder, int waitStatus, const Judgement& judgement,
                       const Terminal& terminal);

/// What is said, in the report and apart from it, where record and log contradict each other.
std::string contradictionOf(const Judgement& judgement);

#endif
