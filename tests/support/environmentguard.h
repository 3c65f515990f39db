#ifndef TANEXICS_TESTS_SUPPORT_ENVIRONMENTGUARD_H
#define TANEXICS_TESTS_SUPPORT_ENVIRONMENTGUARD_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// Sets an environment variable, or with null unsets it, for the life of the object.
class EnvironmentGuard {
 public:
  EnvironmentGuard(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old;
    set(value);
  }
  ~EnvironmentGuard() { set(m_old ? m_old->c_str() : nullptr); }
  EnvironmentGuard(const EnvironmentGuard&) = delete;
  EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

 private:
  void set(const char* value) {
    if (value != nullptr) {
      ::setenv(m_name.c_str(), value, 1);
    } else {
      ::unsetenv(m_name.c_str());
    }
  }

  std::string m_name;
  std::optional<std::string> m_old;
};

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
