#include "common/base/piecereader.h"

PieceReader::PieceReader(const char* path, std::size_t bufferBytes)
    : PieceReader(std::fopen(path, "re"), bufferBytes) {
  m_own.reset(m_stream);
}

PieceReader::PieceReader(FILE* stream, std::size_t bufferBytes)
    : m_own(nullptr, &std::fclose), m_stream(stream), m_bufferBytes(bufferBytes) {
  m_buffer[0] = '\0';
}

char* PieceReader::next() {
  if (m_stream == nullptr) return nullptr;
  // Unlocked: nobody else has the stream.
  return ::fgets_unlocked(m_buffer, static_cast<int>(m_bufferBytes), m_stream);
}

bool PieceReader::hasFailed() const { return m_stream != nullptr && std::ferror(m_stream) != 0; }
