#include "tools/common/standardoutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "common/base/stdfds.h"
#include "tools/common/language.h"

StandardOutput::StandardOutput() {
  if (::fcntl(STDOUT_FILENO, F_GETFD) < 0) m_error = errno;
  occupyStandardDescriptors();
}

void StandardOutput::write(std::string_view text) {
  const std::string bytes = asCallerReads(text);
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  if (!isWritten && m_error == 0) m_error = errno;
}

void StandardOutput::flush() {
  if (std::fflush(stdout) != 0 && m_error == 0) m_error = errno;
}
