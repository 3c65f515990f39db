#ifndef TANEXICS_REHEARSE_FOLDER_H
#define TANEXICS_REHEARSE_FOLDER_H

#include <string>

#include "loopback/outbox.h"

/// The names that stand beside those of the outbox.
constexpr char kActionLogName[] = "action.log";
constexpr char kActionLogBackupName[] = "action.bak";

/// `path` as an absolute one. Throws std::runtime_error, with the reason in words, where the
/// working directory is gone.
std::string absolutePath(const std::string& path);

/// The folder of one rehearsal: outbox of the stand-in library, and home of the action log. A
/// temporary one is removed with the object.
class RehearsalFolder {
 public:
  /// `kept`  the folder to use and to keep, made with its parents where it is missing; empty: a new
  ///         one under the directory for temporary files. It is for its owner alone, whatever the
  ///         file-creation mask; an empty one that others can enter is closed to them.
  ///
  /// An empty action log is made too, readable for its owner: the command's own would be readable
  /// for the super-user only, and a run as another user is rehearsed as well.
  ///
  /// Throws std::runtime_error, with the reason in words, when there is no folder to be had, when
  /// its path is none that the command's environment and the shell behind it can be given, when
  /// `kept` belongs to somebody else, or holds something while others can enter it, or when it
  /// holds anything of an earlier rehearsal: nothing of it is ever overwritten.
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

  /// After the run: a log that the command has made itself, and its backup, have other permissions.
  void closeFiles() const;

 private:
  void makeActionLog() const;
  void removeTemporary() const;

  std::string m_path;
  bool m_isKept;
};

#endif
