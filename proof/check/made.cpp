#include "check/made.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

constexpr int kShelfFiles = 30;
constexpr std::size_t kLongestPiece = 1023;

const Texts& keys() {
  static const Texts all = {"Time",   "Label",     "HostName", "OSType",
                            "OSName", "OSVersion", "PkgName",  "MsgType",
                            "MsgID",  "SendType",  "EventID",  "PartitionName"};
  return all;
}

class Random {
 public:
  Random(std::uint32_t seed, std::uint64_t number)
      : m_engine((std::uint64_t{seed} << 32U) ^ (number * 0x9e3779b97f4a7c15U)) {}

  std::size_t below(std::size_t count) { return m_engine() % count; }
  bool oneOf(std::size_t count) { return below(count) == 0; }

  template <class Item>
  const Item& of(const std::vector<Item>& items) {
    return items[below(items.size())];
  }

  template <class Item>
  void shuffle(std::vector<Item>& items) {
    for (std::size_t at = items.size(); at > 1; --at) std::swap(items[at - 1], items[below(at)]);
  }

 private:
  std::mt19937_64 m_engine;
};

// --- any bytes -----------------------------------------------------------------------------------

/// Bytes that mean something to a reader, or nearly so.
std::string anyToken(Random& random) {
  static const Texts tokens = {"=",  "\n", "\r\n",     "\r",   "\n\n",       std::string(1, '\0'),
                               "#",  " ",  "\t",       "\"",   "\"\"",       ",",
                               "/",  "x",  "\x01",     "err",  "ERR",        "\xef\xbb\xbf",
                               "-i", "-r", "\xa4\xa2", "\xff", ".syslog.txt"};
  switch (random.below(8)) {
    case 0:
      return random.of(keys());
    case 1:
      return random.of(keys()) + '=';
    case 2:
      return std::string(random.below(24), random.oneOf(2) ? 'x' : '"');
    case 3:
      // Around the longest piece that is read at once.
      return random.oneOf(8) ? std::string(kLongestPiece - 4 + random.below(8), 'y') : "y";
    default:
      return random.of(tokens);
  }
}

/// `bytes` with some places changed by chance.
std::string disturbed(Random& random, std::string bytes, std::size_t most) {
  for (std::size_t left = random.below(most + 1); left > 0; --left) {
    const std::size_t at = random.below(bytes.size() + 1);
    switch (random.below(4)) {
      case 0:
        bytes.insert(at, anyToken(random));
        break;
      case 1:
        bytes.erase(at, 1 + random.below(4));
        break;
      case 2:
        bytes.replace(at, random.below(8), anyToken(random));
        break;
      default:
        bytes.insert(at, bytes.substr(random.below(bytes.size() + 1), random.below(60)));
    }
  }
  return bytes;
}

// --- good input ----------------------------------------------------------------------------------

/// A value in which nothing is odd, of `most` bytes at most.
std::string goodValue(Random& random, std::size_t most) {
  static const Texts words = {
      "a",   "db01", "disk \"sda\"", "12.4",  "x,y", "ERROR", "\xa4\xa2\xa4\xa4", "\xe3\x81\x82",
      "a=b", "#",    "\\",           "\"\"\""};
  std::string value = random.of(words);
  while (random.oneOf(2) && value.size() + 12 < most) value += random.of(words);
  return value;
}

/// The lines of a definition, or of a list.
using Lines = Texts;

std::string bytesOf(const Lines& lines, Random& random) {
  const std::string end = random.oneOf(4) ? "\r\n" : "\n";
  std::string bytes;
  for (const std::string& line : lines) bytes += line + end;
  if (random.oneOf(4) && !bytes.empty()) bytes.resize(bytes.size() - end.size());
  return bytes;
}

