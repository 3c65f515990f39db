// The command's file: how it is hardened, and where it finds the closed library.

#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>

#include "e2e/support/cases.h"

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

/// The values in brackets of the dynamic section's entries of this tag.
std::vector<std::string> dynamicValues(const std::string& tag) {
  const std::regex entry("\\(" + tag + "\\)[^\\[\\n]*\\[([^\\]\\n]*)\\]");
  const std::string section = readelf("--dynamic");
  std::vector<std::string> values;
  for (std::sregex_iterator at(section.begin(), section.end(), entry), end; at != end; ++at) {
    values.push_back((*at)[1]);
  }
  return values;
}

/// The names of the functions and objects that the command takes from libraries.
std::set<std::string> importedNames() {
  const std::regex undefined(R"( UND ([^@\s]+))");
  const std::string table = readelf("--dyn-syms");
  std::set<std::string> names;
  for (std::sregex_iterator at(table.begin(), table.end(), undefined), end; at != end; ++at) {
    names.insert((*at)[1]);
  }
  return names;
}

TEST(Binary, RunPathIsThatOfTheMakerAndThereIsNoRpath) {
  EXPECT_EQ(dynamicValues("RUNPATH"), std::vector<std::string>{"/usr/local/lib:/opt/QZKBkel/lib"});
  EXPECT_EQ(readelf("--dynamic").find("(RPATH)"), std::string::npos);
}

TEST(Binary, NeedsTheClosedLibraryAndThoseOfTheSystemAlone) {
  const std::vector<std::string> needed = dynamicValues("NEEDED");
  EXPECT_EQ(std::count(needed.begin(), needed.end(), "libkelcom.so"), 1);
  const std::regex allowed(
#ifdef TANEXICS_INSTRUMENTED
      R"(libkelcom\.so|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux.*|libstdc\+\+\.so\.6)"
      R"(|lib[a-z]+san\.so\.\d+)");
#else
      R"(libkelcom\.so|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux.*)");
#endif
  for (const std::string& library : needed) {
    EXPECT_TRUE(std::regex_match(library, allowed)) << library;
  }
}

TEST(Binary, TakesFiveCallsFromTheClosedLibrary) {
  std::set<std::string> calls;
  for (const std::string& name : importedNames()) {
    if (name.rfind("KEL_", 0) == 0) calls.insert(name);
  }
  EXPECT_EQ(calls, (std::set<std::string>{"KEL_Communicate", "KEL_GetID", "KEL_GetStatus",
                                          "KEL_StartComm", "KEL_StopComm"}));
}

TEST(Binary, IsPositionIndependent) {
  EXPECT_TRUE(std::regex_search(readelf("--file-header"), std::regex(R"(Type:\s+DYN )")));
  EXPECT_TRUE(std::regex_search(readelf("--dynamic"), std::regex(R"(FLAGS_1\).*\bPIE\b)")));
  EXPECT_TRUE(std::regex_search(readelf("--program-headers"), std::regex(R"(\n\s+INTERP )")));
}

TEST(Binary, HasFullRelro) {
  EXPECT_TRUE(std::regex_search(readelf("--program-headers"), std::regex(R"(\n\s+GNU_RELRO )")));
  EXPECT_TRUE(std::regex_search(readelf("--dynamic"), std::regex(R"(FLAGS_1\).*\bNOW\b)")));
}

TEST(Binary, HasAStackThatIsNotExecutable) {
  std::smatch match;
  const std::string headers = readelf("--program-headers");
  ASSERT_TRUE(std::regex_search(headers, match, std::regex(R"(\n\s+GNU_STACK [^\n]*)")));
  EXPECT_TRUE(std::regex_search(match[0].first, match[0].second, std::regex(R"( RW +0x)")))
      << match[0];
}

TEST(Binary, HasNoSegmentThatIsWritableAndExecutable) {
  EXPECT_FALSE(
      std::regex_search(readelf("--program-headers"), std::regex(R"(\n\s+LOAD [^\n]* RWE )")));
}

TEST(Binary, HasStackProtectorAndFortifiedCalls) {
#ifdef TANEXICS_INSTRUMENTED
  GTEST_SKIP() << "the checks of the instrumentation take their place";
#endif
  const std::set<std::string> names = importedNames();
  EXPECT_EQ(names.count("__stack_chk_fail"), 1U);
  EXPECT_EQ(names.count("__vsnprintf_chk"), 1U);
  EXPECT_EQ(names.count("vsnprintf"), 0U);
}

// --- where the closed library is found -----------------------------------------------------------

class Loading : public CommandTest {
 protected:
  Machine machine;
  Call call = {
      {"/case/list", "-r", "/case/event.def"}, "", false, {{"LD_LIBRARY_PATH", std::nullopt}}};
};

TEST_F(Loading, PlainRunUsesTheLibraryWhereTheMakerInstallsIt) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  expectRun(machine.run(call), {framed(standardEvent(), 0), standardEventCalls()});
}

TEST_F(Loading, LibraryPathOfTheCallerIsPreferred) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", "no library at all");
  call.environment.erase("LD_LIBRARY_PATH");
  expectRun(machine.run(call), {framed(standardEvent(), 0), standardEventCalls()});
}

TEST_F(Loading, LibraryInUsrLocalIsPreferredToThatOfTheMaker) {
  machine.write("/opt/QZKBkel/lib/libkelcom.so", "no library at all");
  // The folder is empty and private here.
  call.prepare = [] {
    return ::symlink("/kelcom/libkelcom.so", "/usr/local/lib/libkelcom.so") == 0;
  };
  expectRun(machine.run(call), {framed(standardEvent(), 0), standardEventCalls()});
}

TEST_F(Loading, WithoutALibraryTheLoaderEndsTheRunWith127) {
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
