#include "common/base/piecereader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
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
  const struct {
    std::string bytes;
    Texts pieces;
    std::size_t bufferBytes = PieceReader::kBufferBytes;
  } kRows[] = {{"", {}},
               {"a\n\nb\r\n", {"a\n", "\n", "b\r\n"}},
               {"a\nb", {"a\n", "b"}},
               {full.substr(1) + "\ny", {full.substr(1) + "\n", "y"}},
               {full + "\ny", {full, "\n", "y"}},
               {full + "x\n", {full, "x\n"}},
               {full + full + full + "x", {full, full, full, "x"}},
               {"abcdef\n", {"abc", "def", "\n"}, 4},
               {"ab\n", {"a", "b", "\n"}, 2},
               {std::string("ab\0cd\nef\n", 9), {"ab", "ef\n"}},
               {"\xff\xa4\xa2\n", {"\xff\xa4\xa2\n"}}};
  const ScratchDir dir;
  for (const auto& row : kRows) {
    const std::string path = dir.write("file", row.bytes);
    PieceReader file(path.c_str(), row.bufferBytes);
    EXPECT_EQ(piecesOf(file), row.pieces);
    FILE* stream = std::fopen(path.c_str(), "re");
    PieceReader reader(stream, row.bufferBytes);
    EXPECT_EQ(piecesOf(reader), row.pieces);
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

TEST(PieceReader, Piece_MayBeEdited) {
  const ScratchDir dir;
  PieceReader reader(dir.write("file", "ab\ncd\n").c_str());
  reader.next()[0] = '\0';
  EXPECT_STREQ(reader.next(), "cd\n");
}

TEST(PieceReader, MissingFile_IsNotOpen) {
  const ScratchDir dir;
  errno = 0;
  PieceReader reader((dir / "missing").c_str());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(reader.isOpen());
  EXPECT_EQ(reader.next(), nullptr);
  EXPECT_FALSE(reader.hasFailed());
}

TEST(PieceReader, Directory_FailsAtTheFirstPiece) {
  const ScratchDir dir;
  PieceReader reader(dir.path().c_str());
  EXPECT_TRUE(reader.isOpen());
  EXPECT_EQ(reader.next(), nullptr);
  EXPECT_TRUE(reader.hasFailed());
}

TEST(PieceReader, Descriptor_IsNotInheritedAndClosedAtTheEnd) {
  const ScratchDir dir;
  const std::string path = dir.write("file", "a\n");
  const int fd = upcomingDescriptor(1);
  {
    const PieceReader reader(path.c_str());
    EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
  }
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}

}  // namespace
