#include "rmglib/kelcom.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "loopback/bytes.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Environment = std::map<std::string, std::string>;

/// The five calls of a library that was loaded in this process.
struct Library {
  decltype(&KEL_StartComm) start;
  decltype(&KEL_StopComm) stop;
  decltype(&KEL_Communicate) communicate;
  decltype(&KEL_GetID) id;
  decltype(&KEL_GetStatus) status;
};

template <class Call>
void find(void* handle, const char* name, Call& call) {
  call = reinterpret_cast<Call>(::dlsym(handle, name));
  if (call == nullptr) ::_exit(97);
}

Library loadLibrary() {
  void* handle = ::dlopen(LOOPBACK_LIBRARY, RTLD_NOW);
  if (handle == nullptr) {
    std::fprintf(stderr, "%s\n", ::dlerror());
    ::_exit(97);
  }
  Library library = {};
  find(handle, "KEL_StartComm", library.start);
  find(handle, "KEL_StopComm", library.stop);
  find(handle, "KEL_Communicate", library.communicate);
  find(handle, "KEL_GetID", library.id);
  find(handle, "KEL_GetStatus", library.status);
  return library;
}

/// Sends files, given as texts, and prints result and error block.
void sendFiles(const Library& library, unsigned code, std::vector<std::string> paths) {
  std::vector<char*> pointers;
  pointers.reserve(paths.size());
  for (std::string& path : paths) pointers.push_back(path.data());
  int error[3] = {9, 9, 9};
  const int result =
      library.communicate(code, 0, static_cast<int>(paths.size()), pointers.data(), error);
  std::printf("data %d %d %d %d\n", result, error[0], error[1], error[2]);
}

void sendText(const Library& library, unsigned code, const std::string& text) {
  std::string data = text;
  int error[3] = {9, 9, 9};
  const int result = library.communicate(code, 0, 0, data.data(), error);
  std::printf("text %d %d %d %d\n", result, error[0], error[1], error[2]);
}

/// One of every call, with what the caller sees of it.
void makeEveryCall(const Library& library) {
  int id = -7;
  int status = -7;
  int value = 3;
  std::printf("id %d", library.id(&id));
  std::printf(" %d\n", id);
  std::printf("status %d", library.status(1, &status));
  std::printf(" %d\n", status);
  std::printf("start %d\n", library.start(2, &value));
  sendText(library, 0x40017, "text");
  std::printf("stop %d\n", library.stop());
}

class Kelcom : public ::testing::Test {
 protected:
  ChildResult play(const Environment& environment,
                   const std::function<void(const Library&)>& calls) {
    return runInChild(environment, [&] {
      calls(loadLibrary());
      return 0;
    });
  }

