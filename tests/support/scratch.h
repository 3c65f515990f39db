#ifndef TANEXICS_TESTS_SUPPORT_SCRATCH_H
#define TANEXICS_TESTS_SUPPORT_SCRATCH_H

#include <string>
#include <vector>

/// Lines, messages, names, paths: what most tests compare.
using Texts = std::vector<std::string>;

/// A directory of one test, made under /tmp and removed with all that it holds, also after a failed
/// assertion and with read-only directories inside.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  /// The full path of the directory itself, or of `name` in it.
  const std::string& path() const { return m_path; }
  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

  /// Writes a file of the directory, replacing an older one, and returns its full path.
  std::string write(const std::string& name, const std::string& bytes) const;

 private:
  std::string m_path;
};

/// All bytes of a file; fails the test and gives "" when it cannot be read.
std::string readFile(const std::string& path);

/// The lines of a text, line feeds removed; an unterminated last line counts.
Texts linesOf(const std::string& text);

/// The names in a directory, sorted; "." and ".." left out.
Texts namesIn(const std::string& dir);

#endif
