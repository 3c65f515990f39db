// What tanexics-check says of input that changes between its own look at it and the command's
// reader.

#include <dlfcn.h>

#include <cstdio>
#include <functional>
#include <utility>

#include "tools/checked.h"

namespace {

/// Called before a file is opened by the command's readers, which alone use streams.
std::function<void()> beforeOpening;

}  // namespace

// With 64-bit file offsets this is the C library's fopen64.
extern "C" FILE* fopen(const char* path, const char* mode) {
  using Fopen = FILE* (*)(const char*, const char*);
  static const auto real = reinterpret_cast<Fopen>(::dlsym(RTLD_NEXT, "fopen64"));
  if (beforeOpening) std::exchange(beforeOpening, nullptr)();
  return real(path, mode);
}

namespace {

class CheckReport : public Checked {
 protected:
  check::Report reportAfter(const std::string& bytes, const std::string& changed) {
    dir.write("event", bytes);
    beforeOpening = [this, changed] { dir.write("event", changed); };
    return check::reportOn({"list", "-r", "event"}, false);
  }
};

TEST_F(CheckReport, InputThatBecomesWrong_IsNotJudged) {
  const check::Report report = reportAfter(kEvent, "nonsense\n");
  EXPECT_EQ(report.answer, check::Answer::kUnknown);
  EXPECT_TRUE(report.hasChanged);
  EXPECT_EQ(report.faults.errors(), 0u);
  EXPECT_FALSE(report.notification);
}

TEST_F(CheckReport, InputThatBecomesRight_IsNotJudged) {
  const check::Report report = reportAfter("nonsense\n", kEvent);
  EXPECT_EQ(report.answer, check::Answer::kUnknown);
  EXPECT_TRUE(report.hasChanged);
}

TEST_F(CheckReport, InputThatStays_IsJudged) {
  EXPECT_EQ(reportAfter(kEvent, kEvent).answer, check::Answer::kAccepted);
  EXPECT_EQ(reportAfter("nonsense\n", "nonsense\n").answer, check::Answer::kRejected);
}

}  // namespace
