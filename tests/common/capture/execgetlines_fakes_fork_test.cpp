#include "common/capture/execgetlines.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/descriptors.h"
#include "support/failingrename.h"
#include "support/logtexts.h"
#include "support/privateroot.h"

// --- takes the place of the C library's calls in this program ------------------------------------

/// What happens in place of the next fork, which then fails with EAGAIN; none lets it happen.
static std::function<void()> insteadOfFork;

extern "C" pid_t fork() noexcept {
  using Fork = pid_t (*)();
  static const auto real = reinterpret_cast<Fork>(::dlsym(RTLD_NEXT, "fork"));
  if (!insteadOfFork) return real();
  insteadOfFork();
  insteadOfFork = nullptr;
  errno = EAGAIN;
  return -1;
}

namespace {

using Texts = std::vector<std::string>;
using Lines = std::list<std::string>;

TEST(ExecGetLines, NoChildForACommandThatIsAnEntryOfItsResult_IsLoggedReasonFirst) {
  const std::string command = "echo a # too long to need no memory of its own";
  const CapturedLog log;
  const int before = upcomingDescriptor(2);
  insteadOfFork = [] {};
  Lines lines = {command};
  EXPECT_EQ(execGetLines(lines, lines.front().c_str(), -1, nullptr, -1), -1);
  EXPECT_EQ(lines, Lines());
  EXPECT_EQ(upcomingDescriptor(2), before) << "both ends of the pipe are closed";
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90004L : com=" + command,
                   "VUQ90005L : failed to exec(Resource temporarily unavailable):" + command}));
}

TEST(ExecGetLines, NoChildWithErrorList_ErrorFileIsReadAllTheSame) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  const Texts texts = linesFromPrivateRoot([] {
    ::setenv("TANEX_LOG_LEVEL", "", 1);
    gLog.init("unit-test", nullptr);
    insteadOfFork = [] {
      if (std::FILE* file = std::fopen(("/tmp/" + namesIn("/tmp").front()).c_str(), "w")) {
        std::fputs("one\ntwo\nthree\n", file);
        std::fclose(file);
      }
    };
    Lines lines = {"left over"};
    Lines errors = {"left over"};
    const int result = execGetLines(lines, "echo a", -1, &errors, 2);
    std::printf("%d %zu %zu\n", result, lines.size(), namesIn("/tmp").size());
    for (const std::string& error : errors) std::puts(error.c_str());
  });
  EXPECT_EQ(texts, Texts({"-1 0 0", "one", "two", "VUQ90004L : com=echo a",
                          "VUQ90005L : failed to exec(Resource temporarily unavailable):echo a"}));
}

TEST(ExecGetLines, TemporaryFileWithoutItsFinalName_IsNotUsed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  Texts texts = linesFromPrivateRoot([] {
    ::setenv("TANEX_LOG_LEVEL", "", 1);
    gLog.init("unit-test", nullptr);
    renamesToFail = 10;
    Lines lines;
    Lines errors = {"left over"};
    const int result = execGetLines(lines, "echo out; echo error >&2; exit 3", -1, &errors, -1);
    std::printf("%d %s %zu %zu\n", result, lines.front().c_str(), errors.size(),
                namesIn("/tmp").size());
  });
  ASSERT_EQ(texts.size(), 13u);
  EXPECT_EQ(texts.front(), "3 out 0 10");
  texts.erase(texts.begin(), texts.begin() + 11);  // and ten lines of the temporary file
  EXPECT_EQ(withoutPids(texts), Texts({"VUQ90004L : com=echo out; echo error >&2; exit 3",
                                       "VUQ90004L : pid=<pid>,wstat=00000300"}));
}

}  // namespace
