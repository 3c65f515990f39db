#ifndef TANEXICS_PROOF_FUZZ_RECORD_H
#define TANEXICS_PROOF_FUZZ_RECORD_H

#include <algorithm>
#include <string>

#include "rmglib/IExtKelError.h"

/// An extended error record with its fields open.
struct Record : IExtKelError {
  using IExtKelError::m_lastRMErrCode;
  using IExtKelError::m_lastSmtpMsg;
  using IExtKelError::m_lastZWErrCode;
  using IExtKelError::m_lastZWErrType;

  Record() = default;
  Record(int rc, int type, int code, const std::string& message) {
    m_lastRMErrCode = rc;
    m_lastZWErrType = type;
    m_lastZWErrCode = code;
    const std::size_t length = std::min(message.size(), sizeof m_lastSmtpMsg);
    std::copy_n(message.begin(), length, m_lastSmtpMsg);
  }

  int Communicate(unsigned long /*param*/, int /*a*/, int /*b*/, void* /*data*/) override {
    return 0;
  }

  /// The mail server's message: up to its zero byte, or the whole field.
  std::string message() const {
    const std::string field(m_lastSmtpMsg, sizeof m_lastSmtpMsg);
    return field.substr(0, field.find('\0'));
  }
};

#endif
