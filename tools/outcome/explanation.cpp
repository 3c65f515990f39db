#include "tools/outcome/explanation.h"

#include <sstream>

#include "rmglib/IExtKelError.h"
#include "tools/outcome/utf8text.h"

namespace outcome {

namespace {

/// The command's own record of an exchange, filled in after the fact.
class PastExchange : public IExtKelError {
 public:
  PastExchange(int result, int errorType, int agentCode) {
    m_lastRMErrCode = result;
    m_lastZWErrType = errorType;
    m_lastZWErrCode = agentCode;
  }

  /// Never called: the exchange is over.
  int Communicate(unsigned long /*param*/, int /*a*/, int /*b*/, void* /*data*/) override {
    return m_lastRMErrCode;
  }
};

}  // namespace

std::vector<std::string> explanationLines(int result, int errorType, int agentCode) {
  PastExchange exchange(result, errorType, agentCode);
  std::istringstream text(utf8Text(exchange.toString(), "EUC-JP"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace outcome
