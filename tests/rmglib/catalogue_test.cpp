#include "rmglib/catalogue.h"

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

// The catalogue is judged by a second transcript of it, kept apart on purpose from catalogue.txt
// and its generator, and turned into EUC-JP by iconv(3) here. Whoever changes a text changes it
// twice.

#include "support/eucjp.h"

namespace {

struct Key {
  std::string type;
  int rc;
  int code;
};

bool operator==(const Key& a, const Key& b) {
  return a.type == b.type && a.rc == b.rc && a.code == b.code;
}

std::ostream& operator<<(std::ostream& out, const Key& key) {
  return out << key.type << ' ' << key.rc << '/' << key.code;
}

struct Group {
  std::vector<Key> keys;
  int kind;
  std::vector<std::string> lines;
};

const std::vector<Group>& expectedGroups() {
  static const std::vector<Group> groups = {
      {{{"HTTP", -62, 54},
        {"HTTP", -54, 42},
        {"HTTP", -54, 52},
        {"HTTP", -13, 45},
        {"HTTP", -13, 46},
        {"HTTP", -12, 44},
        {"HTTP", -2, 35},
        {"HTTP", -2, 40}},
       0,
       {u8"接続異常が発生しました。", u8"サポート要員に以下のエラーコードをお知らせください。"}},
      {{{"HTTP", -58, 62}},
       0,
       {u8"Proxyサーバの認証に失敗しました。",
        u8"以下の環境設定を確認し再度操作を実施してください。", u8"・  ユーザ名",
        u8"・  パスワード"}},
      {{{"HTTP", -57, 53}},
       0,
       {u8"接続異常が発生しました。", u8"サーバがビジー状態のため、少し時間をおいてから",
        u8"再度操作を実施してください。"}},
      {{{"HTTP", -56, 20}},
       0,
       {u8"ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。",
        u8"一時ファイルの作成でエラーがおきています。",
        u8"システムディスクが一杯になっていないか確認してください。"}},
      {{{"HTTP", -56, 30}},
       0,
       {u8"ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。",
        u8"ダウンロードしたファームウェアの保存に失敗しました。",
        u8"システムディスクが一杯になっていないか確認してください。"}},
      {{{"HTTP", -56, 59}},
       0,
       {u8"接続異常が発生しました。", u8"Proxyサーバで以下が発生していないか、",
        u8"ネットワーク管理者にご確認ください。",
        u8"　・ ProxyサーバでURLの名前解決に失敗している。",
        u8"　・ Proxyサーバで異常が発生している。（障害/瞬断/回線エラー）",
        u8"　・ Proxyサーバでタイムアウトが発生している。",
        u8"Proxyサーバで問題がない場合は、DOVRAエージェントの",
        u8"HTTP処理で内部矛盾が発生している可能性があります。",
        u8"サポート要員に以下のエラーコードをお知らせください。"}},
      {{{"HTTP", -56, 60}},
       0,
       {u8"SSL認証に失敗しました。", u8"サポート要員に以下のエラーコードをお知らせください。"}},
      {{{"HTTP", -56, 99}, {"HTTP", -27, 34}, {"HTTP", -19, 10}},
       0,
       {u8"ＨＴＴＰ／ＧＲＥＮ固有のエラーが発生しました。",
        u8"サポート要員に以下のエラーコードをお知らせください。"}},
      {{{"HTTP", -55, 49}},
       0,
       {u8"通信中に回線が切断されました。",
        u8"ネットワークが一時的に不安定になっている可能性があるため、",
        u8"時間をおいて再度操作を実施してください。",
        u8"問題が解決しない場合はシステム管理者にご確認ください。"}},
      {{{"HTTP", -54, 41}},
       0,
       {u8"HTTP サーバに接続できませんでした。",
        u8"以下の環境設定を確認し、再度操作を実施してください。", u8"・ Proxyサーバ名",
        u8"・ ポートNo", u8"・ ユーザ名", u8"・ パスワード",
        u8"正しい場合にはProxyサーバが動作していない可能性があります。",
        u8"システム管理者にご確認ください。"}},
      {{{"HTTP", -52, 1}, {"HTTP", -52, 6}, {"HTTP", -52, 259}},
       0,
       {u8"通信処理の動作異常(HTTPサーバ異常)が発生しました。",
        u8"サポート要員に以下のエラーコードをお知らせください。"}},
      {{{"HTTP", -27, 32}},
       0,
       {u8"ファイルアクセスエラーが発生しました。", u8"一時ファイルの作成でエラーがおきています。",
        u8"システムディスクが一杯になっていないか確認してください。"}},
      {{{"HTTP", -21, 257}},
       0,
       {u8"通信処理の動作異常(装置ID未登録)が発生しました。",
        u8"10分以上たってから再度操作を実施してください。"}},
      {{{"HTTP", -20, 1}},
       0,
       {u8"ダウンロード処理は正常終了しました。",
        u8"DOVRAセンタにダウンロード対象となるファームウェアがありません。"}},
      {{{"HTTP", -18, 258}},
       0,
       {u8"通信処理の動作異常(構成情報ID不一致)が発生しました。",
        u8"10分以上たってから再度操作を実施してください。"}},
      {{{"HTTP", -16, 31}},
       0,
       {u8"ディスク容量が不足しています。",
        u8"システムディスクを確認し、不要なファイルを削除してください。"}},
      {{{"HTTP", -16, 51}},
       0,
       {u8"接続異常(容量不足)が発生しました。",
        u8"システムディスクを確認し、不要なファイルを削除してください。"}},
      {{{"HTTP", -14, 5}, {"HTTP", -14, 50}, {"SMTP", -14, -2}},
       0,
       {u8"メモリが不足しています。",
        u8"不要なアプリケーションを終了後、再度操作を実施してください。"}},
      {{{"HTTP", -7, 43}},
       0,
       {u8"接続異常(タイムアウト）が発生しました。",
        u8"ネットワークやProxyサーバに負荷がかかっている可能性があります。",
        u8"時間をおいて再度操作を実施してください。",
        u8"問題が解決しない場合はシステム管理者にご確認ください。"}},
      {{{"HTTP", -2, 56}},
       0,
       {u8"接続異常(Proxyから異常が通知)が発生しました。",
        u8"以下の環境設定を確認し再度操作を実施してください。", u8"・ Proxyサーバ名",
        u8"・ ポートNo"}},
      {{{"SMTP", -91, -5}, {"SMTP", -19, -5}},
       0,
       {u8"有効なメールアドレスがありません。", u8"E-Mailアドレスが正しく設定されていません。"}},
      {{{"SMTP", -79, -26}},
       1,
       {u8"メール（SMTP）サーバとの間でエラーが発生しました。",
        u8"指定されたSMTPサーバがAUTH認証に対応していません。",
        u8"または、指定されたAUTH認証形式にSMTPサーバが対応していません。",
        u8"以下の原因が考えられます。", u8"−　SMTPサーバの指定が間違っている",
        u8"−　指定したAUTH認証形式が間違っている"}},
      {{{"SMTP", -79, -25}},
       1,
       {u8"メール（SMTP）サーバとの間でエラーが発生しました。",
        u8"SMTPサーバで認証エラーが発生しました。",
        u8"指定されたユーザ名、パスワードに誤りがあり、", u8"SMTPサーバで認証できませんでした。"}},
      {{{"SMTP", -79, -18}},
       2,
       {u8"メール（POP3）サーバとの間でエラーが発生しました。",
        u8"POP3サーバ名に誤りがあるか、POP3サーバが起動していません。",
        u8"以下の原因が考えられます。", u8"−　POP3サーバ名が間違っている",
        u8"−　DNS運用している場合にDNSサーバが動作していない",
        u8"−　POP3サーバとの通信回線の異常"}},
      {{{"SMTP", -79, -17}},
       0,
       {u8"メール（POP3）サーバとの間でエラーが発生しました。",
        u8"POP3サーバとの通信でタイムアウトが発生しました。", u8"以下の原因が考えられます。",
        u8"−　POP3サーバとの通信回線の異常", u8"−　POP3サーバが起動していない。"}},
      {{{"SMTP", -79, -16}},
       2,
       {u8"メール（POP3）サーバとの間でエラーが発生しました。",
        u8"POP3サーバとの通信処理でエラーが発生しました。", u8"以下の原因が考えられます。",
        u8"−　POP3サーバ名が間違っている", u8"−　DNS運用している場合にDNSサーバが動作していない",
        u8"−　POP3サーバとの通信回線の異常"}},
      {{{"SMTP", -79, -15}},
       2,
       {u8"メール（POP3）サーバとの間でエラーが発生しました。",
        u8"POP before SMTPの認証に失敗しました。", u8"以下の原因が考えられます。",
        u8"−　POP3サーバ名が間違っている", u8"−　ユーザ名に誤りがある。",
        u8"−　パスワードに誤りがある。"}},
      {{{"SMTP", -74, -10}},
       1,
       {u8"メール（ＳＭＴＰ）サーバに接続できません。",
        u8"SMTPサーバ名に誤りがあるか、SMTPサーバが起動していません。",
        u8"以下の原因が考えられます。", u8"−　SMTPサーバ名が間違っている",
        u8"−　DNS運用している場合にDNSサーバが動作していない",
        u8"−　SMTPサーバとの通信回線の異常"}},
      {{{"SMTP", -74, -7}},
       1,
       {u8"メール（ＳＭＴＰ）サーバに接続できません。",
        u8"SMTPサーバとの通信処理でエラーが発生しました。", u8"以下の原因が考えられます。",
        u8"−　SMTPサーバ名が間違っている", u8"−　DNS運用している場合にDNSサーバが動作していない",
        u8"−　SMTPサーバとの通信回線の異常"}},
      {{{"SMTP", -72, -6}},
       1,
       {u8"メール（ＳＭＴＰ）サーバ上のエラーです。",
        u8"以下のメッセージを参照して、環境を見直してください。"}},
      {{{"SMTP", -27, -3}},
       0,
       {u8"ファイルアクセスエラー。ファイルがありません。", u8"以下のことを確認してください",
        u8"− 残りディスク容量は十分か", u8"−　システムドライブ:\\Program Files\\ZW-Agent",
        u8"    \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと",
        u8"　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか"}},
      {{{"SMTP", -7, -4}},
       0,
       {u8"通信のタイムアウトエラーです。数分後に再度トライしてください。",
        u8"再度トライしても同じ現象の場合は、メール（ＳＭＴＰ）サーバとの",
        u8"通信回線及びSMTPサーバの起動状態を確認してください。"}},
  };
  return groups;
}

const std::vector<Key>& expectedOrder() {
  static const std::vector<Key> order = {
      {"HTTP", -62, 54},  {"HTTP", -58, 62},  {"HTTP", -57, 53},  {"HTTP", -56, 20},
      {"HTTP", -56, 30},  {"HTTP", -56, 59},  {"HTTP", -56, 60},  {"HTTP", -56, 99},
      {"HTTP", -55, 49},  {"HTTP", -54, 41},  {"HTTP", -54, 42},  {"HTTP", -54, 52},
      {"HTTP", -52, 1},   {"HTTP", -52, 6},   {"HTTP", -27, 32},  {"HTTP", -27, 34},
      {"HTTP", -21, 257}, {"HTTP", -20, 1},   {"HTTP", -19, 10},  {"HTTP", -18, 258},
      {"HTTP", -16, 31},  {"HTTP", -16, 51},  {"HTTP", -14, 5},   {"HTTP", -14, 50},
      {"HTTP", -13, 45},  {"HTTP", -13, 46},  {"HTTP", -12, 44},  {"HTTP", -7, 43},
      {"HTTP", -2, 35},   {"HTTP", -2, 40},   {"HTTP", -2, 56},   {"SMTP", -91, -5},
      {"SMTP", -79, -26}, {"SMTP", -79, -25}, {"SMTP", -79, -18}, {"SMTP", -79, -17},
      {"SMTP", -79, -16}, {"SMTP", -79, -15}, {"SMTP", -74, -10}, {"SMTP", -74, -7},
      {"SMTP", -72, -6},  {"SMTP", -27, -3},  {"SMTP", -19, -5},  {"SMTP", -14, -2},
      {"SMTP", -7, -4},   {"HTTP", -52, 259}};
  return order;
}

const Group& groupOf(const Key& key) {
  for (const Group& group : expectedGroups()) {
    for (const Key& candidate : group.keys) {
      if (candidate == key) return group;
    }
  }
  throw std::logic_error("a key without a text");
}

std::string eucText(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return toEuc(text);
}

std::vector<EXTERR> allRows() {
  std::vector<EXTERR> rows;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row) rows.push_back(*row);
  return rows;
}

