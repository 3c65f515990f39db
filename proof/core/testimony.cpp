#include "core/testimony.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

namespace {

void observeSignals(Observation& observation) {
  for (int signal = 1; signal <= kSignals; ++signal) {
    KernelAction action = {};
    ::syscall(SYS_rt_sigaction, signal, nullptr, &action, kBytesOfSet);
    if (action.handler == SIG_DFL) continue;
    (action.handler == SIG_IGN ? observation.ignored : observation.caught) |= bitOf(signal);
  }
  ::syscall(SYS_rt_sigprocmask, SIG_BLOCK, nullptr, &observation.blocked, kBytesOfSet);
  ::syscall(SYS_rt_sigpending, &observation.pending, kBytesOfSet);
}

StreamState stateOf(int stream) {
  StreamState state = {};
  const int flags = ::fcntl(stream, F_GETFL);
  struct stat status = {};
  if (flags < 0 || ::fstat(stream, &status) != 0) return state;
  state.isOpen = true;
  state.access = flags & O_ACCMODE;
  state.mode = status.st_mode;
  state.device = status.st_rdev;
  state.file = status.st_ino;
  pollfd end = {stream, POLLOUT, 0};
  state.isBroken = S_ISFIFO(status.st_mode) && ::poll(&end, 1, 0) == 1 && (end.revents & POLLERR);
  return state;
}

int countOpenAbove(std::uint64_t limit) {
  constexpr std::uint64_t kMost = 128;
  pollfd descriptors[kMost];
  const std::uint64_t end = limit < kMost ? limit : kMost;  // poll(2) takes no more than the limit
  for (std::uint64_t at = 0; at < end; ++at) descriptors[at] = {static_cast<int>(at), 0, 0};
  ::poll(descriptors, end, 0);
  int count = 0;
  for (std::uint64_t at = kStreams; at < end; ++at) {
    count += (descriptors[at].revents & POLLNVAL) == 0 ? 1 : 0;
  }
  return count;
}

void observeLimits(Observation& observation) {
  for (int number = 0; number < kLimits; ++number) {
    rlimit limit = {};
    ::getrlimit(static_cast<__rlimit_resource>(number), &limit);
    observation.limits[number] = limit.rlim_cur;
  }
}

void observeFolder(Observation& observation) {
  char name[PATH_MAX];
  // The system call: the C library has ways of its own where it fails.
  if (::syscall(SYS_getcwd, name, sizeof name) < 0) {
    observation.folderError = errno;
  } else {
    std::memcpy(observation.folder, name, sizeof observation.folder - 1);
  }
  struct stat status = {};
  if (::stat(".", &status) == 0) observation.folderMode = status.st_mode;
  observation.canReadFolder = ::access(".", R_OK) == 0;
}

void observeSession(Observation& observation) {
  observation.leadsSession = ::getsid(0) == observation.pid;
  const int terminal = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  observation.hasTerminal = terminal >= 0;
  if (terminal >= 0) ::close(terminal);
}

}  // namespace

Testimony* openTestimony() {
  const int file = ::open(kTestimonyFile, O_RDWR | O_CLOEXEC);
  if (file < 0) return nullptr;
  void* memory = ::mmap(nullptr, sizeof(Testimony), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  ::close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<Testimony*>(memory);
}

Observation* observe(Testimony* testimony, Role role) {
  const int number = testimony == nullptr ? kMostObservations : testimony->count.fetch_add(1);
  if (number >= kMostObservations) return nullptr;
  Observation& observation = testimony->observations[number];
  observation.role = role;
  observation.pid = ::getpid();
  observeSignals(observation);
  observeLimits(observation);
  for (int stream = 0; stream < kStreams; ++stream) observation.streams[stream] = stateOf(stream);
  observation.openAbove = countOpenAbove(observation.limits[RLIMIT_NOFILE]);
  observation.mask = ::umask(0);
  ::umask(observation.mask);
  observation.nice = ::getpriority(PRIO_PROCESS, 0);
  observeFolder(observation);
  observeSession(observation);
  return &observation;
}

void observeWords(Observation& observation, const char* const* words,
                  const char* const* environment) {
  for (; *words != nullptr; ++words) {
    ++observation.words;
    observation.wordBytes += std::strlen(*words) + 1;
  }
  observation.environment = kHashOfNothing;
  for (; *environment != nullptr; ++environment) {
    observation.environment = hashOf(*environment, observation.environment);
  }
}

void setDetail(Observation& observation, const char* text) {
  std::strncpy(observation.detail, text, sizeof observation.detail - 1);
}

std::uint64_t hashOf(const char* text, std::uint64_t before) {
  constexpr std::uint64_t kPrime = 1099511628211ULL;
  std::uint64_t hash = before;
  for (const char* byte = text;; ++byte) {
    hash = (hash ^ static_cast<unsigned char>(*byte)) * kPrime;
    if (*byte == '\0') return hash;
  }
}
