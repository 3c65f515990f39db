#ifndef TANEXICS_TOOLS_COMMON_STANDARDOUTPUT_H
#define TANEXICS_TOOLS_COMMON_STANDARDOUTPUT_H

#include <string_view>

/// Standard output of a program whose status tells whether all of it was printed. To be made before
/// any file is opened: a file must not become what is printed, so closed standard descriptors are
/// occupied. A pipe without a reader and a limit on file sizes are failures only where SIGPIPE and
/// SIGXFSZ are ignored.
class StandardOutput {
 public:
  StandardOutput();

  /// Prints a text as the caller reads it, see tools/common/language.h; at the latest when `flush`
  /// is called.
  void write(std::string_view text);

  /// Hands on what was printed.
  void flush();

  /// Why something could not be printed, the first time, as errno has it; 0 where all went well.
  /// EBADF from the start on where the caller has closed standard output.
  int error() const { return m_error; }

 private:
  int m_error = 0;
};

#endif
