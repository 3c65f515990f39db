#include "common/base/once.h"

#include <climits>

std::map<std::string, int> mapOnce;

// The published signature takes the key by value.
int atOnce(std::string key, std::map<std::string, int>* map, int limit) {
  int& count = (map == nullptr ? mapOnce : *map)[key];
  if (count > limit) return 0;
  if (count < INT_MAX) ++count;
  return 1;
}
