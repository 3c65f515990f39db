#ifndef TANEXICS_COMMON_PROCESSCOUNT_H
#define TANEXICS_COMMON_PROCESSCOUNT_H

#include <string>

/// How many processes of the whole machine have a command line, as ps(1) shows it, that begins with
/// `program`: a basic regular expression, put between single quotes as it is.
///
/// Returns -1 when that cannot be told; then "count_RunningProcess failed to exec command( COMMAND
/// )" is logged. The run itself is logged as `execGetLines` says.
int count_RunningProcess(const std::string& program);

#endif