Lines goodDefinition(Random& random, std::size_t longest) {
  Lines lines;
  for (const std::string& key : keys()) {
    if (key == "MsgID" && random.oneOf(3)) continue;
    std::string value = goodValue(random, longest);
    if (key == "SendType") value = random.oneOf(2) ? "err" : "info";
    if (key == "MsgID" && random.oneOf(3)) value.clear();
    lines.push_back(key + '=' + value);
  }
  random.shuffle(lines);
  for (std::size_t more = random.below(4); more > 0; --more) {
    const std::string line = random.oneOf(2) ? "" : "# Label=" + goodValue(random, longest);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(random.below(lines.size() + 1)), line);
  }
  return lines;
}

/// Paths of the shelf, each once, an extract first.
Lines goodList(const Shelf& shelf, Random& random) {
  Lines lines = shelf.files;
  random.shuffle(lines);
  lines.resize(random.below(8));
  lines.insert(lines.begin(), random.of(shelf.extracts));
  return lines;
}

/// The words and the files of an input that is good so far.
CheckInput inputOf(const Shelf& shelf, const std::string& folder, const std::string& list,
                   const std::string& definition, bool isEvent) {
  CheckInput input;
  input.files = {{folder + "/list", list}, {folder + "/event", definition}};
  for (const std::string& extract : shelf.extracts) input.files[extract] = shelf.extractBytes;
  input.words = {folder + "/list", isEvent ? "-r" : "-i", isEvent ? folder + "/event" : "4711"};
  return input;
}

// --- any input -----------------------------------------------------------------------------------

Made anyList(const Shelf& shelf, const std::string& folder, Random& random) {
  std::string bytes = bytesOf(goodList(shelf, random), random);
  if (random.oneOf(3)) bytes.clear();
  bytes = disturbed(random, bytes, 12);
  const bool isEvent = random.oneOf(4);
  const std::string definition = bytesOf(goodDefinition(random, 40), random);
  return {Kind::kList, inputOf(shelf, folder, bytes, definition, isEvent), {}};
}

Made anyDefinition(const Shelf& shelf, const std::string& folder, Random& random) {
  // Many of them fill the notification.
  const std::size_t longest = random.oneOf(3) ? 900 : 60;
  Lines lines = goodDefinition(random, longest);
  if (longest > 60) {
    for (std::string& line : lines) {
      if (random.oneOf(4) && line.find("SendType") != 0 && line.find('=') != std::string::npos) {
        line += std::string(random.below(960), random.oneOf(3) ? '"' : 'z');
      }
    }
  }
  std::string bytes = bytesOf(lines, random);
  if (!random.oneOf(3)) bytes = disturbed(random, bytes, 8);
  if (random.oneOf(16)) bytes = disturbed(random, "", 30);
  const std::string list = bytesOf(goodList(shelf, random), random);
  return {Kind::kDefinition, inputOf(shelf, folder, list, bytes, true), {}};
}

Made anyWords(const Shelf& shelf, const std::string& folder, Random& random) {
  Made made = {Kind::kCommandLine,
               inputOf(shelf, folder, bytesOf(goodList(shelf, random), random),
                       bytesOf(goodDefinition(random, 40), random), true),
               {}};
  const Texts pool = {folder + "/list",
                      folder + "/event",
                      "-i",
                      "-r",
                      "-ix",
                      "-r" + folder + "/event",
                      "-r" + folder + "/list",
                      "4711",
                      "",
                      "-",
                      "-I",
                      "--",
                      "7",
                      "42 ",
                      shelf.missing,
                      shelf.folder,
                      std::string(random.below(2100), '"')};
  made.input.words.clear();
  // Mostly of the right shape, with any word in any place.
  // A number may fill the notification of an incident, to the byte.
  const std::string number =
      random.oneOf(3) ? std::string(1980 + random.below(80), '7') : std::string("4711");
  const Texts shape = {folder + "/list", random.oneOf(2) ? "-i" : "-r",
                       random.oneOf(2) ? folder + "/event" : number, "more"};
  const std::size_t count = random.below(5);
  for (std::size_t at = 0; at < count; ++at) {
    std::string word = random.oneOf(3) ? random.of(pool) : shape[at];
    if (random.oneOf(12)) word += random.oneOf(2) ? "\x01" : "x";
    made.input.words.push_back(word);
  }
  return made;
}

