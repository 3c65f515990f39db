#include "common/capture/loggedchild.h"

#include <gtest/gtest.h>

#include <climits>
#include <list>
#include <string>

#include "support/scratch.h"

namespace {

using Texts = std::list<std::string>;

TEST(CollectLines, Lines_AreAppendedWithoutTheirLineEnds) {
  const std::string five = "1\n2\n3\n4\n5\n";
  const std::string full(1022, 'x');
  const struct {
    std::string bytes;
    int maxLines;
    std::size_t pieceBytes;
    Texts lines;
  } kRows[] = {
      {"", -1, 1024, {}},
      {"a", -1, 1024, {"a"}},
      {"a\r\nb\n\r\n\nc\r", -1, 1024, {"a", "b", "", "", "c"}},
      {" a \n\tb\n", -1, 1024, {" a ", "\tb"}},
      {"\xe6\xbc\xa2\n\xff\n", -1, 1024, {"\xe6\xbc\xa2", "\xff"}},
      {std::string("a\0b\nc\n\0\n", 8), -1, 1024, {"a", "c", ""}},
      // how many are kept; the rest is read
      {five, 0, 1024, {}},
      {five, 1, 1024, {"1"}},
      {five, 4, 1024, {"1", "2", "3", "4"}},
      {five, 5, 1024, {"1", "2", "3", "4", "5"}},
      {five, INT_MAX, 1024, {"1", "2", "3", "4", "5"}},
      {five, INT_MIN, 1024, {"1", "2", "3", "4", "5"}},
      // pieces, and a line end that does not fit any more
      {"abcdef\ng\n", 2, 4, {"abc", "def"}},
      {"abcdef\ng\n", 4, 4, {"abc", "def", "", "g"}},
      {"xxx", -1, 2, {"x", "x", "x"}},
      {full + "\nb\n", -1, 1024, {full, "b"}},
      {full + "y\nb\n", -1, 1024, {full + "y", "", "b"}},
      {full + "yz\nb\n", -1, 1024, {full + "y", "z", "b"}},
      {full + "\nb\n", -1, 1023, {full, "", "b"}},
  };
  const ScratchDir dir;
  for (const auto& row : kRows) {
    PieceReader reader(dir.write("lines", row.bytes).c_str(), row.pieceBytes);
    Texts lines = {"left over"};
    collectLines(reader, lines, row.maxLines);
    EXPECT_EQ(lines.front(), "left over");
    lines.pop_front();
    EXPECT_EQ(lines, row.lines) << row.bytes << ", " << row.maxLines;
    EXPECT_EQ(reader.next(), nullptr) << "not read to the end";
  }
}

}  // namespace
