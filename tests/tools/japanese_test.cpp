// What the companions say in Japanese, in both encodings of it; and what is the same for everybody.

#include <gtest/gtest.h>

#include "support/childrun.h"
#include "support/sanitizer.h"
#include "tools/common/language.h"
#include "tools/common/retold.h"
#include "tools/common/terminal.h"
#include "tools/logbytes.h"
#include "tools/outcome/utf8text.h"

namespace {

struct Said {
  int status;
  std::string out;
  std::string err;

  bool operator==(const Said& other) const {
    return status == other.status && out == other.out && err == other.err;
  }
};

std::ostream& operator<<(std::ostream& stream, const Said& said) {
  return stream << said.status << '\n' << said.out << "---\n" << said.err;
}

using Environment = std::map<std::string, std::string>;

class Japanese : public testing::Test {
 protected:
  /// What a shell command prints, in the folder of the test, with the programs in its path.
  Said run(const std::string& command, Environment environment) const {
    environment.insert({{"LOCPATH", LOCALES}, {"TZ", "UTC"}, {"NO_COLOR", "1"}});
    const std::string program = TANEXICS_LOG;
    const std::string path = program.substr(0, program.rfind('/'));
    const ChildResult result =
        runProgram({"/bin/sh", "-c", "cd " + dir.path() + "; PATH=" + path + ":$PATH; " + command},
                   environment);
    return {result.exitCode(), result.out, result.err};
  }

  static Environment english() { return {{"LC_ALL", "C"}}; }
  static Environment utf8() { return {{"LC_ALL", "ja_JP.UTF-8"}}; }
  static Environment eucJp() { return {{"LC_ALL", "ja_JP.eucJP"}}; }

  /// What is said in Japanese; in both encodings the same.
  Said say(const std::string& command) const {
    Said said = run(command, eucJp());
    said.out = outcome::utf8Text(said.out, "EUC-JP");
    said.err = outcome::utf8Text(said.err, "EUC-JP");
#ifndef TANEXICS_ADDRESS_SANITIZER  // with which a program takes its time, and sees no more of it
    EXPECT_EQ(run(command, utf8()), said) << command;
#endif
    return said;
  }

  /// A help text, without the empty lines at its end: how many there are is up to the library that
  /// reads the options.
  std::string help(const std::string& program) const {
    Said said = say(program + " --help");
    EXPECT_EQ((Said{0, said.out, ""}), said);
    while (!said.out.empty() && said.out.back() == '\n') said.out.pop_back();
    return said.out;
  }

  void expectTheSameForEverybody(const std::string& command) const {
    const Said expected = run(command, english());
    EXPECT_EQ(run(command, utf8()), expected) << command;
    EXPECT_EQ(run(command, eucJp()), expected) << command;
  }

