#include "tools/rehearse/recorded.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>

#include "loopback/outbox.h"
#include "tools/common/language.h"

using outcome::Verdict;

namespace {

using Json = nlohmann::json;

/// The calls of a record, one after the other.
class Reading {
 public:
  void add(const Json& call) {
    const std::string name = call.at("call").get<std::string>();
    const bool isThrown = call.contains("thrown");
    m_recorded.hasThrown |= isThrown;
    if (name == "KEL_StopComm") m_isStopped = true;
    if (name != "KEL_Communicate") return;
    // One that never ended was not accepted.
    const bool isZero =
        !call.contains("hangs") && call.at(isThrown ? "thrown" : "result").get<int>() == 0;
    const bool hasError = !isThrown && hasAgentsError(call.at("error"));
    Exchanges& all = m_recorded.exchanges;
    if (all.made == 0) m_announced = announcedBy(call);
    ++all.made;
    if (isZero) ++(isThrown ? all.thrownZero : hasError ? all.withError : all.accepted);
    for (const Json& item : call.value("items", Json::array())) {
      all.isFileMissing |= isMissingFile(item.value("error", ""));
    }
  }

  void addUnreadable() { ++m_recorded.unreadable; }

  Recorded end() {
    Exchanges& all = m_recorded.exchanges;
    // Without a word on it, and without a stop, there is one more at least.
    const int least = all.made + (m_isStopped || all.made == 0 || m_announced > 0 ? 0 : 1);
    all.expected = std::max(m_isStopped ? 0 : m_announced, least);
    return m_recorded;
  }

 private:
  static bool hasAgentsError(const Json& error) { return !error.is_null() && error.at(0) != 0; }

  /// How many exchanges the run of this first notification makes; 0 where that is not known.
  static int announcedBy(const Json& call) {
    constexpr std::string_view kTotal = ",TOTAL=\"";
    const std::string code = call.at("code").get<std::string>();
    if (code != "0x40016" && code != "0x40017") return 2;
    const Json& found = call.at("text");
    const std::string text = found.is_string() ? found.get<std::string>() : "";
    const std::size_t at = text.rfind(kTotal);
    int total = 0;
    if (at == std::string::npos) return total;
    std::from_chars(text.data() + at + kTotal.size(), text.data() + text.size(), total);
    return 2 * total;
  }

  Recorded m_recorded;
  bool m_isStopped = false;
  int m_announced = 0;
};

}  // namespace

Verdict verdictOf(const Exchanges& exchanges) {
  const int open = exchanges.withError + exchanges.thrownZero;
  const int missing = std::max(exchanges.expected - exchanges.made, 0);
  const int failed = exchanges.made - exchanges.accepted - open + missing;
  if (exchanges.made == 0) return Verdict::kNotSent;
  if (exchanges.accepted > 0 && failed > 0) return Verdict::kPartly;
  if (exchanges.accepted > 0 && exchanges.isFileMissing) return Verdict::kPartly;
  if (open > 0) return Verdict::kUnknown;
  return exchanges.accepted > 0 ? Verdict::kDelivered : Verdict::kRefused;
}

std::string reasonOf(const Exchanges& exchanges) {
  if (exchanges.made == 0) return translated("no exchange was made");
  const int all = std::max(exchanges.expected, exchanges.made);
  const auto number = static_cast<std::size_t>(all);
  const bool isAll = exchanges.accepted == exchanges.made && exchanges.isWhole();
  std::string reason =
      isAll ? translatedCount("all %s exchange accepted", "all %s exchanges accepted", number,
                              {std::to_string(all)})
            : translatedCount("%s of %s exchange accepted", "%s of %s exchanges accepted", number,
                              {std::to_string(exchanges.accepted), std::to_string(all)});
  if (!exchanges.isWhole()) {
    reason = translated("%s, %s made", {reason, std::to_string(exchanges.made)});
  }
  if (exchanges.withError > 0) {
    reason = translated("%s; %s answered with 0 and an agent's error",
                        {reason, std::to_string(exchanges.withError)});
  }
  if (exchanges.thrownZero > 0) {
    reason =
        translated("%s; %s left by throwing 0", {reason, std::to_string(exchanges.thrownZero)});
  }
  return exchanges.isFileMissing ? translated("%s; a listed file is missing", {reason}) : reason;
}

Recorded readRecorded(std::istream& record) {
  Reading reading;
  for (std::string line; std::getline(record, line);) {
    try {
      reading.add(Json::parse(line));
    } catch (const Json::exception&) {
      reading.addUnreadable();
    }
  }
  return reading.end();
}
