// Writes a page for a browser to read, and on standard output what is in it, one JSON object a run:
//
//     page_sample everyday|hostile|many|none FILE

#include "tools/log/page.h"

#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include "tools/log/json.h"
#include "tools/log/writefile.h"
#include "tools/pageruns.h"

namespace {

using outcome::Run;
using outcome::Verdict;

constexpr outcome::Encoding kEncoding = outcome::Encoding::kEither;
constexpr char kLog[] = "/var/log/tanexics/msg_action.log";

std::string timeOf(int day, int minute) {
  char text[64];
  std::snprintf(text, sizeof text, "2026/%02d/%02d %02d:%02d:09", 10 + day / 28, 1 + day % 28,
                minute / 60 % 24, minute % 60);
  return text;
}

Run partly(const std::string& start) {
  Run run = runOf(Verdict::kPartly, start,
                  "1 of 4 exchanges failed: /var/crash/2026-11-20/vmcore: -62 (HTTP) "
                  "RL:-62,ZW-Agent:54,Mailsvr:\"\"");
  run.expected = 4;
  run.identity = "20261120-0042";
  run.exchanges.push_back(notificationOf(2, 0));
  run.exchanges.push_back(
      transferOf("/var/crash/2026-11-20/vmcore", -62, "(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"\""));
  run.missing = {"/var/log/rotated/messages.1"};
  return run;
}

Run refused(const std::string& start) {
  Run run = runOf(Verdict::kRefused, start,
                  "2 of 2 exchanges failed: notification 1: -79 (SMTP) "
                  "RL:-79,ZW-Agent:-26,Mailsvr:\"530 5.7.0\"");
  run.mode = outcome::Mode::kErrorEvent;
  run.identity = "disk";
  run.exchanges = {notificationOf(1, -79, "(SMTP) RL:-79,ZW-Agent:-26,Mailsvr:\"530 5.7.0\""),
                   transferOf("/tmp/tanexics/extract", -79, "")};
  run.exitCode = 1;
  return run;
}

Run notSent(const std::string& start) {
  Run run = runOf(Verdict::kNotSent, start,
                  "Cancel sending investigation information, because connection status is not "
                  "operating. (status=131072)");
  run.exchanges.clear();
  run.expected.reset();
  run.exitCode = 1;
  return run;
}

Run unknown(const std::string& start) {
  Run run = runOf(Verdict::kUnknown, start, "the end is not in the log");
  run.end.clear();
  run.elapsed.reset();
  run.exitCode.reset();
  run.exchanges.back().code.reset();
  run.exchanges.back().error.reset();
  run.torn = 1;
  return run;
}

using Take = std::function<void(const std::string& log, const Run& run)>;

void everyday(const Take& take) {
  for (int day = 0; day < 40; ++day) {
    for (int turn = 0; turn < 3 + day * 7 % 11; ++turn) {
      const std::string start = timeOf(day, turn * 97 + day);
      const int lot = (day * 13 + turn * 5) % 29;
      Run run = lot == 3    ? partly(start)
                : lot == 7  ? refused(start)
                : lot == 11 ? notSent(start)
                : lot == 13 ? unknown(start)
                            : runOf(Verdict::kDelivered, start);
      run.pid = 1000 + day * 31 + turn;
      take(kLog, run);
    }
  }
}

void hostile(const Take& take) {
  int minute = 0;
  for (const std::string& text : hostileTexts()) {
    Run run = runOf(Verdict::kRefused, timeOf(1, ++minute), text);
    run.identity = text;
    run.host = text;
    run.exchanges = {transferOf(text, -1, text)};
    run.missing = {text};
    take("/tmp/" + text, run);
  }
}

void many(const Take& take) {
  for (int at = 0; at < 6000; ++at) {
    const int day = at / 60;
    take(kLog, at % 100 == 0 ? refused(timeOf(day, at % 60))
                             : runOf(Verdict::kDelivered, timeOf(day, at % 60)));
  }
}

void none(const Take&) {}

std::vector<std::string> explain(const Run& run) {
  std::vector<std::string> texts;
  if (run.verdict == Verdict::kPartly) {
    texts = {
        "-62/54: The connection to the centre could not be made.\n"
        "Look at the address of the proxy and at the firewall.",
        "通信エラーが発生しました。ネットワークの設定を確認してください。"};
  }
  if (run.identity && run.identity->find("title") != std::string::npos) texts = {*run.identity};
  return texts;
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, std::function<void(const Take&)>> kinds = {
      {"everyday", everyday}, {"hostile", hostile}, {"many", many}, {"none", none}};
  if (argc != 3 || kinds.count(argv[1]) == 0) return 64;
  Page page(kEncoding, explain);
  kinds.at(argv[1])([&page](const std::string& log, const Run& run) {
    page.add(log, run);
    std::cout << jsonOf(run, log, kEncoding) << '\n';
  });
  const std::string reason = writeWhole(argv[2], page.html());
  std::cerr << reason;
  return reason.empty() ? 0 : 1;
}
