#include "inherited/families.h"

namespace {

constexpr mode_t kOrdinaryMask = 022;
constexpr std::size_t kMegabyte = 1024UL * 1024UL;

void addFolders(Catalogue& catalogue) {
  constexpr std::pair<Folder, const char*> kFolders[] = {{Folder::kDeleted, "deleted"},
                                                         {Folder::kUnreadable, "unreadable"},
                                                         {Folder::kDeep, "deep"},
                                                         {Folder::kDetached, "detached"}};
  for (const auto& entry : kFolders) {
    const Folder folder = entry.first;
    catalogue.add("working directory",
                  {"incident", "incident-trace", "event-err", "event-trace", "log-rotation"},
                  entry.second,
                  [folder](Situation& situation) { situation.caller.folder = folder; });
  }
}

void addMasks(Catalogue& catalogue) {
  constexpr mode_t kMost = 0777;
  for (mode_t mask = 0; mask <= kMost; ++mask) {
    if (mask == kOrdinaryMask) continue;
    char text[8];
    std::snprintf(text, sizeof text, "%03o", mask);
    catalogue.add("mask", {"incident", "event-err"}, text,
                  [mask](Situation& situation) { situation.caller.mask = mask; });
  }
}

void addNiceness(Catalogue& catalogue) {
  constexpr int kMost = 19;
  const int ordinary = undisturbed(inheritedScenarios().front()).caller.nice;
  for (int nice = leastNice(); nice <= kMost; ++nice) {
    if (nice == ordinary) continue;
    catalogue.add("niceness", {"incident", "event-err"}, std::to_string(nice),
                  [nice](Situation& situation) { situation.caller.nice = nice; });
  }
}

void addSessions(Catalogue& catalogue) {
  for (const bool hasTerminal : {false, true}) {
    catalogue.add("session", {"incident", "event-err", "log-rotation"},
                  hasTerminal ? "with a terminal" : "without a terminal",
                  [hasTerminal](Situation& situation) {
                    situation.caller.session =
                        hasTerminal ? Session::kTerminal : Session::kNoTerminal;
                  });
  }
}

void addWords(Catalogue& catalogue) {
  const auto add = [&catalogue](std::size_t count, const std::string& word) {
    catalogue.add("arguments", {"incident", "event-err", "log-rotation"},
                  std::to_string(count) + " of " + std::to_string(word.size()),
                  [=](Situation& situation) {
                    situation.caller.words.insert(situation.caller.words.end(), count, word);
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
  const std::vector<std::string> programs = {"",
                                             "tanexics",
                                             "-tanexics",
                                             "/",
                                             "a\nb",
                                             "%s%n%d",
                                             "../../srv/bin/tanexics",
                                             "\xff",
                                             std::string(2000, 'p'),
                                             std::string(2020, 'p'),
                                             std::string(3000, 'p'),
                                             std::string(100000, 'p')};
  for (std::size_t at = 0; at < programs.size(); ++at) {
    const std::string& program = programs[at];
    catalogue.add("program's name", {"incident", "event-err", "log-rotation"}, std::to_string(at),
                  [program](Situation& situation) { situation.caller.program = program; });
  }
}

}  // namespace

void addProcess(Catalogue& catalogue) {
  addFolders(catalogue);
  addMasks(catalogue);
  addNiceness(catalogue);
  addSessions(catalogue);
  addWords(catalogue);
  addPrograms(catalogue);
}
