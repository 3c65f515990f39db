#include "loopback/rehearse/explanation.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

constexpr int kSmtp = 1;
constexpr int kHttp = 2;

TEST(ExplanationLines, AgentError_IsExplainedByTheCatalogue) {
  const struct {
    const char* what;
    int result;
    int errorType;
    int agentCode;
    std::vector<std::string> expected;
  } rows[] = {
      {"no agent error", -62, 0, 54, {}},
      {"plain row",
       -57,
       kHttp,
       53,
       {"(HTTP) 接続異常が発生しました。", "サーバがビジー状態のため、少し時間をおいてから",
        "再度操作を実施してください。", "RL:-57,ZW-Agent:53"}},
      {"the SMTP server's message, which is empty",
       -72,
       kSmtp,
       -6,
       {"(SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。",
        "以下のメッセージを参照して、環境を見直してください。", "(SMTPサーバのエラーメッセージ)",
        "", "RL:-72,ZW-Agent:-6"}},
      {"backslashes and wide blanks",
       -27,
       kSmtp,
       -3,
       {"(SMTP) ファイルアクセスエラー。ファイルがありません。", "以下のことを確認してください",
        "− 残りディスク容量は十分か", "−　システムドライブ:\\Program Files\\ZW-Agent",
        "    \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと",
        "　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか",
        "RL:-27,ZW-Agent:-3"}},
      {"unknown type", -62, 3, 54, {"() RL:-62,ZW-Agent:54"}},
      {"limits", INT_MIN, kHttp, INT_MAX, {"(HTTP) RL:-2147483648,ZW-Agent:2147483647"}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(explanationLines(row.result, row.errorType, row.agentCode), row.expected) << row.what;
  }
}

}  // namespace
