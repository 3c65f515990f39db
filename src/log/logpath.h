#ifndef TANEXICS_LOG_LOGPATH_H
#define TANEXICS_LOG_LOGPATH_H

/// Where the action log is when the environment variable TANEX_LOG names no other file.
constexpr char kDefaultLogPath[] = "/var/opt/QZKBsoftmsg/log/msg_action.log";

#endif
