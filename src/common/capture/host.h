#ifndef TANEXICS_COMMON_CAPTURE_HOST_H
#define TANEXICS_COMMON_CAPTURE_HOST_H

#include <string>

/// The node name of this machine as uname(1) prints it, "" when it prints nothing. The run of the
/// command is logged as `execGetLines` says.
std::string getHostname();

/// The same for the machine's NIS domain name, as domainname(1) prints it: "(none)" where none is
/// set.
std::string getDomainname();

#endif
