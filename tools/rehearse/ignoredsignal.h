#ifndef TANEXICS_REHEARSE_IGNOREDSIGNAL_H
#define TANEXICS_REHEARSE_IGNOREDSIGNAL_H

#include <csignal>

/// Ignores a signal for its life, as system(3) does for those of the terminal.
class IgnoredSignal {
 public:
  explicit IgnoredSignal(int number) : m_number(number) {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(m_number, &ignore, &m_before);
  }
  ~IgnoredSignal() { ::sigaction(m_number, &m_before, nullptr); }
  IgnoredSignal(const IgnoredSignal&) = delete;
  IgnoredSignal& operator=(const IgnoredSignal&) = delete;

  /// Adds the signal to `set` unless it was ignored before: the command starts as its caller would
  /// have started it.
  void addTo(sigset_t& set) const {
    if (m_before.sa_handler != SIG_IGN) ::sigaddset(&set, m_number);
  }

 private:
  int m_number;
  struct sigaction m_before = {};
};

#endif
