#ifndef TANEXICS_TESTS_SUPPORT_PRIVATEROOT_H
#define TANEXICS_TESTS_SUPPORT_PRIVATEROOT_H

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "log/CLog.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

/// For a child that runs as root: makes `dir` its root directory, with this machine's programs,
/// libraries and devices in it, an empty /tmp, and nothing else. For what is tied to the root or to
/// fixed paths; all of it vanishes with the child. Returns false where the kernel refuses.
inline bool enterPrivateRoot(const std::string& dir) {
  if (!enterPrivateMounts() || !mountTmpfs(dir, "16m")) return false;
  for (const char* name : {"/bin", "/sbin", "/lib", "/lib32", "/lib64", "/usr", "/dev"}) {
    if (!bindFolder(name, dir + name)) return false;
  }
  if (::chroot(dir.c_str()) != 0 || ::chdir("/") != 0) return false;
  return ::mkdir("/tmp", 0777) == 0 && ::chmod("/tmp", 01777) == 0;
}

/// Runs `body` in a child with a private root directory and a trace-level action log in it, and
/// gives the lines that it prints on standard output, then the texts of the log.
inline std::vector<std::string> linesFromPrivateRoot(const std::function<void()>& body) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateRoot(dir.path())) return 77;
    ::setenv("TANEX_LOG", "/action.log", 1);
    ::setenv("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE", 1);
    ::unsetenv("TMPDIR");
    gLog.init("unit-test", nullptr);
    body();
    std::fflush(stdout);
    if (::access("/action.log", F_OK) != 0) return 0;
    for (const std::string& text : logTexts(readFile("/action.log"))) std::puts(text.c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.err, "");
  return linesOf(child.out);
}

#endif
