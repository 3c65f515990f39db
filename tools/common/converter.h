#ifndef TANEXICS_TOOLS_COMMON_CONVERTER_H
#define TANEXICS_TOOLS_COMMON_CONVERTER_H

#include <iconv.h>

#include <string>
#include <string_view>

/// A conversion from one encoding into another. Where this machine does not know them, ASCII alone
/// can be converted.
class Converter {
 public:
  /// Names as iconv_open(3) takes them.
  Converter(const char* to, const char* from);
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// Converts as much of the beginning of `bytes` as it can, and takes it away from them.
  std::string takeConvertible(std::string_view& bytes);

 private:
  bool isOpen() const;

  iconv_t m_handle;
};

/// `bytes` in another encoding, each byte that cannot be converted as `\xHH`. Names as
/// iconv_open(3) takes them.
std::string convertedOrEscaped(std::string_view bytes, const char* to, const char* from);

#endif
