#include "loopback/descriptor.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

Descriptor::~Descriptor() {
  if (m_number < 0) return;
  // The destructor of an early return must not change the reason that the return reports.
  const int reason = errno;
  ::close(m_number);
  errno = reason;
}

Descriptor::Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(m_number, other.m_number);
  return *this;
}

Descriptor openHigh(const char* path, int flags, mode_t mode, int folder) {
  const Descriptor low(::openat(folder, path, flags | O_CLOEXEC, mode));
  if (!low.isOpen()) return Descriptor();
  return Descriptor(::fcntl(low.get(), F_DUPFD_CLOEXEC, kLowestDescriptor));
}