// --- input that is spoilt ------------------------------------------------------------------------

/// A line that is spoilt, and what the fault is then: an error, or a warning.
struct Spoilt {
  std::string line;
  bool isError;
};

/// A key that is written wrong, and can still be told.
std::string misspelt(Random& random, std::string key) {
  switch (random.below(3)) {
    case 0:
      for (char& byte : key) byte = static_cast<char>(byte | 0x20);
      return key;
    case 1:
      key.insert(random.below(key.size()), 1, 'q');
      return key;
    default:
      return random.oneOf(2) ? key + ' ' : ' ' + key;
  }
}

Spoilt spoiltLine(Random& random, const std::string& key, const std::string& value) {
  const bool isOptional = key == "MsgID";
  switch (random.below(key == "SendType" ? 8 : 7)) {
    case 0:
      return {misspelt(random, key) + '=' + value, true};
    case 1:
      return {key + (random.oneOf(2) ? ": " : " ") + "x", true};
    case 2:
      if (!isOptional) return {key + '=', true};
      return {"MsgId=" + value, true};
    case 3:
      return {"\xef\xbb\xbf" + key + '=' + value, true};
    case 4:
      return {key + "= x" + value, false};
    case 5:
      return {key + "=x" + value + (random.oneOf(2) ? "\t" : "\x01"), false};
    case 6:
      return {key + "=x" + (key == "SendType" ? "yz" : value) + '\0' + "more", false};
    default:
      return {
          "SendType=" + random.of(Texts{"ERR", "Err", " err", "err ", "\"err\"", "error", "erR"}),
          false};
  }
}

/// Lines that say nothing good wherever they stand.
Spoilt alienLine(Random& random) {
  static const std::vector<Spoilt> lines = {
      {"Comment=disk", true},   {"   ", true}, {" # a comment", true},
      {"no sign at all", true}, {"=x", true},  {std::string("# a zero byte \0 x", 17), false}};
  return random.of(lines);
}

void spoilDefinition(Random& random, const std::string& path, Lines& lines, Made& made) {
  std::vector<Place> places;
  Lines spoilt;
  const std::size_t chance = 2 + random.below(12);
  for (const std::string& line : lines) {
    if (random.oneOf(3 * chance)) {
      const Spoilt alien = alienLine(random);
      spoilt.push_back(alien.line);
      places.push_back({path, spoilt.size(), alien.isError});
    }
    const std::size_t equals = line.find('=');
    if (line.empty() || line[0] == '#' || !random.oneOf(chance)) {
      spoilt.push_back(line);
      continue;
    }
    const std::string key = line.substr(0, equals);
    const std::string value = line.substr(equals + 1);
    if (random.oneOf(10)) {
      spoilt.push_back(line);
      spoilt.push_back(key + "=x" + (key == "SendType" ? "yz" : value));
      places.push_back({path, spoilt.size(), false});  // once more
      continue;
    }
    if (key != "MsgID" && random.oneOf(8)) {
      // The line that follows gives the value, and comes too late.
      spoilt.push_back(key + '=');
      places.push_back({path, spoilt.size(), true});
      spoilt.push_back(line);
      continue;
    }
    const Spoilt other = spoiltLine(random, key, value);
    spoilt.push_back(other.line);
    places.push_back({path, spoilt.size(), other.isError});
  }
  lines = spoilt;
  made.spoilt.insert(made.spoilt.end(), places.begin(), places.end());
}

