#include "rmglib/kelcom.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

using Environment = std::map<std::string, std::string>;

/// The library, loaded in this process, and its five calls.
class Library {
  void* m_handle = ::dlopen(LOOPBACK_LIBRARY, RTLD_NOW);

  template <class Call>
  Call* find(const char* name) const {
    void* call = m_handle == nullptr ? nullptr : ::dlsym(m_handle, name);
    if (call == nullptr) ::_exit(97);
    return reinterpret_cast<Call*>(call);
  }

 public:
  decltype(KEL_StartComm)* const start = find<decltype(KEL_StartComm)>("KEL_StartComm");
  decltype(KEL_StopComm)* const stop = find<decltype(KEL_StopComm)>("KEL_StopComm");
  decltype(KEL_Communicate)* const communicate = find<decltype(KEL_Communicate)>("KEL_Communicate");
  decltype(KEL_GetID)* const id = find<decltype(KEL_GetID)>("KEL_GetID");
  decltype(KEL_GetStatus)* const status = find<decltype(KEL_GetStatus)>("KEL_GetStatus");
};

/// Makes an exchange, and prints result and error block under `name`.
void exchange(const Library& library, const char* name, unsigned code, int count, void* data) {
  int error[3] = {9, 9, 9};
  const int result = library.communicate(code, 0, count, data, error);
  std::printf("%s %d %d %d %d\n", name, result, error[0], error[1], error[2]);
}

void sendFiles(const Library& library, unsigned code, std::vector<std::string> paths) {
  std::vector<char*> pointers;
  for (std::string& path : paths) pointers.push_back(path.data());
  exchange(library, "data", code, static_cast<int>(pointers.size()), pointers.data());
}

void sendText(const Library& library, unsigned code, std::string text) {
  exchange(library, "text", code, 0, text.data());
}

/// One of every call, with what the caller sees of it.
void makeEveryCall(const Library& library) {
  int id = -7;
  int status = -7;
  int value = 3;
  const int idResult = library.id(&id);
  const int statusResult = library.status(1, &status);
  std::printf("id %d %d\nstatus %d %d\n", idResult, id, statusResult, status);
  std::printf("start %d\n", library.start(2, &value));
  sendText(library, 0x40017, "text");
  std::printf("stop %d\n", library.stop());
}

class Kelcom : public ::testing::Test {
 protected:
  ChildResult play(const Environment& environment,
                   const std::function<void(const Library&)>& calls) {
    return runInChild(environment, [&] {
      calls(Library());
      return 0;
    });
  }

