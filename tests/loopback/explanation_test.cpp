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
      {"longest row",
       -56,
       kHttp,
       59,
       {"(HTTP) 接続異常が発生しました。", "Proxyサーバで以下が発生していないか、",
        "ネットワーク管理者にご確認ください。", "　・ ProxyサーバでURLの名前解決に失敗している。",
        "　・ Proxyサーバで異常が発生している。（障害/瞬断/回線エラー）",
        "　・ Proxyサーバでタイムアウトが発生している。",
        "Proxyサーバで問題がない場合は、DOVRAエージェントの",
        "HTTP処理で内部矛盾が発生している可能性があります。",
        "サポート要員に以下のエラーコードをお知らせください。", "RL:-56,ZW-Agent:59"}},
      {"the SMTP server's message, which is empty",
       -72,
       kSmtp,
       -6,
       {"(SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。",
        "以下のメッセージを参照して、環境を見直してください。", "(SMTPサーバのエラーメッセージ)",
        "", "RL:-72,ZW-Agent:-6"}},
      {"the POP3 server's message, which is empty",
       -79,
       kSmtp,
       -15,
       {"(SMTP) メール（POP3）サーバとの間でエラーが発生しました。",
        "POP before SMTPの認証に失敗しました。", "以下の原因が考えられます。",
        "−　POP3サーバ名が間違っている", "−　ユーザ名に誤りがある。", "−　パスワードに誤りがある。",
        "(POP3サーバのエラーメッセージ)", "", "RL:-79,ZW-Agent:-15"}},
      {"backslashes and wide blanks",
       -27,
       kSmtp,
       -3,
       {"(SMTP) ファイルアクセスエラー。ファイルがありません。", "以下のことを確認してください",
        "− 残りディスク容量は十分か", "−　システムドライブ:\\Program Files\\ZW-Agent",
        "    \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと",
        "　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか",
        "RL:-27,ZW-Agent:-3"}},
      {"higher HTTP status",
       -52,
       kHttp,
       404,
       {"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。",
        "サポート要員に以下のエラーコードをお知らせください。", "RL:-52,ZW-Agent:404"}},
      // Keys that the catalogue does not have.
      {"lower HTTP status", -52, kHttp, 258, {"(HTTP) RL:-52,ZW-Agent:258"}},
      {"key of HTTP", -62, kSmtp, 54, {"(SMTP) RL:-62,ZW-Agent:54"}},
      {"unknown type", -62, 3, 54, {"() RL:-62,ZW-Agent:54"}},
      {"negative type", 0, -1, 0, {"() RL:0,ZW-Agent:0"}},
      {"limits", INT_MIN, kHttp, INT_MAX, {"(HTTP) RL:-2147483648,ZW-Agent:2147483647"}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(explanationLines(row.result, row.errorType, row.agentCode), row.expected) << row.what;
  }
}

}  // namespace