  const ScratchDir dir;
};

/// Runs with all verdicts; bytes of the log in neither encoding among them.
std::string someLog() {
  Texts lost = incident({0, -55, 0, 0});
  lost[6] = doneLine(-55, "(HTTP) RL:-55,ZW-Agent:49,Mailsvr:\"\"");
  Texts missing = incident({0, 0});
  missing.insert(missing.begin() + 1, "get file size error(/\xa4\xa2\xff,Permission denied)");
  Texts both = event({0, -1}, kOk, 78);
  both.insert(both.begin() + 1, "get file size error(/b,Permission denied)");
  return linesOf(1, incident({0, 0})) + linesOf(2, lost) + linesOf(3, missing) + linesOf(4, both) +
         linesOf(5, event({-1, -1}, kOk, 78)) + linesOf(6, unsent(kCancel, 1)) +
         linesOf(7, unsent("(T)", 0)) + linesOf(8, {kStartedLine, exitLine(1)}) +
         linesOf(9, {kStartedLine});
}

TEST_F(Japanese, LogIsToldRunByRun) {
  dir.write("a.log", someLog());
  const std::string at = "2026-11-21T23:30:33       ";
  EXPECT_EQ(say("tanexics-log a.log"),
            (Said{1,
                  at + "1  delivered  incident 42 (db01): 2 回の交信がすべて受理されました\n" + at +
                      "2  partly     incident 42 (db01): 交信 4 回のうち 1 回が失敗しました: "
                      "/file1: -55 (HTTP) RL:-55,ZW-Agent:49,Mailsvr:\"\"\n" +
                      at +
                      "3  partly     incident 42 (db01): リストのファイル 1 件のサイズを"
                      "取得できませんでした: /あ\\xff\n" +
                      at +
                      "4  partly     error-event Disk \"a\", full (db01): 交信 2 回のうち 1 回が"
                      "失敗しました: /a: -1; リストのファイル 1 件のサイズを取得できませんでした: "
                      "/b。採取コマンドは実行されませんでした\n" +
                      at +
                      "5  refused    error-event Disk \"a\", full (db01): 交信 2 回のうち 2 回が"
                      "失敗しました: 通知 1: -1。採取コマンドは実行されませんでした\n" +
                      at +
                      "6  not-sent   -: (CSendInfo::SendInfo) Cancel sending investigation "
                      "information, because connection status is not operating. (status=131072)\n" +
                      at + "7  unknown    -: 欠けているか壊れている行が 1 箇所あります\n" + at +
                      "8  unknown    -: 欠けているか壊れている行が 1 箇所あります\n" + at +
                      "9  unknown    -: 終了の行がログにありません\n",
                  ""}));
  EXPECT_EQ(say("tanexics-log --explain --last a.log"),
            (Said{2, at + "9  unknown    -: 終了の行がログにありません\n", ""}));
  EXPECT_EQ(say("tanexics-log --explain --pid 8 a.log").out,
            at + "8  unknown    -: 欠けているか壊れている行が 1 箇所あります\n"
                 "    終了ステータス 1: 通信の準備または開始ができませんでした\n");
}

TEST_F(Japanese, LogFitsTheTerminal) {
  dir.write("a.log", someLog());
  EXPECT_EQ(say("script -qec 'stty -onlcr cols 40; tanexics-log --verdict partly,unknown a.log' "
                "/dev/null")
                .out,
            R"(2026-11-21T23:30:33       2  partly
    incident 42 (db01): 交信 4 回のうち
    1 回が失敗しました: /file1: -55
    (HTTP) RL:-55,ZW-Agent:49,Mailsvr:""
2026-11-21T23:30:33       3  partly
    incident 42 (db01): リストのファイル
    1 件のサイズを取得できませんでした:
    /あ\xff
2026-11-21T23:30:33       4  partly
    error-event Disk "a", full (db01):
    交信 2 回のうち 1 回が失敗しました:
    /a: -1; リストのファイル 1 件のサイ
    ズを取得できませんでした: /b。採取コ
    マンドは実行されませんでした
2026-11-21T23:30:33       7  unknown
    -: 欠けているか壊れている行が 1 箇所
    あります
2026-11-21T23:30:33       8  unknown
    -: 欠けているか壊れている行が 1 箇所
    あります
2026-11-21T23:30:33       9  unknown
    -: 終了の行がログにありません
)");
}

TEST_F(Japanese, LogExplainsWords) {
  EXPECT_EQ(
      say("tanexics-log explain exit/78 exit/127 exit/-1 -62/54 nothing"),
      (Said{64,
            "終了ステータス 78: インシデントの一時ディレクトリを作成できませんでした\n"
            "終了ステータス 127: 通信ライブラリが送出したエラーコード。または、ローダーが"
            "コマンドを起動できませんでした\n"
            "終了ステータス -1: 通信ライブラリが送出したエラーコード\n"
            "(HTTP) 接続異常が発生しました。 サポート要員に以下のエラーコードをお知らせください。 "
            "RL:-62,ZW-Agent:54\n",
            "tanexics-log: nothing: 未知の語です。語の例: 131072, 0x20000, -62/54, "
            "SMTP/-79/-26, VUQ90103L, common:602, exit/78\n"}));
}

TEST_F(Japanese, LogExplainsWhatThePageForSupportStaffSays) {
  EXPECT_EQ(
      say("tanexics-log explain 32 131072 VUQ90103L VUQ90001L common:602 common.cpp:19"),
      (Said{
          0,
          R"(状態語 32 (0x20): 運用中。送信: する。"Cancel sending" の行にある場合: 問い合わせが失敗したか、2 回の問い合わせの間に回線が運用中になりました
状態語 131072 (0x20000): 停止中。送信: しない
VUQ90103L, "failed to create dir:PATH": 一時ディレクトリを作成できませんでした。たとえば、ディスクが一杯です
VUQ90001L, "destination:PATH is already exist and it's file": ディレクトリを作成しようとした場所にファイルがあります。このような行はコマンドが書いたものではなく、その共通関数ライブラリを使うほかのプログラムによるものです
(common:602)、"invalid param"、getEnvValue: 関数が必要な値なしで呼び出され、何もしませんでした。このような行はコマンドが書いたものではなく、その共通関数ライブラリを使うほかのプログラムによるものです
common.cpp:19、strlcpy: abort(3) の前に標準エラー出力に現れます。コマンドがそこに達することはありません
)",
          ""}));
  // All that the page has, without a line that has nothing of Japanese.
  const Said all = run(
      "grep -oE 'VUQ[0-9]{5}L|\\([A-Za-z]+:[0-9]+\\)' " SUPPORT_PAGE
      " | sort -u | xargs tanexics-log explain 1 >all; wc -l <all; LC_ALL=C grep -v '[^ -~]' all",
      utf8());
  EXPECT_GT(std::stoi(all.out), 50);
  EXPECT_EQ(linesOf(all.out).size(), 1U) << all.out;
  dir.write("a.log", linesOf(6, unsent(kCancel, 1)));
  EXPECT_EQ(say("tanexics-log --explain a.log | tail -n 2").out,
            "    終了ステータス 1: 通信の準備または開始ができませんでした\n"
            "    状態語 131072 (0x20000): 停止中。送信: しない\n");
}

