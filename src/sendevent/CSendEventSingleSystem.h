#ifndef TANEXICS_SENDEVENT_CSENDEVENTSINGLESYSTEM_H
#define TANEXICS_SENDEVENT_CSENDEVENTSINGLESYSTEM_H

#include "sendevent/SendEventBase.h"

/// The event of the machine that the command runs on: one command line, one run.
class CSendEventSingleSystem : public CSendEventBase {
 public:
  CSendEventSingleSystem();
  ~CSendEventSingleSystem() override;

  /// Reads the command line, the send-file list that it names and, for an event, the definition
  /// file; docs/tanexics.8 has the forms. `argv[0]` is the program. Of the others each may be null:
  /// a list or an option then counts as empty, and an option's value as missing.
  ///
  /// Returns 0, or 68 after one line of log that names the fault.
  int parseCommandLine(int argc, char** argv);

  /// Sends what `parseCommandLine` has read. For an incident whose `commonSendEvent` gave 0 or 1,
  /// the collection commands then fill a temporary directory, whatever they end with.
  ///
  /// Returns the status of `commonSendEvent`; 78 when there is no temporary directory (logged); or
  /// the integer other than 0 that the library threw when it was asked for the machine identifier,
  /// in which case nothing is sent (traced).
  int sendEvent();

 protected:
  /// Reads what follows the list on a command line, as `parseCommandLine` does it. Both may be
  /// null. Returns 0 or 68.
  int parseOption(char* option, char* value);

  /// Takes the name of this machine where the parameters have no host name.
  void ensureHostName();

 private:
  int readSendFileList(const char* path);
  int parseIncidentOption(const char* option, const char* value);
  int parseEventOption(char* option, char* value);
};

#endif
