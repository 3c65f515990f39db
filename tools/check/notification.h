#ifndef TANEXICS_CHECK_NOTIFICATION_H
#define TANEXICS_CHECK_NOTIFICATION_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/check/command.h"
#include "tools/common/language.h"

namespace check {

/// The name of the last field of an event's notification, for which there is no key.
constexpr const char* kLogLine = marked("log line");

/// A field of which not all is sent.
struct Loss {
  std::string field;    ///< its key; `kLogLine`; of an incident also "PART" and "TOTAL"
  bool isPart = false;  ///< whether some of it is sent
};

/// What the centre would be told.
struct Notification {
  std::string text;          ///< in the bytes of the input
  std::size_t limit = 0;     ///< the bytes that there is room for
  std::vector<Loss> losses;  ///< in the order of the fields
  std::string longestField;  ///< the key whose value takes the most room; of events alone
};

/// Has the command build its first notification, and compares this with what there is to tell.
///
/// `command`  has read its input, and has a host name. The log extract that it quotes is opened.
Notification notificationOf(Command& command);

}  // namespace check

#endif