TEST_F(Japanese, LogTellsWhatIsWrong) {
  dir.write("empty", "");
  dir.write("passwd", "root:x:0\n");
  const struct {
    const char* words;
    int status;
    const char* complaint;
  } rows[] = {
      {"none.log", 74, "none.log: そのようなファイルやディレクトリはありません"},
      {"empty", 3, "該当する実行がありません"},
      {"passwd", 3, "該当する実行がありません。解釈できない最初の行: root:x:0"},
      {".", 74, ".: ディレクトリです"},
      {"empty >/dev/full", 3, "該当する実行がありません"},
      {"--help >/dev/full", 74, "標準出力: デバイスに空き領域がありません"},
      {"--help >&-", 74, "標準出力: 不正なファイル記述子です"},
      {"explain", 64,
       "explain: 語がありません。語の例: 131072, 0x20000, -62/54, SMTP/-79/-26, VUQ90103L, "
       "common:602, exit/78"},
      {"--nothing", 64, "余分な引数があります: --nothing (オプションは --help で表示できます)"},
      {"--a --b", 64, "余分な引数があります: --b --a (オプションは --help で表示できます)"},
      {"--json --openmetrics", 64, "--json と --openmetrics は同時に指定できません"},
      {"--json=x", 64, "値として解釈できません: --json = x"},
      {"--pid", 64, "--pid: 値 N が 1 個必要です"},
      {"--pid 1 --pid 2", 64, "--pid: 指定できるのは 1 回までですが、2 回指定されています"},
      {"--pid x", 64,
       "--pid: プロセス ID「x」は正しくありません。4711 のような数値で指定してください"},
      {"--since x", 64,
       "--since: 日時「x」は正しくありません。YYYY-MM-DD または YYYY-MM-DDTHH:MM:SS の形式で"
       "指定してください"},
      {"--verdict x", 64,
       "--verdict: 「x」はありません。指定できるのは delivered, partly, refused, not-sent, unknown です"},
      {"--encoding x", 64, "--encoding: 「x」はありません。指定できるのは utf-8 と euc-jp です"},
      {"--last=0", 64, "--last: 1 以上の数を指定してください"},
      {"--follow a b", 64, "--follow: 追跡できるログは 1 つだけです"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(say(std::string("tanexics-log ") + row.words),
              (Said{row.status, "", "tanexics-log: " + std::string(row.complaint) + "\n"}))
        << row.words;
  }
}

TEST_F(Japanese, LogHasItsHelp) {
  EXPECT_EQ(help("tanexics-log"),
            R"(tanexics のアクションログにある実行ごとに、報告が届いたかどうかを示します。

使い方: tanexics-log [OPTIONS] [LOG...]
        tanexics-log explain WORD...

引数:
  LOG ...                     アクションログ。省略時は TANEX_LOG の値、なければ msg_action.log を、その .bak に続けて読みます

オプション:
  -h,--help                   このヘルプを表示して終了します
  --since T                   T 以降に始まった実行
  --until T                   T 以前に始まった実行
  --pid N                     プロセス ID が N の実行
  --incident N                インシデント N の実行
  --verdict V                 判定がこのいずれかである実行 (コンマ区切り)
  --follow                    読み続け、実行が終わるたびに表示します
  --last[=N]                  該当する実行のうち最後の N 件、または最後の 1 件
  --lines                     各実行の下に、その実行の行を表示します
  --explain                   状態語、エラー、番号の意味を説明します
  --json                      実行ごとに JSON オブジェクトを 1 行で出力します
  --openmetrics               textfile コレクター用のメトリクスを出力します
  --html FILE                 人が読むためのページを FILE に書き出します
  --encoding E                テキストを自動判別せず、E (utf-8 または euc-jp) として読みます
  --version                   バージョンを表示して終了します)");
}

TEST_F(Japanese, LogForProgramsAndThePageAreTheSameForEverybody) {
  dir.write("a.log", someLog());
  expectTheSameForEverybody("tanexics-log --json a.log none.log");
  expectTheSameForEverybody("tanexics-log --json --lines --explain a.log none.log");
  expectTheSameForEverybody("tanexics-log --openmetrics a.log");
  expectTheSameForEverybody("tanexics-log --html page a.log none.log; cat page");
  expectTheSameForEverybody("tanexics-log --version");
}

// --- tanexics-check
// -------------------------------------------------------------------------------

TEST_F(Japanese, CheckTellsFaultsAndWhatIsSent) {
  dir.write("list", "/none\n#x \n/\nrel\n/none\n/dev/null\n");
  dir.write(
      "event",
      "Labell=x\n OSType=\n#no\n # c\nLabel\nSendType=ERR\nSendType=err\nMsgID=\x01 \nPkgName=\n"
      "Time:x\n  \nwhat=1\n\"HostName\"=1\n=\nOSName\n" +
          std::string(1023, 'a') + "b\nMsgType=\xa4\xa2\n");
  const std::string list = R"(list:1: warning: "/none" は存在しません
list:2: warning: "#x " はファイル名として扱われます。空白で終わっています。存在しません
list:3: warning: "/" はディレクトリです
list:4: warning: "rel" は相対パスであり、コマンドを起動した場所から解釈されます。存在しません
list:5: warning: "/none" はリストの 1 行目にもあり、それぞれについて送信されます。存在しません
list:6: warning: "/dev/null" はデバイスです
)";
  const std::string many(200, 'a');
  EXPECT_EQ(
      say("tanexics-check list -r event"),
      (Said{68,
            list + R"(event:1: error: 未知のキー "Labell" です。Label の間違いではありませんか?
event:2: error: 未知のキー " OSType" です (前に空白があります)
event:4: error: " # c" に「=」がありません。コメントの「#」は行の先頭に置きます
event:5: error: "Label" に「=」がありません。"Label=..." の間違いではありませんか?
event:6: warning: SendType=ERR は「その他のイベント」(0x40205) として送られます。完全に一致する値は「err」だけです
event:7: warning: SendType が重複しています。6 行目の値は無効になります
event:8: warning: MsgID の値は空白で終わっています。制御バイトを含んでいます
event:9: error: PkgName に値がありません
event:10: error: "Time:x" に「=」がありません。"Time=x" の間違いではありませんか?
event:11: error: "  " に「=」がありません。読み飛ばされるのは空行であり、空白だけの行ではありません
event:12: error: 未知のキー "what" です。キーの一覧は tanexics-input(5) にあります
event:13: error: 未知のキー ""HostName"" です (引用符で囲まれています)
event:14: error: 「=」の前にキーがありません
event:15: error: "OSName" に「=」がありません。"OSName=..." の間違いではありませんか?
event:16: error: ")" +
                many + R"(..." に「=」がありません
event:16: warning: 行が 1023 バイトを超えています。以降は 1023 バイトごとに別の行として読み取られます
event:16: error: "b" に「=」がありません (行の先頭から 1023 バイトより後)
event: error: OSVersion がありません
event: error: EventID がありません
event: error: PartitionName がありません
result: rejected (68)
)",
            ""}));
  dir.write("list", "/none\n/dev/null\n");
  EXPECT_EQ(
      say("tanexics-check --strict list -i42 1123 more | sed 's/HOSTNAME=\"[^\"]*/HOSTNAME=\"x/'"),
      (Said{
          0,
          R"(command line: warning: 番号は "23" になります。"-i42" の場合、次の語 "1123" から先頭の 2 文字を除いたものが番号です。-i 42 の間違いではありませんか?
command line: warning: "more" とそれより後の語は無視されます
list:1: warning: "/none" は存在しません
list:2: warning: "/dev/null" はデバイスです
インシデント (0x40017) を送信します: ファイル 2 個、計 0 バイト
最初の通知 (2046 バイト中 43 バイト): INCNO="23",HOSTNAME="x",PART="1",TOTAL="2"
ファイル "/none": サイズ不明
ファイル "/dev/null": 0 バイト
result: accepted, 4 warnings
)",
          ""}));
  EXPECT_EQ(say("mkfifo pipe 2>&-; tanexics-check pipe -i ''"),
            (Said{74, R"(command line: warning: 番号が空です
pipe: warning: 名前付きパイプであるため、ここでは開きません。コマンドは終わりまで読み取ります
result: not known
)",
                  ""}));
}

