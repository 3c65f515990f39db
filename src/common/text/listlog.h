#ifndef TANEXICS_COMMON_TEXT_LISTLOG_H
#define TANEXICS_COMMON_TEXT_LISTLOG_H

#include <list>
#include <string>

/// Logs one numbered line, "ID : ITEM", for each item in order. Returns 1.
int logList(std::string id, std::list<std::string>& items);

#endif
