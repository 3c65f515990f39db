#include "common/base/callersignals.h"

#include <csignal>

namespace {

using Handler = void (*)(int);

struct Disposition {
  int signal;
  Handler needed;
  struct sigaction callers;
  bool isChanged;
};

Disposition dispositions[] = {
    {SIGCHLD, SIG_DFL, {}, false}, {SIGPIPE, SIG_IGN, {}, false}, {SIGXFSZ, SIG_IGN, {}, false}};

}  // namespace

void settleSignals() {
  for (Disposition& disposition : dispositions) {
    struct sigaction action = {};
    action.sa_handler = disposition.needed;
    // Neither call of this unit can fail: these are signals that may be set to anything.
    ::sigaction(disposition.signal, &action, &disposition.callers);
    disposition.isChanged = disposition.callers.sa_handler != disposition.needed;
  }
}

void restoreCallerSignals() {
  for (const Disposition& disposition : dispositions) {
    if (disposition.isChanged) ::sigaction(disposition.signal, &disposition.callers, nullptr);
  }
}
