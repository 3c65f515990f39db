#ifndef TANEXICS_COMMON_BASE_PIECEREADER_H
#define TANEXICS_COMMON_BASE_PIECEREADER_H

#include <cstddef>
#include <cstdio>

/// A text file read in pieces of bounded length, the way fgets(3) reads it: a piece ends after a
/// line feed, at the bound, or at the end of the file. A line that does not fit with its line feed
/// arrives as several pieces, the last of which may be the line feed alone; of a piece with a zero
/// byte only what stands before it is seen, and the next line is not affected. Closes the file at
/// the end of its life; no command inherits it.
class PieceReader {
 public:
  static constexpr std::size_t kBufferBytes = 1024;  ///< the largest bound

  /// Opens `path`, which must not be null, for reading. Nothing is logged: the caller asks
  /// `isOpen`, and finds the reason of a failure in errno.
  ///
  /// `bufferBytes`  the bound: a piece has one byte less at the most. 2 to `kBufferBytes`.
  explicit PieceReader(const char* path, std::size_t bufferBytes = kBufferBytes);
  ~PieceReader();
  PieceReader(const PieceReader&) = delete;
  PieceReader& operator=(const PieceReader&) = delete;

  /// Whether the file could be opened.
  bool isOpen() const { return m_stream != nullptr; }

  /// The next piece, line end included; null at the end of the file, at a read error, and when the
  /// file is not open. The caller may edit it; it stays until the next call.
  char* next();

  /// Whether reading stopped at an error rather than at the end of the file.
  bool hasFailed() const;

 private:
  FILE* m_stream;
  std::size_t m_bufferBytes;
  char m_buffer[kBufferBytes];
};

#endif
