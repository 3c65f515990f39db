#include "loopback/outbox.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <string>
#include <vector>

#include "loopback/descriptor.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Names = std::vector<std::string>;

class OutboxTest : public ::testing::Test {
 protected:
  std::string errorOf(const std::string& path) { return outbox.store(path.c_str()).error; }

  ScratchDir scratch;
  const std::string folder = scratch / "a/b/out";
  Outbox outbox{folder};
};

std::string constructionError(const std::string& folder) {
  try {
    const Outbox outbox(folder);
    return "none";
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST_F(OutboxTest, MakesTheFolderWithItsParents) {
  EXPECT_EQ(Names({"exchanges.jsonl", "items"}), namesIn(folder));
}

TEST_F(OutboxTest, AppendsLines) {
  EXPECT_EQ("", outbox.append("one\n"));
  Outbox second(folder);
  EXPECT_EQ("", second.append("two\n"));
  EXPECT_EQ("", outbox.append("three\n"));
  EXPECT_EQ("one\ntwo\nthree\n", readFile(folder + "/exchanges.jsonl"));
}

TEST_F(OutboxTest, FilesAreForTheirOwnerWhateverTheMask) {
  outbox.store(scratch.write("f", "x").c_str());
  for (const char* name : {"/exchanges.jsonl", "/items/0001-f"}) {
    struct stat status = {};
    ASSERT_EQ(0, ::stat((folder + name).c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U) << name;
  }
}

TEST_F(OutboxTest, CopiesAreNumberedInOrderWithoutGaps) {
  EXPECT_EQ("items/0001-one", outbox.store(scratch.write("one", "1").c_str()).copy);
  EXPECT_EQ("", outbox.store("/nonexistent/two").copy);
  EXPECT_EQ("items/0002-three", outbox.store(scratch.write("three", "3").c_str()).copy);
  EXPECT_EQ("items/0003-three", outbox.store((scratch / "three").c_str()).copy);
  EXPECT_EQ("1", readFile(folder + "/items/0001-one"));
  EXPECT_EQ("3", readFile(folder + "/items/0002-three"));
  EXPECT_EQ("3", readFile(folder + "/items/0003-three"));
}

TEST_F(OutboxTest, NumbersGoOnFromWhatIsThere) {
  scratch.write("a/b/out/items/9998-old", "");
  scratch.write("a/b/out/items/not-a-number", "");
  scratch.write("a/b/out/items/99999x-y", "");
  scratch.write("a/b/out/items/99999", "");
  Outbox next(folder);
  const std::string file = scratch.write("f", "x");
  EXPECT_EQ("items/9999-f", next.store(file.c_str()).copy);
  EXPECT_EQ("items/10000-f", next.store(file.c_str()).copy);
}

TEST_F(OutboxTest, CopyOfAnotherProcessIsNeverOverwritten) {
  Outbox other(folder);
  const std::string file = scratch.write("f", "other");
  EXPECT_EQ("items/0001-f", other.store(file.c_str()).copy);
  scratch.write("f", "own");
  EXPECT_EQ("items/0002-f", outbox.store(file.c_str()).copy);
  EXPECT_EQ("other", readFile(folder + "/items/0001-f"));
}

TEST_F(OutboxTest, LongNameIsCut) {
  const std::string name(255, 'n');
  const StoredItem item = outbox.store(scratch.write(name, "x").c_str());
  EXPECT_EQ("items/0001-" + std::string(250, 'n'), item.copy);
  EXPECT_EQ("x", readFile(folder + "/" + item.copy));
}

TEST_F(OutboxTest, LinksAreFollowed) {
  const std::string file = scratch.write("file", "behind");
  ASSERT_EQ(0, ::symlink(file.c_str(), (scratch / "link").c_str()));
  const StoredItem item = outbox.store((scratch / "link").c_str());
  EXPECT_EQ("items/0001-link", item.copy);
  EXPECT_EQ("behind", readFile(folder + "/" + item.copy));
}

TEST_F(OutboxTest, FilesThatAreNotCopied) {
  ASSERT_EQ(0, ::mkfifo((scratch / "fifo").c_str(), 0600));
  ASSERT_EQ(0, ::symlink("nowhere", (scratch / "dangling").c_str()));
  ASSERT_EQ(0, ::symlink("loop", (scratch / "loop").c_str()));
  EXPECT_EQ("No such file or directory", errorOf(scratch / "missing"));
  EXPECT_EQ("No such file or directory", errorOf(""));
  EXPECT_EQ("No such file or directory", errorOf(scratch / "dangling"));
  EXPECT_EQ("Too many levels of symbolic links", errorOf(scratch / "loop"));
  EXPECT_EQ("Not a directory", errorOf("/dev/null/x"));
  EXPECT_EQ("File name too long", errorOf("/" + std::string(5000, 'x')));
  EXPECT_EQ("not a regular file", errorOf(scratch.path()));
  EXPECT_EQ("not a regular file", errorOf(scratch.path() + "/"));
  EXPECT_EQ("not a regular file", errorOf(scratch / "fifo"));
  EXPECT_EQ("not a regular file", errorOf("/dev/null"));
  EXPECT_EQ(Names(), namesIn(folder + "/items"));
}

TEST_F(OutboxTest, SocketIsNeverOpened) {
  // Opening it would fail with a reason of its own.
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = scratch / "socket";
  ASSERT_LT(path.size(), sizeof address.sun_path);
  path.copy(address.sun_path, path.size());
  const Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(0, ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  EXPECT_EQ("not a regular file", errorOf(path));
}

TEST_F(OutboxTest, UnreadableFile) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const std::string file = scratch.write("secret", "x");
  ASSERT_EQ(0, ::chmod(file.c_str(), 0));
  // The super-user reads everything.
  const ChildResult child = runInChild({}, [&] {
    ::chmod(scratch.path().c_str(), 0755);
    if (!becomeNobody()) return 2;
    return errorOf(file) == "Permission denied" ? 0 : 1;
  });
  EXPECT_EQ(0, child.status);
}

TEST_F(OutboxTest, FailedCopyLeavesNothingBehind) {
  const std::string file = scratch.write("big", std::string(100000, 'x'));
  const ChildResult child = runInChild({}, [&] {
    // A limited file size stands in for a full disk.
    const rlimit limit = {50000, 50000};
    ::signal(SIGXFSZ, SIG_IGN);
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    if (errorOf(file) != "the copy failed: write: File too large") return 1;
    return outbox.store(scratch.write("small", "x").c_str()).copy == "items/0001-small" ? 0 : 3;
  });
  EXPECT_EQ(0, child.status);
  EXPECT_EQ(Names({"0001-small"}), namesIn(folder + "/items"));
}

TEST_F(OutboxTest, LineThatDoesNotFitIsReported) {
  const ChildResult child = runInChild({}, [&] {
    const rlimit limit = {4, 4};
    ::signal(SIGXFSZ, SIG_IGN);
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    if (outbox.append("123456\n") != "write: only 4 of 7 bytes") return 3;
    return outbox.append("x\n") == "write: File too large" ? 0 : 1;
  });
  EXPECT_EQ(0, child.status);
}

TEST(OutboxErrors, FoldersThatCannotBeUsed) {
  const ScratchDir scratch;
  const std::string file = scratch.write("file", "");
  EXPECT_EQ("the name of the outbox is empty", constructionError(""));
  EXPECT_EQ("filesystem error: cannot create directories: Not a directory [" + file + "/items]",
            constructionError(file));
}

TEST(OutboxErrors, RecordThatCannotBeOpened) {
  const ScratchDir scratch;
  const std::string record = scratch / "exchanges.jsonl";
  ASSERT_EQ(0, ::mkdir(record.c_str(), 0700));
  EXPECT_EQ("open(" + record + "): Is a directory", constructionError(scratch.path()));
}

}  // namespace
