#include "e2e/support/machine.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/actionlog.h"
#include "support/pattern.h"
#include "tools/rehearse/pointersto.h"

namespace fs = std::filesystem;

const char* const kHostName = "testhost";

const char* const kEventDefinition =
    "Time=2026/10/05 12:00:00\nLabel=disk\nHostName=db01\nOSType=Linux\nOSName=Debian\n"
    "OSVersion=12\nPkgName=kernel\nMsgType=E\nMsgID=4001\nSendType=err\nEventID=17\n"
    "PartitionName=p0\n";

namespace {

constexpr unsigned kTimeLimitSeconds = 60;

constexpr char kPidFile[] = "/pid";
constexpr char kRecord[] = "/case/outbox/exchanges.jsonl";

/// The folders of the machine that programs need to run at all.
constexpr const char* kSystemFolders[] = {"/bin",   "/dev",    "/etc",  "/lib",  "/lib32",
                                          "/lib64", "/libx32", "/proc", "/sbin", "/usr"};

const std::string& commandPath() {
  static const std::string path = "/build/" + fs::path(TANEXICS_COMMAND).filename().string();
  return path;
}

/// The program, with its arguments, that every command is run by: scripts/valgrind chooses one, and
/// most often there is none.
const std::vector<std::string>& runner() {
  static const std::vector<std::string> words = [] {
    const char* line = ::getenv("TANEXICS_RUNNER");
    std::istringstream stream(line == nullptr ? "" : line);
    return std::vector<std::string>(std::istream_iterator<std::string>(stream), {});
  }();
  return words;
}

std::string writingDown(const std::string& name) {
  return "echo \"" + name + " $# $1 $(stat -c '%F %a' \"$1\") $(umask)\" >> /case/collected\n";
}

using Variables = std::map<std::string, std::string>;

/// Variables of the caller that steer the instrumentation of a build.
void keepInstrumentation(Variables& environment) {
  for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (const char* value = ::getenv(name)) environment[name] = value;
  }
  // Coverage counts go to where the build folder stands now.
  const fs::path build = fs::path(TANEXICS_COMMAND).parent_path();
  const auto levels = std::distance(build.begin(), build.end()) - 1;
  environment["GCOV_PREFIX"] = "/build";
  environment["GCOV_PREFIX_STRIP"] = std::to_string(levels);
  environment["GCOV_ERROR_FILE"] = "/dev/null";
}

Variables environmentOf(const Call& call) {
  Variables environment = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"},
                           {"LD_LIBRARY_PATH", "/kelcom"},
                           {"KELCOM_LOOPBACK_OUTBOX", "/case/outbox"},
                           {"TANEX_LOG", "/case/action.log"}};
  keepInstrumentation(environment);
  if (call.trace) environment["TANEX_LOG_LEVEL"] = "LOG_LEVEL_TRACE";
  if (!call.script.empty()) environment["KELCOM_LOOPBACK_SCRIPT"] = "/case/script";
  for (const auto& [name, value] : call.environment) {
    if (value) {
      environment[name] = *value;
    } else {
      environment.erase(name);
    }
  }
  return environment;
}

bool writePid() {
  std::ofstream file(kPidFile);
  file << ::getpid();
  file.close();
  return file.good();
}

std::string masked(const std::string& log) {
  std::string text = replacePattern(log, R"(time='\d+\.\d{6}')", "time='*'");
  text = replacePattern(text, R"(pid=\d+,)", "pid=*,");
  if (!runner().empty()) {
    // A runner calls the command by its path.
    text = replacePattern(text, "### main : " + commandPath() + " ", "### main : tanexics ");
  }
  return replacePattern(text, "/swcon[A-Za-z0-9]{6}_", "/swcon*_");
}

}  // namespace

Call Call::traced() const {
  Call call = *this;
  call.trace = true;
  return call;
}

Call Call::answered(const std::string& answers) const {
  Call call = *this;
  call.script = answers;
  return call;
}

Call Call::with(const Environment& variables) const {
  Call call = *this;
  for (const auto& [name, value] : variables) call.environment[name] = value;
  return call;
}

Call Call::prepared(const Prepare& preparation) const {
  Call call = *this;
  call.prepare = preparation;
  return call;
}

Call incidentCall() { return {{"/case/list", "-i", "1"}}; }

Call eventCall() { return {{"/case/list", "-r", "/case/event.def"}}; }

Machine::Machine() : m_root(m_scratch / "root") {
  ::umask(022);
  if (const char* source = ::getenv("TANEXICS_SUPPRESSIONS")) {
    write("/suppressions", readFile(source));
  }
  makeFolder("/tmp", 01777);
  makeFolder("/var/opt");
  write("/case/a.txt", "alpha\n");
  write("/case/b.syslog.txt", "# head\nJan  1 host msg\n");
  write("/case/c.txt", "charlie, delta");
  write("/case/list", "/case/a.txt\n/case/b.syslog.txt\n/case/c.txt\n");
  write("/case/event.def", kEventDefinition);
  setCollection(writingDown("tanexcc"), writingDown("tanexcs"));
}

