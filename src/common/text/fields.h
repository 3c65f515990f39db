#ifndef TANEXICS_COMMON_TEXT_FIELDS_H
#define TANEXICS_COMMON_TEXT_FIELDS_H

#include <list>
#include <string>
#include <vector>

/// Splits `text` at every `delim`; what stands between two of them, before the first and after the
/// last is a field, also when it is empty: "/a/b" at "/" gives "", "a", "b"; "" gives one empty
/// field.
///
/// `text`       may be an item of `out`.
/// `delim`      not empty: an empty one is the caller's mistake, an assertion in debug builds; in
///              others it is found nowhere.
/// `out`        out: the fields, and nothing else.
/// `maxFields`  above 1: exactly so many fields; the last one holds the whole rest, and empty ones
///              are added where the text has fewer. 1 and below: no limit.
///
/// Returns the number of fields. Null text: 0, and "invalid param" is logged at (common:2748) for a
/// list and (common:2812) for a vector. Null `delim`: 0, and nothing is logged.
int split(const char* text, const char* delim, std::list<std::string>& out, int maxFields);
int split(const char* text, const char* delim, std::vector<std::string>& out, int maxFields);

/// The items in order with `sep` between neighbours; "" for no items. Null `sep`: "", and "invalid
/// param" is logged at (common:2469) for a list and (common:2493) for a vector.
std::string join(const std::list<std::string>& items, const char* sep);
std::string join(const std::vector<std::string>& items, const char* sep);

/// Logs one numbered line, "ID : ITEM", for each item in order. Returns 1.
int logList(std::string id, std::list<std::string>& items);

#endif
