#ifndef TANEXICS_TESTS_SUPPORT_TEMPAREA_H
#define TANEXICS_TESTS_SUPPORT_TEMPAREA_H

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/environmentguard.h"
#include "support/scratch.h"

/// Temporary items as they are by default: kept by nobody, and TMPDIR not set.
struct TempArea : testing::Test {
  EnvironmentGuard keep{"TANEX_NOT_DEL_TEMP", nullptr};
  EnvironmentGuard place{"TMPDIR", nullptr};
  ScratchDir dir;
};

inline bool isNamed(const std::string& path, const std::string& start) {
  const std::string generated = "[A-Za-z0-9]{6}_";
  return path.compare(0, start.size(), start) == 0 &&
         std::regex_match(path.substr(start.size()), std::regex(generated));
}

#endif
