#include "tools/check/pieces.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "common/base/piecereader.h"
#include "tools/common/language.h"

namespace check {

namespace {

constexpr std::size_t kPieceBytes = PieceReader::kBufferBytes - 1;

}  // namespace

void forEachPiece(std::string& content, const std::function<bool(const Piece&)>& take) {
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(
      ::fmemopen(content.data(), content.size(), "r"), &std::fclose);
  PieceReader reader(stream.get());
  std::size_t begin = 0;
  std::size_t line = 1;
  std::size_t lineBegin = 0;
  while (char* text = reader.next()) {
    const auto end = static_cast<std::size_t>(::ftello(stream.get()));
    const std::string_view bytes(content.data() + begin, end - begin);
    if (!take({text, bytes, line, begin - lineBegin})) return;
    begin = end;
    if (bytes.back() != '\n') continue;
    ++line;
    lineBegin = end;
  }
}

void PieceRemarks::add(const Piece& piece) {
  const bool isMore = piece.offset > 0 && piece.text[std::strspn(piece.text, "\r\n")] != '\0';
  if (isMore && m_longLine != piece.line) {
    m_longLine = piece.line;
    const std::string most = std::to_string(kPieceBytes);
    m_faults.warning(piece.line,
                     translated("the line is longer than %s bytes: each further %s bytes are read "
                                "as a line of their own",
                                {most, most}));
  }
  if (piece.bytes.find('\0') != std::string_view::npos && m_zeroLine != piece.line) {
    m_zeroLine = piece.line;
    m_faults.warning(piece.line,
                     translated("a zero byte: what follows it in the line is not read"));
  }
}

}  // namespace check
