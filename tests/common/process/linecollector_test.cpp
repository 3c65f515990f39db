#include "common/process/linecollector.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "support/scratch.h"

namespace {

using Texts = std::vector<std::string>;

/// The entries that the bytes of a file give; the stream must be at its end afterwards.
Texts collected(const std::string& bytes, int maxLines, std::size_t pieceBytes) {
  const ScratchDir dir;
  const std::unique_ptr<FILE, decltype(&std::fclose)> stream(
      std::fopen(dir.write("lines", bytes).c_str(), "re"), &std::fclose);
  std::list<std::string> lines;
  collectLines(stream.get(), lines, maxLines, pieceBytes);
  EXPECT_NE(std::feof(stream.get()), 0) << "not read to the end";
  return Texts(lines.begin(), lines.end());
}

TEST(CollectLines, LineEnds_AreRemoved) {
  EXPECT_EQ(collected("", -1, 1024), Texts());
  EXPECT_EQ(collected("a", -1, 1024), Texts({"a"}));
  EXPECT_EQ(collected("a\n", -1, 1024), Texts({"a"}));
  EXPECT_EQ(collected("a\r\nb\n\r\n\nc\r", -1, 1024), Texts({"a", "b", "", "", "c"}));
  EXPECT_EQ(collected(" a \n\tb\n", -1, 1024), Texts({" a ", "\tb"}));
  EXPECT_EQ(collected("\xe6\xbc\xa2\n\xff\n", -1, 1024), Texts({"\xe6\xbc\xa2", "\xff"}));
}

TEST(CollectLines, MaximumBelowTheLines_DropsTheRestButReadsIt) {
  const std::string five = "1\n2\n3\n4\n5\n";
  EXPECT_EQ(collected(five, 0, 1024), Texts());
  EXPECT_EQ(collected(five, 1, 1024), Texts({"1"}));
  EXPECT_EQ(collected(five, 2, 1024), Texts({"1", "2"}));
  EXPECT_EQ(collected(five, 4, 1024), Texts({"1", "2", "3", "4"}));
}

TEST(CollectLines, MaximumNegativeOrNotReached_KeepsAll) {
  const std::string three = "1\n2\n3\n";
  for (const int maxLines : {3, 4, INT_MAX, -1, INT_MIN}) {
    EXPECT_EQ(collected(three, maxLines, 1024), Texts({"1", "2", "3"})) << maxLines;
  }
}

TEST(CollectLines, MaximumCountsPieces) {
  EXPECT_EQ(collected("abcdef\ng\n", 2, 4), Texts({"abc", "def"}));
  EXPECT_EQ(collected("abcdef\ng\n", 4, 4), Texts({"abc", "def", "", "g"}));
}

TEST(CollectLines, LongLines_ArriveInPieces) {
  const struct {
    std::size_t pieceBytes;
    std::size_t length;
    std::vector<std::size_t> pieces;
  } kRows[] = {{1024, 1022, {1022}},          {1024, 1023, {1023}},       {1024, 1024, {1023, 1}},
               {1024, 1500, {1023, 477}},     {1024, 2046, {1023, 1023}}, {1023, 1021, {1021}},
               {1023, 1022, {1022}},          {1023, 1023, {1022, 1}},    {1023, 1500, {1022, 478}},
               {1023, 2045, {1022, 1022, 1}}, {2, 3, {1, 1, 1}}};
  for (const auto& row : kRows) {
    std::vector<std::size_t> pieces;
    for (const std::string& piece : collected(std::string(row.length, 'x'), -1, row.pieceBytes)) {
      EXPECT_EQ(piece, std::string(piece.size(), 'x'));
      pieces.push_back(piece.size());
    }
    EXPECT_EQ(pieces, row.pieces) << row.length << " in " << row.pieceBytes;
  }
}

TEST(CollectLines, LineEndThatDoesNotFitAnyMore_IsAnEmptyEntry) {
  const std::string line(1022, 'x');
  EXPECT_EQ(collected(line + "\nb\n", -1, 1024), Texts({line, "b"}));
  EXPECT_EQ(collected(line + "y\nb\n", -1, 1024), Texts({line + "y", "", "b"}));
  EXPECT_EQ(collected(line + "yz\nb\n", -1, 1024), Texts({line + "y", "z", "b"}));
}

TEST(CollectLines, ZeroByte_EndsItsEntry) {
  const std::string bytes("a\0b\nc\n\0\n", 8);
  EXPECT_EQ(collected(bytes, -1, 1024), Texts({"a", "c", ""}));
}

TEST(CollectLines, LinesThatAreThereAlready_Stay) {
  const ScratchDir dir;
  const std::unique_ptr<FILE, decltype(&std::fclose)> stream(
      std::fopen(dir.write("lines", "1\n2\n").c_str(), "re"), &std::fclose);
  std::list<std::string> lines = {"a", "b"};
  collectLines(stream.get(), lines, 1, 1024);
  EXPECT_EQ(lines, std::list<std::string>({"a", "b", "1"}));
}

}  // namespace
