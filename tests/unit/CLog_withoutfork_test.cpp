#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>

#include "support/forkedlog.h"

// Takes the place of the C library's call in this program, which is one of its own because the log
// asks once in the life of a process.
extern "C" int pthread_atfork(void (*)(), void (*)(), void (*)()) noexcept { return ENOMEM; }

namespace {

TEST(ActionLog, ForkThatCannotBeToldOf_ChildWritesItsOwnProcessId) {
  expectForkedChildWritesItsOwnId();
}

}  // namespace