  /// Plays with an outbox and expects nothing on standard error.
  ChildResult playRecorded(const std::function<void(const Library&)>& calls) {
    ChildResult child = play({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, calls);
    EXPECT_EQ(child.err, "");
    EXPECT_EQ(child.status, 0);
    return child;
  }

  std::string record() const { return readFile(outbox + "/exchanges.jsonl"); }

  ScratchDir scratch;
  const std::string outbox = scratch / "new/outbox";
};

/// The record of an exchange, of which `rest` is what follows its code.
std::string recorded(const std::string& code, const std::string& rest) {
  return R"({"call":"KEL_Communicate","code":")" + code + R"(","reserved":)" + rest + "}";
}

const char kFailedCalls[] = "id -1 -7\nstatus -1 -7\nstart -1\ntext -1 9 9 9\nstop -1\n";

TEST_F(Kelcom, EveryCall_IsAnsweredAndRecordedInOrder) {
  const std::string answers = "id 0 4711\nstatus 0 32\nstart 0\ntext 0 0 0 0\nstop 0\n";
  EXPECT_EQ(playRecorded(makeEveryCall).out, answers);
  EXPECT_EQ(record(),
            lines({R"({"call":"KEL_GetID","id":4711,"result":0})",
                   R"({"call":"KEL_GetStatus","reserved":1,"status":32,"result":0})",
                   R"({"call":"KEL_StartComm","mode":2,"value":3,"result":0})",
                   recorded("0x40017", R"(0,"count":0,"text":"text","error":[0,0,0],"result":0)"),
                   R"({"call":"KEL_StopComm","result":0})"}));
  const ChildResult child = play({}, makeEveryCall);
  EXPECT_EQ(child.out, answers) << "also without a record";
  EXPECT_EQ(child.err, "");
}

TEST_F(Kelcom, BadScript_FailsEveryCallWhichIsRecordedAllTheSame) {
  const std::string script = scratch.write("script", "id 5\nstaus 1\nalso bad\n");
  const ChildResult child =
      play({{"KELCOM_LOOPBACK_OUTBOX", outbox}, {"KELCOM_LOOPBACK_SCRIPT", script}}, makeEveryCall);
  EXPECT_EQ(child.out, kFailedCalls);
  EXPECT_EQ(child.err, "libkelcom loopback: " + script + ":2: 'staus' is no kind of line\n");
  EXPECT_EQ(record(),
            lines({R"({"call":"KEL_GetID","id":null,"result":-1})",
                   R"({"call":"KEL_GetStatus","reserved":1,"status":null,"result":-1})",
                   R"({"call":"KEL_StartComm","mode":2,"value":3,"result":-1})",
                   recorded("0x40017", R"(0,"count":0,"text":"text","error":null,"result":-1)"),
                   R"({"call":"KEL_StopComm","result":-1})"}));
}

TEST_F(Kelcom, ScriptOrOutboxThatCannotBeUsed_FailsEveryCall) {
  const std::string file = scratch.write("file", "");
  std::filesystem::create_directories(scratch / "box/exchanges.jsonl");
  const struct {
    const char* variable;
    std::string value;
    std::string complaint;
  } rows[] = {
      {"KELCOM_LOOPBACK_SCRIPT", scratch / "missing",
       (scratch / "missing") + ": cannot be read: No such file or directory"},
      {"KELCOM_LOOPBACK_SCRIPT", "", ": cannot be read: No such file or directory"},
      {"KELCOM_LOOPBACK_SCRIPT", scratch.path(),
       scratch.path() + ": cannot be read: Is a directory"},
      {"KELCOM_LOOPBACK_SCRIPT", "/dev/zero", "/dev/zero: cannot be read: longer than 1 MiB"},
      {"KELCOM_LOOPBACK_OUTBOX", "", "the name of the outbox is empty"},
      {"KELCOM_LOOPBACK_OUTBOX", file, "mkdir(" + file + "/items): Not a directory"},
      {"KELCOM_LOOPBACK_OUTBOX", scratch / "box",
       "open(" + (scratch / "box/exchanges.jsonl") + "): Is a directory"},
  };
  for (const auto& [variable, value, complaint] : rows) {
    const ChildResult child = play({{variable, value}}, makeEveryCall);
    EXPECT_EQ(child.out, kFailedCalls) << variable << "=" << value;
    EXPECT_EQ(child.err, "libkelcom loopback: " + complaint + "\n");
  }
}

TEST_F(Kelcom, RecordThatCannotBeWritten_IsReported) {
  std::filesystem::create_directories(outbox);
  std::filesystem::create_symlink("/dev/full", outbox + "/exchanges.jsonl");
  const ChildResult child = play({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, [](const Library& library) {
    std::printf("%d\n", library.stop());
  });
  EXPECT_EQ(child.out, "0\n");
  EXPECT_EQ(child.err,
            "libkelcom loopback: the record is incomplete: write: No space left on device\n");
}

TEST_F(Kelcom, TextsAndFiles_AreRecordedWithoutLossAndCopied) {
  const std::string one = scratch.write("one", "first");
  const std::string odd = scratch.write("\xc6\xfc\\", "second");
  const ChildResult child = playRecorded([&](const Library& library) {
    sendText(library, 1, "\xc6\xfc \xe6\x97\xa5 \\ \" \n\x1b");
    sendFiles(library, 0x4010d, {one, "/nonexistent", odd});
    sendFiles(library, 0xffffffff, {one});
  });
  EXPECT_EQ(child.out, "text 0 0 0 0\ndata 0 0 0 0\ndata 0 0 0 0\n");
  const std::string text = R"("\\xc6\\xfc )"
                           "\xe6\x97\xa5"
                           R"( \\\\ \" \n\u001b")";
  const std::string head = R"({"path":")" + scratch.path();
  const std::string itemOne = head + R"(/one","copy":"items/0001-one"})";
  const std::string itemOdd = head + R"(/\\xc6\\xfc\\\\","copy":"items/0002-\\xc6\\xfc\\\\"})";
  const std::string itemThree = head + R"(/one","copy":"items/0003-one"})";
  const std::string missing = R"({"path":"/nonexistent","error":"No such file or directory"})";
  const std::string sent = R"(,"error":[0,0,0],"result":0)";
  EXPECT_EQ(record(),
            lines({recorded("0x1", R"(0,"count":0,"text":)" + text + sent),
                   recorded("0x4010d", R"(0,"count":3,"items":[)" + itemOne + "," + missing + "," +
                                           itemOdd + "]" + sent),
                   recorded("0xffffffff", R"(0,"count":1,"items":[)" + itemThree + "]" + sent)}));
  EXPECT_EQ(readFile(outbox + "/items/0001-one"), "first");
  EXPECT_EQ(readFile(outbox + "/items/0002-\xc6\xfc\\"), "second");
}

