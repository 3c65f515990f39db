#ifndef TANEXICS_TESTS_SUPPORT_TEMPAREA_H
#define TANEXICS_TESTS_SUPPORT_TEMPAREA_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/actionlog.h"
#include "support/environmentguard.h"
#include "support/pattern.h"
#include "support/scratch.h"
#include "temp/CTemp.h"

/// Temporary items as they are by default: kept by nobody, and TMPDIR not set.
struct TempArea : testing::Test {
  std::string makeFile(const std::string& prefix = "pre") {
    std::string path;
    EXPECT_EQ(temp->getTempFile(path, prefix.c_str(), dir.path().c_str(), nullptr), 1);
    return path;
  }

  std::string makeDirectory(const std::string& prefix = "pre") {
    std::string path;
    EXPECT_EQ(temp->getTempDir(path, prefix.c_str(), dir.path().c_str()), 1);
    return path;
  }

  EnvironmentGuard keep{"TANEX_NOT_DEL_TEMP", nullptr};
  EnvironmentGuard place{"TMPDIR", nullptr};
  ScratchDir dir;
  CapturedLog log{CapturedLog::Level::kTrace};
  std::unique_ptr<CTemp> temp = std::make_unique<CTemp>();
};

inline bool isNamed(const std::string& path, const std::string& start) {
  return path.compare(0, start.size(), start) == 0 &&
         matchesPattern(path.substr(start.size()), "[A-Za-z0-9]{6}_");
}

#endif
