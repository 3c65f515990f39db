#ifndef TANEXICS_LOOPBACK_OUTBOX_H
#define TANEXICS_LOOPBACK_OUTBOX_H

#include <string>

#include "common/base/descriptor.h"

/// The names in an outbox: the record of the calls, and the folder of the copies.
constexpr char kRecordName[] = "exchanges.jsonl";
constexpr char kItemsName[] = "items";

/// What became of one file that was sent: exactly one of the two texts is filled.
struct StoredItem {
  std::string copy;   // the copy's path within the outbox
  std::string error;  // why there is none
};

/// Whether `error`, why there is no copy of a file, says that nothing is there to be sent, or
/// nothing that could be measured. Otherwise something is there, and was not copied.
bool isMissingFile(const std::string& error);

/// The folder in which one process leaves what it sends: the record of its calls, and a copy of
/// every file. Everything that can depend on the process (its working directory, the numbers of
/// free descriptors) is settled at construction; files are created for their owner alone.
class Outbox {
 public:
  /// Makes the folder, its parents and its "items" where they are missing, and opens the record,
  /// after which lines are appended. Copies are numbered on from what is there already.
  ///
  /// Throws std::runtime_error (and what it is derived from, std::exception) with a text that names
  /// the operation and its subject when the folder cannot be used.
  explicit Outbox(const std::string& directory);

  /// Appends `line`, which ends with a line feed, in a single write(2), so that lines of several
  /// processes never mix. Returns an empty text, or what went wrong.
  std::string append(const std::string& line);

  /// Copies the file `path` (not null; relative to the working directory) to "items". Only a
  /// regular file is ever opened: a FIFO's writer does not notice. A name that would be longer than
  /// 255 bytes is cut.
  StoredItem store(const char* path);

 private:
  std::string copyToItems(int source, const std::string& baseName, std::string& name);

  Descriptor m_record;
  Descriptor m_items;
  unsigned long m_lastNumber = 0;
};

#endif
