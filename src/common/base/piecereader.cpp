#include "common/base/piecereader.h"

PieceReader::PieceReader(const char* path, std::size_t bufferBytes)
    : m_stream(std::fopen(path, "re")), m_bufferBytes(bufferBytes) {
  m_buffer[0] = '\0';
}

PieceReader::~PieceReader() {
  if (m_stream != nullptr) std::fclose(m_stream);
}

char* PieceReader::next() {
  if (m_stream == nullptr) return nullptr;
  // Unlocked: nobody else has the stream, and a list may have a million lines.
  return ::fgets_unlocked(m_buffer, static_cast<int>(m_bufferBytes), m_stream);
}

bool PieceReader::hasFailed() const { return m_stream != nullptr && std::ferror(m_stream) != 0; }
