#ifndef TANEXICS_CHECK_COMMANDLINE_H
#define TANEXICS_CHECK_COMMANDLINE_H

#include <optional>
#include <string>
#include <vector>

#include "tools/check/faults.h"

namespace check {

/// The words of a command line as the command is handed them, for as long as the object lives.
class CommandWords {
 public:
  /// `words`  those after the program's name.
  explicit CommandWords(const std::vector<std::string>& words);
  CommandWords(const CommandWords&) = delete;
  CommandWords& operator=(const CommandWords&) = delete;

  int argc() const { return static_cast<int>(m_words.size()); }
  char** argv() { return m_argv.data(); }

  /// What `CSendEventSingleSystem::parseOption` is handed; null where there is none.
  char* option() { return wordAt(2); }
  char* value() { return wordAt(3); }

  /// The list, if one is named.
  std::optional<std::string> list() const;

  /// The definition file of an event, if one is named.
  std::optional<std::string> definition();

  /// The first word that the command does not look at; null where there is none.
  const std::string* firstIgnored();

 private:
  char* wordAt(std::size_t index) { return index < m_words.size() ? m_argv[index] : nullptr; }

  std::vector<std::string> m_words;  // the program's name is the first one
  std::vector<char*> m_argv;         // ends with null
};

/// Tells what is wrong with the words themselves, and not with the files that they name.
void checkWords(CommandWords& words, Faults& faults);

}  // namespace check

#endif
