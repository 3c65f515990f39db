#include "loopback/openhigh.h"

Descriptor openHigh(const char* path, int flags, mode_t mode, int folder) {
  const Descriptor low(::openat(folder, path, flags | O_CLOEXEC, mode));
  if (!low.isOpen()) return Descriptor();
  return Descriptor(::fcntl(low.get(), F_DUPFD_CLOEXEC, kLowestDescriptor));
}
