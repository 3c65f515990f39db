#ifndef TANEXICS_TEMP_CTEMP_H
#define TANEXICS_TEMP_CTEMP_H

#include <list>
#include <string>

/// Hands out temporary directories and files of its own, and removes them again.
///
/// An object stands for the items that it has made; they exist on disk until `delTempFile` or the
/// destructor removes them, whatever happens in between. They stay, for inspection, when the
/// environment variable TANEX_NOT_DEL_TEMP has a non-empty value, and where `isAllowDelete`, which
/// logs it, forbids to remove them. Every name ends in "_".
///
/// What cannot be made is logged here, and nothing is thrown for it. An item that rm(1) cannot
/// remove shows at trace level only, by the command's status.
class CTemp {
 public:
  CTemp();
  virtual ~CTemp();
  CTemp(const CTemp&) = delete;
  CTemp& operator=(const CTemp&) = delete;

  /// Makes a directory. Up to ten attempts are made; each failed one is logged.
  ///
  /// A directory that is there already under the generated name, or a link to one, counts as made;
  /// `delTempFile` removes it with its content (of a link, the link). By chance it does not happen:
  /// six characters of the name are random. Where other users may write to the parent directory and
  /// are not trusted, they can bring it about while the name is handed to mkdir(1): such a caller
  /// gives the process a private /tmp (see mount_namespaces(7)), or sets TMPDIR to a directory that
  /// only the super-user may write to, two levels below the root or more (see `isAllowDelete`).
  ///
  /// `path`       out: its path, relative where the parent directory is; meaningful only when the
  ///              result is 1. `prefix` and `parentDir` may point into it.
  /// `prefix`     what the name begins with; the C library uses the first five bytes of it (see
  ///              tempnam(3)), and "file" for an empty one. Null fails.
  /// `parentDir`  made, with its parents, where it does not exist, and left behind; null means
  ///              "/tmp". The environment variable TMPDIR wins over it where it names a directory,
  ///              writable or not.
  ///
  /// Returns 1, or 0 when all attempts failed.
  int getTempDir(std::string& path, const char* prefix, const char* parentDir);

  /// Makes an empty file that only its owner may read and write. As `getTempDir`, but the whole
  /// prefix is used, and TMPDIR is not looked at.
  ///
  /// `fd`  out: an open descriptor, the caller's to close, which commands that the caller starts
  ///       inherit; null closes the file at once. Each attempt that fails after it, as
  ///       `getTemp_sub` says, leaves one open.
  int getTempFile(std::string& path, const char* prefix, const char* parentDir, int* fd);

  /// One attempt of either kind.
  ///
  /// `kind`  non-zero: a directory; 0: a file.
  ///
  /// Returns 1, or 0 after one line of log (and those of `makeDir`, where that failed). A file that
  /// could not be renamed to its final name stays under its generated one, and a descriptor that
  /// was handed out stays open.
  int getTemp_sub(std::string& path, const char* prefix, const char* parentDir, int* fd, int kind);

  /// Removes the items whose path equals `path`, or all of them for null, from disk and from this
  /// object; one that cannot be removed is forgotten all the same. Each is traced at (CTemp:188).
  /// Returns their number; 0, and nothing is removed, while TANEX_NOT_DEL_TEMP keeps them.
  int delTempFile(const char* path);

 private:
  int makeItem(std::string& path, const char* prefix, const char* parentDir, int* fd, int kind);

  std::list<std::string> m_createdItems;
};

#endif