  /// Plays with an outbox and expects nothing on standard error.
  ChildResult playRecorded(const std::function<void(const Library&)>& calls) {
    ChildResult child = play({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, calls);
    EXPECT_EQ("", child.err);
    EXPECT_EQ(0, child.status);
    return child;
  }

  std::string record() const { return readFile(outbox + "/exchanges.jsonl"); }

  ScratchDir scratch;
  const std::string outbox = scratch / "new/outbox";
};

const char kFailedCalls[] =
    "id -1 -7\n"
    "status -1 -7\n"
    "start -1\n"
    "text -1 9 9 9\n"
    "stop -1\n";

TEST_F(Kelcom, DefaultAnswersWithoutRecord) {
  const ChildResult child = play({}, makeEveryCall);
  EXPECT_EQ("id 0 4711\nstatus 0 32\nstart 0\ntext 0 0 0 0\nstop 0\n", child.out);
  EXPECT_EQ("", child.err);
}

TEST_F(Kelcom, EveryCallIsRecordedInOrder) {
  playRecorded(makeEveryCall);
  EXPECT_EQ(R"({"call":"KEL_GetID","id":4711,"result":0})"
            "\n"
            R"({"call":"KEL_GetStatus","reserved":1,"status":32,"result":0})"
            "\n"
            R"({"call":"KEL_StartComm","mode":2,"value":3,"result":0})"
            "\n"
            R"({"call":"KEL_Communicate","code":"0x40017","reserved":0,"count":0,"text":"text",)"
            R"("error":[0,0,0],"result":0})"
            "\n"
            R"({"call":"KEL_StopComm","result":0})"
            "\n",
            record());
}

TEST_F(Kelcom, AnswersOfTheScriptAreGivenAndRecorded) {
  const std::string script = scratch.write("script",
                                           "id -3\n"
                                           "status 0x20000 5\n"
                                           "start -1\n"
                                           "stop 7\n"
                                           "communicate 0x40017 -79 1 -25\n");
  const ChildResult child =
      play({{"KELCOM_LOOPBACK_OUTBOX", outbox}, {"KELCOM_LOOPBACK_SCRIPT", script}}, makeEveryCall);
  EXPECT_EQ("id 0 -3\nstatus 5 131072\nstart -1\ntext -79 1 -25 0\nstop 7\n", child.out);
  EXPECT_EQ("", child.err);
  EXPECT_EQ(R"({"call":"KEL_GetID","id":-3,"result":0})"
            "\n"
            R"({"call":"KEL_GetStatus","reserved":1,"status":131072,"result":5})"
            "\n"
            R"({"call":"KEL_StartComm","mode":2,"value":3,"result":-1})"
            "\n"
            R"({"call":"KEL_Communicate","code":"0x40017","reserved":0,"count":0,"text":"text",)"
            R"("error":[1,-25,0],"result":-79})"
            "\n"
            R"({"call":"KEL_StopComm","result":7})"
            "\n",
            record());
}

TEST_F(Kelcom, FilesAreRecordedAndCopied) {
  const std::string one = scratch.write("one", "first");
  const std::string odd = scratch.write("\xc6\xfc\\", "second");
  const ChildResult child = playRecorded([&](const Library& library) {
    sendFiles(library, 0x4010d, {one, "/nonexistent", odd});
    sendFiles(library, 0xffffffff, {one});
  });
  EXPECT_EQ("data 0 0 0 0\ndata 0 0 0 0\n", child.out);
  const std::string folder = scratch.path();
  EXPECT_EQ(
      R"({"call":"KEL_Communicate","code":"0x4010d","reserved":0,"count":3,"items":[)"
      R"({"path":")" +
          folder + R"(/one","copy":"items/0001-one"},)" +
          R"({"path":"/nonexistent","error":"No such file or directory"},)" + R"({"path":")" +
          folder + R"(/\\xc6\\xfc\\\\","copy":"items/0002-\\xc6\\xfc\\\\"}],)" +
          R"("error":[0,0,0],"result":0})" + "\n" +
          R"({"call":"KEL_Communicate","code":"0xffffffff","reserved":0,"count":1,"items":[)" +
          R"({"path":")" + folder + R"(/one","copy":"items/0003-one"}],)" +
          R"("error":[0,0,0],"result":0})" + "\n",
      record());
  EXPECT_EQ("first", readFile(outbox + "/items/0001-one"));
  EXPECT_EQ("second", readFile(outbox + "/items/0002-\xc6\xfc\\"));
}

TEST_F(Kelcom, TextsOfAnyBytesAreRecordedWithoutLoss) {
  playRecorded(
      [](const Library& library) { sendText(library, 1, "\xc6\xfc \xe6\x97\xa5 \\ \" \n\x1b"); });
  EXPECT_EQ(R"({"call":"KEL_Communicate","code":"0x1","reserved":0,"count":0,)"
            "\"text\":\"\\\\xc6\\\\xfc \xe6\x97\xa5 \\\\\\\\ \\\" \\n\\u001b\","
            R"("error":[0,0,0],"result":0})"
            "\n",
            record());
}

