// What a run is told: its command line, the list of files to send and both definition files.

#include <algorithm>
#include <map>

#include "fuzz/judges.h"
#include "support/testevent.h"

namespace {

/// What a run knows of its event after it has read a part of its input.
struct Told {
  int status = 0;
  int type = CSendEventBase::kNotParsed;
  Texts list;
  Params params;
};

/// The judge: what a list of files to send names.
Texts entriesOf(const std::string& bytes) {
  Texts entries = linesIn(bytes, 1023);
  entries.erase(std::remove(entries.begin(), entries.end(), ""), entries.end());
  return entries;
}

/// The judge: what the definition `bytes` says to a reader of `keys`.
Told definitionIn(const std::string& bytes, const Texts& keys) {
  Params params;
  for (const std::string& line : linesIn(bytes, 1023)) {
    if (line.empty() || line.front() == '#') continue;
    const std::size_t equals = line.find('=');
    const std::string key = line.substr(0, equals);
    const bool isKey = std::count(keys.begin(), keys.end(), key) != 0;
    const bool hasValue = equals + 1 < line.size() || key == "MsgID";
    if (equals == std::string::npos || !isKey || !hasValue) return {68, 0, {}, params};
    params[key] = line.substr(equals + 1);
  }
  for (const std::string& key : keys) {
    // Asking for a parameter inserts it, the first missing one included.
    if (params[key].empty() && key != "MsgID") return {68, 0, {}, params};
  }
  const auto sendType = params.find("SendType");
  const bool isError = sendType != params.end() && sendType->second == "err";
  return {0, isError ? CSendEventBase::kErrorEvent : CSendEventBase::kOtherEvent, {}, params};
}

const Texts kEventKeys = {"Time",    "Label",   "HostName", "OSType",   "OSName",  "OSVersion",
                          "PkgName", "MsgType", "MsgID",    "SendType", "EventID", "PartitionName"};

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

/// The judge: what a command line means, where `files` has the bytes of what can be read.
Told meaningOf(const Texts& words, const std::map<std::string, std::string>& files) {
  Told told;
  told.status = 68;
  const auto listed = files.find(words.size() < 3 ? "" : words[1]);
  if (listed == files.end()) return told;
  told.list = entriesOf(listed->second);
  if (told.list.empty()) return told;

  const std::string option = words[2].substr(0, 2);
  const bool isJoined = words[2].size() > 2;
  const bool hasNext = words.size() > 3;
  if (option == "-i") {
    told.type = CSendEventBase::kIncident;
    // A number that is joined to its option is looked for in the next word.
    if (!hasNext || (isJoined && words[3].size() < 2)) return told;
    told.status = 0;
    told.params["IncidentNumber"] = words[3].substr(isJoined ? 2 : 0);
  } else if (option == "-r" && (isJoined || hasNext)) {
    const auto definition = files.find(isJoined ? words[2].substr(2) : words[3]);
    if (definition == files.end()) return told;
    const Texts list = told.list;
    told = definitionIn(definition->second, kEventKeys);
    told.list = list;
  }
  return told;
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
  demandEqual(folder.read("list"), bytes, "the list itself is not changed");
});

const Target kDefinition("definition", [](Input input) {
  static const ScratchFolder folder;
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
  demandEqual(folder.read("definition"), bytes, "the definition itself is not changed");
});

}  // namespace
