#ifndef TANEXICS_TESTS_SUPPORT_TIMEZONEGUARD_H
#define TANEXICS_TESTS_SUPPORT_TIMEZONEGUARD_H

#include <ctime>

#include "support/environmentguard.h"

/// Sets the time zone for the life of the object: a rule as tzset(3) reads it, such as "JST-9", for
/// which no zone file is needed.
class TimeZoneGuard {
 public:
  explicit TimeZoneGuard(const char* rule) : m_variable("TZ", rule) { ::tzset(); }
  TimeZoneGuard(const TimeZoneGuard&) = delete;
  TimeZoneGuard& operator=(const TimeZoneGuard&) = delete;

 private:
  /// Reads the zone again after the variable, which is declared after it, has its old value.
  struct Reread {
    ~Reread() { ::tzset(); }
  } m_reread;
  EnvironmentGuard m_variable;
};

#endif
