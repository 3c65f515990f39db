#include "common/text/encoding.h"

#include <strings.h>

#include <cstdint>
#include <memory>
#include <new>

#include "common/base/format.h"
#include "common/text/environment.h"

namespace {

struct EncodingName {
  const char* lang;
  const char* encoding;
};

constexpr EncodingName kEncodings[] = {
    {"ja", "euc"},          {"japanese", "euc"},       {"japanese.euc", "euc"},
    {"ja_JP", "euc"},       {"ja_JP.ujis", "euc"},     {"ja_JP.eucJP", "euc"},
    {"ja_JP.SJIS", "sjis"}, {"japanese.sjis", "sjis"}, {"ja_JP.UTF-8", "utf8"},
    {"ja_JP.UTF8", "utf8"},
};

bool isWithin(unsigned int value, unsigned int first, unsigned int last) {
  return value >= first && value <= last;
}

/// The text of a counter: what lies past its end is 0, which is within no range.
struct Elements {
  const unsigned int* a;
  int len;
  unsigned int at(long long i) const { return i < len ? a[i] : 0; }
};

/// Steps through the text by the lengths that `lengthAt` gives, and counts the steps.
template <class LengthAt>
int countCharacters(const unsigned int* a, int len, const LengthAt& lengthAt) {
  if (a == nullptr) return 0;
  const Elements elements = {a, len};
  int count = 0;
  for (long long i = 0; i < len; i += lengthAt(elements, i)) ++count;
  return count;
}

int eucLength(const Elements& text, long long i) {
  const auto isHigh = [](unsigned int value) { return isWithin(value, 0xA0, 0xFF); };
  const unsigned int lead = text.at(i);
  if (lead == 0x8E) return isHigh(text.at(i + 1)) ? 2 : 1;
  if (lead == 0x8F) return isHigh(text.at(i + 1)) && isHigh(text.at(i + 2)) ? 3 : 1;
  return isHigh(lead) ? 2 : 1;
}

int utf8Length(const Elements& text, long long i) {
  const unsigned int lead = text.at(i);
  if (isWithin(lead, 0xC0, 0xDF)) return 2;
  if (isWithin(lead, 0xE0, 0xEF)) return 3;
  if (isWithin(lead, 0xF0, 0xF7)) return 4;
  if (isWithin(lead, 0xF8, 0xFB)) return 5;
  return isWithin(lead, 0xFC, 0xFD) ? 6 : 1;
}

int sjisLength(const Elements& text, long long i) {
  const unsigned int lead = text.at(i);
  const unsigned int second = text.at(i + 1);
  const bool isLead = isWithin(lead, 0x81, 0x9F) || isWithin(lead, 0xE0, 0xEF);
  return isLead && (isWithin(second, 0x40, 0x7E) || isWithin(second, 0x80, 0xFC)) ? 2 : 1;
}

int countEncoded(const std::string& encoding, const unsigned int* a, int len) {
  if (encoding == "euc") return check_EUCMultiByteLength(a, len);
  if (encoding == "sjis") return check_SJISMultiByteLength(a, len);
  if (encoding == "utf8") return check_UTF8MultiByteLength(a, len);
  return len;
}

}  // namespace

std::string& getEncoding(std::string& enc) {
  const std::string lang = getEnvValue("LANG");
  enc = "C";
  for (const EncodingName& name : kEncodings) {
    if (::strcasecmp(C(lang), name.lang) == 0) enc = name.encoding;
  }
  return enc;
}

int check_EUCMultiByteLength(const unsigned int* a, int len) {
  return countCharacters(a, len, eucLength);
}

int check_UTF8MultiByteLength(const unsigned int* a, int len) {
  return countCharacters(a, len, utf8Length);
}

int check_SJISMultiByteLength(const unsigned int* a, int len) {
  return countCharacters(a, len, sjisLength);
}

int getCharactorLength(const char* text, int len) {
  if (text == nullptr || len < 1) return 0;
  const std::size_t size = static_cast<std::size_t>(len);
  if constexpr (sizeof(std::size_t) == sizeof(int)) {
    // In spite of std::nothrow g++ throws for more bytes than there are addresses.
    if (size > SIZE_MAX / sizeof(unsigned int)) return 0;
  }
  // GCOVR_EXCL_BR_START: one branch is the compiler's, for more elements than there are addresses.
  const std::unique_ptr<unsigned int[]> elements(new (std::nothrow) unsigned int[size]);
  // GCOVR_EXCL_BR_STOP
  if (elements == nullptr) return 0;
  for (std::size_t i = 0; i < size; ++i) elements[i] = static_cast<unsigned char>(text[i]);
  std::string encoding;
  return countEncoded(getEncoding(encoding), elements.get(), len);
}
