#include "tools/outcome/explanation.h"

#include <sstream>

#include "rmglib/IExtKelError.h"
#include "tools/outcome/utf8text.h"

namespace outcome {

namespace {

/// The command's own record of an exchange that was made before: made again, it ends as it did.
class PastExchange : public IExtKelError {
 public:
  PastExchange(int result, int errorType, int agentCode)
      : m_result(result), m_errorType(errorType), m_agentCode(agentCode) {}

  int Communicate(unsigned long /*param*/, int /*a*/, int /*b*/, void* /*data*/) override {
    m_lastZWErrType = m_errorType;
    m_lastZWErrCode = m_agentCode;
    return m_lastRMErrCode = m_result;
  }

 private:
  int m_result;
  int m_errorType;
  int m_agentCode;
};

}  // namespace

std::vector<std::string> explanationLines(int result, int errorType, int agentCode) {
  PastExchange exchange(result, errorType, agentCode);
  exchange.Communicate(0, 0, 0, nullptr);
  std::istringstream text(utf8Text(exchange.toString(), "EUC-JP"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace outcome
