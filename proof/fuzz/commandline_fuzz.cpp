// The command line: the input is its words, each ended by a zero byte.
//
// The bytes 1 to 4 as a whole word, or after an option's two bytes, stand for the paths of four
// files. Everywhere else a slash becomes an underscore: a word may be opened as a file, and those
// of the machine are none of a test's business.

#include <sys/stat.h>

#include <algorithm>
#include <optional>

#include "fuzz/judges.h"
#include "fuzz/scratchfile.h"
#include "fuzz/target.h"
#include "support/testevent.h"

namespace {

/// The four files, each of which may be named as a list and as a definition.
struct Files {
  ScratchFile list{{"list"}, "/var/log/a.syslog.txt\n#/b c\n\n/d\n"};
  ScratchFile definition{{"definition"}, definitionOf(eventParams())};
  ScratchFile empty{{"empty"}, "\n\r\n"};
  ScratchFile bad{{"bad"}, "=\n"};

  const ScratchFile& at(char number) const {
    return number == 1 ? list : number == 2 ? definition : number == 3 ? empty : bad;
  }

  const ScratchFile* find(const std::string& path) const {
    for (char number = 1; number <= 4; ++number) {
      if (at(number).path() == path) return &at(number);
    }
    return nullptr;
  }
};

const Files& files() {
  static const Files instance;
  return instance;
}

std::string argumentOf(std::string word) {
  const std::size_t digits = word.size() == 3 ? 2 : 0;
  if (word.size() == digits + 1 && word.back() >= 1 && word.back() <= 4) {
    return word.substr(0, digits) + files().at(word.back()).path();
  }
  std::replace(word.begin(), word.end(), '/', '_');
  return word;
}

struct Parsed {
  int status = 68;
  int type = CSendEventBase::kNotParsed;
  Texts list;
  Params params;
};

Parsed incident(const Parsed& before, const std::optional<std::string>& number) {
  Parsed parsed = before;
  parsed.type = CSendEventBase::kIncident;
  if (!number) return parsed;
  parsed.status = 0;
  parsed.params["IncidentNumber"] = *number;
  return parsed;
}

Parsed event(const Parsed& before, const std::string& path) {
  Parsed parsed = before;
  // To ask for the first parameter, which is missing, inserts it.
  if (path == files().empty.path()) parsed.params["Time"] = "";
  if (path != files().definition.path()) return parsed;
  parsed.status = 0;
  parsed.type = CSendEventBase::kErrorEvent;
  parsed.params = eventParams();
  return parsed;
}

/// The judge: what a command line means.
Parsed meaningOf(const Texts& words) {
  Parsed parsed;
  if (words.size() < 3) return parsed;
  const ScratchFile* list = files().find(words[1]);
  if (list == nullptr || list == &files().empty) return parsed;
  parsed.list = entriesOf(list->read());

  const std::string& option = words[2];
  const std::optional<std::string> next =
      words.size() > 3 ? std::make_optional(words[3]) : std::nullopt;
  if (option == "-i") return incident(parsed, next);
  if (option.substr(0, 2) == "-i") {
    if (!next || next->size() < 2) return incident(parsed, std::nullopt);
    return incident(parsed, next->substr(2));
  }
  if (option == "-r") return next ? event(parsed, *next) : parsed;
  if (option.substr(0, 2) == "-r") return event(parsed, option.substr(2));
  return parsed;
}

/// Whether a word happens to name a file of the current directory, of which the judge knows
/// nothing.
bool namesAnotherFile(const std::string& word) {
  struct stat status = {};
  const std::string joined = word.size() > 2 ? word.substr(2) : "";
  for (const std::string& path : {word, joined}) {
    if (files().find(path) == nullptr && ::stat(path.c_str(), &status) == 0) return true;
  }
  return false;
}

}  // namespace

void tryInput(Input input) {
  Texts words;
  while (!input.isEmpty()) words.push_back(argumentOf(input.word()));
  if (std::any_of(words.begin(), words.end(), namesAnotherFile)) return;

  TestSingleSystem event;
  Arguments arguments(words);
  const int status = event.parseCommandLine(arguments.argc(), arguments.argv());

  const Parsed expected = meaningOf(words);
  demandEqual(status, expected.status, "the status of the command line");
  demandEqual(event.getEventType(), expected.type, "the type that the option chooses");
  demandEqual(event.getSendFileList(), expected.list, "the list that the first word names");
  demandEqual(event.m_params, expected.params, "the parameters that the option gives");
  for (std::size_t i = 0; i < words.size(); ++i) {
    demandEqual(std::string(arguments.argv()[i]), words[i], "the words themselves stay");
  }
}
