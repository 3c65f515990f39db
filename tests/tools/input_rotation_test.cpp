// A log that is rotated while it is read: copied over its older generation, and emptied.

#include "tools/log/input.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;

/// A folder with a log, and the two of them as they are named together.
struct Folder {
  ScratchDir dir;
  const Log pair = {{dir / "a.log.bak", dir / "a.log"}};
  const Log found = {{dir / "a.log.bak", dir / "a.log"}, /*mayLackOlder=*/true};

  void write(const std::string& older, const std::string& log) const {
    dir.write("a.log.bak", older);
    dir.write("a.log", log);
  }
};

TEST(ReadTogether, BothGenerations_OlderFirst) {
  const Folder folder;
  folder.write("1\n", "2\n");
  EXPECT_EQ(readTogether(folder.pair), "1\n2\n");
  folder.write("1\n", "");
  EXPECT_EQ(readTogether(folder.pair), "1\n");
}

TEST(ReadTogether, OlderGenerationThatNobodyNamed_NeedNotBe) {
  const Folder folder;
  folder.dir.write("a.log", "2\n");
  EXPECT_EQ(readTogether(folder.found), "2\n");
  EXPECT_EQ(readTogether(folder.pair), std::nullopt);
}

TEST(ReadTogether, WhatCannotBeReadSo_IsLeftToWhoReadsOneAfterTheOther) {
  const Folder folder;
  folder.write("1\n", "2\n");
  EXPECT_EQ(readTogether({{folder.dir / "a.log"}}), std::nullopt);
  EXPECT_EQ(readTogether({{folder.dir / "none", folder.dir / "a.log"}}), std::nullopt);
  EXPECT_EQ(readTogether({{folder.dir / "a.log", folder.dir / "none"}}), std::nullopt);
  EXPECT_EQ(readTogether({{folder.dir / "a.log", "/dev/null"}}), std::nullopt);
  EXPECT_EQ(readTogether({{"/dev/null", folder.dir / "a.log"}}), std::nullopt);
}

TEST(ReadTogether, LargerThanARotationLeaves_IsNotKept) {
  const Folder folder;
  const std::string most((8 << 20) - 2, 'o');
  folder.write("1\n", most + "2\n");
  EXPECT_EQ(readTogether(folder.pair), "1\n" + most + "2\n");
  folder.write("1\n", most + "22\n");
  EXPECT_EQ(readTogether(folder.pair), std::nullopt);
}

TEST(ReadTogether, UnfinishedRotation_IsNoMoment) {
  const Folder folder;
  for (const std::string copied : {"", "1\n", "1\n2\n", "1\n2\n3\n"}) {
    folder.write(copied, "1\n2\n");
    EXPECT_EQ(readTogether(folder.pair), std::nullopt) << copied;
  }
}

TEST(ReadTogether, RotationsMeanwhile_LeaveNoGapAndNothingTwice) {
  const Folder folder;
  folder.write("0\n", "1\n");
  std::atomic<int> written = 1;
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    while (!isDone) {
      // Two follow one another at once.
      if (written % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
      fs::copy_file(folder.pair.files[1], folder.pair.files[0],
                    fs::copy_options::overwrite_existing);
      fs::resize_file(folder.pair.files[1], 0);
      folder.dir.write("a.log", std::to_string(written + 1) + '\n');
      ++written;
    }
  });
  int known = 0;
  while (written < 150) {
    const int before = written;
    const std::optional<std::string> bytes = readTogether(folder.pair);
    if (!bytes) continue;
    ++known;
    const Texts lines = linesOf(*bytes);
    if (lines.empty()) {
      ADD_FAILURE() << "between two generations";
      continue;
    }
    const int first = std::atoi(lines.front().c_str());
    EXPECT_LE(lines.size(), 2U) << *bytes;
    EXPECT_EQ(std::atoi(lines.back().c_str()), first + static_cast<int>(lines.size()) - 1)
        << *bytes;
    EXPECT_GE(std::atoi(lines.back().c_str()), before) << *bytes;
  }
  EXPECT_GT(known, 50);
  isDone = true;
  writer.join();
}

}  // namespace
