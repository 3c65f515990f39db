#ifndef TANEXICS_REHEARSE_FOLDER_H
#define TANEXICS_REHEARSE_FOLDER_H

#include <string>

#include "loopback/outbox.h"

/// The names that stand beside those of the outbox.
constexpr char kActionLogName[] = "action.log";
constexpr char kActionLogBackupName[] = "action.bak";

/// The folder of one rehearsal: outbox of the stand-in library, and home of the action log. A
/// temporary one is removed with the object.
class RehearsalFolder {
 public:
  /// `kept`  the folder to use and to keep, made with its parents where it is missing; empty: a new
  ///         one under the directory for temporary files.
  ///
  /// An empty action log is made too, readable for its owner: the command's own would be readable
  /// for the super-user only, and a run as another user is rehearsed as well.
  ///
  /// Throws std::runtime_error (and what it is derived from, std::exception) when there is no
  /// folder to be had, or when `kept` holds anything of an earlier rehearsal: nothing of it is ever
  /// overwritten.
  explicit RehearsalFolder(const std::string& kept);
  ~RehearsalFolder();

  RehearsalFolder(const RehearsalFolder&) = delete;
  RehearsalFolder& operator=(const RehearsalFolder&) = delete;

  /// Absolute paths.
  const std::string& path() const { return m_path; }
  std::string record() const { return m_path + "/" + kRecordName; }
  std::string actionLog() const { return m_path + "/" + kActionLogName; }

  /// Where the command moves lines of a log that grows too large.
  std::string actionLogBackup() const { return m_path + "/" + kActionLogBackupName; }

  bool isKept() const { return m_isKept; }

 private:
  void makeActionLog() const;
  void removeTemporary() const;

  std::string m_path;
  bool m_isKept;
};

#endif
