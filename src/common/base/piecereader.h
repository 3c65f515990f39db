#ifndef TANEXICS_COMMON_BASE_PIECEREADER_H
#define TANEXICS_COMMON_BASE_PIECEREADER_H

#include <cstddef>
#include <cstdio>
#include <memory>

/// A text file or stream read in pieces of bounded length, the way fgets(3) reads it: a piece ends
/// after a line feed, at the bound, or at the end of the file. A line that does not fit with its
/// line feed arrives as several pieces, the last of which may be the line feed alone; of a piece
/// with a zero byte only what stands before it is seen, and the next line is not affected.
class PieceReader {
 public:
  static constexpr std::size_t kBufferBytes = 1024;  ///< the largest bound

  /// Opens `path`, which must not be null, for reading, until the end of the object's life; no
  /// command inherits it. Nothing is logged: the caller asks `isOpen`, and finds the reason of a
  /// failure in errno.
  ///
  /// `bufferBytes`  the bound: a piece has one byte less at the most. 2 to `kBufferBytes`.
  explicit PieceReader(const char* path, std::size_t bufferBytes = kBufferBytes);

  /// Reads from where `stream` stands, which must not be null and stays the caller's to close.
  explicit PieceReader(FILE* stream, std::size_t bufferBytes = kBufferBytes);
  PieceReader(const PieceReader&) = delete;
  PieceReader& operator=(const PieceReader&) = delete;

  /// Whether the file could be opened.
  bool isOpen() const { return m_stream != nullptr; }

  /// The next piece, line end included; null at the end of the file, at a read error, and when the
  /// file is not open. The caller may edit it; it stays until the next call, also when the stream
  /// is closed before.
  char* next();

  /// Whether reading stopped at an error rather than at the end of the file.
  bool hasFailed() const;

 private:
  std::unique_ptr<FILE, int (*)(FILE*)> m_own;  // null where the stream is the caller's
  FILE* m_stream;
  std::size_t m_bufferBytes;
  char m_buffer[kBufferBytes];
};

#endif
