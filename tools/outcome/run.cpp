#include "tools/outcome/run.h"

#include <cstdio>

namespace outcome {

const char* wordOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kDelivered:
      return "delivered";
    case Verdict::kPartly:
      return "partly";
    case Verdict::kRefused:
      return "refused";
    case Verdict::kNotSent:
      return "not-sent";
    case Verdict::kUnknown:
      break;
  }
  return "unknown";
}

const char* wordOf(Mode mode) {
  switch (mode) {
    case Mode::kIncident:
      return "incident";
    case Mode::kErrorEvent:
      return "error-event";
    case Mode::kEvent:
      return "event";
    case Mode::kType1:
      return "type1";
    case Mode::kNone:
      break;
  }
  return nullptr;
}

std::string requestText(unsigned request) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", request);
  return text;
}

bool isAccepted(const Exchange& exchange) {
  return exchange.code == 0 && exchange.error.has_value() && exchange.error->empty();
}

std::string counted(std::size_t number, const std::string& one) {
  return std::to_string(number) + ' ' + one + (number == 1 ? "" : "s");
}

}  // namespace outcome
