#include "tools/check/commandline.h"

#include "sendevent/exitstatus.h"
#include "sendevent/option.h"
#include "tools/check/command.h"
#include "tools/check/textmarks.h"
#include "tools/common/language.h"

namespace check {

namespace {

bool isIncident(const char* option) { return beginsWith(option, "-i"); }
bool isEvent(const char* option) { return beginsWith(option, "-r"); }

/// What is wrong with an incident's option that the command rejects.
std::string incidentError(const char* option, const char* value) {
  if (!isJoined(option)) return translated("no number after -i");
  if (value == nullptr) {
    return translated(
        "%s takes the number from the next word, without its first two characters, and there is "
        "none; did you mean -i %s?",
        {quoted(option), shown(option + 2)});
  }
  return translated(
      "%s takes the number from the next word, without its first two characters, and %s has fewer "
      "than two; did you mean -i %s?",
      {quoted(option), quoted(value), shown(option + 2)});
}

void checkIncident(CommandWords& words, FaultsOf& faults) {
  Command command;
  if (command.parseOption(words.option(), words.value()) != kExitSuccess) {
    faults.error(0, incidentError(words.option(), words.value()));
    return;
  }
  const std::string number = command.getParam("IncidentNumber");
  if (isJoined(words.option())) {
    faults.warning(
        0, translated("the number is %s: after %s it is the next word, %s, without its first two "
                      "characters; did you mean -i %s?",
                      {quoted(number), quoted(words.option()), quoted(words.value()),
                       shown(words.option() + 2)}));
  } else if (number.empty()) {
    faults.warning(0, translated("the number is empty"));
  }
  const std::vector<std::string> marks = marksOf(number);
  // TRANSLATORS: followed by what is said of it, such as "begins with a blank"
  if (!marks.empty()) faults.warning(0, translated("the number %s", {sentenceOf(marks)}));
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
    own.error(0, translated("LISTFILE is needed, and behind it -i NUMBER or -r EVENTFILE"));
    return;
  }
  if (isIncident(option)) {
    checkIncident(words, own);
  } else if (!isEvent(option)) {
    const bool isSwapped = isIncident(words.list()->c_str()) || isEvent(words.list()->c_str());
    own.error(0, isSwapped ? translated("%s is neither -i nor -r; LISTFILE stands before them",
                                        {quoted(option)})
                           : translated("%s is neither -i nor -r", {quoted(option)}));
  } else if (!words.definition()) {
    own.error(0, translated("no EVENTFILE after -r"));
  }
  const std::string* ignored = words.firstIgnored();
  if (ignored != nullptr) {
    own.warning(0, translated("%s is ignored, and all behind it", {quoted(*ignored)}));
  }
}

}  // namespace check
