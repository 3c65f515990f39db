#include "tools/check/commandline.h"

#include "sendevent/exitstatus.h"
#include "sendevent/option.h"
#include "tools/check/command.h"
#include "tools/check/textmarks.h"

namespace check {

namespace {

bool isIncident(const char* option) { return beginsWith(option, "-i"); }
bool isEvent(const char* option) { return beginsWith(option, "-r"); }

/// What is hardly meant by a number that is joined to its option.
std::string meantBy(const char* joined) { return "; did you mean -i " + shown(joined + 2) + '?'; }

/// What is wrong with an incident's option that the command rejects.
std::string incidentError(const char* option, const char* value) {
  if (!isJoined(option)) return "no number after -i";
  const std::string rule =
      quoted(option) + " takes the number from the next word, without its first two characters, ";
  return rule +
         (value == nullptr ? std::string("and there is none")
                           : "and " + quoted(value) + " has fewer than two") +
         meantBy(option);
}

void checkIncident(CommandWords& words, FaultsOf& faults) {
  Command command;
  if (command.parseOption(words.option(), words.value()) != kExitSuccess) {
    faults.error(0, incidentError(words.option(), words.value()));
    return;
  }
  const std::string number = command.getParam("IncidentNumber");
  if (isJoined(words.option())) {
    faults.warning(0, "the number is " + quoted(number) + ": after " + quoted(words.option()) +
                          " it is the next word, " + quoted(words.value()) +
                          ", without its first two characters" + meantBy(words.option()));
  } else if (number.empty()) {
    faults.warning(0, "the number is empty");
  }
  const std::vector<std::string> marks = marksOf(number);
  if (!marks.empty()) faults.warning(0, "the number " + sentenceOf(marks));
}

}  // namespace

CommandWords::CommandWords(const std::vector<std::string>& words) : m_words(words) {
  m_words.insert(m_words.begin(), "tanexics");
  for (std::string& word : m_words) m_argv.push_back(word.data());
  m_argv.push_back(nullptr);
}

std::optional<std::string> CommandWords::list() const {
  return m_words.size() > 1 ? std::optional(m_words[1]) : std::nullopt;
}

std::optional<std::string> CommandWords::definition() {
  if (!isEvent(option())) return std::nullopt;
  if (isJoined(option())) return option() + 2;
  return value() == nullptr ? std::nullopt : std::optional<std::string>(value());
}

const std::string* CommandWords::firstIgnored() {
  if (option() == nullptr) return nullptr;
  const std::size_t used = isEvent(option()) && isJoined(option()) ? 3 : 4;
  return m_words.size() > used ? &m_words[used] : nullptr;
}

void checkWords(CommandWords& words, Faults& faults) {
  FaultsOf own(std::nullopt, faults);
  const char* option = words.option();
  if (option == nullptr) {
    own.error(0, "LISTFILE is needed, and behind it -i NUMBER or -r EVENTFILE");
    return;
  }
  if (isIncident(option)) {
    checkIncident(words, own);
  } else if (!isEvent(option)) {
    const bool isSwapped = isIncident(words.list()->c_str()) || isEvent(words.list()->c_str());
    own.error(0, quoted(option) + " is neither -i nor -r" +
                     (isSwapped ? "; LISTFILE stands before them" : ""));
  } else if (!words.definition()) {
    own.error(0, "no EVENTFILE after -r");
  }
  const std::string* ignored = words.firstIgnored();
  if (ignored != nullptr) own.warning(0, quoted(*ignored) + " is ignored, and all behind it");
}

}  // namespace check
