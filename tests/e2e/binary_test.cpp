// The command's file: how it is hardened, and where it finds the closed library.

#include <unistd.h>

#include <algorithm>
#include <set>

#include "e2e/support/cases.h"
#include "support/pattern.h"

namespace {

/// What readelf(1) tells of the command.
std::string readelf(const std::string& option) {
  const ChildResult result = runInChild([&] {
    ::execlp("readelf", "readelf", "--wide", option.c_str(), TANEXICS_COMMAND, nullptr);
    return 127;
  });
  EXPECT_EQ(result.exitCode(), 0) << "readelf(1), of the package binutils, is needed";
  return result.out;
}

/// What the group of the pattern matches in one of these tables, wherever it does.
std::vector<std::string> found(const std::string& option, const std::string& pattern) {
  std::vector<std::string> texts;
  for (const auto& match : findPattern(readelf(option), pattern)) texts.push_back(match[1]);
  return texts;
}

/// The names of the functions and objects that the command takes from libraries.
std::set<std::string> importedNames() {
  const std::vector<std::string> names = found("--dyn-syms", R"( UND ([^@\s]+))");
  return {names.begin(), names.end()};
}

TEST(Binary, RunPath_IsThatOfTheMaker) {
  EXPECT_EQ(found("--dynamic", R"(\(RUNPATH\).*\[(.*)\])"),
            std::vector<std::string>{"/usr/local/lib:/opt/QZKBkel/lib"});
}

TEST(Binary, NeededLibraries_AreTheClosedOneAndThoseOfTheSystem) {
  const std::vector<std::string> needed = found("--dynamic", R"(\(NEEDED\).*\[(.*)\])");
  EXPECT_EQ(std::count(needed.begin(), needed.end(), "libkelcom.so"), 1);
  std::string allowed = R"(lib(kelcom\.so|gcc_s\.so\.1|c\.so\.6|m\.so\.6)|ld(-linux.*|64\.so\.1))";
#if defined(TANEXICS_SHARED_RUNTIME) && defined(_LIBCPP_VERSION)
  allowed += R"(|lib(c\+\+|c\+\+abi|unwind)\.so\.1)";
#elif defined(TANEXICS_SHARED_RUNTIME)
  allowed += R"(|libstdc\+\+\.so\.6)";
#endif
#ifdef TANEXICS_INSTRUMENTED
  allowed += R"(|lib[a-z]+san\.so\.\d+)";
#endif
  for (const std::string& library : needed) {
    EXPECT_TRUE(matchesPattern(library, allowed)) << library;
  }
}

TEST(Binary, ImportedNames_HaveFiveCallsOfTheClosedLibrary) {
  std::set<std::string> calls;
  for (const std::string& name : importedNames()) {
    if (name.rfind("KEL_", 0) == 0) calls.insert(name);
  }
  EXPECT_EQ(calls, (std::set<std::string>{"KEL_Communicate", "KEL_GetID", "KEL_GetStatus",
                                          "KEL_StartComm", "KEL_StopComm"}));
}

TEST(Binary, Hardening_ShowsInTheTables) {
  const struct {
    const char* property;
    std::string option;
    const char* pattern;
    bool isThere = true;
  } rows[] = {
      {"position-independent file", "--file-header", R"(Type:\s+DYN )"},
      {"position-independent executable", "--dynamic", R"(FLAGS_1\).*\bPIE\b)"},
      {"interpreter", "--program-headers", R"(\n\s+INTERP )"},
      {"read-only relocations", "--program-headers", R"(\n\s+GNU_RELRO )"},
      {"immediate binding", "--dynamic", R"(FLAGS_1\).*\bNOW\b)"},
      {"stack not executable", "--program-headers", R"(\n\s+GNU_STACK [^\n]* RW +0x)"},
      {"writable and executable", "--program-headers", R"(\n\s+LOAD [^\n]* RWE )", false},
      {"old run path", "--dynamic", R"(\(RPATH\))", false},
  };
  for (const auto& row : rows) {
    const std::string table = readelf(row.option);
    const bool isThere = !findPattern(table, row.pattern).empty();
    EXPECT_EQ(isThere, row.isThere) << row.property << "\n" << table;
  }
}

TEST(Binary, ImportedNames_HaveStackProtectorAndFortifiedCalls) {
#ifdef TANEXICS_INSTRUMENTED
  GTEST_SKIP() << "the checks of the instrumentation take their place";
#endif
#ifdef TANEXICS_NOT_OPTIMISED
  GTEST_SKIP() << "there are fortified calls in optimised code alone";
#endif
  const std::set<std::string> names = importedNames();
  EXPECT_EQ(names.count("__stack_chk_fail"), 1U);
  EXPECT_EQ(names.count("__vsnprintf_chk"), 1U);
#ifndef __clang__  // which takes the plain one where it does not know the size
  EXPECT_EQ(names.count("vsnprintf"), 0U);
#endif
}

// --- where the closed library is found -----------------------------------------------------------

class Loading : public MachineTest {
 protected:
  Call call = eventCall().with({{"LD_LIBRARY_PATH", std::nullopt}});
};

TEST_F(Loading, PlainRun_UsesTheLibraryWhereTheMakerInstallsIt) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  expectRun(machine.run(call), Sending().event());
}

TEST_F(Loading, LibraryPathOfTheCaller_IsPreferred) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", "no library at all");
  call.environment.erase("LD_LIBRARY_PATH");
  expectRun(machine.run(call), Sending().event());
}

TEST_F(Loading, LibraryInUsrLocal_IsPreferredToThatOfTheMaker) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", "no library at all");
  // The folder is empty and private here.
  call.prepare = [] {
    return ::symlink("/kelcom/libkelcom.so", "/usr/local/lib/libkelcom.so") == 0;
  };
  expectRun(machine.run(call), Sending().event());
}

TEST_F(Loading, WithoutALibrary_TheLoaderEndsTheRunWith127) {
  const RunResult result = machine.run(call);
  EXPECT_EQ(result.child.exitCode(), 127);
  EXPECT_EQ(result.child.out, "");
  EXPECT_EQ(result.child.err,
            "tanexics: error while loading shared libraries: libkelcom.so: cannot open shared "
            "object file: No such file or directory\n");
  EXPECT_EQ(result.log, "");
  EXPECT_FALSE(machine.exists("/case/action.log"));
}

}  // namespace
