// The build's catalogue generator, run as the build runs it. CATALOGUE_GENERATOR is its path.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/scratch.h"

namespace {

class CatalogueGenerator : public testing::Test {
 protected:
  /// Runs the generator after the shell text `before`, with these arguments, in the scratch
  /// folder.
  int run(const std::string& arguments, const std::string& before = "") {
    const std::string command = "cd '" + m_dir.path() + "' && " + before +
                                " '" CATALOGUE_GENERATOR "' " + arguments + " >stdout 2>stderr";
    const int status = std::system(command.c_str());  // NOLINT(cert-env33-c): a shell is wanted
    EXPECT_EQ(readFile(m_dir / "stdout"), "");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int generate(const std::string& table, const std::string& before = "") {
    m_dir.write("table.txt", table);
    return run("table.txt rows.inc", before);
  }

  std::string errors() const { return readFile(m_dir / "stderr"); }
  std::string output() const { return readFile(m_dir / "rows.inc"); }

  ScratchDir m_dir;
};

constexpr char kGoodTable[] =
    "# A comment\n"
    "\n"
    "[rows]\n"
    "HTTP  -2   35  0  plain\n"
    "SMTP\t7 -2147483648 1 mail_2\n"
    "SMTP 2147483647 0 0 plain\n"
    "[text plain]\n"
    "|A\\\"7\n"
    "|　 あ \n"
    "# a comment between lines\n"
    "|\n"
    "|−｡\n"
    "[heading 1]\n"
    "|(S)\n"
    "[text  mail_2]\n"
    "|?";

constexpr char kGoodOutput[] =
    "// Generated from the message catalogue: change that, not this.\n"
    "constexpr char kText_mail_2[] =\n"
    "    \"\\077\";\n"
    "constexpr char kText_plain[] =\n"
    "    \"\\101\\134\\042\\067\\012\"\n"
    "    \"\\241\\241\\040\\244\\242\\040\\012\"\n"
    "    \"\\012\"\n"
    "    \"\\241\\335\\216\\241\";\n"
    "constexpr EXTERR kRows[] = {\n"
    "    {\"HTTP\", -2, 35, 0, kText_plain},\n"
    "    {\"SMTP\", 7, -2147483648, 1, kText_mail_2},\n"
    "    {\"SMTP\", 2147483647, 0, 0, kText_plain},\n"
    "    {\"\", 9999, 9999, 0, \"\"},\n"
    "};\n"
    "constexpr Heading kHeadings[] = {\n"
    "    {1,\n"
    "    \"\\050\\123\\051\"},\n"
    "    {0, \"\"},\n"
    "};\n";

TEST_F(CatalogueGenerator, GoodTable_BecomesTheSameOctalEucJpUnderEveryLocale) {
  m_dir.write("rows.inc", "earlier");
  for (const char* locale : {"C", "C.UTF-8", "ja_JP.EUC-JP", "no_SUCH"}) {
    EXPECT_EQ(generate(kGoodTable, std::string("LANG=") + locale + " LC_ALL=" + locale), 0);
    EXPECT_EQ(errors(), "") << locale;
    EXPECT_EQ(output(), kGoodOutput) << locale;
    EXPECT_EQ(namesIn(m_dir.path()), (Texts{"rows.inc", "stderr", "stdout", "table.txt"}));
  }
}

/// Line 2 is the row, line 4 the text's first line.
std::string withRow(const std::string& row) { return "[rows]\n" + row + "\n[text t]\n|x\n"; }
std::string withLine(const std::string& line) {
  return "[rows]\nHTTP 1 2 0 t\n[text t]\n" + line + "\n";
}

constexpr char kNotRow[] =
    "2: not a row: it must have type, return code, agent code, kind and text name";
constexpr char kNotSection[] = "5: not a section: it must be [rows], [text NAME] or [heading N]";

struct BadTable {
  std::string table;
  Texts errors;  // the number of a line and what is said of it
};

const BadTable kBadTables[] = {
    // Characters: without an EUC-JP form, or with one that would read as another; bytes that are
    // not UTF-8 (stray, cut, overlong, half of a pair, EUC-JP); and control characters.
    {withLine("|a😀b"), {"4: '😀' has no EUC-JP form"}},
    {withLine("|C:¥"), {"4: '¥' has no EUC-JP form"}},
    {withLine("|‾"), {"4: '‾' has no EUC-JP form"}},
    {withLine("|a\x80"), {"4: not UTF-8"}},
    {withLine("|\xE3\x81"), {"4: not UTF-8"}},
    {withLine("|\xC1\x81"), {"4: not UTF-8"}},
    {withLine("|\xED\xA0\x80"), {"4: not UTF-8"}},
    {withLine("|\xA4\xA2"), {"4: not UTF-8"}},
    {withLine("|a\tb"), {"4: a control character in a text"}},
    {withLine("|a\r"), {"4: a control character in a text"}},
    {withLine(std::string("|a\0", 3)), {"4: a control character in a text"}},
    {withLine("|\x7F"), {"4: a control character in a text"}},
    {withLine("|\xC2\x85"), {"4: a control character in a text"}},
    // Rows.
    {withRow("HTTP 1 2 t"), {kNotRow}},
    {withRow("HTTP 1 2 0 t u"), {kNotRow}},
    {withRow("http 1 2 0 t"), {"2: type 'http' is neither HTTP nor SMTP"}},
    {withRow("|HTTP 1 2 0 t"), {"2: type '|HTTP' is neither HTTP nor SMTP"}},
    {withRow("HTTP 1x 2 0 t"), {"2: '1x' is not a number"}},
    {withRow("HTTP 1 - 0 t"), {"2: '-' is not a number"}},
    {withRow("HTTP 1 2 1-2 t"), {"2: '1-2' is not a number"}},
    {withRow("HTTP 2147483648 2 0 t"), {"2: '2147483648' is not a number"}},
    {withRow("HTTP -2147483649 2 0 t"), {"2: '-2147483649' is not a number"}},
    {withRow("HTTP 99999999999999999999 2 0 t"), {"2: '99999999999999999999' is not a number"}},
    {withRow("HTTP 9999 9999 0 t"), {"2: 9999, 9999 is the closing row, which the build adds"}},
    // What does not fit together.
    {withRow("HTTP 1 2 0 t\nHTTP 1 3 0 u"), {"3: there is no [text u]"}},
    {withRow("HTTP 1 2 1 t"), {"2: there is no [heading 1]"}},
    {withRow("HTTP 1 2 -1 t"), {"2: there is no [heading -1]"}},
    {withLine("|x\n[text u]\n|y"), {"5: [text u] is used by no row"}},
    {withLine("|x\n[heading 2]\n|y"), {"5: [heading 2] is used by no row"}},
    {withLine("|x\n[text t]\n|y"), {"5: [text t] is defined twice, first in line 3"}},
    {"[rows]\nSMTP 1 2 1 t\n[text t]\n|x\n[heading 1]\n|y\n[heading 01]\n|z\n",
     {"7: [heading 1] is defined twice, first in line 5"}},
    // Sections.
    {"", {"1: no rows"}},
    {withLine("|a\nb"), {"5: not a text line: it must begin with '|'"}},
    {withLine("# none"), {"3: [text t] has no lines"}},
    {withLine("|x\n[text u\n|y"), {"5: a section line without ']' at its end"}},
    {withLine("|x\n[word u]\n|y"), {kNotSection}},
    {withLine("|x\n[]"), {kNotSection}},
    {withLine("|x\n[text U]\n|y"), {kNotSection}},
    {withLine("|x\n[text 1u]\n|y"), {kNotSection}},
    {withLine("|x\n[text]\n|y"), {kNotSection}},
    {withLine("|x\n[heading 0]\n|y"), {kNotSection}},
    {withLine("|x\n[heading one]\n|y"), {kNotSection}},
    {"HTTP 1 2 0 t\n" + withRow("HTTP 1 2 0 t"), {"1: outside of any section"}},
    // A byte order mark, before the line that opens the first section.
    {"\xEF\xBB\xBF" + withRow("HTTP 1 2 0 t"),
     {"1: outside of any section", "2: outside of any section"}},
    // Every fault is reported, in the order of the lines.
    {"[rows]\nHTTP x 2 0 t\nSMTP 1 2 3 u\n[text t]\n|\x80\n",
     {"2: 'x' is not a number", "5: not UTF-8"}},
    {"[text b]\n|x\n[text a]\n[rows]\nHTTP 1 2 0 t\nSMTP 1 2 3 u\n",
     {"1: [text b] is used by no row", "3: [text a] is used by no row", "3: [text a] has no lines",
      "5: there is no [text t]", "6: there is no [text u]", "6: there is no [heading 3]"}},
};

TEST_F(CatalogueGenerator, BadTable_IsReportedWithFileAndLineAndWritesNothing) {
  for (const BadTable& bad : kBadTables) {
    SCOPED_TRACE(bad.table);
    std::string expected;
    for (const std::string& error : bad.errors) expected += "table.txt:" + error + "\n";
    EXPECT_EQ(generate(bad.table), 1);
    EXPECT_EQ(errors(), expected);
    EXPECT_EQ(namesIn(m_dir.path()), (Texts{"stderr", "stdout", "table.txt"}));
  }
}

TEST_F(CatalogueGenerator, BadTable_LeavesAnEarlierOutput) {
  m_dir.write("rows.inc", "earlier");
  EXPECT_EQ(generate("nonsense\n"), 1);
  EXPECT_EQ(output(), "earlier");
}

TEST_F(CatalogueGenerator, FileThatCannotBeUsed_IsReported) {
  m_dir.write("table.txt", kGoodTable);
  ASSERT_EQ(::mkdir((m_dir / "folder").c_str(), 0700), 0);
  struct Row {
    const char* arguments;
    const char* error;
  };
  const Row rows[] = {
      {"none.txt rows.inc", "none.txt: cannot be read: No such file or directory\n"},
      {". rows.inc", ".: cannot be read: Is a directory\n"},
      {"table.txt none/rows.inc", "none/rows.inc: cannot be written: No such file or directory\n"},
      {"table.txt folder", "folder: cannot be written: Is a directory\n"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(run(row.arguments), 1);
    EXPECT_EQ(errors(), row.error);
    EXPECT_EQ(namesIn(m_dir.path()), (Texts{"folder", "stderr", "stdout", "table.txt"}));
  }
}

TEST_F(CatalogueGenerator, DiskWithoutRoom_LeavesAnEarlierOutput) {
  m_dir.write("rows.inc", "earlier");
  m_dir.write("table.txt", kGoodTable);
  // No file may grow: a write then fails as on a full disk, also for the super-user. The messages
  // go through a pipe, which the limit does not touch.
  const std::string limited = "trap '' XFSZ; ulimit -f 0; '" CATALOGUE_GENERATOR
                              "' table.txt rows.inc 2>&1; echo \"status $?\"";
  const std::string command = "cd '" + m_dir.path() + "' && (" + limited + ") | cat >stderr";
  EXPECT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): a shell is wanted
  EXPECT_EQ(errors(), "rows.inc: cannot be written: File too large\nstatus 1\n");
  EXPECT_EQ(output(), "earlier");
  EXPECT_EQ(namesIn(m_dir.path()), (Texts{"rows.inc", "stderr", "table.txt"}));
}

TEST_F(CatalogueGenerator, WrongCall_ShowsTheUsage) {
  for (const char* arguments : {"", "table.txt", "table.txt rows.inc more"}) {
    EXPECT_EQ(run(arguments), 2) << arguments;
    EXPECT_EQ(errors(), "usage: catalogue_generator CATALOGUE OUTPUT\n") << arguments;
  }
}

}  // namespace
