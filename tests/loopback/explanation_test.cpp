#include "loopback/rehearse/explanation.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

constexpr int kSmtp = 1;
constexpr int kHttp = 2;

TEST(Explanation, NoAgentError) { EXPECT_EQ(Lines(), explanationLines(-62, 0, 54)); }

TEST(Explanation, PlainRow) {
  EXPECT_EQ(
      Lines({"(HTTP) 接続異常が発生しました。", "サーバがビジー状態のため、少し時間をおいてから",
             "再度操作を実施してください。", "RL:-57,ZW-Agent:53"}),
      explanationLines(-57, kHttp, 53));
}

TEST(Explanation, RowWithTheMailServersMessageWhichIsEmpty) {
  EXPECT_EQ(Lines({"(SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。",
                   "以下のメッセージを参照して、環境を見直してください。",
                   "(SMTPサーバのエラーメッセージ)", "", "RL:-72,ZW-Agent:-6"}),
            explanationLines(-72, kSmtp, -6));
}

TEST(Explanation, RowWithBackslashesAndWideBlanks) {
  EXPECT_EQ(Lines({"(SMTP) ファイルアクセスエラー。ファイルがありません。",
                   "以下のことを確認してください", "− 残りディスク容量は十分か",
                   "−　システムドライブ:\\Program Files\\ZW-Agent",
                   "    \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと",
                   "　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか",
                   "RL:-27,ZW-Agent:-3"}),
            explanationLines(-27, kSmtp, -3));
}

TEST(Explanation, HigherHttpStatus) {
  EXPECT_EQ(Lines({"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。",
                   "サポート要員に以下のエラーコードをお知らせください。", "RL:-52,ZW-Agent:404"}),
            explanationLines(-52, kHttp, 404));
}

TEST(Explanation, KeysThatTheCatalogueDoesNotHave) {
  EXPECT_EQ(Lines({"(HTTP) RL:-52,ZW-Agent:258"}), explanationLines(-52, kHttp, 258));
  EXPECT_EQ(Lines({"(SMTP) RL:-62,ZW-Agent:54"}), explanationLines(-62, kSmtp, 54));
  EXPECT_EQ(Lines({"() RL:-62,ZW-Agent:54"}), explanationLines(-62, 3, 54));
  EXPECT_EQ(Lines({"() RL:0,ZW-Agent:0"}), explanationLines(0, -1, 0));
  EXPECT_EQ(Lines({"(HTTP) RL:-2147483648,ZW-Agent:2147483647"}),
            explanationLines(INT_MIN, kHttp, INT_MAX));
}

}  // namespace