TEST_F(Kelcom, NullPointers_AreRecordedAsNull) {
  const std::string file = scratch.write("f", "");
  playRecorded([&](const Library& library) {
    char* paths[] = {nullptr, const_cast<char*>(file.c_str())};
    library.id(nullptr);
    library.status(0, nullptr);
    library.start(0, nullptr);
    library.communicate(1, 2, 0, nullptr, nullptr);
    library.communicate(1, 2, 5, nullptr, nullptr);
    library.communicate(1, 2, -5, paths, nullptr);
    library.communicate(1, 2, 2, paths, nullptr);
  });
  EXPECT_EQ(
      record(),
      lines({R"({"call":"KEL_GetID","id":null,"result":0})",
             R"({"call":"KEL_GetStatus","reserved":0,"status":null,"result":0})",
             R"({"call":"KEL_StartComm","mode":0,"value":null,"result":0})",
             recorded("0x1", R"(2,"count":0,"text":null,"error":null,"result":0)"),
             recorded("0x1", R"(2,"count":5,"items":null,"error":null,"result":0)"),
             recorded("0x1", R"(2,"count":-5,"items":null,"error":null,"result":0)"),
             recorded("0x1", R"(2,"count":2,"items":[{"path":null,"error":"null path name"},)"
                             R"({"path":")" +
                                 file + R"(","copy":"items/0001-f"}],"error":null,"result":0)")}));
}

TEST_F(Kelcom, ErrorBlock_NeedsNoAlignment) {
  const ChildResult child =
      play({{"KELCOM_LOOPBACK_SCRIPT", scratch.write("s", "communicate * 1 2 3")}},
           [](const Library& library) {
             alignas(int) char block[13] = {};
             library.communicate(1, 0, 0, nullptr, block + 1);
             int words[3];
             std::memcpy(words, block + 1, sizeof words);
             std::printf("%d %d %d\n", words[0], words[1], words[2]);
           });
  EXPECT_EQ(child.out, "2 3 0\n");
  EXPECT_EQ(child.status, 0);
}

TEST_F(Kelcom, Integer_IsThrownAsTheScriptSaysAndRecorded) {
  const std::string script = scratch.write(
      "s", "id throw 1\nstatus throw -2\nstart throw 0\nstop throw 3\ncommunicate * throw 4");
  const Environment environment = {{"KELCOM_LOOPBACK_OUTBOX", outbox},
                                   {"KELCOM_LOOPBACK_SCRIPT", script}};
  const ChildResult child = play(environment, [](const Library& library) {
    int stored = -7;
    int error[3] = {9, 9, 9};
    const auto print = [](const auto& call) {
      try {
        std::printf("returned %d\n", call());
      } catch (int thrown) {
        std::printf("thrown %d\n", thrown);
      }
    };
    print([&] { return library.id(&stored); });
    print([&] { return library.status(0, &stored); });
    print([&] { return library.start(0, &stored); });
    print([&] { return library.communicate(7, 0, 0, nullptr, error); });
    print([&] { return library.stop(); });
    std::printf("stored %d %d\n", stored, error[0]);
  });
  EXPECT_EQ(child.out, "thrown 1\nthrown -2\nthrown 0\nthrown 4\nthrown 3\nstored -7 9\n");
  EXPECT_EQ(record(), lines({R"({"call":"KEL_GetID","id":null,"thrown":1})",
                             R"({"call":"KEL_GetStatus","reserved":0,"status":null,"thrown":-2})",
                             R"({"call":"KEL_StartComm","mode":0,"value":-7,"thrown":0})",
                             recorded("0x7", R"(0,"count":0,"text":null,"error":null,"thrown":4)"),
                             R"({"call":"KEL_StopComm","thrown":3})"}));
}

TEST_F(Kelcom, Exchange_WritesOverItsArgumentsWhereTheScriptSaysSo) {
  for (const std::string script : {"", "overwrite\n"}) {
    const Environment environment = {{"KELCOM_LOOPBACK_OUTBOX", outbox},
                                     {"KELCOM_LOOPBACK_SCRIPT", scratch.write("s", script)}};
    const ChildResult child = play(environment, [](const Library& library) {
      char text[] = "text";
      char one[] = "/one";
      char two[] = "/second";
      char* paths[] = {one, two, nullptr};
      library.communicate(1, 0, 0, text, nullptr);
      library.communicate(1, 0, 0, nullptr, nullptr);
      library.communicate(1, 0, 3, paths, nullptr);
      library.communicate(1, 0, 1, nullptr, nullptr);
      std::printf("%s %s %s %d\n", text, one, two, paths[0] == nullptr && paths[1] == nullptr);
    });
    EXPECT_EQ(child.out, script.empty() ? "text /one /second 0\n" : "#### #### ####### 1\n");
    EXPECT_EQ(child.status, 0);
  }
  EXPECT_NE(record().find("\"/second\""), std::string::npos);
  EXPECT_EQ(record().find('#'), std::string::npos) << "written over before it was recorded";
}

