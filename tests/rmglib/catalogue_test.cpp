#include "rmglib/catalogue.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/eucjp.h"

// The catalogue is judged by a second transcript of it, kept apart on purpose from catalogue.txt
// and its generator, and turned into EUC-JP by iconv(3) here. Whoever changes a text changes it
// twice.

namespace {

/// What the rows of some keys ("TYPE RC/CODE", parted by commas) have.
struct Text {
  const char* keys;
  int kind;
  const char* message;
};

const Text kTexts[] = {
    {"HTTP -62/54,HTTP -54/42,HTTP -54/52,HTTP -13/45,HTTP -13/46,HTTP -12/44,HTTP -2/35,HTTP -2/40",
     0,
     u8R"(接続異常が発生しました。
サポート要員に以下のエラーコードをお知らせください。)"},
    {"HTTP -58/62", 0,
     u8R"(Proxyサーバの認証に失敗しました。
以下の環境設定を確認し再度操作を実施してください。
・  ユーザ名
・  パスワード)"},
    {"HTTP -57/53", 0,
     u8R"(接続異常が発生しました。
サーバがビジー状態のため、少し時間をおいてから
再度操作を実施してください。)"},
    {"HTTP -56/20", 0,
     u8R"(ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。
一時ファイルの作成でエラーがおきています。
システムディスクが一杯になっていないか確認してください。)"},
    {"HTTP -56/30", 0,
     u8R"(ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。
ダウンロードしたファームウェアの保存に失敗しました。
システムディスクが一杯になっていないか確認してください。)"},
    {"HTTP -56/59", 0,
     u8R"(接続異常が発生しました。
Proxyサーバで以下が発生していないか、
ネットワーク管理者にご確認ください。
　・ ProxyサーバでURLの名前解決に失敗している。
　・ Proxyサーバで異常が発生している。（障害/瞬断/回線エラー）
　・ Proxyサーバでタイムアウトが発生している。
Proxyサーバで問題がない場合は、DOVRAエージェントの
HTTP処理で内部矛盾が発生している可能性があります。
サポート要員に以下のエラーコードをお知らせください。)"},
    {"HTTP -56/60", 0,
     u8R"(SSL認証に失敗しました。
サポート要員に以下のエラーコードをお知らせください。)"},
    {"HTTP -56/99,HTTP -27/34,HTTP -19/10", 0,
     u8R"(ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。
サポート要員に以下のエラーコードをお知らせください。)"},
    {"HTTP -55/49", 0,
     u8R"(通信中に回線が切断されました。
ネットワークが一時的に不安定になっている可能性があるため、
時間をおいて再度操作を実施してください。
問題が解決しない場合はシステム管理者にご確認ください。)"},
    {"HTTP -54/41", 0,
     u8R"(HTTP サーバに接続できませんでした。
以下の環境設定を確認し、再度操作を実施してください。
・ Proxyサーバ名
・ ポートNo
・ ユーザ名
・ パスワード
正しい場合にはProxyサーバが動作していない可能性があります。
システム管理者にご確認ください。)"},
    {"HTTP -52/1,HTTP -52/6,HTTP -52/259", 0,
     u8R"(通信処理の動作異常(HTTPサーバ異常)が発生しました。
サポート要員に以下のエラーコードをお知らせください。)"},
    {"HTTP -27/32", 0,
     u8R"(ファイルアクセスエラーが発生しました。
一時ファイルの作成でエラーがおきています。
システムディスクが一杯になっていないか確認してください。)"},
    {"HTTP -21/257", 0,
     u8R"(通信処理の動作異常(装置ID未登録)が発生しました。
10分以上たってから再度操作を実施してください。)"},
    {"HTTP -20/1", 0,
     u8R"(ダウンロード処理は正常終了しました。
DOVRAセンタにダウンロード対象となるファームウェアがありません。)"},
    {"HTTP -18/258", 0,
     u8R"(通信処理の動作異常(構成情報ID不一致)が発生しました。
10分以上たってから再度操作を実施してください。)"},
    {"HTTP -16/31", 0,
     u8R"(ディスク容量が不足しています。
システムディスクを確認し、不要なファイルを削除してください。)"},
    {"HTTP -16/51", 0,
     u8R"(接続異常(容量不足)が発生しました。
システムディスクを確認し、不要なファイルを削除してください。)"},
    {"HTTP -14/5,HTTP -14/50,SMTP -14/-2", 0,
     u8R"(メモリが不足しています。
不要なアプリケーションを終了後、再度操作を実施してください。)"},
    {"HTTP -7/43", 0,
     u8R"(接続異常(タイムアウト）が発生しました。
ネットワークやProxyサーバに負荷がかかっている可能性があります。
時間をおいて再度操作を実施してください。
問題が解決しない場合はシステム管理者にご確認ください。)"},
    {"HTTP -2/56", 0,
     u8R"(接続異常(Proxyから異常が通知)が発生しました。
以下の環境設定を確認し再度操作を実施してください。
・ Proxyサーバ名
・ ポートNo)"},
    {"SMTP -91/-5,SMTP -19/-5", 0,
     u8R"(有効なメールアドレスがありません。
E-Mailアドレスが正しく設定されていません。)"},
    {"SMTP -79/-26", 1,
     u8R"(メール（SMTP）サーバとの間でエラーが発生しました。
指定されたSMTPサーバがAUTH認証に対応していません。
または、指定されたAUTH認証形式にSMTPサーバが対応していません。
以下の原因が考えられます。
−　SMTPサーバの指定が間違っている
−　指定したAUTH認証形式が間違っている)"},
    {"SMTP -79/-25", 1,
     u8R"(メール（SMTP）サーバとの間でエラーが発生しました。
SMTPサーバで認証エラーが発生しました。
指定されたユーザ名、パスワードに誤りがあり、
SMTPサーバで認証できませんでした。)"},
    {"SMTP -79/-18", 2,
     u8R"(メール（POP3）サーバとの間でエラーが発生しました。
POP3サーバ名に誤りがあるか、POP3サーバが起動していません。
以下の原因が考えられます。
−　POP3サーバ名が間違っている
−　DNS運用している場合にDNSサーバが動作していない
−　POP3サーバとの通信回線の異常)"},
    {"SMTP -79/-17", 0,
     u8R"(メール（POP3）サーバとの間でエラーが発生しました。
POP3サーバとの通信でタイムアウトが発生しました。
以下の原因が考えられます。
−　POP3サーバとの通信回線の異常
−　POP3サーバが起動していない。)"},
    {"SMTP -79/-16", 2,
     u8R"(メール（POP3）サーバとの間でエラーが発生しました。
POP3サーバとの通信処理でエラーが発生しました。
以下の原因が考えられます。
−　POP3サーバ名が間違っている
−　DNS運用している場合にDNSサーバが動作していない
−　POP3サーバとの通信回線の異常)"},
    {"SMTP -79/-15", 2,
     u8R"(メール（POP3）サーバとの間でエラーが発生しました。
POP before SMTPの認証に失敗しました。
以下の原因が考えられます。
−　POP3サーバ名が間違っている
−　ユーザ名に誤りがある。
−　パスワードに誤りがある。)"},
    {"SMTP -74/-10", 1,
     u8R"(メール（ＳＭＴＰ）サーバに接続できません。
SMTPサーバ名に誤りがあるか、SMTPサーバが起動していません。
以下の原因が考えられます。
−　SMTPサーバ名が間違っている
−　DNS運用している場合にDNSサーバが動作していない
−　SMTPサーバとの通信回線の異常)"},
    {"SMTP -74/-7", 1,
     u8R"(メール（ＳＭＴＰ）サーバに接続できません。
SMTPサーバとの通信処理でエラーが発生しました。
以下の原因が考えられます。
−　SMTPサーバ名が間違っている
−　DNS運用している場合にDNSサーバが動作していない
−　SMTPサーバとの通信回線の異常)"},
    {"SMTP -72/-6", 1,
     u8R"(メール（ＳＭＴＰ）サーバ上のエラーです。
以下のメッセージを参照して、環境を見直してください。)"},
    {"SMTP -27/-3", 0,
     u8R"(ファイルアクセスエラー。ファイルがありません。
以下のことを確認してください
− 残りディスク容量は十分か
−　システムドライブ:\Program Files\ZW-Agent
    \Hexbrook.RM\vasklormのtempフォルダとtmp2フォルダと
　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか)"},
    {"SMTP -7/-4", 0,
     u8R"(通信のタイムアウトエラーです。数分後に再度トライしてください。
再度トライしても同じ現象の場合は、メール（ＳＭＴＰ）サーバとの
通信回線及びSMTPサーバの起動状態を確認してください。)"},
};

/// All keys, in the order in which they are searched.
const std::vector<std::string> kOrder = {
    "HTTP -62/54",  "HTTP -58/62",  "HTTP -57/53",  "HTTP -56/20",  "HTTP -56/30",  "HTTP -56/59",
    "HTTP -56/60",  "HTTP -56/99",  "HTTP -55/49",  "HTTP -54/41",  "HTTP -54/42",  "HTTP -54/52",
    "HTTP -52/1",   "HTTP -52/6",   "HTTP -27/32",  "HTTP -27/34",  "HTTP -21/257", "HTTP -20/1",
    "HTTP -19/10",  "HTTP -18/258", "HTTP -16/31",  "HTTP -16/51",  "HTTP -14/5",   "HTTP -14/50",
    "HTTP -13/45",  "HTTP -13/46",  "HTTP -12/44",  "HTTP -7/43",   "HTTP -2/35",   "HTTP -2/40",
    "HTTP -2/56",   "SMTP -91/-5",  "SMTP -79/-26", "SMTP -79/-25", "SMTP -79/-18", "SMTP -79/-17",
    "SMTP -79/-16", "SMTP -79/-15", "SMTP -74/-10", "SMTP -74/-7",  "SMTP -72/-6",  "SMTP -27/-3",
    "SMTP -19/-5",  "SMTP -14/-2",  "SMTP -7/-4",   "HTTP -52/259"};

const Text& textOf(const std::string& key) {
  static const Text none = {"", -1, "none"};
  for (const Text& text : kTexts) {
    std::istringstream keys(text.keys);
    for (std::string each; std::getline(keys, each, ',');) {
      if (each == key) return text;
    }
  }
  return none;
}

std::string keyOf(const EXTERR& row) {
  return std::string(row.type) + ' ' + std::to_string(row.rc) + '/' + std::to_string(row.code);
}

TEST(Catalogue, EveryRow_StandsInSearchOrderWithItsKindAndText) {
  std::vector<std::string> keys;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row) {
    keys.push_back(keyOf(*row));
    EXPECT_EQ(row->kind, textOf(keys.back()).kind) << keys.back();
    EXPECT_EQ(row->message, toEuc(textOf(keys.back()).message)) << keys.back();
  }
  EXPECT_EQ(keys, kOrder);
}

