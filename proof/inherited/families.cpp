#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "inherited/situation.h"

namespace {

constexpr rlim_t kKilobyte = 1024;
constexpr rlim_t kMegabyte = 1024 * kKilobyte;

// --- signals -------------------------------------------------------------------------------------

/// The `number`th subset of the signals that the command sees to by itself.
std::uint64_t subsetOf(unsigned number) {
  constexpr std::uint64_t kSettled[] = {bitOf(SIGCHLD), bitOf(SIGPIPE), bitOf(SIGXFSZ)};
  std::uint64_t set = 0;
  for (unsigned at = 0; at < 3; ++at) set |= (number >> at & 1U) != 0 ? kSettled[at] : 0;
  return set;
}

void addSignals(Catalogue& catalogue) {
  for (int signal = 1; signal <= kSignals; ++signal) {
    const std::uint64_t bit = bitOf(signal);
    if ((bit & kFixedSignals) != 0) continue;
    const std::string what = std::to_string(signal);
    catalogue.add("ignored", kSending, what, having(&Caller::ignored, bit));
    catalogue.add("blocked", kSending, what, having(&Caller::blocked, bit));
    catalogue.add("pending", kSending, what, having(&Caller::pending, bit));
  }
  const auto both = [](std::uint64_t ignored, std::uint64_t blocked) {
    return all({having(&Caller::ignored, ignored), having(&Caller::blocked, blocked)});
  };
  const char* const family = "ignored and blocked";
  for (unsigned number = 1; number < 64; ++number) {
    const unsigned ignored = number / 8;
    const unsigned blocked = number % 8;
    catalogue.add(family, {"incident", "incident-trace", "event-err", "log-rotation"},
                  std::to_string(ignored) + "." + std::to_string(blocked),
                  both(subsetOf(ignored), subsetOf(blocked)));
  }
  const auto scenarios = {"incident", "incident-above-pipe", "event-err", "log-rotation"};
  catalogue.add(family, scenarios, "all.none", both(~kFixedSignals, 0));
  catalogue.add(family, scenarios, "none.all", both(0, ~kFixedSignals));
  catalogue.add(family, scenarios, "all.all", both(~kFixedSignals, ~kFixedSignals));
}

// --- descriptors ---------------------------------------------------------------------------------

void addStreams(Catalogue& catalogue) {
  constexpr int kCombinations = kStreamKinds * kStreamKinds * kStreamKinds;
  for (int number = 1; number < kCombinations; ++number) {
    const int kinds[] = {number / kStreamKinds / kStreamKinds, number / kStreamKinds % kStreamKinds,
                         number % kStreamKinds};
    std::string what;
    std::array<Stream, kStreams> streams = {};
    for (std::size_t stream = 0; stream < streams.size(); ++stream) {
      streams[stream] = static_cast<Stream>(kinds[stream]);
      what += (what.empty() ? "" : " ") + std::string(kStreamNames[kinds[stream]]);
    }
    catalogue.add(
        "descriptors",
        {"incident", "incident-above-buffer", "incident-above-pipe", "event-err", "log-rotation"},
        what, having(&Caller::streams, streams));
  }
}

// --- limits --------------------------------------------------------------------------------------

void addFileSizes(Catalogue& catalogue) {
  for (const rlim_t bytes :
       {0UL,     1UL,     10UL,     20UL,     27UL,     28UL,     50UL,     100UL,
        200UL,   300UL,   400UL,    500UL,    600UL,    700UL,    800UL,    900UL,
        1000UL,  1200UL,  1500UL,   2000UL,   3000UL,   4000UL,   4096UL,   10000UL,
        20000UL, 50000UL, 100000UL, 200000UL, 511999UL, 512000UL, 512001UL, 600000UL}) {
    catalogue.add("limit on file size",
                  {"incident", "incident-trace", "incident-above-pipe", "event-err", "event-trace",
                   "log-rotation"},
                  std::to_string(bytes), limitedTo(RLIMIT_FSIZE, bytes));
    catalogue.add("limit on file size", kSending, std::to_string(bytes) + " SIGXFSZ ignored",
                  all({limitedTo(RLIMIT_FSIZE, bytes), having(&Caller::ignored, bitOf(SIGXFSZ))}));
  }
}

void addOpenFiles(Catalogue& catalogue) {
  constexpr rlim_t kMost = 24;
  for (rlim_t count = kStreams; count <= kMost; ++count) {
    for (unsigned closed = 0; closed < 8; ++closed) {
      const std::string what = closed == 0 ? "" : " closed " + std::to_string(closed);
      std::vector<Change> changes = {limitedTo(RLIMIT_NOFILE, count)};
      for (int stream = 0; stream < kStreams; ++stream) {
        if ((closed >> stream & 1U) != 0) changes.push_back(having(stream, Stream::kClosed));
      }
      catalogue.add("limit on open files", kAllChildren, std::to_string(count) + what,
                    all(changes));
    }
  }
  for (const std::string zone : {"UTC0", "XST-9", "Asia/Tokyo"}) {
    catalogue.add("limit on open files", {"event-err"}, "4 zone " + zone,
                  all({limitedTo(RLIMIT_NOFILE, kStreams + 1), having("TZ=" + zone)}));
  }
}

void addMemory(Catalogue& catalogue) {
  for (rlim_t steps = 4; steps <= 128; ++steps) {
    const rlim_t bytes = steps * kMegabyte / 16;
    catalogue.add("limit on address space", kSending, std::to_string(bytes),
                  limitedTo(RLIMIT_AS, bytes));
  }
  for (rlim_t pages = 1; pages <= 32; ++pages) {
    const rlim_t bytes = pages * 4 * kKilobyte;
    catalogue.add("limit on stack", kAllChildren, std::to_string(bytes),
                  limitedTo(RLIMIT_STACK, bytes));
  }
  rlimit core = {};
  ::getrlimit(RLIMIT_CORE, &core);
  for (const rlim_t bytes : {rlim_t{0}, rlim_t{1}, rlim_t{kMegabyte}, rlim_t{RLIM_INFINITY}}) {
    if (bytes == core.rlim_cur || bytes > core.rlim_max) continue;
    catalogue.add("limit on core", kAllChildren, std::to_string(bytes),
                  limitedTo(RLIMIT_CORE, bytes));
  }
}

// --- what else a process has ---------------------------------------------------------------------

void addAttributes(Catalogue& catalogue) {
  for (int kind = 1; kind < kFolderKinds; ++kind) {
    catalogue.add("working directory",
                  {"incident", "incident-trace", "event-err", "event-trace", "log-rotation"},
                  kFolderNames[kind], having(&Caller::folder, static_cast<Folder>(kind)));
  }
  for (mode_t mask = 0; mask <= 0777; ++mask) {
    if (mask == Caller().mask) continue;
    char text[8];
    std::snprintf(text, sizeof text, "%03o", mask);
    catalogue.add("mask", kSending, text, having(&Caller::mask, mask));
  }
  constexpr int kMostNice = 19;
  for (int nice = leastNice(); nice <= kMostNice; ++nice) {
    if (nice == ::getpriority(PRIO_PROCESS, 0)) continue;
    catalogue.add("niceness", kSending, std::to_string(nice), having(&Caller::nice, nice));
  }
  catalogue.add("session", kAllChildren, "without a terminal",
                having(&Caller::session, Session::kNoTerminal));
  catalogue.add("session", kAllChildren, "with a terminal",
                having(&Caller::session, Session::kTerminal));
}

void addWords(Catalogue& catalogue) {
  const auto add = [&catalogue](std::size_t count, const std::string& word) {
    catalogue.add("arguments", kAllChildren,
                  std::to_string(count) + " of " + std::to_string(word.size()),
                  [=](Situation& situation) {
                    Texts& words = situation.caller.words;
                    words.resize(words.size() + count, word);
                  });
  };
  constexpr std::size_t kLongest = 128UL * 1024UL - 1;  // what the kernel takes as one word
  add(1, "");
  add(1, "\xff\xfe");
  add(100, "-i");
  add(100, "-r");
  add(1, std::string(kLongest, 'w'));
  add(kMegabyte / kLongest, std::string(kLongest, 'w'));
  add(kMegabyte / 10, "123456789");
}

void addPrograms(Catalogue& catalogue) {
  Texts programs = {"",    "tanexics", "-tanexics", "/", "a\nb", "%s%n%d", "../../srv/bin/tanexics",
                    "\xff"};
  for (const std::size_t bytes : {2000, 2020, 3000, 100000}) programs.emplace_back(bytes, 'p');
  for (std::size_t at = 0; at < programs.size(); ++at) {
    catalogue.add("program's name", kAllChildren, std::to_string(at),
                  having(&Caller::program, programs[at]));
  }
}

// --- much of it at once --------------------------------------------------------------------------

using Random = std::mt19937_64;

unsigned below(Random& random, unsigned end) {
  return std::uniform_int_distribution<unsigned>(0, end - 1)(random);
}

/// About a quarter of all signals.
std::uint64_t someSignals(Random& random) {
  const std::uint64_t half = random();
  return half & random() & ~kFixedSignals;
}

void mix(Random& random, Situation& situation) {
  constexpr std::uint64_t kOfStops =
      bitOf(SIGCONT) | bitOf(SIGTSTP) | bitOf(SIGTTIN) | bitOf(SIGTTOU);
  Caller& caller = situation.caller;
  caller.ignored = someSignals(random);
  caller.blocked = someSignals(random);
  // What is ignored is discarded before it is pending, and stopping and going on discard each
  // other.
  caller.pending = someSignals(random) & caller.blocked & ~caller.ignored & ~kOfStops;
  for (Stream& stream : caller.streams) stream = static_cast<Stream>(below(random, kStreamKinds));
  caller.mask = static_cast<mode_t>(below(random, 01000));
  caller.nice += static_cast<int>(below(random, 5));
  caller.folder = static_cast<Folder>(below(random, kFolderKinds));
  caller.session = static_cast<Session>(below(random, 3));
  // A shell whose complaint about such a directory finds no reader dies of SIGPIPE once it empties
  // the mask, while its command runs or after it: nobody can tell which.
  const bool isComplaining =
      caller.folder == Folder::kDeleted || caller.folder == Folder::kDetached;
  if (isComplaining && caller.streams[2] == Stream::kBrokenPipe) {
    caller.blocked &= ~bitOf(SIGPIPE);
    caller.pending &= ~bitOf(SIGPIPE);
  }
  for (const char* entry : {"TZ=XST-9", "LANG=ja_JP.eucJP", "LC_ALL=nonsense", "IFS=/",
                            "HOME=", "TMPDIR=/nonexistent", "LD_LIBRARY_PATH=/nonexistent"}) {
    if (below(random, 2) == 0) having(entry)(situation);
  }
  caller.words.resize(caller.words.size() + below(random, 1000), "word");
  caller.limits[RLIMIT_NOFILE] = 12 + below(random, 20);  // enough for a shell
}

}  // namespace

void addProcess(Catalogue& catalogue) {
  addSignals(catalogue);
  addStreams(catalogue);
  addFileSizes(catalogue);
  addOpenFiles(catalogue);
  addMemory(catalogue);
  addAttributes(catalogue);
  addWords(catalogue);
  addPrograms(catalogue);
}

void addMixtures(Catalogue& catalogue) {
  constexpr int kMixtures = 100;
  for (unsigned number = 0; number < kMixtures; ++number) {
    Random random(number);  // the same in every run
    catalogue.add("mixture", {"incident", "incident-above-pipe", "event-err", "log-rotation"},
                  std::to_string(number),
                  [&random](Situation& situation) { mix(random, situation); });
  }
}

int leastNice() {
  constexpr int kLeast = -20;
  // Tried in a process that ends with it.
  static const bool isPermitted = [] {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(::setpriority(PRIO_PROCESS, 0, kLeast) == 0 ? 0 : 1);
    int status = -1;
    return pid > 0 && ::waitpid(pid, &status, 0) == pid && status == 0;
  }();
  return isPermitted ? kLeast : ::getpriority(PRIO_PROCESS, 0);
}
