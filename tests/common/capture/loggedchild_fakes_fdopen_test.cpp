#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <list>
#include <string>
#include <vector>

#include "common/capture/execgetlines.h"
#include "common/capture/execgetlinestimeout.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"

// --- takes the place of the C library's call in this program -------------------------------------

static bool isFdopenFailing = false;

extern "C" FILE* fdopen(int fd, const char* mode) noexcept {
  using Fdopen = FILE* (*)(int, const char*);
  static const auto real = reinterpret_cast<Fdopen>(::dlsym(RTLD_NEXT, "fdopen"));
  return isFdopenFailing ? nullptr : real(fd, mode);
}

namespace {

TEST(LoggedChild, NoStream_LeavesTheChildUnwaitedAndNoDescriptorOpen) {
  for (const bool isLimited : {false, true}) {
    const CapturedLog log;
    const ChildResult child = runInChild([isLimited] {
      const int before = upcomingDescriptor(2);
      std::list<std::string> lines = {"left over"};
      isFdopenFailing = true;
      const int result = isLimited ? execGetLinesTimeout(lines, "exit 3", 5)
                                   : execGetLines(lines, "exit 3", -1, nullptr, -1);
      isFdopenFailing = false;
      if (result != -1 || !lines.empty()) return 77;
      if (upcomingDescriptor(2) != before) return 78;
      int status = 0;
      return ::wait(&status) > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : 79;
    });
    EXPECT_EQ(child.exitCode(), 3);
    EXPECT_EQ(log.texts(), std::vector<std::string>({"VUQ90004L : com=exit 3"}));
  }
}

}  // namespace
