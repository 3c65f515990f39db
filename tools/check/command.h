#ifndef TANEXICS_CHECK_COMMAND_H
#define TANEXICS_CHECK_COMMAND_H

#include <string>
#include <vector>

#include "sendevent/CSendEventSingleSystem.h"

namespace check {

/// A run of the command that reads its input and builds its notifications, and is never told to
/// send them. It writes no action log, since nobody initialises one.
class Command : public CSendEventSingleSystem {
 public:
  using CSendEventBase::buildNotification;
  using CSendEventBase::checkRequiredKeys;
  using CSendEventBase::kNotificationBytes;
  using CSendEventBase::m_eventType;
  using CSendEventBase::m_sendFileList;
  using CSendEventBase::readDefinitionLine;
  using CSendEventSingleSystem::ensureHostName;
  using CSendEventSingleSystem::parseOption;

  /// The notification of the first request, of `fileCount`. The input must have been read.
  std::string firstNotification(std::size_t fileCount) {
    char text[kNotificationBytes];
    return buildNotification(text, 1, static_cast<int>(fileCount));
  }
};

/// The keys that the definition of an event may have, in the order in which the command looks for
/// the first one missing.
inline std::vector<std::string> eventKeys() {
  return {
#include "sendevent/eventkeys.inc"
  };
}

}  // namespace check

#endif
