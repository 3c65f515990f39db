#ifndef TANEXICS_SENDEVENT_EXITSTATUS_H
#define TANEXICS_SENDEVENT_EXITSTATUS_H

// The exit statuses of the command. Callers act on the numbers: they never change. Any other status
// is an integer that the communication library threw.
constexpr int kExitSuccess = 0;
constexpr int kExitNotStarted = 1;
constexpr int kExitNotSuperUser = 65;
constexpr int kExitNoLog = 66;
constexpr int kExitBadInput = 68;
constexpr int kExitNoTempDir = 78;

/// What an exit status says.
struct ExitStatus {
  int number;           ///< one of the above
  const char* meaning;  ///< its words, without a capital and without a full stop
};

/// The words for each of them. scripts/exitstatuses checks that the manual page and the README
/// begin with them what they say of a status.
constexpr ExitStatus kExitStatuses[] = {
    {kExitSuccess, "the event was parsed, and nothing failed that the status tells of"},
    {kExitNotStarted, "communication could not be prepared or started"},
    {kExitNotSuperUser, "the caller is not the super-user"},
    {kExitNoLog, "the action log could not be initialised"},
    {kExitBadInput, "the command line, the list of files or the definition file was rejected"},
    {kExitNoTempDir, "the temporary directory of an incident could not be made"},
};

/// The words for every other status.
constexpr char kOtherExitStatus[] = "an error code that the communication library threw";

#endif
