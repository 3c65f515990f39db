#include "common/base/piecereader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

using Texts = std::vector<std::string>;

Texts piecesOf(const std::string& bytes, std::size_t bufferBytes = PieceReader::kBufferBytes) {
  const ScratchDir dir;
  PieceReader reader(dir.write("file", bytes).c_str(), bufferBytes);
  EXPECT_TRUE(reader.isOpen());
  Texts pieces;
  while (const char* piece = reader.next()) pieces.emplace_back(piece);
  EXPECT_FALSE(reader.hasFailed());
  EXPECT_EQ(reader.next(), nullptr);
  return pieces;
}

TEST(PieceReader, Lines_ArriveWithTheirLineEnds) {
  EXPECT_EQ(piecesOf("a\n\nb\r\n"), Texts({"a\n", "\n", "b\r\n"}));
}

TEST(PieceReader, EmptyFile_HasNoPiece) { EXPECT_EQ(piecesOf(""), Texts()); }

TEST(PieceReader, UnterminatedLastLine_Counts) { EXPECT_EQ(piecesOf("a\nb"), Texts({"a\n", "b"})); }

TEST(PieceReader, LineOf1022Bytes_IsOnePieceWithItsLineEnd) {
  EXPECT_EQ(piecesOf(std::string(1022, 'x') + "\ny"), Texts({std::string(1022, 'x') + "\n", "y"}));
}

TEST(PieceReader, LineOf1023Bytes_LeavesItsLineEndToTheNextPiece) {
  EXPECT_EQ(piecesOf(std::string(1023, 'x') + "\ny"), Texts({std::string(1023, 'x'), "\n", "y"}));
}

TEST(PieceReader, LineOf1024Bytes_ArrivesInTwoPieces) {
  EXPECT_EQ(piecesOf(std::string(1024, 'x') + "\n"), Texts({std::string(1023, 'x'), "x\n"}));
}

TEST(PieceReader, LineOf5000Bytes_ArrivesInFivePieces) {
  const std::string full(1023, 'x');
  EXPECT_EQ(piecesOf(std::string(5000, 'x') + "\n"),
            Texts({full, full, full, full, std::string(908, 'x') + "\n"}));
}

TEST(PieceReader, OtherBound_IsKept) {
  EXPECT_EQ(piecesOf("abcdef\n", 4), Texts({"abc", "def", "\n"}));
  EXPECT_EQ(piecesOf("ab\n", 2), Texts({"a", "b", "\n"}));
}

TEST(PieceReader, ZeroByte_HidesTheRestOfItsPieceOnly) {
  EXPECT_EQ(piecesOf(std::string("ab\0cd\nef\n", 9)), Texts({"ab", "ef\n"}));
}

TEST(PieceReader, BytesAbove0x7f_ArriveUnchanged) {
  EXPECT_EQ(piecesOf("\xff\xa4\xa2\n"), Texts({"\xff\xa4\xa2\n"}));
}

TEST(PieceReader, Piece_MayBeEdited) {
  const ScratchDir dir;
  PieceReader reader(dir.write("file", "ab\ncd\n").c_str());
  reader.next()[0] = '\0';
  EXPECT_STREQ(reader.next(), "cd\n");
}

TEST(PieceReader, MissingFile_IsNotOpenAndNotLogged) {
  const ScratchDir dir;
  const CapturedLog log(CapturedLog::Level::kTrace);
  errno = 0;
  PieceReader reader((dir / "missing").c_str());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(reader.isOpen());
  EXPECT_EQ(reader.next(), nullptr);
  EXPECT_FALSE(reader.hasFailed());
  EXPECT_EQ(log.bytes(), "");
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
