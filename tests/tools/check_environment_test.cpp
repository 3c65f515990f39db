// What tanexics-check --environment says of the machine.

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>

#include "support/childrun.h"
#include "support/environmentguard.h"
#include "tools/check/environment.h"
#include "tools/checked.h"

namespace {

/// A machine on which everything is as it should be, in a child with mounts of its own.
class CheckEnvironment : public Checked {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs mounts of its own";
  }

  /// What is said there after `change`; an incident's run or an event's.
  static Texts warningsAfter(bool isIncident, const std::function<void()>& change) {
    const ChildResult child = runInChild([&] {
      if (!enterPrivateMounts() || !mountTmpfs("/opt", "4m") || !mountTmpfs("/var/opt", "4m")) {
        return 1;
      }
      std::filesystem::create_directories("/opt/QZKBkel/lib");
      std::filesystem::create_directories("/opt/dovra/tanex/bin");
      std::filesystem::create_directories("/var/opt/QZKBsoftmsg/log");
      for (const std::string file :
           {"/opt/QZKBkel/lib/libkelcom.so", "/opt/dovra/tanex/bin/tanexcc",
            "/opt/dovra/tanex/bin/tanexcs"}) {
        std::ofstream(file) << "x";
        ::chmod(file.c_str(), 0755);
      }
      for (const char* name : {"LD_LIBRARY_PATH", "TANEX_LOG", "TMPDIR"}) ::unsetenv(name);
      change();
      check::Faults faults;
      check::checkEnvironment(isIncident, faults);
      for (const check::Fault& fault : faults.kept()) {
        std::printf("%s: %s\n", fault.file->c_str(), fault.text.c_str());
        if (fault.isError || fault.line != 0) return 2;
      }
      return std::fflush(stdout) == 0 ? 0 : 1;
    });
    EXPECT_EQ(child.exitCode(), 0) << child.err;
    return linesOf(child.out);
  }
};

constexpr char kNoLibrary[] =
    "is not in /usr/local/lib or /opt/QZKBkel/lib: the loader would refuse the command, with the "
    "status 127";

TEST_F(CheckEnvironment, AsItShouldBe_IsNotTold) {
  EXPECT_EQ(warningsAfter(true, [] {}), Texts());
  EXPECT_EQ(warningsAfter(false, [] {}), Texts());
}

TEST_F(CheckEnvironment, NothingThere_IsAllTold) {
  const auto removeAll = [] {
    std::filesystem::remove_all("/opt/QZKBkel");
    std::filesystem::remove_all("/opt/dovra");
    std::filesystem::remove_all("/var/opt/QZKBsoftmsg");
  };
  Texts expected = {std::string("libkelcom.so: ") + kNoLibrary,
                    "/var/opt/QZKBsoftmsg/log/msg_action.log: cannot be written: No such file or "
                    "directory: a run keeps no record"};
  EXPECT_EQ(warningsAfter(false, removeAll), expected);
  expected.push_back("/opt/dovra/tanex/bin/tanexcc: does not exist: it would collect nothing");
  expected.push_back("/opt/dovra/tanex/bin/tanexcs: does not exist: it would collect nothing");
  EXPECT_EQ(warningsAfter(true, removeAll), expected);
}

TEST_F(CheckEnvironment, Library_IsLookedForWhereTheLoaderDoes) {
  const auto move = [this] {
    std::filesystem::copy("/opt/QZKBkel/lib/libkelcom.so", dir / "libkelcom.so");
    std::filesystem::remove("/opt/QZKBkel/lib/libkelcom.so");
    ::setenv("LD_LIBRARY_PATH", (":/none;" + dir.path() + "::").c_str(), 1);
  };
  EXPECT_EQ(warningsAfter(false, move), Texts());
  EXPECT_EQ(
      warningsAfter(false,
                    [] {
                      std::filesystem::remove("/opt/QZKBkel/lib/libkelcom.so");
                      ::setenv("LD_LIBRARY_PATH", "/none", 1);
                    }),
      Texts{"libkelcom.so: is not in /none, /usr/local/lib or /opt/QZKBkel/lib: the loader would "
            "refuse the command, with the status 127"});
  for (const char* here : {":/none", "/none:", "/none;;/none"}) {
    const auto isHere = [&, this] {
      std::filesystem::remove("/opt/QZKBkel/lib/libkelcom.so");
      std::filesystem::current_path(dir.path());
      ::setenv("LD_LIBRARY_PATH", here, 1);
    };
    EXPECT_EQ(warningsAfter(false, isHere), Texts()) << here;
  }
}