TEST(Catalogue, HasFortySixRows) { EXPECT_EQ(allRows().size(), 46U); }

TEST(Catalogue, RowsStandInSearchOrder) {
  std::vector<Key> keys;
  for (const EXTERR& row : allRows()) keys.push_back({row.type, row.rc, row.code});
  EXPECT_EQ(keys, expectedOrder());
}

TEST(Catalogue, EveryRowHasItsKind) {
  for (const EXTERR& row : allRows()) {
    const Key key{row.type, row.rc, row.code};
    EXPECT_EQ(row.kind, groupOf(key).kind) << key;
  }
}

TEST(Catalogue, EveryRowHasItsTextInEucJp) {
  for (const EXTERR& row : allRows()) {
    const Key key{row.type, row.rc, row.code};
    EXPECT_EQ(row.message, eucText(groupOf(key).lines)) << key;
  }
}

TEST(Catalogue, ClosingRowFollowsTheLastRow) {
  const EXTERR& closing = catalogueRows()[46];
  EXPECT_STREQ(closing.type, "");
  EXPECT_EQ(closing.rc, 9999);
  EXPECT_EQ(closing.code, 9999);
  EXPECT_EQ(closing.kind, 0);
  EXPECT_STREQ(closing.message, "");
}

TEST(Catalogue, RowWithOneCodeOfTheClosingRowDoesNotClose) {
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 9999, 1, 0, ""}));
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 1, 9999, 0, ""}));
  EXPECT_TRUE(isClosingRow(EXTERR{"", 9999, 9999, 0, ""}));
}

// One text as bytes, should iconv itself ever change its mind: full-width blank and minus, a
// backslash, and the two ways to write brackets.
TEST(Catalogue, BytesOfTheMissingFileTextBegin) {
  const std::string message = catalogueRows()[41].message;
  const std::string drive =
      "\241\335\241\241\245\267\245\271\245\306\245\340\245\311\245\351\245\244\245\326"
      ":\\Program Files\\ZW-Agent\n    \\Hexbrook.RM\\vasklorm\244\316temp";
  EXPECT_NE(message.find("\n" + drive), std::string::npos) << message;
}

TEST(Catalogue, HeadingsOfTheMailKinds) {
  EXPECT_EQ(catalogueHeading(1), toEuc(u8"(SMTPサーバのエラーメッセージ)"));
  EXPECT_EQ(catalogueHeading(2), toEuc(u8"(POP3サーバのエラーメッセージ)"));
}

TEST(Catalogue, OtherKindsHaveNoHeading) {
  EXPECT_STREQ(catalogueHeading(0), "");
  EXPECT_STREQ(catalogueHeading(3), "");
  EXPECT_STREQ(catalogueHeading(-1), "");
}

}  // namespace
