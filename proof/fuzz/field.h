#ifndef TANEXICS_PROOF_FUZZ_FIELD_H
#define TANEXICS_PROOF_FUZZ_FIELD_H

#include <cstddef>
#include <string>

/// The usable length of an event notification.
constexpr std::size_t kFieldLimit = 896;

/// The judge: `text` with one more field. A field takes at most the room that is left, its quotes
/// included; a byte, or a doubled quote, that does not fit ends it.
inline std::string withField(const std::string& text, int size, const std::string& value,
                             bool comma) {
  if (size < static_cast<int>(kFieldLimit) || text.size() + 4 >= kFieldLimit) return text;
  const std::size_t room = kFieldLimit - text.size();
  std::string field = "\"";
  for (const char byte : value) {
    const std::string unit(byte == '"' ? 2 : 1, byte);
    if (field.size() + unit.size() + 1 > room) break;
    field += unit;
  }
  field += '"';
  const std::size_t longest = static_cast<std::size_t>(size) - 1;
  std::string longer = value.empty() ? text : (text + field).substr(0, longest);
  if (comma && longer.size() < longest) longer += ',';
  return longer;
}

#endif
