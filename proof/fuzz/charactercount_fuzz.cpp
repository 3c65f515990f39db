// The counters of characters: the input chooses the encoding's name, and is the text.

#include <cstdlib>

#include "common/text/encoding.h"
#include "fuzz/target.h"

namespace {

struct Language {
  const char* lang;
  const char* encoding;
};

constexpr Language kLanguages[] = {
    {"ja_JP.eucJP", "euc"}, {"ja_JP.UTF-8", "utf8"}, {"ja_JP.SJIS", "sjis"},    {"C", "C"},
    {"JAPANESE", "euc"},    {"ja_jp.utf8", "utf8"},  {"japanese.SJIS", "sjis"}, {"", "C"},
    {"ja", "euc"},          {"JA_JP.UJIS", "euc"},   {"japanese.euc", "euc"},   {"ja_JP", "euc"},
    {"ja_JP.UTF", "C"},     {"ja_JP.eucJP.x", "C"},  {"en_US.UTF-8", "C"},      {"j", "C"},
};

using Bytes = std::vector<unsigned>;

bool isBetween(unsigned value, unsigned first, unsigned last) {
  return first <= value && value <= last;
}

// The judges: how many bytes after a lead byte belong to its character. `behind` holds what
// follows the lead byte, at least two of which are there: zeros stand after the end.

unsigned moreInEuc(unsigned lead, const unsigned* behind) {
  const bool isPair = isBetween(behind[0], 0xa0, 0xff);
  if (lead == 0x8f) return isPair && isBetween(behind[1], 0xa0, 0xff) ? 2 : 0;
  if (lead == 0x8e) return isPair ? 1 : 0;
  return lead >= 0xa0 ? 1 : 0;
}

unsigned moreInUtf8(unsigned lead, const unsigned* /*behind*/) {
  if (lead < 0xc0 || lead > 0xfd) return 0;
  unsigned more = 0;
  for (unsigned bit = 0x40; (lead & bit) != 0; bit >>= 1) ++more;
  return more;
}

unsigned moreInSjis(unsigned lead, const unsigned* behind) {
  const bool isLead = isBetween(lead, 0x81, 0x9f) || isBetween(lead, 0xe0, 0xef);
  const bool isSecond = isBetween(behind[0], 0x40, 0xfc) && behind[0] != 0x7f;
  return isLead && isSecond ? 1 : 0;
}

unsigned noMore(unsigned /*lead*/, const unsigned* /*behind*/) { return 0; }

using More = unsigned (*)(unsigned lead, const unsigned* behind);

/// Counts every byte that is not part of the character before it.
int countedBy(More more, Bytes bytes) {
  const std::size_t length = bytes.size();
  bytes.insert(bytes.end(), 2, 0);
  int count = 0;
  unsigned belonging = 0;
  for (std::size_t i = 0; i < length; ++i) {
    if (belonging > 0) {
      --belonging;
    } else {
      ++count;
      belonging = more(bytes[i], &bytes[i + 1]);
    }
  }
  return count;
}

More judgeOf(const std::string& encoding) {
  if (encoding == "euc") return moreInEuc;
  if (encoding == "utf8") return moreInUtf8;
  return encoding == "sjis" ? moreInSjis : noMore;
}

}  // namespace

void tryInput(Input input) {
  const Language& language = kLanguages[input.choice(16)];
  const std::string text = input.rest();
  const int length = static_cast<int>(text.size());
  const Bytes bytes = exactCopy<unsigned>(text);

  demandEqual(check_EUCMultiByteLength(bytes.data(), length), countedBy(moreInEuc, bytes),
              "EUC-JP");
  demandEqual(check_UTF8MultiByteLength(bytes.data(), length), countedBy(moreInUtf8, bytes),
              "UTF-8");
  demandEqual(check_SJISMultiByteLength(bytes.data(), length), countedBy(moreInSjis, bytes),
              "Shift_JIS");

  ::setenv("LANG", language.lang, 1);
  std::string encoding = "left over";
  demandEqual(getEncoding(encoding), std::string(language.encoding), "the encoding of LANG");
  demandEqual(getCharactorLength(exactCopy(text).data(), length),
              countedBy(judgeOf(language.encoding), bytes), "the count in LANG's encoding");
}