TEST_F(Kelcom, NullPointersAreRecordedAsNull) {
  const std::string file = scratch.write("f", "");
  const ChildResult child = playRecorded([&](const Library& library) {
    char* paths[] = {nullptr, const_cast<char*>(file.c_str())};
    library.id(nullptr);
    library.status(0, nullptr);
    library.start(0, nullptr);
    library.communicate(1, 2, 0, nullptr, nullptr);
    library.communicate(1, 2, 5, nullptr, nullptr);
    library.communicate(1, 2, -5, paths, nullptr);
    library.communicate(1, 2, 2, paths, nullptr);
  });
  const std::string head = R"({"call":"KEL_Communicate","code":"0x1","reserved":2,"count":)";
  EXPECT_EQ(R"({"call":"KEL_GetID","id":null,"result":0})"
            "\n"
            R"({"call":"KEL_GetStatus","reserved":0,"status":null,"result":0})"
            "\n"
            R"({"call":"KEL_StartComm","mode":0,"value":null,"result":0})"
            "\n" +
                head + R"(0,"text":null,"error":null,"result":0})" + "\n" + head +
                R"(5,"items":null,"error":null,"result":0})" + "\n" + head +
                R"(-5,"items":null,"error":null,"result":0})" + "\n" + head +
                R"(2,"items":[{"path":null,"error":"null path name"},{"path":")" + file +
                R"(","copy":"items/0001-f"}],"error":null,"result":0})" + "\n",
            record());
}

TEST_F(Kelcom, ErrorBlockNeedsNoAlignment) {
  const ChildResult child =
      play({{"KELCOM_LOOPBACK_SCRIPT", scratch.write("s", "communicate * 1 2 3")}},
           [](const Library& library) {
             alignas(int) char block[13] = {};
             library.communicate(1, 0, 0, nullptr, block + 1);
             int words[3];
             std::memcpy(words, block + 1, sizeof words);
             std::printf("%d %d %d\n", words[0], words[1], words[2]);
           });
  EXPECT_EQ("2 3 0\n", child.out);
  EXPECT_EQ(0, child.status);
}

TEST_F(Kelcom, BadLineFailsEveryCallAndIsRecorded) {
  const std::string script = scratch.write("script", "id 5\nstaus 1\nalso bad\n");
  const ChildResult child =
      play({{"KELCOM_LOOPBACK_OUTBOX", outbox}, {"KELCOM_LOOPBACK_SCRIPT", script}}, makeEveryCall);
  EXPECT_EQ(kFailedCalls, child.out);
  EXPECT_EQ("libkelcom loopback: " + script + ":2: 'staus' is no kind of line\n", child.err);
  EXPECT_EQ(R"({"call":"KEL_GetID","id":null,"result":-1})"
            "\n"
            R"({"call":"KEL_GetStatus","reserved":1,"status":null,"result":-1})"
            "\n"
            R"({"call":"KEL_StartComm","mode":2,"value":3,"result":-1})"
            "\n"
            R"({"call":"KEL_Communicate","code":"0x40017","reserved":0,"count":0,"text":"text",)"
            R"("error":null,"result":-1})"
            "\n"
            R"({"call":"KEL_StopComm","result":-1})"
            "\n",
            record());
}

TEST_F(Kelcom, ScriptThatCannotBeReadFailsEveryCall) {
  const std::map<std::string, std::string> reasons = {
      {scratch / "missing", "No such file or directory"},
      {"", "No such file or directory"},
      {scratch.path(), "Is a directory"},
      {"/dev/zero", "longer than 1 MiB"},
  };
  for (const auto& [path, reason] : reasons) {
    const ChildResult child = play({{"KELCOM_LOOPBACK_SCRIPT", path}}, makeEveryCall);
    EXPECT_EQ(kFailedCalls, child.out);
    std::string expected = "libkelcom loopback: ";
    expected.append(path).append(": cannot be read: ").append(reason).append("\n");
    EXPECT_EQ(expected, child.err);
  }
}

