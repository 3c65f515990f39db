// Plays the calls that its words name on whatever libkelcom the loader gives it, so that the
// rehearsal has a command to run that does exactly what a test says:
//
//   id  status  start  stop          the call of that name
//   notify CODE TEXT                 an exchange with a text
//   data CODE COUNT PATH...          an exchange with COUNT files
//   print TEXT                       TEXT on standard output
//   log TEXT                         TEXT and a line feed after the action log
//   environment NAME                 NAME=VALUE after the action log, "NAME unset" without it
//   kill NUMBER                      that signal to itself
//   exit STATUS                      the end; without it the status is 0

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "rmglib/kelcom.h"

namespace {

class Words {
 public:
  Words(int argc, char** argv) : m_words(argv + 1, argv + argc) {}
  bool isAtEnd() const { return m_next == m_words.size(); }

  std::string next() {
    if (isAtEnd()) {
      std::fputs("player: a word is missing\n", stderr);
      std::exit(99);
    }
    return m_words[m_next++];
  }

  int nextNumber() { return static_cast<int>(std::strtoul(next().c_str(), nullptr, 0)); }

 private:
  std::vector<std::string> m_words;
  std::size_t m_next = 0;
};

void log(const std::string& text) {
  const char* path = std::getenv("TANEX_LOG");
  std::ofstream(path == nullptr ? "" : path, std::ios::app) << text << '\n';
}

void logEnvironment(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  log(value == nullptr ? name + " unset" : name + "=" + value);
}

void notify(Words& words) {
  int error[3] = {};
  const auto code = static_cast<unsigned>(words.nextNumber());
  KEL_Communicate(code, 0, 0, words.next().data(), error);
}

void sendData(Words& words) {
  int error[3] = {};
  const auto code = static_cast<unsigned>(words.nextNumber());
  std::vector<std::string> paths(static_cast<std::size_t>(words.nextNumber()));
  std::vector<char*> pointers;
  for (std::string& path : paths) {
    path = words.next();
    pointers.push_back(path.data());
  }
  KEL_Communicate(code, 0, static_cast<int>(pointers.size()), pointers.data(), error);
}

void play(const std::string& word, Words& words) {
  int value = 0;
  if (word == "id") {
    KEL_GetID(&value);
  } else if (word == "status") {
    KEL_GetStatus(0, &value);
  } else if (word == "start") {
    KEL_StartComm(0, &value);
  } else if (word == "stop") {
    KEL_StopComm();
  } else if (word == "notify") {
    notify(words);
  } else if (word == "data") {
    sendData(words);
  } else if (word == "print") {
    std::puts(words.next().c_str());
  } else if (word == "log") {
    log(words.next());
  } else if (word == "environment") {
    logEnvironment(words.next());
  } else if (word == "kill") {
    std::raise(words.nextNumber());
  } else if (word == "exit") {
    std::exit(words.nextNumber());
  } else {
    std::fprintf(stderr, "player: unknown word '%s'\n", word.c_str());
    std::exit(99);
  }
}

}  // namespace

int main(int argc, char** argv) {
  Words words(argc, argv);
  while (!words.isAtEnd()) play(words.next(), words);
  return 0;
}