void Machine::write(const std::string& path, const std::string& bytes, mode_t mode) const {
  fs::create_directories(fs::path(outside(path)).parent_path());
  std::ofstream file(outside(path), std::ios::binary | std::ios::trunc);
  file << bytes;
  file.close();
  EXPECT_TRUE(file.good()) << path;
  EXPECT_EQ(::chmod(outside(path).c_str(), mode), 0) << path;
}

void Machine::makeFolder(const std::string& path, mode_t mode) const {
  fs::create_directories(outside(path));
  EXPECT_EQ(::chmod(outside(path).c_str(), mode), 0) << path;
}

void Machine::makeSparse(const std::string& path, off_t bytes) const {
  write(path, "");
  EXPECT_EQ(::truncate(outside(path).c_str(), bytes), 0) << path;
}

void Machine::setCollection(const std::string& first, const std::string& second) const {
  write("/opt/dovra/tanex/bin/tanexcc", "#!/bin/sh\n" + first, 0755);
  write("/opt/dovra/tanex/bin/tanexcs", "#!/bin/sh\n" + second, 0755);
}

void Machine::remove(const std::string& path) const { fs::remove_all(outside(path)); }

void Machine::clear() const {
  for (const char* name : {"action.log", "calls", "collected", "outbox"}) {
    remove(std::string("/case/") + name);
  }
}

bool Machine::exists(const std::string& path) const {
  return fs::exists(fs::symlink_status(outside(path)));
}

std::vector<std::string> Machine::collected() const {
  return exists("/case/collected") ? linesOf(read("/case/collected")) : std::vector<std::string>();
}

std::string Machine::log(const std::string& path) const {
  if (!exists(path) || fs::is_directory(outside(path))) return "";
  const int pid = exists(kPidFile) ? std::stoi(read(kPidFile)) : 0;
  std::string texts;
  for (const LogLine& line : parseLog(read(path))) {
    EXPECT_TRUE(pid == 0 || line.pid == pid) << line.head << line.text;
    texts += line.text + "\n";
  }
  return masked(texts);
}

std::string Machine::exchanges() const {
  std::string calls;
  if (!exists(kRecord)) return calls;
  for (const std::string& line : linesOf(read(kRecord))) {
    calls += nlohmann::json::parse(line).dump() + "\n";
  }
  return calls;
}

/// Makes the root and the host name those of this machine. In the child.
bool Machine::enter() const {
  if (!enterPrivateMounts() || ::unshare(CLONE_NEWUTS) != 0) return false;
  if (::sethostname(kHostName, std::char_traits<char>::length(kHostName)) != 0) return false;
  const std::map<std::string, std::string> built = {
      {"/build", fs::path(TANEXICS_COMMAND).parent_path()},
      {"/kelcom", LOOPBACK_FOLDER},
      {"/testkelcom", TEST_KELCOM_FOLDER}};
  for (const auto& [target, folder] : built) {
    if (!bindFolder(fs::canonical(folder), outside(target))) return false;
  }
  for (const char* folder : kSystemFolders) {
    if (!bindFolder(folder, outside(folder))) return false;
  }
  if (::chroot(m_root.c_str()) != 0 || ::chdir("/case") != 0) return false;
  // The loader looks there first.
  return !fs::is_directory("/usr/local/lib") || mountTmpfs("/usr/local/lib");
}

/// Turns the child into the command. Returns only when that fails.
int Machine::become(const Call& call) const {
  const std::vector<std::string>& wrapper = call.wrapper.empty() ? runner() : call.wrapper;
  std::vector<std::string> arguments = wrapper;
  arguments.push_back(wrapper.empty() ? call.argument0 : commandPath());
  arguments.insert(arguments.end(), call.arguments.begin(), call.arguments.end());
  const std::string program = wrapper.empty() ? commandPath() : wrapper.front();
  std::vector<std::string> variables;
  for (const auto& [name, value] : environmentOf(call)) variables.push_back(name + "=" + value);
  const std::vector<char*> argv = pointersTo(arguments);
  const std::vector<char*> envp = pointersTo(variables);

  if (!enter() || (call.wrapper.empty() && !writePid())) {
    std::perror("no private root");
    return 255;
  }
  ::alarm(kTimeLimitSeconds);
  if (call.prepare && !call.prepare()) {
    std::perror("the preparation failed");
    return 255;
  }
  ::execve(program.c_str(), argv.data(), envp.data());
  std::perror(program.c_str());
  return 255;
}

RunResult Machine::run(const Call& call) const {
  if (!call.script.empty()) write("/case/script", call.script);
  remove(kPidFile);
  RunResult result;
  result.isTraced = call.trace;
  result.child = runInChild([&] { return become(call); });
  if (!runner().empty()) {
    // What the runner has found. The command itself prints nothing like it.
    EXPECT_EQ(("\n" + result.child.err).find("\n=="), std::string::npos) << result.child.err;
  }
  result.log = log();
  result.exchanges = exchanges();
  return result;
}

bool obeyPermissions() {
  return ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0 &&
         ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) == 0;
}
