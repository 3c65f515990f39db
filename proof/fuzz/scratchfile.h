#ifndef TANEXICS_PROOF_FUZZ_SCRATCHFILE_H
#define TANEXICS_PROOF_FUZZ_SCRATCHFILE_H

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/target.h"

/// A file in a folder of its own below TMPDIR, or in shared memory. Both go with the object.
class ScratchFile {
 public:
  /// The file has every one of `names`.
  explicit ScratchFile(const Texts& names, const std::string& bytes = "") {
    const char* parent = ::getenv("TMPDIR");
    m_folder = std::string(parent == nullptr ? "/dev/shm" : parent) + "/tanexics-fuzz-XXXXXX";
    demand(::mkdtemp(m_folder.data()) != nullptr, "there is a scratch folder");
    for (const std::string& name : names) m_paths.push_back(m_folder + "/" + name);
    write(bytes);
    for (const std::string& other : Texts(m_paths.begin() + 1, m_paths.end())) {
      std::filesystem::create_hard_link(path(), other);
    }
  }
  ~ScratchFile() { std::filesystem::remove_all(m_folder); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const std::string& folder() const { return m_folder; }
  const std::string& path() const { return m_paths.front(); }

  bool hasPath(const std::string& path) const {
    return std::count(m_paths.begin(), m_paths.end(), path) != 0;
  }

  /// Makes `bytes` the whole content.
  void write(const std::string& bytes) const {
    std::ofstream stream(path(), std::ios::binary);
    demand((stream << bytes << std::flush).good(), "a scratch file can be written");
  }

  std::string read() const {
    std::ifstream stream(path(), std::ios::binary);
    demand(stream.good(), "a scratch file can be read");
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::string m_folder;
  Texts m_paths;
};

#endif
