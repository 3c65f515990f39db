// Drives the targets. The first word of the command line names one; the others are its inputs,
// files or folders of files. libFuzzer makes more of them, by the two functions that it calls; in
// builds without it, main runs the target on these alone.

#include <map>

#include "fuzz/target.h"
#include "log/CLog.h"

namespace {

std::map<std::string, TryInput>& targets() {
  static std::map<std::string, TryInput> all;
  return all;
}

TryInput chosen = nullptr;

}  // namespace

Target::Target(const char* name, TryInput tryInput) { targets()[name] = tryInput; }

/// Called once before the first input. Takes the target's name from the command line.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  const auto found = targets().find(*argc > 1 ? (*argv)[1] : "");
  demand(found != targets().end(), "the first word names a target");
  chosen = found->second;
  (*argv)[1] = (*argv)[0];
  --*argc;
  ++*argv;
  ::setenv("TANEX_LOG", "/dev/null", 1);
  ::unsetenv("TANEX_LOG_LEVEL");
  return gLog.init("fuzz", nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  chosen(Input({reinterpret_cast<const char*>(data), size}));
  return 0;
}

#ifndef TANEXICS_FUZZER

namespace {

/// Runs a file, or a folder of files; returns how many.
int replay(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(path)) count += replay(file);
    return count;
  }
  std::ifstream stream(path, std::ios::binary);
  demand(stream.is_open(), "the input can be read");
  // On the heap and no byte longer than the input, so that whoever reads on is seen.
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  std::printf("%s, %zu bytes\n", path.c_str(), bytes.size());
  std::fflush(stdout);  // the last line names the input at which a promise broke
  chosen(Input({bytes.data(), bytes.size()}));
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  int count = 0;
  for (int word = 1; word < argc; ++word) count += replay(argv[word]);
  demand(count > 0, "there is an input");
}

#endif
