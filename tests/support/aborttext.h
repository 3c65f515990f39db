#ifndef TANEXICS_TESTS_SUPPORT_ABORTTEXT_H
#define TANEXICS_TESTS_SUPPORT_ABORTTEXT_H

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "support/childrun.h"

/// Runs `body` in a child, which must end by abort(3), and gives what it printed on standard error,
/// with the child's own process id as "<pid>".
inline std::string abortText(const std::function<void()>& body) {
  const ChildResult child = runInChild([&body] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::printf("P=%d", static_cast<int>(::getpid()));
    std::fflush(stdout);
    body();
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT);
  std::string text = child.err;
  const std::size_t at = text.find(child.out + "\n");
  if (at != std::string::npos) text.replace(at, child.out.size(), "P=<pid>");
  return text;
}

#endif
