#include "common/base/piecereader.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

using Texts = std::vector<std::string>;

Texts piecesOf(PieceReader& reader) {
  EXPECT_TRUE(reader.isOpen());
  Texts pieces;
  while (const char* piece = reader.next()) pieces.emplace_back(piece);
  EXPECT_FALSE(reader.hasFailed());
  EXPECT_EQ(reader.next(), nullptr);
  return pieces;
}

TEST(PieceReader, FileAndStream_ArriveInPiecesBelowTheBound) {
  const std::string full(1023, 'x');
  const std::tuple<std::string, Texts, std::size_t> kRows[] = {
      {"", {}, 1024},
      {"a\n\nb\r\n", {"a\n", "\n", "b\r\n"}, 1024},
      {"a\nb", {"a\n", "b"}, 1024},
      {full.substr(1) + "\ny", {full.substr(1) + "\n", "y"}, 1024},
      {full + "\ny", {full, "\n", "y"}, 1024},
      {full + "x\n", {full, "x\n"}, 1024},
      {full + full + full + "x", {full, full, full, "x"}, 1024},
      {"abcdef\n", {"abc", "def", "\n"}, 4},
      {"ab\n", {"a", "b", "\n"}, 2},
      {std::string("ab\0cd\nef\n", 9), {"ab", "ef\n"}, 1024},
      {"\xff\xa4\xa2\n", {"\xff\xa4\xa2\n"}, 1024}};
  const ScratchDir dir;
  for (const auto& [bytes, pieces, bufferBytes] : kRows) {
    const std::string path = dir.write("file", bytes);
    PieceReader file(path.c_str(), bufferBytes);
    EXPECT_EQ(piecesOf(file), pieces);
    FILE* stream = std::fopen(path.c_str(), "re");
    PieceReader reader(stream, bufferBytes);
    EXPECT_EQ(piecesOf(reader), pieces);
    std::fclose(stream);
  }
}

TEST(PieceReader, Stream_IsReadFromWhereItStandsAndLeftOpen) {
  const ScratchDir dir;
  FILE* stream = std::fopen(dir.write("file", "ab\ncd\n").c_str(), "re");
  EXPECT_EQ(std::fgetc(stream), 'a');
  EXPECT_STREQ(PieceReader(stream).next(), "b\n");
  EXPECT_EQ(std::fgetc(stream), 'c');
  EXPECT_EQ(std::fclose(stream), 0);
}

TEST(PieceReader, MissingFile_IsNotOpen) {
  errno = 0;
  PieceReader reader("/nowhere");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(reader.isOpen());
  EXPECT_EQ(reader.next(), nullptr);
  EXPECT_FALSE(reader.hasFailed());
}

TEST(PieceReader, Directory_FailsAtTheFirstPiece) {
  PieceReader reader("/");
  EXPECT_TRUE(reader.isOpen());
  EXPECT_EQ(reader.next(), nullptr);
  EXPECT_TRUE(reader.hasFailed());
}

TEST(PieceReader, Descriptor_IsNotInheritedAndClosedAtTheEnd) {
  const int fd = upcomingDescriptor(1);
  {
    const PieceReader reader("/dev/null");
    EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
  }
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}

}  // namespace
