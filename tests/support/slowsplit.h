#ifndef TANEXICS_TESTS_SUPPORT_SLOWSPLIT_H
#define TANEXICS_TESTS_SUPPORT_SLOWSPLIT_H

#include <cstddef>
#include <string>
#include <vector>

/// The judge of `split`: looks at one place after the other, and then makes the number of fields
/// right.
inline std::vector<std::string> slowSplit(const std::string& text, const std::string& delim,
                                          int maxFields) {
  const bool isLimited = maxFields > 1;
  const std::size_t limit = isLimited ? static_cast<std::size_t>(maxFields) : 0;
  std::vector<std::string> fields = {""};
  for (std::size_t i = 0; i < text.size();) {
    const bool isFull = isLimited && fields.size() == limit;
    if (!isFull && text.compare(i, delim.size(), delim) == 0) {
      fields.emplace_back();
      i += delim.size();
    } else {
      fields.back() += text[i++];
    }
  }
  if (isLimited) fields.resize(limit);
  return fields;
}

#endif
