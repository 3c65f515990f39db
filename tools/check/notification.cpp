#include "tools/check/notification.h"

#include <string_view>

namespace check {

namespace {

/// The values of fields that stand between double quotes, doubled within, and between commas.
std::vector<std::string> fieldsIn(std::string_view text) {
  std::vector<std::string> fields(1);
  bool isQuoted = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char byte = text[at];
    if (isQuoted && byte == '"' && text.substr(at + 1, 1) == "\"") {
      fields.back() += byte;
      ++at;
    } else if (byte == '"') {
      isQuoted = !isQuoted;
    } else if (byte == ',' && !isQuoted) {
      fields.emplace_back();
    } else {
      fields.back() += byte;
    }
  }
  return fields;
}

/// The keys of the fields, in their order; "" for the one that is always empty. The command's own
/// builder tells: each key is its own value.
std::vector<std::string> fieldNames() {
  Command probe;
  probe.m_eventType = Command::kOtherEvent;
  for (const std::string& key : eventKeys()) probe.setParam(key.c_str(), key.c_str());
  std::vector<std::string> names = fieldsIn(probe.firstNotification(0));
  names.back() = kLogLine;
  return names;
}

void compareEvent(Command& command, Notification& notification) {
  notification.limit = Command::kFieldTextLimit;
  const std::vector<std::string> names = fieldNames();
  std::vector<std::string> sent = fieldsIn(notification.text);
  sent.resize(names.size());
  std::size_t longest = 0;
  for (std::size_t at = 0; at < names.size(); ++at) {
    std::string value;
    if (names[at] == kLogLine) {
      command.getSyslogLine(command.m_sendFileList, value);
    } else if (!names[at].empty()) {
      value = command.getParam(names[at].c_str());
      if (value.size() > longest) {
        longest = value.size();
        notification.longestField = names[at];
      }
    }
    if (sent[at] != value) notification.losses.push_back({names[at], !sent[at].empty()});
  }
}

/// The text of an incident is cut like any other, wherever it is full.
void compareIncident(Command& command, Notification& notification, std::size_t fileCount) {
  notification.limit = Command::kNotificationBytes - 2;
  const std::string number = command.getParam("IncidentNumber");
  command.setParam("IncidentNumber", "");
  std::string whole = command.firstNotification(fileCount);
  command.setParam("IncidentNumber", number.c_str());
  std::size_t begin = whole.find('"') + 1;
  whole.insert(begin, number);
  std::size_t end = begin + number.size();
  for (const char* field : {"IncidentNumber", "HostName", "PART", "TOTAL"}) {
    const std::size_t sent = notification.text.size();
    if (sent <= end) notification.losses.push_back({field, sent > begin});
    begin = whole.find('"', end + 1) + 1;
    end = whole.find('"', begin);
  }
}

}  // namespace

Notification notificationOf(Command& command) {
  const std::size_t fileCount = command.m_sendFileList.size();
  Notification notification;
  notification.text = command.firstNotification(fileCount);
  if (command.getEventType() == Command::kIncident) {
    compareIncident(command, notification, fileCount);
  } else {
    compareEvent(command, notification);
  }
  return notification;
}

}  // namespace check
