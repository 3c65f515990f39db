#ifndef TANEXICS_TESTS_SUPPORT_FAKEPROGRAM_H
#define TANEXICS_TESTS_SUPPORT_FAKEPROGRAM_H

#include <sys/stat.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/environmentguard.h"
#include "support/scratch.h"

/// Stands in for a program that the shell looks for, for the life of the object: prints what the
/// test sets, ends as it says, and writes down with what arguments it was run.
class FakeProgram {
 public:
  explicit FakeProgram(const std::string& name)
      : m_name(name), m_path("PATH", (m_dir.path() + ":" + std::getenv("PATH")).c_str()) {
    answer("");
  }
  FakeProgram(const FakeProgram&) = delete;
  FakeProgram& operator=(const FakeProgram&) = delete;

  /// Prints `output` from now on, and then runs `ending`, a shell command.
  void answer(const std::string& output, const std::string& ending = "exit 0") const {
    m_dir.write("output", output);
    const std::string path =
        m_dir.write(m_name, "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" >>" + m_dir / "arguments" +
                                "\n/bin/cat " + m_dir / "output" + "\n" + ending + "\n");
    ::chmod(path.c_str(), 0755);
    ::chmod(m_dir.path().c_str(), 0755);
  }

  /// For every run since the last call of this function: the number of arguments, and then each.
  std::vector<std::string> takeArguments() const {
    std::vector<std::string> arguments = linesOf(readFile(m_dir / "arguments"));
    m_dir.write("arguments", "");
    return arguments;
  }

 private:
  std::string m_name;
  ScratchDir m_dir;
  EnvironmentGuard m_path;
};

#endif
