#ifndef TANEXICS_TESTS_TOOLS_PAGERUNS_H
#define TANEXICS_TESTS_TOOLS_PAGERUNS_H

#include <string>
#include <utility>
#include <vector>

#include "tools/outcome/run.h"

/// A notification that was answered with `code`.
inline outcome::Exchange notificationOf(int part, int code, const std::string& error = "") {
  outcome::Exchange exchange;
  exchange.request = 0x40017;
  exchange.part = part;
  exchange.code = code;
  exchange.error = error;
  return exchange;
}

/// The transfer of one file.
inline outcome::Exchange transferOf(const std::string& path, int code,
                                    const std::string& error = "") {
  outcome::Exchange exchange;
  exchange.isData = true;
  exchange.request = 0x4010b;
  exchange.files = 1;
  exchange.path = path;
  exchange.code = code;
  exchange.error = error;
  return exchange;
}

/// A whole run that sent an incident with two exchanges.
inline outcome::Run runOf(outcome::Verdict verdict, const std::string& start,
                          const std::string& reason = "all 2 exchanges accepted") {
  outcome::Run run;
  run.pid = 4711;
  run.start = start;
  run.end = start;
  run.elapsed = 0.25;
  run.exitCode = 0;
  run.mode = outcome::Mode::kIncident;
  run.identity = "77";
  run.host = "db01";
  run.expected = 2;
  run.exchanges = {notificationOf(1, 0), transferOf("/var/log/messages", 0)};
  run.hasStart = true;
  run.verdict = verdict;
  run.reason = reason;
  return run;
}

/// Texts that would be something else than text, were they not escaped: in UTF-8, in EUC-JP, in
/// neither, and with bytes that stand for nothing.
inline const std::vector<std::string>& hostileTexts() {
  using namespace std::string_literals;
  static const std::vector<std::string> kTexts = {
      "<script>document.title='ran'</script>"s,
      "</style><script>document.title='ran'</script>"s,
      "</title></bdi></details></main><h1>all delivered</h1>"s,
      "\"><img src=x onerror=document.title='ran'>"s,
      "' onload='document.title=1"s,
      "<a href=\"javascript:document.title='ran'\">here</a>"s,
      "<meta http-equiv=refresh content='0;url=javascript:document.title=1'>"s,
      "<!-- --><![CDATA[ ]]> &lt;b&gt; &#60;i&#62;"s,
      "<svg><style>*{display:none}</style></svg>"s,
      "nul \0 bell \a escape \x1b[31m del \x7f csi \xc2\x9b"s,
      "line\nfeed\rand\ttab \\ backslash \\x3c"s,
      "\xa5\xdb\xa5\xb9\xa5\xc8"s,
      "broken \xff\xfe\xc0\xbc script \xe3\x81"s,
      "right to left \xe2\x80\xae dereviled"s,
      "{{7*7}} ${7*7} %3Cscript%3E"s,
      std::string(900, 'W'),
  };
  return kTexts;
}

#endif