TEST(Catalogue, ClosingRow_FollowsTheLastRow) {
  const EXTERR& closing = catalogueRows()[46];
  EXPECT_EQ(keyOf(closing), " 9999/9999");
  EXPECT_EQ(closing.kind, 0);
  EXPECT_STREQ(closing.message, "");
}

TEST(Catalogue, RowWithOneCodeOfTheClosingRow_DoesNotClose) {
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 9999, 1, 0, ""}));
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 1, 9999, 0, ""}));
  EXPECT_TRUE(isClosingRow(EXTERR{"", 9999, 9999, 0, ""}));
}

// One text as bytes, should iconv itself ever change its mind: full-width blank and minus, a
// backslash, and the two ways to write brackets.
TEST(Catalogue, MissingFile_IsToldInTheseBytes) {
  const std::string message = catalogueRows()[41].message;
  const std::string drive =
      "\241\335\241\241\245\267\245\271\245\306\245\340\245\311\245\351\245\244\245\326"
      ":\\Program Files\\ZW-Agent\n    \\Hexbrook.RM\\vasklorm\244\316temp";
  EXPECT_NE(message.find("\n" + drive), std::string::npos) << message;
}

TEST(Catalogue, MailKinds_HaveAHeading) {
  EXPECT_EQ(catalogueHeading(1), toEuc(u8"(SMTPサーバのエラーメッセージ)"));
  EXPECT_EQ(catalogueHeading(2), toEuc(u8"(POP3サーバのエラーメッセージ)"));
}

TEST(Catalogue, OtherKinds_HaveNoHeading) {
  EXPECT_STREQ(catalogueHeading(0), "");
  EXPECT_STREQ(catalogueHeading(3), "");
  EXPECT_STREQ(catalogueHeading(-1), "");
}

}  // namespace