TEST_F(Japanese, CheckLooksAtTheEnvironment) {
  dir.write("list", "/dev/null\n");
  EXPECT_EQ(say("TANEX_LOG=none/log TMPDIR=/ tanexics-check --environment list -i ' 1' | "
                "grep -E '^(command line|none/log|/): '")
                .out,
            R"(command line: warning: 番号は空白で始まっています
none/log: warning: 書き込めません (そのようなファイルやディレクトリはありません)。実行の記録が残りません
none/log: warning: ログの世代交代のときにシェルコマンドで使われます。英数字と /._- だけから成る絶対パスでなければなりません
/: warning: ルートに近すぎます。一時ディレクトリが削除されません
)");
}

TEST_F(Japanese, CheckTellsWhatIsCut) {
  const std::string extract = dir.write("a.syslog.txt", "line");
  dir.write("list", extract + "\n");
  std::string event = "SendType=err\n";
  for (const char* key : {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName",
                          "MsgType", "MsgID", "EventID", "PartitionName"}) {
    event += key + ("=" + std::string(150, 'b')) + '\n';
  }
  dir.write("event", event);
  const std::string field = '"' + std::string(150, 'b') + '"';
  EXPECT_EQ(
      say("tanexics-check list -r event").out,
      R"(event:2: warning: 通知は 896 バイト中 896 バイトです。途中で切られる項目: OSVersion。送られない項目: PkgName、MsgType、MsgID、ログの行
エラーイベント (0x40204) を送信します: ファイル 1 個、計 4 バイト
通知 (896 バイト中 896 バイト): )" +
          field + ",," + field + ',' + field + ',' + field + ',' + field + ",\"" +
          std::string(128, 'b') + R"("
途中で切られる項目: OSVersion
含まれない項目: PkgName、MsgType、MsgID、ログの行
ファイル ")" +
          extract +
          R"(": 4 バイト
result: accepted, 1 warning
)");
}

