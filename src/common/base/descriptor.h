#ifndef TANEXICS_COMMON_BASE_DESCRIPTOR_H
#define TANEXICS_COMMON_BASE_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <utility>

/// Owns one file descriptor and closes it at the end of its life. A negative number owns nothing.
class Descriptor {
 public:
  /// Takes over `number`; below 0, as a call that failed gives it, there is nothing to own.
  explicit Descriptor(int number = -1) : m_number(number) {}
  ~Descriptor() { close(); }

  /// Takes over what `other` owns.
  Descriptor(Descriptor&& other) noexcept : m_number(other.release()) {}
  /// Takes over what `other` owns, which gets in exchange, and closes at its end, what this owned.
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_number, other.m_number);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  /// The number, still owned; below 0 for none.
  int get() const { return m_number; }

  /// Whether there is one.
  bool isOpen() const { return m_number >= 0; }

  /// Closes it now; of an owner of nothing nothing is closed. errno stays as it is: the end of life
  /// at an early return must not change the reason that the return reports.
  void close() {
    if (m_number < 0) return;
    const int reason = errno;
    ::close(release());
    errno = reason;
  }

  /// Gives the number away, unclosed; the object owns nothing from now on.
  int release() { return std::exchange(m_number, -1); }

 private:
  int m_number;
};

#endif
