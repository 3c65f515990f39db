#include <sys/stat.h>

#include <cstdio>

#include "common/base/callersignals.h"
#include "common/base/stdfds.h"
#include "common/files/filesystem.h"
#include "common/text/timetext.h"
#include "log/CLog.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "sendevent/exitstatus.h"

namespace {

constexpr mode_t kFileCreationMask = 022;

/// A status other than 0 ends the run: it is thrown as an integer and caught in `main` alone.
void endUnlessZero(int status) {
  if (status != kExitSuccess) throw status;
}

void openLog(const char* program) {
  if (gLog.init(program, nullptr) == 0) return;
  std::fputs("Log init error", stderr);
  throw kExitNoLog;
}

void refuseOrdinaryUsers() {
  if (isAdmin() != 0) return;
  gLog.ilog("not Super-User");
  throw kExitNotSuperUser;
}

void runCommand(int argc, char** argv) {
  CSendEventSingleSystem command;
  endUnlessZero(command.parseCommandLine(argc, argv));
  endUnlessZero(command.sendEvent());
}

void logEnd(const char* program, double seconds, int status) {
  gLog.ilog("ELAPSED:range='executing tanexics', time='%0.6f'", seconds);
  gLog.ilog("### main : %s exit. code = %d", program, status);
}

}  // namespace

int main(int argc, char** argv) {
  const char* program = argc > 0 ? argv[0] : "";
  double start = 0.0;
  int status = kExitSuccess;
  ::umask(kFileCreationMask);
  settleSignals();
  occupyStandardDescriptors();
  try {
    openLog(program);
    gLog.ilog("### main : %s started.", program);
    start = elapsedTime();
    refuseOrdinaryUsers();
    runCommand(argc, argv);
  } catch (int thrown) {
    status = thrown;
  }
  logEnd(program, elapsedTime() - start, status);
  return status;
}