TEST_F(Japanese, CheckTellsOfAnExtractThatIsNotOpened) {
  dir.write("list", "pipe.syslog.txt\n");
  std::string event = "SendType=err\n";
  for (const char* key : {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName",
                          "MsgType", "MsgID", "EventID", "PartitionName"}) {
    event += key + std::string("=b\n");
  }
  dir.write("event", event);
  EXPECT_EQ(
      say("mkfifo pipe.syslog.txt 2>&-; tanexics-check list -r event").out,
      R"(list:1: warning: "pipe.syslog.txt" は相対パスであり、コマンドを起動した場所から解釈されます。名前付きパイプです
list:1: warning: "pipe.syslog.txt" は名前付きパイプであるため、ここでは開きません。通知に引用される行は不明です
エラーイベント (0x40204) を送信します: ファイル 1 個、計 0 バイト
通知: 不明
ファイル "pipe.syslog.txt": 0 バイト
result: accepted, 2 warnings
)");
}

TEST_F(Japanese, CheckTellsOfTheWordsAlone) {
  dir.write("empty", "");
  const struct {
    const char* words;
    int status;
    const char* fault;
  } rows[] = {
      {"", 68,
       "command line: error: LISTFILE と、その後に -i NUMBER または -r EVENTFILE が必要です\n"},
      {"empty -i", 68, "command line: error: -i の後に番号がありません\n"},
      {"empty -i42", 68,
       "command line: error: \"-i42\" では次の語から先頭の 2 文字を除いたものが番号になりますが、"
       "次の語がありません。-i 42 の間違いではありませんか?\n"},
      {"empty -i42 1", 68,
       "command line: error: \"-i42\" では次の語から先頭の 2 文字を除いたものが番号になりますが、"
       "\"1\" は 2 文字に足りません。-i 42 の間違いではありませんか?\n"},
      {"empty -r", 68, "command line: error: -r の後に EVENTFILE がありません\n"},
      {"empty x", 68, "command line: error: \"x\" は -i でも -r でもありません\n"},
      {"-i empty", 68,
       "command line: error: \"empty\" は -i でも -r でもありません。LISTFILE はこれらの前に置きます\n"},
      {"empty -i 3", 68, ""},
  };
  for (const auto& row : rows) {
    const std::string words = row.words;
    const std::string ofList = words.empty() ? ""
                               : words[0] == '-'
                                   ? "-i: error: 存在しません\n"
                                   : "empty: error: 送信するファイルが指定されていません\n";
    EXPECT_EQ(say("tanexics-check " + words),
              (Said{row.status, row.fault + ofList + "result: rejected (68)\n", ""}))
        << words;
  }
  EXPECT_EQ(say("tanexics-check --nothing"),
            (Said{64, "", "tanexics-check: 余分な引数があります: --nothing\n"}));
  EXPECT_EQ(say("tanexics-check --help >/dev/full"),
            (Said{74, "", "tanexics-check: 標準出力: デバイスに空き領域がありません\n"}));
  EXPECT_EQ(help("tanexics-check"), R"(tanexics が入力を受理するかどうか、何を送信するかを示します。

使い方: tanexics-check [OPTIONS] LISTFILE -i NUMBER
        tanexics-check [OPTIONS] LISTFILE -r EVENTFILE

オプション:
  -h,--help                   このヘルプを表示して終了します
  --json                      JSON オブジェクトを 1 つ出力します
  --strict                    警告がある場合は 1 で終了します
  --environment               ライブラリ、ログなど、実行に必要なものも調べます
  --version                   バージョンを表示して終了します)");
}

TEST_F(Japanese, CheckForProgramsIsTheSameForEverybody) {
  dir.write("list", "/none\n\xa4\xa2\n");
  dir.write("event", "Labell=x\n");
  expectTheSameForEverybody("tanexics-check --json list -r event");
  expectTheSameForEverybody("tanexics-check --json --environment list -i42 11");
  expectTheSameForEverybody("tanexics-check --json list -i 1 >/dev/full");
  expectTheSameForEverybody("tanexics-check --version");
}

// --- tanexics-rehearse
// ----------------------------------------------------------------------------

/// A report without the action log, which is the same in every language, and with one host name.
std::string report(const std::string& words) {
  return "tanexics-rehearse " + words +
         " | LC_ALL=C sed 's/HOSTNAME=\"[^\"]*/HOSTNAME=\"x/' | "
         "LC_ALL=C awk -v RS= -v ORS='\\n\\n' 'NR != 2'";
}