TEST_F(CheckEnvironment, Log_IsToldOfWhereItCannotBeKept) {
  const std::string log = "/var/opt/QZKBsoftmsg/log/msg_action.log";
  const auto choose = [](const std::string& path) {
    return [path] { ::setenv("TANEX_LOG", path.c_str(), 1); };
  };
  const std::string shell =
      ": is used in a shell command when the log is rotated: it must be an absolute path of letters, "
      "digits and the characters /._-";
  EXPECT_EQ(warningsAfter(false, choose("")), Texts{"TANEX_LOG: is empty: a run keeps no record"});
  EXPECT_EQ(warningsAfter(false, choose("/var/opt/my log")), Texts{"/var/opt/my log" + shell});
  EXPECT_EQ(warningsAfter(false, choose("my.log")), Texts{"my.log" + shell});
  EXPECT_EQ(warningsAfter(false, [&] { std::filesystem::create_directory(log); }),
            Texts{log + ": cannot be written: is a directory: a run keeps no record"});
  EXPECT_EQ(
      warningsAfter(false, choose("/proc/self/x.log")),
      Texts{"/proc/self/x.log: cannot be written: Operation not permitted: a run keeps no record"});
  const Texts full = warningsAfter(false, [] {
    std::ofstream file("/var/opt/full");
    for (int i = 0; i < 4000; ++i) file << std::string(1024, 'x');
  });
  ASSERT_EQ(full.size(), 1u);
  EXPECT_EQ(full[0].substr(0, log.size() + 6), log + ": has ");
  const std::string takes =
      " bytes left on its file system, and takes 1024000 with its older generation";
  EXPECT_EQ(full[0].substr(full[0].size() - takes.size()), takes);
}

TEST_F(CheckEnvironment, CollectionCommands_MustBeProgramsForAnIncident) {
  const auto change = [] {
    std::filesystem::remove("/opt/dovra/tanex/bin/tanexcc");
    std::filesystem::create_directory("/opt/dovra/tanex/bin/tanexcc");
    ::chmod("/opt/dovra/tanex/bin/tanexcs", 0644);
  };
  EXPECT_EQ(warningsAfter(true, change),
            (Texts{"/opt/dovra/tanex/bin/tanexcc: does not exist: it would collect nothing",
                   "/opt/dovra/tanex/bin/tanexcs: cannot be executed: it would collect nothing"}));
  EXPECT_EQ(warningsAfter(false, change), Texts());
}

TEST_F(CheckEnvironment, TemporaryFolder_IsThatOfTheEnvironmentWhereItIsThere) {
  const auto choose = [](const std::string& path) {
    return [path] {
      std::filesystem::create_directories("/var/opt/a b");
      ::setenv("TMPDIR", path.c_str(), 1);
    };
  };
  EXPECT_EQ(warningsAfter(true, choose("/none")), Texts());
  EXPECT_EQ(warningsAfter(true, choose("/var/opt")), Texts());
  EXPECT_EQ(warningsAfter(true, choose("/var/opt/a b")),
            Texts{"/var/opt/a b: is put into shell commands as it is: it must have letters, digits "
                  "and the characters /._- alone"});
  EXPECT_EQ(warningsAfter(true, choose("/opt")),
            Texts{"/opt: is too near to the root: its temporary directory would not be removed"});
  EXPECT_EQ(
      warningsAfter(true, choose("/proc/self")),
      Texts{
          "/proc/self: can hold no temporary directory: Operation not permitted; an incident ends "
          "with 78"});
  EXPECT_EQ(warningsAfter(false, choose("/opt")), Texts());
}

}  // namespace
