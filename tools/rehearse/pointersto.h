#ifndef TANEXICS_REHEARSE_POINTERSTO_H
#define TANEXICS_REHEARSE_POINTERSTO_H

#include <string>
#include <vector>

/// The null-terminated array that execve(2) and its like take. Valid as long as `texts` is
/// unchanged.
inline std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

#endif
