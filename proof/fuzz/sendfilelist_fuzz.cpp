// The list of files to send: the input is the file.

#include <string>
#include <vector>

#include "fuzz/demand.h"
#include "fuzz/input.h"
#include "fuzz/memoryfile.h"
#include "fuzz/pieces.h"
#include "fuzz/target.h"
#include "support/testevent.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  const std::string bytes = Input(data, size).rest();
  file.write(bytes);

  TestSingleSystem event;
  Arguments arguments({"tanexics", file.path(), "-i", "42"});
  const int status = event.parseCommandLine(arguments.argc(), arguments.argv());

  const std::vector<std::string> expected = entriesOf(bytes);
  demandEqual(event.getSendFileList(), expected, "the list holds the file's lines");
  demandEqual(status, expected.empty() ? 68 : 0, "a list without a path is rejected, no other");
  demandEqual(event.m_params, expected.empty() ? Params{} : Params{{"IncidentNumber", "42"}},
              "the option counts once the list was accepted");
  demandEqual(file.read(), bytes, "the list itself is not changed");
  return 0;
}