TEST_F(Kelcom, OutboxThatCannotBeUsedFailsEveryCall) {
  const std::string file = scratch.write("file", "");
  const std::map<std::string, std::string> reasons = {
      {"", "the name of the outbox is empty"},
      {file, "filesystem error: cannot create directories: Not a directory [" + file + "/items]"},
  };
  for (const auto& [path, reason] : reasons) {
    const ChildResult child = play({{"KELCOM_LOOPBACK_OUTBOX", path}}, makeEveryCall);
    EXPECT_EQ(kFailedCalls, child.out);
    EXPECT_EQ("libkelcom loopback: " + reason + "\n", child.err);
  }
}

TEST_F(Kelcom, RecordThatCannotBeWrittenIsReported) {
  ASSERT_EQ(0, ::mkdir((scratch / "new").c_str(), 0700));
  ASSERT_EQ(0, ::mkdir(outbox.c_str(), 0700));
  ASSERT_EQ(0, ::symlink("/dev/full", (outbox + "/exchanges.jsonl").c_str()));
  const ChildResult child = play({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, [](const Library& library) {
    std::printf("%d\n", library.stop());
  });
  EXPECT_EQ("0\n", child.out);
  EXPECT_EQ("libkelcom loopback: the record is incomplete: write: No space left on device\n",
            child.err);
}

TEST_F(Kelcom, StateIsThatOfTheTimeOfLoading) {
  ASSERT_EQ(0, ::chdir(scratch.path().c_str()));
  const std::string file = scratch.write("f", "content");
  const ChildResult child =
      runInChild({{"KELCOM_LOOPBACK_OUTBOX", "relative"},
                  {"KELCOM_LOOPBACK_SCRIPT", scratch.write("s", "id 8")}},
                 [&] {
                   const Library library = loadLibrary();
                   ::setenv("KELCOM_LOOPBACK_OUTBOX", "/nonexistent/other", 1);
                   ::unlink((scratch / "s").c_str());
                   if (::chdir("/") != 0) return 1;
                   int id = 0;
                   library.id(&id);
                   sendFiles(library, 1, {file});
                   return id == 8 ? 0 : 2;
                 });
  EXPECT_EQ(0, ::chdir("/"));
  EXPECT_EQ(0, child.status);
  EXPECT_EQ("content", readFile(scratch / "relative/items/0001-f"));
}

TEST_F(Kelcom, ClosedStandardDescriptorsAreNeverTaken) {
  const std::string file = scratch.write("f", "content");
  const ChildResult child = runInChild({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, [&] {
    for (const int number : {0, 1, 2}) ::close(number);
    const Library library = loadLibrary();
    char* paths[] = {const_cast<char*>(file.c_str())};
    library.communicate(1, 0, 1, paths, nullptr);
    for (int number = 0; number < 100; ++number) {
      // What the test itself had open before is not the library's.
      char link[64];
      char target[4096] = {};
      std::snprintf(link, sizeof link, "/proc/self/fd/%d", number);
      if (::readlink(link, target, sizeof target - 1) > 0 && std::strstr(target, "outbox"))
        return 1;
    }
    return ::fcntl(0, F_GETFD) == -1 && ::fcntl(1, F_GETFD) == -1 && ::fcntl(2, F_GETFD) == -1 ? 0
                                                                                               : 2;
  });
  EXPECT_EQ(0, child.status);
  EXPECT_EQ("content", readFile(outbox + "/items/0001-f"));
}

TEST_F(Kelcom, ComplaintsNeverEndUpInAFileOfTheLibrary) {
  const std::string script = scratch.write("script", "bad\n");
  const ChildResult child =
      runInChild({{"KELCOM_LOOPBACK_OUTBOX", outbox}, {"KELCOM_LOOPBACK_SCRIPT", script}}, [&] {
        ::close(STDERR_FILENO);
        const Library library = loadLibrary();
        return library.stop() == -1 ? 0 : 1;
      });
  EXPECT_EQ(0, child.status);
  EXPECT_EQ("{\"call\":\"KEL_StopComm\",\"result\":-1}\n", record());
  EXPECT_EQ("bad\n", readFile(script));
}

TEST_F(Kelcom, NothingStaysOpenOnExecOrAfterUnloading) {
  const std::string file = scratch.write("f", "content");
  const ChildResult child = runInChild({{"KELCOM_LOOPBACK_OUTBOX", outbox}}, [&] {
    const std::size_t before = namesIn("/proc/self/fd").size();
    const Library library = loadLibrary();
    const std::size_t loaded = namesIn("/proc/self/fd").size();
    for (int round = 0; round < 10; ++round) sendFiles(library, 1, {file, "/nonexistent", "/etc"});
    // The record and the folder of the copies, and nothing for the calls.
    if (loaded != before + 2 || namesIn("/proc/self/fd").size() != loaded) return 1;
    for (int number = 100; number < 110; ++number) {
      const int flags = ::fcntl(number, F_GETFD);
      if (flags >= 0 && (flags & FD_CLOEXEC) == 0) return 2;
    }
    return 0;
  });
  EXPECT_EQ(0, child.status);
}

TEST_F(Kelcom, SparseFileCostsNothing) {
  const std::string file = scratch.write("sparse", "start");
  ASSERT_EQ(0, ::truncate(file.c_str(), 10'000'000'000));
  const auto begin = std::chrono::steady_clock::now();
  playRecorded([&](const Library& library) { sendFiles(library, 1, {file}); });
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  struct stat status = {};
  ASSERT_EQ(0, ::stat((outbox + "/items/0001-sparse").c_str(), &status));
  EXPECT_EQ(10'000'000'000, status.st_size);
  EXPECT_LT(status.st_blocks * 512, 1024 * 1024);
}

/// What the children that have been waited for took of a processor: a disk that is slow for a while
/// does not count.
std::chrono::microseconds childrensProcessorTime() {
  rusage usage = {};
  EXPECT_EQ(0, ::getrusage(RUSAGE_CHILDREN, &usage));
  return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

TEST_F(Kelcom, HundredThousandFilesInOneCallAreLinear) {
  const std::string file = scratch.write("f", "");
  const auto timeFor = [&](std::size_t count) {
    const std::vector<std::string> paths(count, file);
    const std::string folder = (scratch / "outbox" + std::to_string(count));
    const auto begin = childrensProcessorTime();
    const ChildResult child =
        play({{"KELCOM_LOOPBACK_OUTBOX", folder}},
             [&](const Library& library) { sendFiles(library, 0x4010d, paths); });
    EXPECT_EQ("data 0 0 0 0\n", child.out);
    EXPECT_EQ(count, namesIn(folder + "/items").size());
    return childrensProcessorTime() - begin;
  };
  // Ten times the files may take three times ten times as long on a busy machine; a second loop
  // over all of them would take a hundred times as long.
  const auto small = timeFor(10000);
  EXPECT_LT(timeFor(100000), 30 * small);
}

TEST_F(Kelcom, ExportsTheFiveCallsAlone) {
  const ChildResult child =
      runProgram({"/bin/sh", "-c", "nm -D --defined-only " LOOPBACK_LIBRARY " | sed 's/.* //'"});
  EXPECT_EQ("KEL_Communicate\nKEL_GetID\nKEL_GetStatus\nKEL_StartComm\nKEL_StopComm\n", child.out);
}

TEST_F(Kelcom, SonameIsThatOfTheRealLibrary) {
  const ChildResult child =
      runProgram({"/bin/sh", "-c", "readelf -d " LOOPBACK_LIBRARY " | sed -n 's/.*soname: //p'"});
  EXPECT_EQ("[libkelcom.so]\n", child.out);
}

}  // namespace