TEST_F(Japanese, RehearsalTellsOfTheExchanges) {
  dir.write("a", "12345");
  dir.write("list", "a\n/none\n");
  dir.write("script", "communicate * -62 2 54\nstatus 0x20\nid 7\n");
  EXPECT_EQ(say(report("--script script -- list -i 1")), (Said{0, R"(センターが受け取るはずの内容
----------------------------
    1  装置識別子 (7): 結果 0
    2  装置識別子 (7): 結果 0
    3  接続状態 (0x20, 運用中): 結果 0
    4  接続状態 (0x20, 運用中): 結果 0
    5  開始: 結果 0
    6  0x40017, インシデントの通知: 結果 -62, エージェントエラー HTTP 54
       INCNO="1",HOSTNAME="x",PART="1",TOTAL="2"
       (HTTP) 接続異常が発生しました。
       サポート要員に以下のエラーコードをお知らせください。
       RL:-62,ZW-Agent:54
    7  0x4010b, インシデントのデータ, ファイル 1 個: 結果 -62, エージェントエラー HTTP 54
                     5 バイト  a
       (HTTP) 接続異常が発生しました。
       サポート要員に以下のエラーコードをお知らせください。
       RL:-62,ZW-Agent:54
    8  0x40017, インシデントの通知: 結果 -62, エージェントエラー HTTP 54
       INCNO="1",HOSTNAME="x",PART="2",TOTAL="2"
       (HTTP) 接続異常が発生しました。
       サポート要員に以下のエラーコードをお知らせください。
       RL:-62,ZW-Agent:54
    9  0x4010b, インシデントのデータ, ファイル 1 個: 結果 -62, エージェントエラー HTTP 54
                   送信されず  /none (No such file or directory)
       (HTTP) 接続異常が発生しました。
       サポート要員に以下のエラーコードをお知らせください。
       RL:-62,ZW-Agent:54
   10  停止: 結果 0
   11  停止: 結果 0

終了ステータス
--------------
  0: イベントは解釈され、ステータスで分かる失敗はありませんでした

判定
----
  refused: 交信 4 回のうち 4 回が失敗しました: 通知 1: -62 (HTTP) RL:-62,ZW-Agent:54,Mailsvr:""

)",
                                                               ""}));
  dir.write("script", "communicate * throw 0\n");
  EXPECT_EQ(say(report("--script script -- list -i 1") + " | tail -n 6").out, R"(
判定
----
  unknown: 交信 4 回のうち 0 回が受理されました。4 回は 0 の送出で終わりました。リストのファイルが欠けています
  ログだけなら partly と判定されますが、記録では裏付けられません

)");
  EXPECT_EQ(say("script -qec 'stty -onlcr cols 50; tanexics-rehearse -- none -i 1' /dev/null | "
                "LC_ALL=C awk -v RS= -v ORS='\\n\\n' 'NR != 2'")
                .out,
            R"(センターが受け取るはずの内容
----------------------------
  (呼び出しなし)

終了ステータス
--------------
  68: コマンドライン、ファイルのリスト、または定義
  ファイルが拒否されました

判定
----
  not-sent: none not found.(CSendEventSingleSystem
    ::parseCommandLine)

)");
}

TEST_F(Japanese, RehearsalListsTheSituations) {
  EXPECT_EQ(
      say("tanexics-rehearse --situations | LC_ALL=C grep -E '^(http-62-54|stop-fails) '").out,
      "http-62-54                                すべての交信が HTTP -62/54 (接続異常) で失敗します。\n"
      "stop-fails                                通信の停止がすべて失敗しますが、結果は変わりません。\n");
  EXPECT_EQ(say("tanexics-rehearse --situations | LC_ALL=C grep -cE ' [A-Z][a-z]+ [a-z]'").out,
            "0\n");
}

