#include "support/childrun.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned kNobody = 65534;

void redirect(const std::string& path, int flags, int target) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (fd < 0 || ::dup2(fd, target) < 0) ::_exit(254);
  ::close(fd);
}

}  // namespace

int ChildResult::exitCode() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

int ChildResult::signal() const { return WIFSIGNALED(status) ? WTERMSIG(status) : 0; }

ChildResult runInChild(const std::function<int()>& body) {
  const ScratchDir dir;
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    redirect(dir / "out", O_WRONLY | O_CREAT | O_APPEND, STDOUT_FILENO);
    redirect(dir / "err", O_WRONLY | O_CREAT | O_APPEND, STDERR_FILENO);
    int status = 255;
    try {
      status = body();
    } catch (...) {
      status = 255;
    }
    std::fflush(nullptr);
    ::_exit(status);
  }
  ChildResult result;
  if (pid < 0 || ::waitpid(pid, &result.status, 0) != pid) {
    ADD_FAILURE() << "no child, or it could not be waited for";
    return result;
  }
  result.out = readFile(dir / "out");
  result.err = readFile(dir / "err");
  return result;
}

ChildResult runInChild(const std::map<std::string, std::string>& environment,
                       const std::function<int()>& body) {
  return runInChild([&] {
    for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
    return body();
  });
}

ChildResult runProgram(const std::vector<std::string>& words,
                       const std::map<std::string, std::string>& environment) {
  std::vector<std::string> texts = words;
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  const bool hasLocale = environment.count("LC_ALL") + environment.count("LANG") > 0;
  return runInChild(environment, [&] {
    if (!hasLocale) ::setenv("LC_ALL", "C", 1);
    ::execv(pointers[0], pointers.data());
    return 98;
  });
}

bool enterPrivateMounts() {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mountTmpfs(const std::string& dir, const std::string& bytes) {
  const std::string options = "size=" + bytes + ",mode=755";
  return ::mount("tmpfs", dir.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

bool bindFolder(const std::string& folder, const std::string& target) {
  if (!fs::exists(folder)) return true;
  fs::create_directories(target);
  return ::mount(folder.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

bool becomeNobody() {
  return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
}

bool canBecomeNobody() {
  return runInChild([] { return becomeNobody() ? 0 : 1; }).exitCode() == 0;
}
