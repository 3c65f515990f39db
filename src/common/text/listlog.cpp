#include "common/text/listlog.h"

#include "common/base/format.h"
#include "log/loglines.h"

int logList(std::string id, std::list<std::string>& items) {
  for (const std::string& item : items) infoNumbered(C(id), "%s", C(item));
  return 1;
}
