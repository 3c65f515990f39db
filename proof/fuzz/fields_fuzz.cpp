// Splitting and joining: the input is the number of fields, the delimiter and the text.

#include "common/text/fields.h"

#include <list>

#include "fuzz/judges.h"
#include "fuzz/target.h"

void tryInput(Input input) {
  const int maxFields = static_cast<int>(input.choice(16)) - 1;
  const std::string delim = input.word();
  const std::string text = input.word();
  if (delim.empty()) return;  // the caller's mistake

  Texts fields = {"left over"};
  const int count = split(exactCopy(text + '\0').data(), delim.c_str(), fields, maxFields);
  demandEqual(fields, slowSplit(text, delim, maxFields), "the fields of a text");
  demandEqual(count, static_cast<int>(fields.size()), "their number");
  if (maxFields <= 1) demandEqual(join(fields, delim.c_str()), text, "joined, they are the text");

  std::list<std::string> list = {"left over"};
  demandEqual(split(text.c_str(), delim.c_str(), list, maxFields), count, "a list's number");
  demandEqual(Texts(list.begin(), list.end()), fields, "a list has the same fields");
  demandEqual(join(list, delim.c_str()), join(fields, delim.c_str()), "and joins the same");
}