void spoilList(const Shelf& shelf, Random& random, const std::string& path, Lines& lines,
               Made& made) {
  const std::size_t chance = 1 + random.below(6);
  Lines spoilt = {lines[0]};
  const auto add = [&](const std::string& line) {
    spoilt.push_back(line);
    made.spoilt.push_back({path, spoilt.size(), false});
  };
  for (std::size_t at = 1; at < lines.size(); ++at) {
    const std::string& line = lines[at];
    if (!random.oneOf(chance)) {
      spoilt.push_back(line);
      continue;
    }
    switch (random.below(10)) {
      case 0:
        add("# a comment " + std::to_string(at));
        break;
      case 1:
        add("relative/path." + std::to_string(at));
        break;
      case 2:
        add(shelf.missing + std::to_string(at));
        break;
      case 3:
        add(line + ' ');
        break;
      case 4:
        add(line + '\x01');
        break;
      case 5:
        add("\xef\xbb\xbf" + line);
        break;
      case 6:
        add(shelf.subfolder + std::string(at, '/'));
        break;
      case 7:
        add(shelf.fifo.substr(0, shelf.fifo.rfind('/')) + std::string(at, '/') + "fifo");
        break;
      case 8:
        spoilt.push_back(line);
        add(line);
        break;
      default:
        add(line + '\0' + "more");
    }
  }
  lines = spoilt;
}

void spoilWords(Random& random, bool isEvent, Made& made) {
  Texts& words = made.input.words;
  const auto add = [&](bool isError) { made.spoilt.push_back({std::nullopt, 0, isError}); };
  if (!isEvent && random.oneOf(2)) {
    switch (random.below(4)) {
      case 0:
        words[2] = "";
        add(false);
        break;
      case 1:
        words[2] = " 4711";
        add(false);
        break;
      case 2:
        words[1] = "-i4711";
        words[2] = "ab12";
        add(false);
        break;
      default:
        words[1] = "-i4711";
        words[2] = "a";
        add(true);
    }
  }
  if (random.oneOf(6)) {
    words.emplace_back("more");
    add(false);
  } else if (random.oneOf(8)) {
    made.spoilt.clear();
    words[1] = random.of(Texts{"-x", "", "i", "--incident"});
    add(true);
  }
}

Made spoiltInput(const Shelf& shelf, const std::string& folder, Random& random) {
  const bool isEvent = !random.oneOf(3);
  Made made;
  made.kind = Kind::kSpoilt;
  made.input = inputOf(shelf, folder, "", "", isEvent);
  Lines list = goodList(shelf, random);
  Lines definition = goodDefinition(random, 40);
  spoilWords(random, isEvent, made);
  if (!random.oneOf(4)) spoilList(shelf, random, folder + "/list", list, made);
  const bool isNamed = made.input.words[1] == "-r";
  if (isNamed && random.oneOf(4)) {
    // One fault alone: nothing else has the command reject the input.
    definition.insert(definition.begin(), "Label=");
    made.spoilt.push_back({folder + "/event", 1, true});
  } else if (isNamed && !random.oneOf(4)) {
    spoilDefinition(random, folder + "/event", definition, made);
  }
  made.input.files[folder + "/list"] = bytesOf(list, random);
  made.input.files[folder + "/event"] = bytesOf(definition, random);
  return made;
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

Shelf::Shelf(const std::string& place) : folder(place) {
  extractBytes = "# made by a collection\nNov 15 12:00:05 db01 kernel: I/O error, dev \"sda\"\n";
  extracts = {folder + "/x.syslog.txt", folder + "/x.apllog.txt.1"};
  for (const std::string& path : extracts) writeFile(path, extractBytes);
  for (int number = 1; number < kShelfFiles; ++number) {
    files.push_back(folder + "/file" + std::to_string(number));
    writeFile(files.back(), std::string(static_cast<std::size_t>(number) * 7, 'b'));
  }
  subfolder = folder + "/folder";
  std::filesystem::create_directory(subfolder);
  fifo = folder + "/fifo";
  ::mkfifo(fifo.c_str(), 0600);
  missing = folder + "/missing";
}

Made makeInput(const Shelf& shelf, const std::string& folder, std::uint32_t seed,
               std::uint64_t number) {
  Random random(seed, number);
  switch (static_cast<Kind>(number % kKinds)) {
    case Kind::kList:
      return anyList(shelf, folder, random);
    case Kind::kDefinition:
      return anyDefinition(shelf, folder, random);
    case Kind::kCommandLine:
      return anyWords(shelf, folder, random);
    case Kind::kSpoilt:
      break;
  }
  return spoiltInput(shelf, folder, random);
}
