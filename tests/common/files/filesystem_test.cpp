#include "common/files/filesystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

// --- isFile and isDir ----------------------------------------------------------------------------

TEST(IsFile, Directory_IsNone) {
  EXPECT_EQ(isFile("/tmp"), 0);
  EXPECT_EQ(isFile(std::string("/tmp")), 0);
}

TEST(IsFile, NullDevice_IsOne) {
  EXPECT_EQ(isFile("/dev/null"), 1);
  EXPECT_EQ(isFile(std::string("/dev/null")), 1);
}

TEST(IsFile, MissingPath_IsNone) {
  const ScratchDir dir;
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isFile(dir / "missing"), 0);
  EXPECT_EQ(isFile(""), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsFile, Null_IsLoggedAndNone) {
  const CapturedLog log;
  EXPECT_EQ(isFile(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1271):invalid param"}));
}

TEST(IsDir, Null_IsNoneWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isDir(kNull), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsFileAndIsDir, EveryKind_IsOneOfThemOrNeither) {
  const ScratchDir dir;
  dir.write("file", "x");
  fs::create_directory(dir / "directory");
  fs::create_symlink("file", dir / "to-file");
  fs::create_directory_symlink("directory", dir / "to-directory");
  fs::create_symlink("missing", dir / "dangling");
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, (dir / "socket").c_str());
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ::close(fd);
  const struct {
    const char* name;
    int file;
    int directory;
  } kRows[] = {{"file", 1, 0},       {"directory", 0, 1},    {"directory/", 0, 1},
               {"to-file", 1, 0},    {"to-directory", 0, 1}, {"dangling", 0, 0},
               {"pipe", 1, 0},       {"socket", 1, 0},       {"missing", 0, 0},
               {"file/below", 0, 0}, {"file ", 0, 0}};
  for (const auto& row : kRows) {
    EXPECT_EQ(isFile(dir / row.name), row.file) << row.name;
    EXPECT_EQ(isDir(dir / row.name), row.directory) << row.name;
    EXPECT_EQ(isFile((dir / row.name).c_str()), row.file) << row.name;
    EXPECT_EQ(isDir((dir / row.name).c_str()), row.directory) << row.name;
  }
}

// --- getFileSize ---------------------------------------------------------------------------------

TEST(GetFileSize, MissingFile_IsMinusOneAndLogged) {
  const ScratchDir dir;
  const CapturedLog log;
  const std::string path = dir / "missing";
  EXPECT_EQ(getFileSize(path.c_str()), -1);
  EXPECT_EQ(log.texts(), Texts({"get file size error(" + path + ",No such file or directory)"}));
}

TEST(GetFileSize, OtherFailures_AreLoggedWithTheirReason) {
  const ScratchDir dir;
  const std::string below = dir.write("file", "x") + "/below";
  const std::string tooLong = dir / std::string(256, 'x');
  const CapturedLog log;
  EXPECT_EQ(getFileSize(""), -1);
  EXPECT_EQ(getFileSize(below.c_str()), -1);
  EXPECT_EQ(getFileSize(tooLong.c_str()), -1);
  EXPECT_EQ(log.texts(), Texts({"get file size error(,No such file or directory)",
                                "get file size error(" + below + ",Not a directory)",
                                "get file size error(" + tooLong + ",File name too long)"}));
}

TEST(GetFileSize, Null_IsMinusOneAndLoggedAsABadAddress) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getFileSize(nullptr), -1);
  EXPECT_EQ(log.texts(), Texts({"get file size error((null),Bad address)"}));
}

TEST(GetFileSize, Files_HaveTheirBytes) {
  const ScratchDir dir;
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getFileSize(dir.write("empty", "").c_str()), 0);
  EXPECT_EQ(getFileSize(dir.write("seven", "1234567").c_str()), 7);
  fs::create_symlink("seven", dir / "link");
  EXPECT_EQ(getFileSize((dir / "link").c_str()), 7);
  EXPECT_EQ(getFileSize("/dev/null"), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFileSize, FileAbove4GiB_IsMeasuredIn64Bits) {
  const ScratchDir dir;
  for (const std::int64_t size : {2147483648LL, 4294967295LL, 4294967296LL, 5000000000LL}) {
    const std::string path = dir.write("sparse", "");
    fs::resize_file(path, static_cast<std::uintmax_t>(size));
    EXPECT_EQ(getFileSize(path.c_str()), size);
  }
}

// --- makeDir -------------------------------------------------------------------------------------

Texts loggedMakeDir(const std::string& command, const char* status) {
  return {std::string("VUQ90004L : pid=<pid>,wstat=") + status, "VUQ90004L : com=" + command};
}

TEST(MakeDir, WithParents_RunsTheCommandWithItsOptionAndTheEscapedPath) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  const Texts lines = linesFromPrivateRoot([] {
    std::printf("%d\n", makeDir("/tmp/a b", 1));
    std::printf("%d\n", isDir("/tmp/a b"));
  });
  EXPECT_EQ(withoutPids(lines),
            inOrder({{"0", "1"},
                     loggedMakeDir("mkdir -p /tmp/a\\ b 2>/dev/null", "00000000"),
                     tracedExit(0)}));
}

