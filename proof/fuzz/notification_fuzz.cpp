// What a run says to the communication library: the fields of a notification, the line that it
// quotes from a log extract, and all that is exchanged.

#include <algorithm>

#include "fuzz/notificationjudge.h"
#include "support/FakeKelcom.h"
#include "support/testevent.h"

namespace {

// --- a field after the other ---------------------------------------------------------------------

/// The value that a field without its comma quotes.
std::string unquoted(const std::string& field) {
  std::string value;
  for (std::size_t i = 1; i + 1 < field.size(); ++i) {
    value += field[i];
    if (field[i] == '"') ++i;
  }
  return value;
}

void appendField(std::vector<char>& buffer, int size, const std::string& value, bool comma) {
  const std::string before = buffer.data();
  const std::vector<char> source = exactCopy(value + '\0');
  CSendEventBase().convStr(buffer.data(), size, source.data(), comma ? 1 : 0);
  const std::string after = buffer.data();

  demandEqual(after, withField(before, size, value, comma), "the text with one more field");
  // A buffer that is larger than the format leaves its last comma room after the limit.
  const std::size_t longest = comma && size > 897 ? kFieldLimit + 1 : kFieldLimit;
  demand(after.size() <= std::max(before.size(), longest), "a notification stays in its limit");
  demand(after.compare(0, before.size(), before) == 0, "a field only appends");
  if (!comma && size > static_cast<int>(kFieldLimit)) {
    const std::string quoted = unquoted(after.substr(before.size()));
    demand(value.compare(0, quoted.size(), quoted) == 0, "a field quotes a beginning of its value");
  }
}

// The input chooses the size of the buffer and the text that stands in it at first, and then gives
// field after field: whether a comma follows, and the value.
const Target kNotificationField("notificationfield", [](Input input) {
  constexpr int kSizes[] = {897, 896, 895, 898, 1024, 2048, 0, -1};
  const int size = kSizes[input.choice(8)];
  // As large as the call is told, and where that is nonsense, large enough for what stands there.
  std::vector<char> buffer(static_cast<std::size_t>(std::max(size, 1)), '\0');
  const std::string first = input.longWord().substr(0, buffer.size() - 1);
  std::copy(first.begin(), first.end(), buffer.begin());

  constexpr int kFieldsAtMost = 32;
  for (int i = 0; i < kFieldsAtMost && !input.isEmpty(); ++i) {
    const bool comma = input.choice(2) == 1;
    appendField(buffer, size, input.longWord(), comma);
  }
});

// --- the line of an extract ----------------------------------------------------------------------

// The input is a list of file names, one a line, ended by a zero byte, and then the bytes of the
// one extract that there is, which has two names.
const Target kExcerpt("excerpt", [](Input input) {
  static const ScratchFolder folder;
  static const Texts extracts = {folder / "x.syslog.txt", folder / "x.apllog.txt.gz"};
  std::string names = input.word();
  std::replace(names.begin(), names.end(), '/', '_');
  Texts paths;
  for (const std::string& name : slowSplit(names, "\n")) paths.push_back(folder / name);
  const std::string bytes = input.rest();
  folder.write("x.syslog.txt", bytes);
  if (!std::filesystem::exists(extracts[1]))
    std::filesystem::create_hard_link(extracts[0], extracts[1]);

  CSendEventBase event;
  std::string line = "left over";
  event.getSyslogLine(paths, line);
  const auto chosen = std::find_if(paths.begin(), paths.end(), [](const std::string& path) {
    return path.find(".syslog.txt") != std::string::npos ||
           path.find(".apllog.txt") != std::string::npos;
  });
  const bool isThere = chosen != paths.end() && (*chosen == extracts[0] || *chosen == extracts[1]);
  demandEqual(line,
              chosen == paths.end() ? "Software Log"
              : isThere             ? excerptOf(bytes)
                                    : "",
              "the excerpt is the first line that is no comment");
  demand(line.size() <= 1022, "an excerpt has at most 1,022 bytes");
  demandEqual(folder.read("x.syslog.txt"), bytes, "the extract itself is not changed");
});

// --- a whole run ---------------------------------------------------------------------------------

/// The judge: the exchanges of a run on `files`, the first of which holds `extract`.
Texts exchangesOf(int type, const Params& params, const Texts& files, const std::string& extract) {
  const std::string count = std::to_string(files.size());
  if (type > 2) {
    std::string all;
    for (const std::string& file : files) all += (all.empty() ? "" : " ") + file;
    return {(type == 3 ? "Communicate(0x40204, 0, 0, " : "Communicate(0x40205, 0, 0, ") +
                fieldText(params, extract) + ")",
            "Communicate(0x4010d, 0, " + count + ", [" + all + "])"};
  }
  Texts exchanges;
  for (std::size_t i = 0; i < files.size(); ++i) {
    exchanges.push_back(type == 1 ? "Communicate(0x40016, 0, 0, NULL)"
                                  : "Communicate(0x40017, 0, 0, " +
                                        incidentText(params, i + 1, files.size()) + ")");
    exchanges.push_back(
        (type == 1 ? "Communicate(0x4010a, 0, 1, [" : "Communicate(0x4010b, 0, 1, [") + files[i] +
        "])");
  }
  return exchanges;
}

// The input chooses the event's type, the number of files and the library's replies, and then gives
// the parameters and the bytes of the one file that there is, a log extract.
const Target kNotification("notification", [](Input input) {
  static const ScratchFolder folder;
  const int type = static_cast<int>(input.choice(4)) + 1;
  Texts files = {folder / "x.syslog.txt"};
  for (unsigned more = input.choice(4); more > 0; --more) {
    files.push_back(folder / ("missing." + std::to_string(more)));
  }
  FakeKelcom kelcom;
  const bool isFailing = input.choice(2) == 1;
  if (isFailing) kelcom.reply = {input.number(), input.number(), input.number()};

  TestEvent event(type, files);
  for (const char* key : kFieldKeys) {
    if (*key != '\0') event.m_params[key] = input.longWord();
  }
  event.m_params["IncidentNumber"] = input.longWord();
  const Params params = event.m_params;
  const std::string bytes = input.rest();
  folder.write("x.syslog.txt", bytes);

  demandEqual(event.commonSendEvent(0, nullptr), 0, "no reply of the library fails the run");
  Texts exchanges = kelcom.calls;
  exchanges.erase(std::remove_if(exchanges.begin(), exchanges.end(),
                                 [](const std::string& call) {
                                   return call.compare(0, 11, "Communicate") != 0;
                                 }),
                  exchanges.end());
  demandEqual(exchanges, exchangesOf(type, params, files, bytes),
              "the notifications and the files of a run");
  demandEqual(event.m_params, params, "the parameters stay");
});

}  // namespace
