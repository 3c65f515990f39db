// Files of a log as they are read, and as they are followed while they change.

#include "tools/log/input.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;

TEST(ReadFile, IsGivenUntilWhoTakesItHasEnough) {
  const ScratchDir dir;
  const std::string file = dir.write("a.log", std::string(4 << 20, 'x'));
  std::size_t bytes = 0;
  int pieces = 0;
  const auto count = [&](std::string_view piece) {
    bytes += piece.size();
    return ++pieces != 2;
  };
  EXPECT_EQ(readFile(file, count), "");
  EXPECT_EQ(pieces, 2);
  EXPECT_LT(bytes, std::size_t{4 << 20});
}

TEST(ReadFile, WhatCannotBeRead_HasItsReason) {
  const auto none = [](std::string_view) { return true; };
  EXPECT_EQ(readFile("/", none), "Is a directory");
  EXPECT_EQ(readFile("/nonexistent", none), "No such file or directory");
}

TEST(IsThere, WhateverItIs) {
  EXPECT_TRUE(isThere("/"));
  EXPECT_TRUE(isThere("/dev/null"));
  EXPECT_FALSE(isThere("/nonexistent"));
}

TEST(FollowFile, WhatIsAdded_IsGivenOnceThroughReplacementAndRotation) {
  const ScratchDir dir;
  const std::string log = dir.write("a.log", "first and longest\n");
  const auto append = [](const std::string& path, const char* bytes) {
    std::ofstream(path, std::ios::app) << bytes;
  };
  const std::vector<std::function<void()>> steps = {
      [&] { append(log, "second\n"); },
      [&] { fs::rename(dir.write("new", "third\n"), log); },
      [&] {
        append(log, "fourth\n");
        fs::copy_file(log, dir / "a.bak");
        fs::resize_file(log, 0);
      },
      [&] { append(log, "fifth\n"); },
  };
  Texts given;
  std::size_t step = 0;
  const auto take = [&](std::string_view bytes) {
    if (!bytes.empty()) {
      given.emplace_back(bytes);
    } else if (step < steps.size()) {
      steps[step++]();
    } else {
      return false;
    }
    return true;
  };
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(followFile(log, take), "");
  // It waits between two looks.
  EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
  EXPECT_EQ(given, (Texts{"first and longest\n", "second\n", "third\n", "fourth\n", "fifth\n"}));
}

TEST(FollowFile, WhatCannotBeRead_IsNotLookedAtAgain) {
  int looks = 0;
  const auto take = [&](std::string_view) { return ++looks < 3; };
  EXPECT_EQ(followFile("/", take), "Is a directory");
  EXPECT_EQ(looks, 0);
}

TEST(FollowFile, OfOneWhoHasEnough_ReadsNoFurther) {
  const ScratchDir dir;
  const std::string log = dir.write("a.log", "first\n");
  const auto takeAndRemove = [&](std::string_view) {
    fs::remove(log);
    return false;
  };
  EXPECT_EQ(followFile(log, takeAndRemove), "");
  EXPECT_EQ(followFile("/nonexistent", takeAndRemove), "No such file or directory");
}

}  // namespace
