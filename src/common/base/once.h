#ifndef TANEXICS_COMMON_BASE_ONCE_H
#define TANEXICS_COMMON_BASE_ONCE_H

#include <map>
#include <string>

/// The counts of `atOnce` for the whole process; empty at start, and never cleared.
extern std::map<std::string, int> mapOnce;

/// Lets a caller do a thing a limited number of times: 1 for the first `limit` + 1 calls with the
/// same `key`, 0 from then on.
///
/// `map`    where the counts are kept; null means `mapOnce`. The key is entered in either case.
/// `limit`  0: once. Below 0: never. INT_MAX: always.
int atOnce(std::string key, std::map<std::string, int>* map, int limit);

#endif
