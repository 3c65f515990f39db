#include "support/scratch.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
  char name[] = "/tmp/tanexics-test-XXXXXX";
  if (::mkdtemp(name) == nullptr) throw std::runtime_error("no scratch directory under /tmp");
  m_path = name;
}

ScratchDir::~ScratchDir() {
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(m_path, error)) {
    if (fs::is_directory(entry.symlink_status(error))) {
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, error);
    }
  }
  fs::remove_all(m_path, error);
  EXPECT_FALSE(fs::exists(m_path)) << error.message();
}

std::string ScratchDir::write(const std::string& name, const std::string& bytes) const {
  const std::string path = *this / name;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
  file.close();
  EXPECT_TRUE(file.good()) << path;
  return path;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> namesIn(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}
