#ifndef TANEXICS_PROOF_FUZZ_SCRATCHFILE_H
#define TANEXICS_PROOF_FUZZ_SCRATCHFILE_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/demand.h"
#include "fuzz/filebytes.h"

/// A file that the name matters of, which a file in memory cannot choose: in a folder of its own
/// below TMPDIR, or in shared memory. Both go with the object.
class ScratchFile {
 public:
  /// The file has every one of `names`.
  explicit ScratchFile(const std::vector<std::string>& names) {
    const char* parent = ::getenv("TMPDIR");
    m_folder = std::string(parent == nullptr ? "/dev/shm" : parent) + "/tanexics-fuzz-XXXXXX";
    demand(::mkdtemp(m_folder.data()) != nullptr, "there is a scratch folder");
    for (const std::string& name : names) m_paths.push_back(m_folder + "/" + name);
    m_fd = ::open(m_paths.front().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    demand(m_fd >= 0, "a scratch file can be made");
    for (const std::string& path : m_paths) {
      if (path == m_paths.front()) continue;
      demand(::link(m_paths.front().c_str(), path.c_str()) == 0, "a file can have two names");
    }
  }
  ~ScratchFile() {
    for (const std::string& path : m_paths) ::unlink(path.c_str());
    ::rmdir(m_folder.c_str());
    ::close(m_fd);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const std::string& folder() const { return m_folder; }

  bool hasPath(const std::string& path) const {
    return std::count(m_paths.begin(), m_paths.end(), path) != 0;
  }

  /// Makes `bytes` the whole content.
  void write(const std::string& bytes) const { writeFileBytes(m_fd, bytes); }

  std::string read() const { return readFileBytes(m_fd); }

 private:
  std::string m_folder;
  std::vector<std::string> m_paths;
  int m_fd = -1;
};

#endif
