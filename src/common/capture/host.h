#ifndef TANEXICS_COMMON_CAPTURE_HOST_H
#define TANEXICS_COMMON_CAPTURE_HOST_H

#include <string>

/// The node name of this machine as uname(1) prints it, "" when it prints nothing. The run of the
/// command is logged as `execGetLines` says.
std::string getHostname();

/// The same for the machine's NIS domain name, as domainname(1) prints it: "(none)" where none is
/// set.
std::string getDomainname();

/// How many processes of the whole machine have a command line, as ps(1) shows it, that begins with
/// `program`: a basic regular expression, put between single quotes as it is. Counted are lines of
/// output, so that the heading "COMMAND" is among them, and so may be the commands that do the
/// counting; a command line of 1,023 bytes or more counts once for each entry of `execGetLines`.
///
/// Returns 0 also when ps(1) or the shell cannot be run. -1 when grep(1) cannot, refuses `program`,
/// or `execGetLines` fails; then "count_RunningProcess failed to exec command( COMMAND )" is
/// logged. The run itself is logged as `execGetLines` says.
int count_RunningProcess(const std::string& program);

#endif
