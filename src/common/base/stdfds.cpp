#include "common/base/stdfds.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

void occupyStandardDescriptors() {
  pollfd standard[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
  if (::poll(standard, 3, 0) <= 0) return;
  for (const pollfd& descriptor : standard) {
    // The lowest free number is taken, which going upwards is this one. No close-on-exec mark: the
    // commands that are run need their standard descriptors as much.
    if ((descriptor.revents & POLLNVAL) != 0 && ::open("/dev/null", O_RDWR) < 0) return;
  }
}