TEST_F(Japanese, RehearsalTellsWhatIsWrong) {
  dir.write("list", "/none\n");
  dir.write("script", "id x\n");
  const struct {
    const char* words;
    int status;
    std::string complaint;
  } rows[] = {
      {"", 2, "必要な指定がありません: -- とその後のコマンドの引数"},
      {"--nothing", 2, "余分な引数があります: --nothing"},
      {"--situation http-62-5 --", 2,
       "--situation: 「http-62-5」という名前の状況はありません。http-62-54、http-14-5、http-2-35 の間違いではありませんか? --situations で一覧を表示できます"},
      {"--situation zzzzzz --", 2,
       "--situation: 「zzzzzz」という名前の状況はありません。--situations で一覧を表示できます"},
      {"--outbox '' --", 2, "--outbox: 値が空です"},
      {"--script script -- list", 125,
       "スクリプトを使用できません: script:1: 「x」は数値ではありません"},
      {"--script none -- list", 125, "スクリプトがありません: none"},
      {"--script . -- list", 125, "スクリプトを使用できません: .: 通常ファイルではありません"},
      {"--library /x -- list", 125, "代替ライブラリがありません: /x/libkelcom.so"},
      {"--command /etc -- list", 125, "コマンドを使用できません: /etc: 通常ファイルではありません"},
      {"--outbox 'a b' -- list", 125,
       "送信箱 " + (dir / "a b") + " は使用できません: アクションログのパスに「 」は使えません"},
      {"--outbox list -- list", 125,
       "送信箱 " + (dir / "list") + " は使用できません: ディレクトリではありません"},
      {"--help >/dev/full", 125, "出力できません: デバイスに空き領域がありません"},
      {"--help >&-", 125, "標準出力: 不正なファイル記述子です"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(say(std::string("tanexics-rehearse ") + row.words),
              (Said{row.status, "", "tanexics-rehearse: " + row.complaint + "\n"}))
        << row.words;
  }
  EXPECT_EQ(help("tanexics-rehearse"),
            R"(通信ライブラリの代替を使って tanexics を実行し、サポートセンターが受け取るはずの
内容、アクションログ、終了ステータス、判定を表示します。

使い方: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER
        tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE
        tanexics-rehearse --situations

オプション:
  -h,--help                   このヘルプを表示して終了します
  --outbox DIR                記録、コピー、アクションログを DIR に残します
  --script FILE               FILE のとおりに応答します
  --situation NAME            スクリプトの代わりに、状況 NAME のとおりに応答します
  --situations                状況の一覧を表示して終了します
  --command PATH              このプログラムと並んでいる tanexics の代わりに PATH を実行します
  --library DIR               代替ライブラリを DIR から読み込みます
  --trace                     アクションログにトレース行も書き込みます
  --json                      報告の代わりに JSON オブジェクトを 1 つ出力します
  --version                   バージョンを表示して終了します)");
}

TEST_F(Japanese, RehearsalForProgramsIsTheSameForEverybody) {
  dir.write("list", "/none\n\xa4\xa2\n");
  const std::string withoutLog = " | LC_ALL=C sed -E 's/\"log\":\\[.*\\],\"status\"/\"status\"/'";
  expectTheSameForEverybody("tanexics-rehearse --json -- list -i 1" + withoutLog);
  expectTheSameForEverybody("tanexics-rehearse --json -- none -i 1" + withoutLog);
  expectTheSameForEverybody("tanexics-rehearse --json --script none -- none");
}

// --- the command
// ----------------------------------------------------------------------------------

TEST_F(Japanese, CommandIsTheSameForEverybody) {
  dir.write("list", "/none\n\xa4\xa2\n/\xe3\x81\x82\n");
  dir.write("script", "communicate * -62 2 54\n");
  std::string event = "SendType=err\nLabel=\xa4\xa2\xe3\x81\x82\xff\n";
  for (const char* key : {"Time", "HostName", "OSType", "OSName", "OSVersion", "PkgName", "MsgType",
                          "MsgID", "EventID", "PartitionName"}) {
    event += key + std::string("=\xc6\xfc\xcb\xdc\n");
  }
  dir.write("event", event);
  const std::string library = LOOPBACK_LIBRARY;
  const std::string command =
      "rm -rf log out; LD_LIBRARY_PATH=" + library.substr(0, library.rfind('/')) +
      " KELCOM_LOOPBACK_SCRIPT=script KELCOM_LOOPBACK_OUTBOX=$PWD/out TANEX_LOG=$PWD/log "
      "TANEX_LOG_LEVEL=LOG_LEVEL_TRACE tanexics ";
  const std::string look =
      "; echo $?; LC_ALL=C sed -E \"s/^[0-9/]+ [0-9:]+ +[0-9]+ //; s/swcon[A-Za-z0-9]+|pid=[0-9]+|time='[0-9.]+'//g\" log"
      " | LC_ALL=C sort; cat out/exchanges.jsonl";
  for (const std::string words :
       {"list -r event", "list -i \xa4\xa2", "none -i 1", "list -r list", ""}) {
    expectTheSameForEverybody(command + words + look);
  }
}

// --- which language is spoken
// ---------------------------------------------------------------------

constexpr char kEnglish[] = "tanexics-log: no run found\n";
constexpr char kJapanese[] = "tanexics-log: 該当する実行がありません\n";

TEST_F(Japanese, Environment_ChoosesTheLanguage) {
  const struct {
    Environment environment;
    const char* said;
  } rows[] = {
      {{{"LC_ALL", "C"}}, kEnglish},
      {{{"LC_ALL", "C"}, {"LANGUAGE", "ja"}}, kEnglish},
      {{{"LC_ALL", "POSIX"}, {"LANG", "ja_JP.UTF-8"}}, kEnglish},
      {{{"LC_ALL", "nn_NN.UTF-8"}}, kEnglish},
      {{{"LC_ALL", "../ja_JP.UTF-8"}}, kEnglish},
      {{{"LANG", "ja_JP.UTF-8"}}, kJapanese},
      {{{"LANG", "C"}, {"LC_MESSAGES", "ja_JP.UTF-8"}, {"LC_CTYPE", "ja_JP.UTF-8"}}, kJapanese},
      {{{"LANG", "ja_JP.UTF-8"}, {"LC_MESSAGES", "C"}}, kEnglish},
      {{{"LANG", "ja_JP.UTF-8"}, {"LANGUAGE", "de"}}, kEnglish},
      {{{"LANG", "ja_JP.UTF-8"}, {"LANGUAGE", "de:ja"}}, kJapanese},
      // A terminal that has no such characters, or of which nothing is known.
      {{{"LANG", "ja_JP.UTF-8"}, {"LC_CTYPE", "C"}}, kEnglish},
      {{{"LANG", "ja_JP.UTF-8"}, {"LC_CTYPE", "nn_NN.UTF-8"}}, kEnglish},
  };
  dir.write("empty", "");
  for (const auto& row : rows) {
    std::string words;
    for (const auto& [name, value] : row.environment) words += name + '=' + value + ' ';
    Environment environment = row.environment;
    // The caller's own do not count where they are empty.
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LANGUAGE"}) {
      environment.emplace(name, "");
    }
    EXPECT_EQ(run("tanexics-log empty", environment).err, row.said) << words;
  }
}

