#ifndef TANEXICS_CHECK_REPORT_H
#define TANEXICS_CHECK_REPORT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/check/faults.h"
#include "tools/check/notification.h"

namespace check {

/// What the command would do with its input.
enum class Answer {
  kAccepted,
  kRejected,
  kUnknown,  ///< it cannot be found out without doing harm, or nobody may know
};

/// A file that would be sent.
struct ListedFile {
  std::string path;
  std::optional<std::int64_t> bytes;  ///< as the command measures it; none: it cannot
};

/// All that there is to tell of one command line.
struct Report {
  Answer answer = Answer::kUnknown;
  bool hasChanged = false;  ///< whether that is because the input has changed meanwhile
  Faults faults;

  // What would be sent, where the answer is that it is accepted.
  int eventType = 0;  ///< as `CSendEventBase` has them
  std::optional<Notification> notification;
  std::vector<ListedFile> files;
};

/// Checks the words of a command line, those after the program's name, and all that they name.
///
/// `withEnvironment`  whether the machine is looked at as well.
Report reportOn(const std::vector<std::string>& words, bool withEnvironment);

}  // namespace check

#endif
