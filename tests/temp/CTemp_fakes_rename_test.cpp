#include "temp/CTemp.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/failingrename.h"
#include "support/logtexts.h"
#include "support/scratch.h"
#include "support/temparea.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

Texts tenTimes(const std::string& text) { return Texts(10, text); }

TEST_F(TempArea, NullPrefix_FailsTenTimesAtItsPosition) {
  CapturedLog log(CapturedLog::Level::kTrace);
  CTemp temp;
  std::string path = "left over";
  EXPECT_EQ(temp.getTempDir(path, nullptr, nullptr), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(log.take(), tenTimes("[I](CTemp:66):invalid param"));
  EXPECT_EQ(temp.getTempFile(path, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(log.take(), tenTimes("[I](CTemp:66):invalid param"));
}

TEST_F(TempArea, OneAttempt_LeavesOneLine) {
  const CapturedLog log;
  CTemp temp;
  std::string path = "left over";
  EXPECT_EQ(temp.getTemp_sub(path, nullptr, nullptr, nullptr, 1), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(log.texts(), Texts({"[I](CTemp:66):invalid param"}));
}

TEST_F(TempArea, ParentIsARegularFile_FailsTenTimesWithVUQ90100L) {
  CapturedLog log;
  const std::string parent = dir.write("file", "kept");
  const std::string line = "VUQ90100L : prefix:" + parent + " already exist and it's file";
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "pre", parent.c_str()), 0);
  EXPECT_EQ(log.take(), tenTimes(line));
  EXPECT_EQ(temp.getTempFile(path, "pre", parent.c_str(), nullptr), 0);
  EXPECT_EQ(log.take(), tenTimes(line));
  EXPECT_EQ(readFile(parent), "kept");
}

TEST_F(TempArea, ParentCannotBeMade_FailsTenTimesWithVUQ90101L) {
  CapturedLog log;
  const std::string parent = dir.write("file", "") + "/below";
  const Texts attempt = {"VUQ90004L : pid=<pid>,wstat=00000100",
                         "VUQ90004L : com=mkdir -p " + parent + " 2>/dev/null",
                         "VUQ90101L : failed to makeDir:" + parent};
  Texts expected;
  for (int i = 0; i < 10; ++i) expected = inOrder({expected, attempt});
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "pre", parent.c_str()), 0);
  EXPECT_EQ(withoutPids(log.take()), expected);
  EXPECT_EQ(temp.getTempFile(path, "pre", parent.c_str(), nullptr), 0);
  EXPECT_EQ(withoutPids(log.take()), expected);
}

TEST_F(TempArea, NoDirectoryName_FailsTenTimesWithVUQ90102L) {
  const CapturedLog log;
  dir.write("f", "");
  CTemp temp;
  std::string path = "left over";
  EXPECT_EQ(temp.getTempDir(path, "f/x", dir.path().c_str()), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(log.texts(), tenTimes("VUQ90102L : failed to tempnam():Not a directory"));
}

TEST_F(TempArea, DirectoryCannotBeMade_FailsTenTimesWithVUQ90103L) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "pre", "/proc"), 0);
  const Texts texts = withoutPids(log.texts());
  ASSERT_EQ(texts.size(), 30u);
  for (std::size_t i = 0; i < texts.size(); i += 3) {
    const std::string start = "VUQ90103L : failed to create dir:";
    const std::string made = texts[i + 2].substr(start.size());
    EXPECT_TRUE(isNamed(made, "/proc/pre")) << made;
    EXPECT_EQ(texts[i], "VUQ90004L : pid=<pid>,wstat=00000100");
    EXPECT_EQ(texts[i + 1], "VUQ90004L : com=mkdir -p " + made + " 2>/dev/null");
    EXPECT_EQ(texts[i + 2], start + made);
  }
  EXPECT_EQ(temp.delTempFile(nullptr), 0);
}

TEST_F(TempArea, FileCannotBeMade_FailsTenTimesWithItsTemplate) {
  const CapturedLog log;
  CTemp temp;
  std::string path = "left over";
  int fd = 77;
  EXPECT_EQ(temp.getTempFile(path, "missing/pre", dir.path().c_str(), &fd), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(fd, 77);
  EXPECT_EQ(log.texts(),
            tenTimes("[I](CTemp:132):failed to mkstemp():No such file or directory:templ=" +
                     dir.path() + "/missing/preXXXXXX"));
}

TEST_F(TempArea, TemplateTooLongForTheBuffer_Fails) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  const std::string prefix(5000, 'x');
  EXPECT_EQ(temp.getTemp_sub(path, prefix.c_str(), "/tmp", nullptr, 0), 0);
  const std::string whole =
      "[I](CTemp:132):failed to mkstemp():Invalid argument:templ=/tmp/" + prefix;
  EXPECT_EQ(log.texts(), Texts({whole.substr(0, 2046) + '\0'}));
}

/// The names that a failed renaming names in its line, the final one without its folder's path.
struct Renaming {
  std::string from;
  std::string to;
};

Renaming renamingIn(const std::string& text) {
  static const std::regex kLine(
      "VUQ90104L : failed to rename\\(\\):(\\S+) to (\\S+):File name too long");
  std::smatch match;
  EXPECT_TRUE(std::regex_match(text, match, kLine)) << text;
  return {match[1], match[2]};
}

TEST_F(TempArea, FileCannotTakeItsFinalName_FailsTenTimesWithVUQ90104L) {
  const CapturedLog log;
  const std::string prefix(249, 'x');  // the generated name is as long as a name can be
  std::string path;
  {
    CTemp temp;
    EXPECT_EQ(temp.getTempFile(path, prefix.c_str(), dir.path().c_str(), nullptr), 0);
  }
  const Texts texts = log.texts();
  EXPECT_EQ(texts.size(), 10u);
  EXPECT_EQ(namesIn(dir.path()).size(), 10u);
  for (const std::string& text : texts) {
    const Renaming renaming = renamingIn(text);
    EXPECT_EQ(renaming.to, renaming.from + "_");
    EXPECT_TRUE(isNamed(renaming.to, dir / prefix));
    EXPECT_TRUE(fs::exists(renaming.from));  // under its generated name, beyond the owner's life
  }
}

TEST_F(TempArea, FileCannotTakeItsFinalName_DescriptorStaysOpen) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  int fd = -1;
  EXPECT_EQ(temp.getTemp_sub(path, std::string(249, 'x').c_str(), dir.path().c_str(), &fd, 0), 0);
  EXPECT_EQ(::write(fd, "text", 4), 4);
  EXPECT_EQ(readFile(dir / namesIn(dir.path()).front()), "text");
  EXPECT_EQ(temp.delTempFile(nullptr), 0);
  ::close(fd);
}

TEST_F(TempArea, LaterAttemptSucceeds_EndsTheAttempts) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  renamesToFail = 2;
  EXPECT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
  EXPECT_EQ(log.texts().size(), 2u);
  EXPECT_EQ(namesIn(dir.path()).size(), 3u);
  EXPECT_EQ(temp.delTempFile(nullptr), 1);
  EXPECT_EQ(namesIn(dir.path()).size(), 2u);
}

TEST_F(TempArea, ParentThatIsTheResultItself_IsTakenAsItWasByEveryAttempt) {
  const CapturedLog log;
  CTemp temp;
  std::string path = dir.path();
  renamesToFail = 9;
  EXPECT_EQ(temp.getTempFile(path, "pre", path.c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
  EXPECT_EQ(namesIn(dir.path()).size(), 10u);
}

}  // namespace
