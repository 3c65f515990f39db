// Takes the fuzzer's place: runs a target on kept inputs, with any compiler, any sanitizer, or
// none.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/target.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace fs = std::filesystem;

namespace {

/// The files that the words name: each word is a file, or a folder of files.
std::vector<fs::path> filesOf(const std::vector<fs::path>& words) {
  std::vector<fs::path> files;
  for (const fs::path& word : words) {
    if (fs::is_directory(word)) {
      files.insert(files.end(), fs::directory_iterator(word), fs::directory_iterator());
    } else {
      files.push_back(word);
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) {
    std::fprintf(stderr, "%s cannot be read\n", file.c_str());
    return false;
  }
  // On the heap and no byte longer than the input, so that whoever reads on is seen.
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  std::printf("%s, %zu bytes\n", file.c_str(), bytes.size());
  std::fflush(stdout);  // the last line names the input at which a promise broke
  tryInput(Input({bytes.data(), bytes.size()}));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  const std::vector<fs::path> files = filesOf({argv + 1, argv + argc});
  if (files.empty()) {
    std::fprintf(stderr, "usage: %s INPUT|FOLDER...; no input was found\n", argv[0]);
    return 1;
  }
  return std::all_of(files.begin(), files.end(), replay) ? 0 : 1;
}
