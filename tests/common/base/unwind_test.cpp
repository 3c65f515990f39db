#include "common/base/unwind.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <thread>

#include "support/childrun.h"

namespace {

struct Owner {
  ~Owner() { std::puts("released"); }
};

[[noreturn]] void sayTerminate() {
  std::puts("terminate");
  std::fflush(stdout);
  ::_exit(42);
}

TEST(ReleasingOwners, UncaughtException_EveryOwnerIsReleasedBeforeTheProcessEnds) {
  const auto throwing = [] {
    releasingOwners([] {
      const Owner outer;
      releasingOwners([] {
        const Owner inner;
        std::puts("throwing");
        throw std::string("no integer");
      });
    });
  };
  const ChildResult child = runInChild([&] {
    std::set_terminate(sayTerminate);
    std::thread(throwing).join();  // nothing at all catches at the bottom of a thread
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 42);
  EXPECT_EQ(child.out, "throwing\nreleased\nreleased\nterminate\n");
}

}  // namespace
