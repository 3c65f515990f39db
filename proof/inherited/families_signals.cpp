#include "inherited/families.h"

#include <csignal>

namespace {

constexpr std::uint64_t kFixed = bitOf(SIGKILL) | bitOf(SIGSTOP);
constexpr std::uint64_t kAll = ~kFixed;

/// What the command sees to by itself.
constexpr int kSettled[] = {SIGCHLD, SIGPIPE, SIGXFSZ};

/// The `number`th subset of them.
std::uint64_t subsetOf(unsigned number) {
  std::uint64_t set = 0;
  for (unsigned at = 0; at < 3; ++at) {
    if ((number >> at & 1U) != 0) set |= bitOf(kSettled[at]);
  }
  return set;
}

void addOne(Catalogue& catalogue, int signal) {
  const std::string number = std::to_string(signal);
  const std::uint64_t bit = bitOf(signal);
  catalogue.add("ignored", {"incident", "event-err"}, number,
                [bit](Situation& situation) { situation.caller.ignored = bit; });
  catalogue.add("blocked", {"incident", "event-err"}, number,
                [bit](Situation& situation) { situation.caller.blocked = bit; });
  catalogue.add("pending", {"incident", "event-err"}, number,
                [bit](Situation& situation) { situation.caller.pending = bit; });
}

void addSubsets(Catalogue& catalogue) {
  for (unsigned ignored = 0; ignored < 8; ++ignored) {
    for (unsigned blocked = 0; blocked < 8; ++blocked) {
      if (ignored == 0 && blocked == 0) continue;
      catalogue.add("ignored and blocked",
                    {"incident", "incident-trace", "event-err", "log-rotation"},
                    std::to_string(ignored) + "." + std::to_string(blocked),
                    [ignored, blocked](Situation& situation) {
                      situation.caller.ignored = subsetOf(ignored);
                      situation.caller.blocked = subsetOf(blocked);
                    });
    }
  }
}

}  // namespace

void addSignals(Catalogue& catalogue) {
  for (int signal = 1; signal <= kSignals; ++signal) {
    if ((bitOf(signal) & kFixed) == 0) addOne(catalogue, signal);
  }
  addSubsets(catalogue);
  const auto addAll = [&catalogue](const char* what, std::uint64_t ignored, std::uint64_t blocked) {
    catalogue.add("ignored and blocked",
                  {"incident", "incident-above-pipe", "event-err", "log-rotation"}, what,
                  [ignored, blocked](Situation& situation) {
                    situation.caller.ignored = ignored;
                    situation.caller.blocked = blocked;
                  });
  };
  addAll("all.none", kAll, 0);
  addAll("none.all", 0, kAll);
  addAll("all.all", kAll, kAll);
}