TEST_F(Japanese, Catalogue_IsTakenFromWhereItBelongsAlone) {
  dir.write("empty", "");
  const std::string program = TANEXICS_LOG;
  const std::string catalogue =
      program.substr(0, program.rfind('/')) + "/share/locale/ja/LC_MESSAGES/tanexics.mo";
  // As it is installed.
  run("mkdir -p usr/bin usr/share/locale/ja/LC_MESSAGES away/ja/LC_MESSAGES; cp " + program +
          " usr/bin; cp " + catalogue + " away/ja/LC_MESSAGES; ln -s usr/bin/tanexics-log link",
      english());
  EXPECT_EQ(run("usr/bin/tanexics-log empty", utf8()).err, kEnglish);
  Environment away = utf8();
  away["NLSPATH"] = away["TEXTDOMAINDIR"] = dir / "away";
  // Up from the folder that it is in, and down again.
  std::string up = "../../../../../../../../../../../..";
  away["LANGUAGE"] = up + (dir / "away/ja");
  EXPECT_EQ(run("usr/bin/tanexics-log empty", away).err, kEnglish);
  run("cp " + catalogue + " usr/share/locale/ja/LC_MESSAGES", english());
  EXPECT_EQ(run("usr/bin/tanexics-log empty", utf8()).err, kJapanese);
  EXPECT_EQ(run("./link empty", utf8()).err, kJapanese);
  EXPECT_EQ(run("usr/bin/tanexics-log empty", away).err, kJapanese) << "the rest of it counts";
}

#ifndef TANEXICS_ADDRESS_SANITIZER  // which needs /proc
TEST_F(Japanese, EnglishIsSpoken_WhereTheProgramDoesNotKnowItsPlace) {
  dir.write("empty", "");
  const Said said =
      run("unshare --mount sh -c 'mount -t tmpfs none /proc && { tanexics-log empty; "
          "tanexics-rehearse --help; }'",
          utf8());
  EXPECT_EQ(said.err, std::string(kEnglish) +
                          "tanexics-rehearse: /proc/self/exe cannot be read: No such file or "
                          "directory\n");
  EXPECT_EQ(said.status, 125);
}
#endif

TEST_F(Japanese, CharactersThatTheTerminalDoesNotHave_AreEscaped) {
  dir.write("a.log", linesOf(7, incident({0, 0})));
  EXPECT_EQ(run("tanexics-log 絵\xf0\x9f\x98\x80", eucJp()).err,
            "tanexics-log: \xb3\xa8\\xf0\\x9f\\x98\\x80: "
            "\xa4\xbd\xa4\xce\xa4\xe8\xa4\xa6\xa4\xca\xa5\xd5\xa5\xa1\xa5\xa4\xa5\xeb\xa4\xe4"
            "\xa5\xc7\xa5\xa3\xa5\xec\xa5\xaf\xa5\xc8\xa5\xea\xa4\xcf\xa4\xa2\xa4\xea\xa4\xde"
            "\xa4\xbb\xa4\xf3\n");
}

// --- messages
// -------------------------------------------------------------------------------------

TEST(Filled, Values_StandInTheirPlaces) {
  EXPECT_EQ(filled("", {}), "");
  EXPECT_EQ(filled("none", {"x"}), "none");
  EXPECT_EQ(filled("%s of %s", {"1", "2"}), "1 of 2");
  EXPECT_EQ(filled("%2$s: %1$s", {"1", "2"}), "2: 1");
  EXPECT_EQ(filled("%s%%", {"%s"}), "%s%");
  // What no translation that was checked has in it.
  EXPECT_EQ(filled("%s, %s, %9$s", {"1"}), "1, , ");
  EXPECT_EQ(filled("%n %0$s %1$n %", {"1"}), "%n %0$s %1$n %");
}

TEST(Retold, TextOfAnother_StaysAsItIs) {
  EXPECT_EQ(retold("a excludes b", {"%s is required", "%s excludes %s"}), "a excludes b");
  EXPECT_EQ(retold("a is strange", {"%s is required", "%s excludes %s"}), "a is strange");
}

TEST(Translated, English_IsSpokenUntilAnotherLanguageIs) {
  EXPECT_FALSE(isTranslated());
  EXPECT_EQ(translated("no run found"), "no run found");
  EXPECT_EQ(translatedCount("%s line", "%s lines", 1, {"1"}), "1 line");
  EXPECT_EQ(translatedCount("%s line", "%s lines", 2, {"2"}), "2 lines");
  EXPECT_EQ(asCallerReads("\xff"), "\xff");
}

TEST(Translated, AnotherLanguage_IsSpokenUntilEnglishIs) {
  const ChildResult child = runInChild({{"LOCPATH", LOCALES}, {"LC_ALL", "ja_JP.UTF-8"}}, [] {
    speakAsCaller("../share/locale");
    if (!isTranslated() || translated("no run found") == "no run found") return 1;
    if (wrapped("「ああ、い」 (い)", 6, 2) != "「あ\n  あ、\n  い」\n  (い)") return 2;
    if (wrapped("あa", 3, 1) != "あa" || wrapped("aああ", 3, 0) != "aあ\nあ") return 3;
    if (wrapped("\x1b[31mあ\x1b[0mあ", 3, 0) != "\x1b[31mあ\x1b[0m\nあ") return 4;
    speakEnglish();
    return isTranslated() || translated("no run found") != "no run found" ? 5 : 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
