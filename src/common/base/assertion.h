#ifndef TANEXICS_COMMON_BASE_ASSERTION_H
#define TANEXICS_COMMON_BASE_ASSERTION_H

/// Ends the process by abort(3), after the process id, the position and `condition` on standard
/// error: for the few callers' mistakes that leave nothing sensible to answer. Nothing is logged.
///
/// `line`       the position that support staff know the condition by.
/// `condition`  the condition that does not hold, as its text has always been printed.
[[noreturn]] void assertionFailed(int line, const char* condition);

#endif