TEST_F(Kelcom, Delay_IsTakenBeforeTheAnswer) {
  const std::string script = scratch.write("s", "delay stop 1\ndelay stop 0\nstop 5\n");
  const ChildResult child = play({{"KELCOM_LOOPBACK_SCRIPT", script}}, [](const Library& library) {
    const auto secondsOfStop = [&library] {
      const auto begin = std::chrono::steady_clock::now();
      const int result = library.stop();
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
      return result == 5 ? taken.count() : -1;
    };
    const double first = secondsOfStop();
    std::printf("%d %d\n", first > 0.9, secondsOfStop() > 0.9);
  });
  EXPECT_EQ(child.out, "1 0\n");
}

TEST_F(Kelcom, ScriptAndOutbox_AreThoseOfTheTimeOfLoading) {
  const std::string file = scratch.write("f", "content");
  const std::string script = scratch.write("s", "id 8");
  const Environment environment = {{"KELCOM_LOOPBACK_OUTBOX", "relative"},
                                   {"KELCOM_LOOPBACK_SCRIPT", script}};
  const ChildResult child = runInChild(environment, [&] {
    if (::chdir(scratch.path().c_str()) != 0) return 1;
    const Library library;
    ::setenv("KELCOM_LOOPBACK_OUTBOX", "/nonexistent/other", 1);
    ::unlink(script.c_str());
    if (::chdir("/") != 0) return 1;
    int id = 0;
    library.id(&id);
    sendFiles(library, 1, {file});
    return id == 8 ? 0 : 2;
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(readFile(scratch / "relative/items/0001-f"), "content");
}

TEST_F(Kelcom, Descriptors_AreTwoHighOnesClosedOnExecWhateverIsFree) {
  const std::string file = scratch.write("f", "content");
  const std::string script = scratch.write("script", "bad\n");
  const Environment environment = {{"KELCOM_LOOPBACK_OUTBOX", outbox},
                                   {"KELCOM_LOOPBACK_SCRIPT", script}};
  const ChildResult child = runInChild(environment, [&] {
    closeStandardDescriptors(7);
    if (!closeOtherDescriptors()) return 1;
    const Library library;
    sendFiles(library, 1, {file, "/nonexistent", "/etc"});
    // The record and the folder of the copies, nothing of the call, and the reading of this list.
    const std::vector<std::string> expected = {"0", "100", "101"};
    if (namesIn("/proc/self/fd") != expected) return 2;
    return ::fcntl(100, F_GETFD) == FD_CLOEXEC && ::fcntl(101, F_GETFD) == FD_CLOEXEC ? 0 : 3;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(readFile(outbox + "/items/0001-f"), "content");
  // The complaint about the script went into none of the files.
  EXPECT_EQ(linesOf(record()).size(), 1U) << record();
  EXPECT_EQ(readFile(script), "bad\n");
}

TEST_F(Kelcom, HundredThousandFiles_TakeNoLongerThanTheyMust) {
  const std::vector<std::string> paths(100000, scratch.write("f", ""));
  playRecorded([&](const Library& library) {
    // Of the processor, so that a slow disk does not count. A second loop over all of them would
    // take many times as long.
    const rlimit limit = {60, 60};
    ::setrlimit(RLIMIT_CPU, &limit);
    sendFiles(library, 0x4010d, paths);
  });
  EXPECT_EQ(namesIn(outbox + "/items").size(), paths.size());
}

TEST(KelcomFile, Names_AreThoseOfTheRealLibrary) {
  const std::string exported = "nm -D --defined-only " LOOPBACK_LIBRARY " | sed 's/.* //'";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", exported}).out,
            "KEL_Communicate\nKEL_GetID\nKEL_GetStatus\nKEL_StartComm\nKEL_StopComm\n");
  const std::string soname = "readelf -d " LOOPBACK_LIBRARY " | sed -n 's/.*soname: //p'";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", soname}).out, "[libkelcom.so]\n");
}

}  // namespace
