// The list of files to send: the input is the file.

#include "fuzz/judges.h"
#include "fuzz/scratchfile.h"
#include "fuzz/target.h"
#include "support/testevent.h"

void tryInput(Input input) {
  static const ScratchFile file({"list"});
  const std::string bytes = input.rest();
  file.write(bytes);

  TestSingleSystem event;
  Arguments arguments({"tanexics", file.path(), "-i", "42"});
  const int status = event.parseCommandLine(arguments.argc(), arguments.argv());

  const Texts expected = entriesOf(bytes);
  demandEqual(event.getSendFileList(), expected, "the list holds the file's lines");
  demandEqual(status, expected.empty() ? 68 : 0, "a list without a path is rejected, no other");
  demandEqual(event.m_params, expected.empty() ? Params{} : Params{{"IncidentNumber", "42"}},
              "the option counts once the list was accepted");
  demandEqual(file.read(), bytes, "the list itself is not changed");
}
