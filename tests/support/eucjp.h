#ifndef TANEXICS_TESTS_SUPPORT_EUCJP_H
#define TANEXICS_TESTS_SUPPORT_EUCJP_H

#include <iconv.h>

#include <stdexcept>
#include <string>

/// What iconv(3) makes of a UTF-8 text in EUC-JP; throws for a character that has no such form.
inline std::string toEuc(const std::string& text) {
  const iconv_t handle = iconv_open("EUC-JP", "UTF-8");
  std::string euc(text.size() * 2 + 1, '\0');
  char* from = const_cast<char*>(text.data());  // iconv(3) does not write there
  char* to = euc.data();
  std::size_t fromLeft = text.size();
  std::size_t toLeft = euc.size();
  if (iconv(handle, &from, &fromLeft, &to, &toLeft) != 0) throw std::runtime_error("iconv");
  iconv_close(handle);
  euc.resize(euc.size() - toLeft);
  return euc;
}

#endif
