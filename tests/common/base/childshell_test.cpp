#include "common/base/childshell.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "common/base/callersignals.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

bool isOpen(int fd) { return ::fcntl(fd, F_GETFD) >= 0; }

TEST(MakePipe, NoDescriptorLeft_IsFalseWithTheReason) {
  const ChildResult child = runInChild([] {
    Pipe pipe;
    if (!closeOtherDescriptors() || !limitDescriptors(4)) return 77;
    if (makePipe(pipe)) return 1;
    return errno == EMFILE && !pipe.readEnd.isOpen() && !pipe.writeEnd.isOpen() ? 0 : 2;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

/// In a child: makes a pipe with `closed` of the standard descriptors closed, puts its write end in
/// place, and tells which of 0 to 2 and of the pipe's ends are open then; a byte written to
/// descriptor 1 must come out of the pipe.
int openAfterMakingStandardOutput(int closed) {
  const ChildResult child = runInChild([closed] {
    closeStandardDescriptors(closed);
    Pipe pipe;
    if (!closeOtherDescriptors() || !makePipe(pipe)) return 77;
    const int reader = ::fcntl(pipe.readEnd.get(), F_DUPFD_CLOEXEC, 20);
    makeStandardOutput(pipe);
    char byte = 0;
    if (::fcntl(STDOUT_FILENO, F_GETFD) != 0) return 78;  // inherited by the shell
    if (::write(STDOUT_FILENO, "x", 1) != 1 || ::read(reader, &byte, 1) != 1) return 79;
    int open = 0;
    for (int fd = 0; fd < 6; ++fd) open |= isOpen(fd) ? 1 << fd : 0;
    return open;
  });
  return child.exitCode();
}

TEST(MakeStandardOutput, WhateverIsClosed_OutputIsThePipeAndItsEndsAreClosed) {
  for (int closed = 0; closed < 8; ++closed) {
    EXPECT_EQ(openAfterMakingStandardOutput(closed), (7 & ~closed) | 2) << "closed: " << closed;
  }
}

TEST(MakeStandardOutput, PipeThatCannotBePutInPlace_LeavesNoOutputAtAll) {
  const ChildResult child = runInChild([] {
    Pipe pipe;
    if (!makePipe(pipe)) return 77;
    const int readEnd = pipe.readEnd.get();
    const int writeEnd = pipe.writeEnd.get();
    if (!limitDescriptors(STDOUT_FILENO)) return 77;
    makeStandardOutput(pipe);
    return isOpen(readEnd) || isOpen(writeEnd) || isOpen(STDOUT_FILENO) ? 1 : 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

/// In a child with `closed` of the standard descriptors closed: puts a file, or no file, in place
/// as standard error, and tells which of 0 to 2 a shell would then have.
int standardAfter(int closed, bool withFile) {
  const ChildResult child = runInChild([=] {
    closeStandardDescriptors(closed);
    if (!closeOtherDescriptors()) return 77;
    makeStandardError(withFile ? ::open("/", O_RDONLY | O_CLOEXEC) : -1);
    int inherited = 0;
    for (int fd = 0; fd < 3; ++fd) inherited |= ::fcntl(fd, F_GETFD) == 0 ? 1 << fd : 0;
    return inherited;
  });
  return child.exitCode();
}

TEST(MakeStandardError, WhateverIsClosed_FileBecomesDescriptor2OrThereIsNone) {
  for (int closed = 0; closed < 8; ++closed) {
    EXPECT_EQ(standardAfter(closed, true), (7 & ~closed) | 4) << "closed: " << closed;
    EXPECT_EQ(standardAfter(closed, false), 3 & ~closed) << "closed: " << closed;
  }
}

TEST(DiscardStandardError, WhatIsWrittenThere_IsLost) {
  const ChildResult child = runInChild([] {
    discardStandardError();
    return ::write(STDERR_FILENO, "x", 1) == 1 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "");
}

TEST(ExecShell, Command_IsOneArgumentAndHasTheSignalsAsTheCallerHandedThemDown) {
  const ChildResult child = runInChild([]() -> int {
    ::signal(SIGPIPE, SIG_DFL);
    settleSignals();
    execShell("echo \"$0\" 'a  b' $#; kill -PIPE $$", 1);
  });
  EXPECT_EQ(child.signal(), SIGPIPE);
  EXPECT_EQ(child.out, "/bin/sh a  b 0\n");
}

TEST(ExecShell, NoShell_EndsWithTheGivenStatus) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the shell";
  for (const int status : {0, 1}) {
    const ScratchDir empty;
    const ChildResult child = runInChild([&]() -> int {
      std::fputs("buffered by the parent", stdout);
      if (::chroot(empty.path().c_str()) != 0) return 77;
      execShell("echo a", status);
    });
    EXPECT_EQ(child.exitCode(), status);
    EXPECT_EQ(child.out + child.err, "");
  }
}

}  // namespace
