#include "common/files/filelist.h"

#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/scratch.h"

/// How many entries of a directory can be read before an error; negative: all.
static int readableEntries = -1;

extern "C" dirent* readdir(DIR* stream) {
  using ReadDir = dirent* (*)(DIR*);
  static const auto real = reinterpret_cast<ReadDir>(::dlsym(RTLD_NEXT, "readdir64"));
  if (readableEntries == 0) {
    errno = EIO;
    return nullptr;
  }
  if (readableEntries > 0) --readableEntries;
  return real(stream);
}

namespace {

TEST(GetFileList, DirectoryThatCannotBeReadToItsEnd_GivesTheEntriesUpToThere) {
  const ScratchDir dir;
  for (const char* name : {"a", "b", "c"}) dir.write(name, "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (int readable = 0; readable <= 5; ++readable) {  // "." and ".." are read as well
    std::list<std::string> list = {"left over"};
    std::vector<std::string> vector = {"left over"};
    readableEntries = readable;
    const int inList = getFileList(list, dir.path().c_str(), 0, 1, 0);
    readableEntries = readable;
    const int inVector = getFileList(vector, dir.path().c_str(), 0, 1, 0);
    readableEntries = -1;
    EXPECT_EQ(inList, static_cast<int>(list.size())) << readable;
    EXPECT_EQ(inVector, inList) << readable;
    EXPECT_EQ(std::vector<std::string>(list.begin(), list.end()), vector) << readable;
    EXPECT_LE(inList, readable);
    EXPECT_GE(inList, readable - 2);
  }
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
