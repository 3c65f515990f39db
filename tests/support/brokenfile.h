#ifndef TANEXICS_TESTS_SUPPORT_BROKENFILE_H
#define TANEXICS_TESTS_SUPPORT_BROKENFILE_H

#include <string>
#include <thread>

/// A path that can be opened once, gives `bytes`, and then a read error (EIO) in place of an end:
/// the slave of a terminal whose master hangs up when all has been read.
class BrokenFile {
 public:
  explicit BrokenFile(const std::string& bytes);
  ~BrokenFile();
  BrokenFile(const BrokenFile&) = delete;
  BrokenFile& operator=(const BrokenFile&) = delete;

  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
  std::thread m_hangUp;
};

#endif
