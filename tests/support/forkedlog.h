#ifndef TANEXICS_TESTS_SUPPORT_FORKEDLOG_H
#define TANEXICS_TESTS_SUPPORT_FORKEDLOG_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "log/CLog.h"
#include "support/actionlog.h"

/// Logs in a process, in its child, and in the process again: each line must have the writer's id.
inline void expectForkedChildWritesItsOwnId() {
  const CapturedLog log;
  gLog.ilog("parent");
  const pid_t pid = ::fork();
  if (pid == 0) {
    gLog.ilog("child");
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
  gLog.ilog("parent again");
  const std::vector<LogLine> lines = parseLog(log.bytes());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].pid, ::getpid());
  EXPECT_EQ(lines[1].pid, pid);
  EXPECT_EQ(lines[2].pid, ::getpid());
}

#endif
