#include "inherited/families.h"

#include <csignal>
#include <random>

namespace {

using Random = std::mt19937_64;

unsigned below(Random& random, unsigned end) {
  return std::uniform_int_distribution<unsigned>(0, end - 1)(random);
}

constexpr std::uint64_t kOfStops =
    bitOf(SIGCONT) | bitOf(SIGTSTP) | bitOf(SIGTTIN) | bitOf(SIGTTOU);

/// About a quarter of all signals.
std::uint64_t someSignals(Random& random) {
  const std::uint64_t half = random();
  return half & random() & ~(bitOf(SIGKILL) | bitOf(SIGSTOP));
}

void mix(Random& random, Situation& situation) {
  Caller& caller = situation.caller;
  caller.ignored = someSignals(random);
  caller.blocked = someSignals(random);
  // What is ignored is discarded before it is pending, and stopping and going on discard each
  // other.
  caller.pending = someSignals(random) & caller.blocked & ~caller.ignored & ~kOfStops;
  for (Stream& stream : caller.streams) {
    stream = static_cast<Stream>(below(random, kStreamKinds));
  }
  caller.mask = static_cast<mode_t>(below(random, 01000));
  caller.nice += static_cast<int>(below(random, 5));
  caller.folder = static_cast<Folder>(below(random, 5));
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
    if (below(random, 2) == 0) setVariable(caller, entry);
  }
  caller.words.resize(caller.words.size() + below(random, 1000), "word");
  caller.limits[RLIMIT_NOFILE] = 12 + below(random, 20);  // enough for a shell
}

}  // namespace

void addMixtures(Catalogue& catalogue) {
  constexpr int kMixtures = 100;
  for (int number = 0; number < kMixtures; ++number) {
    Random random(static_cast<Random::result_type>(number));  // the same in every run
    catalogue.add("mixture", {"incident", "incident-above-pipe", "event-err", "log-rotation"},
                  std::to_string(number),
                  [&random](Situation& situation) { mix(random, situation); });
  }
}
