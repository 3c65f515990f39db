#ifndef TANEXICS_TESTS_SUPPORT_ERRORRECORD_H
#define TANEXICS_TESTS_SUPPORT_ERRORRECORD_H

#include <cstring>
#include <sstream>
#include <string>

#include "rmglib/IExtKelError.h"

/// The record with its fields open, and no library behind it.
struct Record : IExtKelError {
  Record() = default;
  Record(int rl, int type, int code, const std::string& message) {
    m_lastRMErrCode = rl;
    m_lastZWErrType = type;
    m_lastZWErrCode = code;
    message.copy(m_lastSmtpMsg, sizeof m_lastSmtpMsg);
  }
  int Communicate(unsigned long, int, int, void*) override { return 0; }

  using IExtKelError::m_lastRMErrCode;
  using IExtKelError::m_lastSmtpMsg;
  using IExtKelError::m_lastZWErrCode;
  using IExtKelError::m_lastZWErrType;
  using IExtKelError::m_text;

  std::string message() const { return {m_lastSmtpMsg, strnlen(m_lastSmtpMsg, 256)}; }
};

inline std::string serialised(IExtKelError& record) {
  std::ostringstream out;
  out << record;
  return out.str();
}

/// The fields in one text, to be compared as a whole.
inline std::string fields(const Record& record) {
  return std::to_string(record.m_lastRMErrCode) + "|" + std::to_string(record.m_lastZWErrType) +
         "|" + std::to_string(record.m_lastZWErrCode) + "|" + record.message();
}

inline std::string read(Record& record, const std::string& text) {
  std::istringstream in(text);
  in >> record;
  return fields(record);
}

#endif
