// Stands on the stage where the shell and the collection commands are, and writes down what it
// finds itself with. As the shell it then becomes the real one; as a collection command it leaves a
// file in its directory and prints what it was ordered to. Linked statically: what it needs to
// start is less than what the real shell needs.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "core/testimony.h"

namespace {

bool endsWith(const char* text, const char* end) {
  const std::size_t length = std::strlen(text);
  const std::size_t wanted = std::strlen(end);
  return length >= wanted && std::strcmp(text + length - wanted, end) == 0;
}

void printAll(const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes, count);
    if (written <= 0) return;
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
}

void printCollected(std::size_t count) {
  char line[kCollectedLine];
  std::memset(line, 'c', sizeof line);
  line[sizeof line - 1] = '\n';
  for (; count > sizeof line; count -= sizeof line) printAll(line, sizeof line);
  printAll(line + sizeof line - count, count);
}

int collect(int argc, char** argv, const Testimony* testimony, Observation* observation) {
  const char* folder = argc > 1 ? argv[1] : "";
  struct stat status = {};
  const int place = ::open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (observation != nullptr) {
    setDetail(*observation, folder);
    if (::fstat(place, &status) == 0) observation->tempMode = status.st_mode;
  }
  const int file = ::openat(place, "data", O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (file >= 0) ::close(file);
  if (place >= 0) ::close(place);
  if (endsWith(argv[0], "tanexcs")) {
    printAll(kCollectedBySecond, std::strlen(kCollectedBySecond));
  } else if (testimony != nullptr) {
    printCollected(testimony->orders.collectedBytes);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv, char** environment) {
  constexpr int kNoShell = 127;
  const bool isShell = endsWith(argv[0], "/sh");
  Testimony* testimony = openTestimony();
  Observation* observation = observe(testimony, isShell ? Role::kShell : Role::kCollector);
  if (observation != nullptr) observeWords(*observation, argv, environment);
  if (!isShell) return collect(argc, argv, testimony, observation);
  if (observation != nullptr && argc > 2) setDetail(*observation, argv[2]);
  ::execve(kRealShell, argv, environment);
  return kNoShell;
}
