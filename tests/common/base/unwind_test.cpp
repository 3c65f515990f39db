#include "common/base/unwind.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <thread>

#include "support/childrun.h"

namespace {

constexpr int kTerminated = 42;

struct Owner {
  ~Owner() { std::puts("released"); }
};

[[noreturn]] void sayTerminate() {
  std::puts("terminate");
  std::fflush(stdout);
  ::_exit(kTerminated);
}

TEST(ReleasingOwners, Result_IsPassedOn) {
  EXPECT_EQ(*releasingOwners([] { return std::make_unique<std::string>("text"); }), "text");
  bool ran = false;
  releasingOwners([&] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST(ReleasingOwners, CaughtException_PassesUnchanged) {
  try {
    releasingOwners([]() -> int { throw 68; });
    ADD_FAILURE() << "nothing was thrown";
  } catch (int status) {
    EXPECT_EQ(status, 68);
  }
  EXPECT_THROW(releasingOwners([]() -> int { throw std::string("text"); }), std::string);
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
  EXPECT_EQ(child.exitCode(), kTerminated);
  EXPECT_EQ(child.out, "throwing\nreleased\nreleased\nterminate\n");
}

}  // namespace
