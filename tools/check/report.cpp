#include "tools/check/report.h"

#include <sys/stat.h>

#include <algorithm>

#include "common/files/filesystem.h"
#include "sendevent/exitstatus.h"
#include "tools/check/command.h"
#include "tools/check/commandline.h"
#include "tools/check/definition.h"
#include "tools/check/environment.h"
#include "tools/check/list.h"
#include "tools/common/language.h"
#include "tools/common/listed.h"

namespace check {

namespace {

/// Whether the command would look for the line of a notification in the file. It is asked itself,
/// with the same path in a place where nothing can be opened.
bool isLogExtract(const std::string& path) {
  std::string line;
  Command().getSyslogLine({"/dev/null/" + path}, line);
  return line.empty();
}

/// Why a file must not be opened to see what the command would read of it, see `specialKind`; null
/// where it may.
const char* reasonNotToOpen(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || S_ISSOCK(status.st_mode)) return nullptr;
  return specialKind(status.st_mode);
}

/// One check, from the words to the report.
class Check {
 public:
  explicit Check(const std::vector<std::string>& words) : m_words(words) {}

  Report run(bool withEnvironment) {
    Faults& faults = m_report.faults;
    checkWords(m_words, faults);
    if (const auto path = m_words.list()) m_list = checkList(*path, faults);
    if (const auto path = m_words.definition()) m_definition = checkDefinition(*path, faults);
    decide();
    if (m_report.answer == Answer::kAccepted) tellWhatIsSent();
    if (withEnvironment) checkEnvironment(!m_words.definition(), faults);
    return std::move(m_report);
  }

 private:
  bool isListCut() const { return m_list && m_list->extent == Extent::kPart; }

  /// Whether the command may be asked: not where it would have to read what was not read here.
  bool canBeAsked() const {
    const bool isListOpen =
        m_list && (m_list->extent == Extent::kUnknown || (isListCut() && m_list->paths.empty()));
    const bool isDefinitionOpen = m_definition && (m_definition->extent == Extent::kUnknown ||
                                                   m_definition->extent == Extent::kPart);
    return !isListOpen && !isDefinitionOpen;
  }

  /// The command's own answer. Of a list that is too large it is asked about all the rest.
  bool isAcceptedByCommand() {
    if (!isListCut()) {
      return m_command.parseCommandLine(m_words.argc(), m_words.argv()) == kExitSuccess;
    }
    m_command.m_sendFileList.assign(m_list->paths.begin(), m_list->paths.end());
    return m_command.parseOption(m_words.option(), m_words.value()) == kExitSuccess;
  }

  void decide() {
    const bool hasErrors = m_report.faults.errors() > 0;
    if (!canBeAsked()) {
      m_report.answer = hasErrors ? Answer::kRejected : Answer::kUnknown;
      return;
    }
    const bool isAccepted = isAcceptedByCommand();
    const bool isSame = isAccepted != hasErrors &&
                        (!isAccepted || std::equal(m_list->paths.begin(), m_list->paths.end(),
                                                   m_command.m_sendFileList.begin(),
                                                   m_command.m_sendFileList.end()));
    if (!isSame) {
      m_report.hasChanged = true;
      return;
    }
    m_report.answer = isAccepted ? Answer::kAccepted : Answer::kRejected;
  }

  void tellWhatIsSent() {
    m_command.ensureHostName();
    m_report.eventType = m_command.getEventType();
    for (const std::string& path : m_command.m_sendFileList) {
      const std::int64_t bytes = getFileSize(path.c_str());
      m_report.files.push_back({path, bytes < 0 ? std::nullopt : std::optional(bytes)});
    }
    // Nobody knows how many files a list that is too large has, nor its last ones.
    if (isListCut()) return;
    if (m_report.eventType == Command::kIncident) {
      m_report.notification = notificationOf(m_command);
      warnOfLosses(FaultsOf(std::nullopt, m_report.faults));
    } else if (mayQuoteExtract()) {
      m_report.notification = notificationOf(m_command);
      warnOfLosses(FaultsOf(m_words.definition(), m_report.faults));
    }
  }

  /// Tells of an event's log line. Returns whether it can be read.
  bool mayQuoteExtract() {
    FaultsOf own(m_words.list(), m_report.faults);
    const auto extract = std::find_if(m_list->paths.begin(), m_list->paths.end(), isLogExtract);
    std::string text;
    if (extract == m_list->paths.end()) {
      m_command.getSyslogLine(m_command.m_sendFileList, text);
      own.warning(0, translated("no path has .syslog.txt or .apllog.txt in it: the notification "
                                "quotes %s instead of a line",
                                {quoted(text)}));
      return true;
    }
    const std::size_t line =
        m_list->lines[static_cast<std::size_t>(extract - m_list->paths.begin())];
    if (const char* kind = reasonNotToOpen(*extract)) {
      own.warning(line, translated("%s is %s, and not opened here: the line that the notification "
                                   "quotes is not known",
                                   {quoted(*extract), translated(kind)}));
      return false;
    }
    m_command.getSyslogLine(m_command.m_sendFileList, text);
    if (text.empty()) {
      own.warning(
          line, translated("%s has no line that the notification could quote", {quoted(*extract)}));
    }
    return true;
  }

  /// Tells of what is not sent, but for a log line that is merely cut: it is as long as it is.
  void warnOfLosses(FaultsOf faults) {
    const Notification& notification = *m_report.notification;
    std::vector<std::string> cut;
    std::vector<std::string> left;
    for (const Loss& loss : notification.losses) {
      const std::string name = loss.field == kLogLine ? translated("the log line") : loss.field;
      (loss.isPart ? cut : left).push_back(name);
    }
    if (left.empty() && (cut.empty() || notification.losses.front().field == kLogLine)) return;
    std::string text =
        translated("the notification is %s of %s bytes",
                   {std::to_string(notification.text.size()), std::to_string(notification.limit)});
    if (!cut.empty()) text = translated("%s; cut: %s", {text, listed(cut)});
    if (!left.empty()) text = translated("%s; not sent: %s", {text, listed(left)});
    faults.warning(m_definition ? m_definition->lines[notification.longestField] : 0, text);
  }

  CommandWords m_words;
  Command m_command;
  Report m_report;
  std::optional<List> m_list;
  std::optional<Definition> m_definition;
};

}  // namespace

Report reportOn(const std::vector<std::string>& words, bool withEnvironment) {
  return Check(words).run(withEnvironment);
}

}  // namespace check
