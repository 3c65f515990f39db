#ifndef TANEXICS_SENDEVENT_SENDEVENTBASE_H
#define TANEXICS_SENDEVENT_SENDEVENTBASE_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

class CVuqRmgLib;

/// An event and its transmission: what was read from the input files, the notification texts built
/// from it, and the exchange with the support centre. An object serves one run, in this order:
/// input, then `commonSendEvent`. What an operation returns as its status is an exit status of the
/// command (see sendevent/exitstatus.h).
///
/// The three jobs stand in SendEventBase_input.cpp, SendEventBase_notification.cpp and
/// SendEventBase_transmission.cpp.
class CSendEventBase {
 public:
  // The event types.
  static constexpr int kNotParsed = 0;   ///< the input was not read, or rejected
  static constexpr int kType1 = 1;       ///< known to the centre, and never produced by the input
  static constexpr int kIncident = 2;    ///< an incident
  static constexpr int kErrorEvent = 3;  ///< an event whose SendType is "err"
  static constexpr int kOtherEvent = 4;  ///< any other event

  /// The usable length of an event notification, fixed by its format.
  static constexpr int kFieldTextLimit = 896;

  CSendEventBase();
  virtual ~CSendEventBase();

  /// Reads the event definition file `path` (see tanexics-input(5)) into the parameters and sets
  /// the event type to 3 or 4 by its SendType. Returns 0, or 68 after one line of log; the event
  /// type is 0 then, and what stood before the bad line stays among the parameters. Null is a file
  /// that is not found.
  int parseTanexEventMsg(char* path);

  /// The same for an incident definition file, with the keys IncidentNumber, HostName,
  /// PartitionName and CollectionTime. The event type becomes 2 in every case.
  int parseTanexMsg(char* path);

  /// Reads a definition file of KEY=VALUE lines into the parameters.
  ///
  /// `keyList`  the keys that the file may, and but for MsgID must, give a value; the first one
  ///            missing in this order is reported.
  ///
  /// Returns 0 or 68, as above. The parameters are traced, and looked at for missing ones, once all
  /// lines have been read; where reading fails before the end, that alone is logged. `path` may
  /// be the value of a parameter.
  int parseMsgCommon(char* path, std::vector<std::string>& keyList);

  /// One of the event types above.
  int getEventType();

  /// A copy of the paths of the files to send, in the order in which they were listed.
  std::vector<std::string> getSendFileList();

  /// The parameter `key`, valid until it changes. An unknown key is inserted with an empty value;
  /// "" is returned for it, and for null, which inserts nothing.
  const char* getParam(const char* key);

  /// Stores a parameter, new or not. With a null argument nothing is done.
  void setParam(const char* key, const char* value);

  /// Sends the event: one notification and the files, or one of each a file, as its type has it.
  /// Every step is logged. Both arguments are ignored; they may be 0 and null.
  ///
  /// Returns 0 when all calls were made and none threw an integer, whatever the library's results
  /// were; 1 when communication could not be prepared or started; 68 for an event type other than 1
  /// to 4; otherwise the integer, 0 as well, that the last notification, data call or stop to throw
  /// one has thrown. An integer thrown by a status query, and any other exception, passes through,
  /// after communication has been stopped where it was started. What the start throws ends the
  /// process (see `CVuqRmgLib::startCom`), and so does a second stop that throws no integer.
  ///
  /// The library gets a copy of the list: what it writes into a path does not outlive the call.
  int commonSendEvent(int incidentFlag, char* machineId);

  /// Picks the line that a notification quotes: the first one that is no "#" comment of the first
  /// file in `files` with ".syslog.txt" or ".apllog.txt" anywhere in its path. Of a comment longer
  /// than 1,022 bytes, line end included, what follows these counts as a line.
  ///
  /// `line`  out: that line without its line end, at most 1,022 bytes; "Software Log" when there is
  ///         no such file; "" when the file holds no such line, is a directory, or cannot be
  ///         opened or read, which is logged. May be an item of `files`.
  void getSyslogLine(const std::vector<std::string>& files, std::string& line);

  /// Appends `src` to a notification as a field: quoted, quotes doubled, cut where the notification
  /// would pass its 896 bytes. A cut is logged, and so is a field that just fills them. An empty
  /// `src` appends no quotes.
  ///
  /// `dst`    a zero-terminated text. Null: nothing is done.
  /// `size`   the bytes of `dst`, terminator included; below 896 nothing is appended, and with 896
  ///          a field that fills the text loses its closing quote.
  /// `src`    null counts as empty.
  /// `comma`  non-zero: a comma follows where `size`, not the 896, leaves room.
  ///
  /// Nothing is appended, and nothing logged, when 4 bytes or less are left of the 896.
  void convStr(char* dst, int size, const char* src, int comma);

 protected:
  int m_eventType;                              ///< one of the event types above
  std::vector<std::string> m_sendFileList;      ///< the paths of the files to send
  std::map<std::string, std::string> m_params;  ///< what the definition says, by key

  /// The steps of `commonSendEvent` on a given client, whose life ends with the caller.
  int sendThrough(CVuqRmgLib& client);

  /// Reads one piece of a definition file, as `PieceReader` gives it, into the parameters. Returns
  /// 0, or 68 after one line of log.
  ///
  /// `piece`  edited: it ends before its line end, and, where it has one, at its first "=".
  int readDefinitionLine(char* piece, const std::vector<std::string>& keyList);

  /// Returns 68, after one line of log that names `path`, where a key of the list that must have a
  /// value has none; otherwise 0. The keys up to that one are inserted.
  int checkRequiredKeys(const char* path, const std::vector<std::string>& keyList);

  static constexpr std::size_t kNotificationBytes = 2048;  ///< terminator included

  /// Builds the notification of a request that is the `fileNumber`th, from 1, of `fileCount`.
  /// Returns `text`, or null for an event type without one.
  char* buildNotification(char (&text)[kNotificationBytes], int fileNumber, int fileCount);

 private:
  // Input.
  int readDefinition(const char* path, const std::vector<std::string>& keyList);
  void traceParams() const;

  // Notification texts.
  void buildIncidentText(char (&text)[kNotificationBytes], int fileNumber, int fileCount);
  void buildEventText(char (&text)[kNotificationBytes]);

  // Transmission.
  int sendFiles(CVuqRmgLib& client, unsigned notificationCode, unsigned dataCode,
                const std::vector<char*>& files);
};

#endif
