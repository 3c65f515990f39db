// What a run is told: its command line, the list of files to send and both definition files.

#include <algorithm>
#include <map>

#include "check/demandagreement.h"
#include "fuzz/inputjudge.h"
#include "support/testevent.h"

namespace {

// --- the command line ----------------------------------------------------------------------------

// The input is its words, each ended by a zero byte. The bytes 1 to 4 as a whole word, or after an
// option's two bytes, stand for the paths of four files, each of which may be named as a list and
// as a definition. Everywhere else a slash becomes an underscore, and the current directory is an
// empty one: a word may be opened as a file, and those of the machine are none of a test's
// business.

struct Files {
  Files() {
    for (const std::string& bytes :
         {std::string("/var/log/a.syslog.txt\n#/b c\n\n/d\n"), definitionOf(eventParams()),
          std::string("\n\r\n"), std::string("=\n")}) {
      paths.push_back(folder.write(std::to_string(paths.size()), bytes));
      content[paths.back()] = bytes;
    }
    std::filesystem::create_directory(folder / "empty");
  }

  ScratchFolder folder;
  Texts paths;
  std::map<std::string, std::string> content;  // by the path
};

std::string argumentOf(std::string word, const Texts& paths) {
  // A slash would lead out of the folder, or be another name of a file.
  std::replace(word.begin(), word.end(), '/', '_');
  const std::size_t option = word.size() == 3 ? 2 : 0;
  if (word.size() == option + 1 && word.back() >= 1 && word.back() <= 4) {
    return word.substr(0, option) + paths[static_cast<std::size_t>(word.back() - 1)];
  }
  return word;
}

const Target kCommandLine("commandline", [](Input input) {
  static const Files files;
  Texts words;
  while (!input.isEmpty()) words.push_back(argumentOf(input.word(), files.paths));

  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(files.folder / "empty");
  TestSingleSystem event;
  Arguments arguments(words);
  const int status = event.parseCommandLine(arguments.argc(), arguments.argv());
  if (!words.empty()) demandAgreement({{words.begin() + 1, words.end()}, files.content});
  std::filesystem::current_path(home);

  const Told expected = meaningOf(words, files.content);
  demandEqual(status, expected.status, "the status of the command line");
  demandEqual(event.getEventType(), expected.type, "the type that the option chooses");
  demandEqual(event.getSendFileList(), expected.list, "the list that the first word names");
  demandEqual(event.m_params, expected.params, "the parameters that the option gives");
  for (std::size_t i = 0; i < words.size(); ++i) {
    demandEqual(std::string(arguments.argv()[i]), words[i], "the words themselves stay");
  }
});

// --- its files: the input is the file ------------------------------------------------------------

const Target kSendFileList("sendfilelist", [](Input input) {
  static const ScratchFolder folder;
  const std::string bytes = input.rest();
  TestSingleSystem event;
  Arguments arguments({"tanexics", folder.write("list", bytes), "-i", "42"});
  const int status = event.parseCommandLine(arguments.argc(), arguments.argv());

  const Texts expected = entriesOf(bytes);
  demandEqual(event.getSendFileList(), expected, "the list holds the file's lines");
  demandEqual(status, expected.empty() ? 68 : 0, "a list without a path is rejected, no other");
  demandEqual(event.m_params, expected.empty() ? Params{} : Params{{"IncidentNumber", "42"}},
              "the option counts once the list was accepted");
  demandAgreement({{folder / "list", "-i", "42"}, {{folder / "list", bytes}}});
  demandEqual(folder.read("list"), bytes, "the list itself is not changed");
});

const Target kDefinition("definition", [](Input input) {
  static const ScratchFolder folder;
  static const std::string list = folder.write("list", "/dev/null\n");
  const std::string bytes = input.rest();
  Arguments arguments({folder.write("definition", bytes)});

  TestEvent event;
  Told expected = definitionIn(bytes, kEventKeys);
  demandEqual(event.parseTanexEventMsg(arguments.argv()[0]), expected.status,
              "a definition of an event is accepted or rejected as a whole");
  demandEqual(event.m_params, expected.params, "the parameters are those of the event");
  demandEqual(event.getEventType(), expected.type, "the type follows from SendType");

  TestEvent incident;
  expected = definitionIn(bytes, {"IncidentNumber", "HostName", "PartitionName", "CollectionTime"});
  demandEqual(incident.parseTanexMsg(arguments.argv()[0]), expected.status,
              "a definition of an incident is accepted or rejected as a whole");
  demandEqual(incident.m_params, expected.params, "the parameters are those of the incident");
  demandEqual(incident.getEventType(), 2, "an incident is one, whatever its file says");
  demandAgreement({{list, "-r", folder / "definition"},
                   {{list, "/dev/null\n"}, {folder / "definition", bytes}}});
  demandEqual(folder.read("definition"), bytes, "the definition itself is not changed");
});

}  // namespace
