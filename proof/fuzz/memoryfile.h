#ifndef TANEXICS_PROOF_FUZZ_MEMORYFILE_H
#define TANEXICS_PROOF_FUZZ_MEMORYFILE_H

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz/demand.h"
#include "fuzz/filebytes.h"

/// A file in memory, whose path anybody in this process can open: as fast as there is any, and gone
/// with the process however that ends.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& bytes = "")
      : m_fd(::memfd_create("fuzz", MFD_CLOEXEC)), m_path("/proc/self/fd/" + std::to_string(m_fd)) {
    demand(m_fd >= 0, "there is a file in memory");
    write(bytes);
  }
  ~MemoryFile() { ::close(m_fd); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const std::string& path() const { return m_path; }

  /// Makes `bytes` the whole content.
  void write(const std::string& bytes) const { writeFileBytes(m_fd, bytes); }

  std::string read() const { return readFileBytes(m_fd); }

 private:
  int m_fd;
  std::string m_path;
};

#endif