TEST(MakeDir, WithoutParents_RunsTheCommandWithTwoBlanks) {
  const ScratchDir dir;
  const CapturedLog log;
  EXPECT_EQ(makeDir(dir / "new", 0), 0);
  EXPECT_EQ(isDir(dir / "new"), 1);
  EXPECT_EQ(withoutPids(log.texts()),
            loggedMakeDir("mkdir  " + dir / "new" + " 2>/dev/null", "00000000"));
}

TEST(MakeDir, MissingParents_AreMadeOnlyWhenAskedFor) {
  const ScratchDir dir;
  const CapturedLog log;
  EXPECT_EQ(makeDir(dir / "a/b/c", 0), -1);
  EXPECT_EQ(isDir(dir / "a"), 0);
  EXPECT_EQ(withoutPids(log.texts()),
            loggedMakeDir("mkdir  " + dir / "a/b/c" + " 2>/dev/null", "00000100"));
  EXPECT_EQ(makeDir((dir / "a/b/c").c_str(), 2), 0);
  EXPECT_EQ(isDir(dir / "a/b/c"), 1);
}

TEST(MakeDir, ExistingDirectory_IsSuccessWithParentsOnly) {
  const ScratchDir dir;
  EXPECT_EQ(makeDir(dir.path(), 1), 0);
  EXPECT_EQ(makeDir(dir.path(), 0), -1);
}

TEST(MakeDir, ExistingFile_IsAFailureAndStays) {
  const ScratchDir dir;
  const std::string path = dir.write("file", "kept");
  EXPECT_EQ(makeDir(path, 1), -1);
  EXPECT_EQ(makeDir(path, 0), -1);
  EXPECT_EQ(readFile(path), "kept");
}

TEST(MakeDir, Failure_PrintsNothing) {
  const ScratchDir dir;
  const CapturedLog log;
  const ChildResult child = runInChild([&] { return makeDir(dir / "a/b", 0) == -1 ? 0 : 1; });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

TEST(MakeDir, Null_IsMinusOneWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(makeDir(kNull, 1), -1);
  EXPECT_EQ(log.bytes(), "");
}

TEST(MakeDir, Permissions_AreWhatTheMaskLeaves) {
  const ScratchDir dir;
  const CapturedLog log;
  for (const mode_t mask : {022u, 077u, 0u}) {
    const std::string path = dir / std::to_string(mask);
    const mode_t old = ::umask(mask);
    EXPECT_EQ(makeDir(path, 1), 0);
    ::umask(old);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0777u & ~mask);
  }
}

TEST(MakeDir, SpecialCharacters_ArePartOfTheName) {
  const ScratchDir dir;
  const CapturedLog log;
  const std::string name = "a'b\"c$d`e(f)g&h|i<j>k#l^m{n}o\\p\tq";
  EXPECT_EQ(makeDir(dir / name, 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({name}));
}

TEST(MakeDir, Wildcards_StayActive) {
  const ScratchDir dir;
  fs::create_directory(dir / "ab");
  const CapturedLog log;
  EXPECT_EQ(makeDir(dir / "a*", 1), 0);
  EXPECT_EQ(makeDir(dir / "[a]?", 0), -1);
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({loggedMakeDir("mkdir -p " + dir / "a*" + " 2>/dev/null", "00000000"),
                     loggedMakeDir("mkdir  " + dir / "[a]?" + " 2>/dev/null", "00000100")}));
  EXPECT_EQ(namesIn(dir.path()), Texts({"ab"}));
}

// --- getCwd --------------------------------------------------------------------------------------

TEST(GetCwd, CurrentDirectory_IsAbsolute) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (::chdir(dir.path().c_str()) != 0) return 1;
    std::fputs(getCwd().c_str(), stdout);
    return 0;
  });
  EXPECT_EQ(child.out, dir.path());
}

TEST(GetCwd, RemovedDirectory_IsADot) {
  const ScratchDir dir;
  const std::string gone = dir / "gone";
  const ChildResult child = runInChild([&] {
    if (::mkdir(gone.c_str(), 0700) != 0 || ::chdir(gone.c_str()) != 0) return 1;
    if (::rmdir(gone.c_str()) != 0) return 2;
    std::fputs(getCwd().c_str(), stdout);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, ".");
}

bool enterNew(const std::string& name) {
  return ::mkdir(name.c_str(), 0700) == 0 && ::chdir(name.c_str()) == 0;
}

TEST(GetCwd, PathFrom4096Bytes_IsADot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system that vanishes";
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 5000u}) {
    std::string path;
    const Texts lines = linesFromPrivateRoot([&] {
      while (path.size() < length) {
        // No name is left that would have to be empty.
        const std::size_t rest = length - path.size() - 1;
        const std::string name(rest > 202 ? 200 : rest, 'd');
        if (!enterNew(name)) return;
        path += "/" + name;
      }
      const std::string cwd = getCwd();
      std::puts(cwd == path ? "the path" : cwd.c_str());
    });
    EXPECT_EQ(lines, Texts({length < 4096 ? "the path" : "."})) << length;
  }
}

}  // namespace
