#include <iterator>
#include <sstream>

#include "inherited/situation.h"

namespace {

constexpr std::size_t kMegabyte = 1024UL * 1024UL;

/// The words of a text that are separated by blanks and line feeds.
Texts wordsOf(const std::string& text) {
  std::istringstream stream(text);
  return Texts(std::istream_iterator<std::string>(stream), {});
}

/// One entry in front of the others.
void addEntries(Catalogue& catalogue, const std::string& family, const Texts& entries) {
  for (std::size_t at = 0; at < entries.size(); ++at) {
    const std::string& entry = entries[at];
    catalogue.add(
        family, kAllChildren,
        std::to_string(at) + " " + entry.substr(0, entry.find_first_of("\n\xff")).substr(0, 40),
        having(entry));
  }
}

Texts values(const std::string& name, const Texts& values) {
  Texts entries;
  for (const std::string& value : values) entries.push_back(std::string(name).append("=") + value);
  return entries;
}

Texts joined(std::initializer_list<Texts> parts) {
  Texts all;
  for (const Texts& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// --- what is read by nothing, or by the shell alone ----------------------------------------------

void addOdd(Catalogue& catalogue) {
  // Run by no shell that is not a terminal's; it would leave a file.
  const std::string run = "$(touch /srv/t/ran)";
  const Texts shapeless = {"",     "=",     "=value",  "NOVALUE",
                           "PATH", "A B=c", "LF=a\nb", "\xff\xfe=\xff"};
  const Texts ran = {"PATH=/usr/bin:/bin",
                     "ENV=" + run,
                     "BASH_ENV=" + run,
                     "PS1=" + run,
                     "PS4=" + run,
                     "SHELLOPTS=xtrace:errexit",
                     "POSIXLY_CORRECT=1",
                     "BASH_FUNC_mkdir%%=() { touch /srv/t/ran; }",
                     "mkdir=() { touch /srv/t/ran; }"};
  const Texts others = wordsOf(R"(
      SHELL=/bin/false HOME= HOME=/nonexistent PWD=/nonexistent OLDPWD=/nonexistent CDPATH=/tmp:/
      OPTIND=9 PPID=1 LINENO=7 MAIL=/nonexistent FCEDIT=/bin/false TERM=dumb COLUMNS=1 LINES=1
      HOSTNAME=liar HOST=liar USER=nobody LOGNAME=nobody
      VERSION_CONTROL=numbered SIMPLE_BACKUP_SUFFIX=.bak QUOTING_STYLE=shell BLOCK_SIZE=1
      MALLOC_CHECK_=3 MALLOC_PERTURB_=165 MALLOC_ARENA_MAX=1 MALLOC_TOP_PAD_=0
      GLIBC_TUNABLES=glibc.malloc.tcache_count=0
      GCONV_PATH=/nonexistent LOCPATH=/nonexistent NLSPATH=/nonexistent
      LD_BIND_NOW=1 LD_BIND_NOT=1 LD_ORIGIN_PATH=/nonexistent
      TANEX_LOG_LEVEL=log_level_trace TANEX_LOG_LEVEL= TANEX_NOT_DEL_TEMP=
      PKG_INSTALL_ROOT=/nonexistent)");
  addEntries(catalogue, "environment",
             joined({shapeless, ran, others, {std::string(127UL * 1024UL, 'n') + "=value"}}));
  addEntries(catalogue, "environment",
             values("IFS", {"", " ", "/", ":", "-", "\n", "swcon", "0123456789",
                            "abcdefghijklmnopqrstuvwxyz/ -"}));
}

void addSizes(Catalogue& catalogue) {
  const auto add = [&catalogue](const std::string& what, std::size_t count, std::size_t bytes) {
    catalogue.add("environment", kAllChildren, what, [=](Situation& situation) {
      for (std::size_t at = 0; at < count; ++at) {
        std::string name = "V" + std::to_string(at) + "=";
        name.resize(bytes, 'v');
        situation.caller.environment.push_back(name);
      }
    });
  };
  add("1 MB in 8", 8, kMegabyte / 8 - 1);
  add("1 MB in 1,024", 1024, 1023);
  add("1 MB in 32,768", 32768, 31);
  catalogue.add("environment", kAllChildren, "none at all", having(&Caller::environment, Texts()));
}

// --- what finds programs and libraries -----------------------------------------------------------

void addPaths(Catalogue& catalogue) {
  const auto add = [&catalogue](const std::string& value, bool hasNoCommands) {
    catalogue.add("PATH", kAllChildren, "'" + value.substr(0, 40) + "'", [=](Situation& situation) {
      situation.caller.environment = {"PATH=" + value};
      situation.hasNoCommands = hasNoCommands;
    });
  };
  for (const char* value :
       {"", ".", ":", "/nonexistent", "/srv/t", "/usr/bin/mkdir", "relative/bin"}) {
    add(value, /*hasNoCommands=*/true);
  }
  for (const char* value :
       {"/bin", "/usr/bin", "::/usr/bin", "/usr/bin:", "/usr/bin:.", ".:/usr/bin",
        "/nonexistent:/usr/bin:/bin", "../../usr/bin", "/usr/bin/", "//usr//bin",
        "/usr/sbin:/usr/local/bin:/bin", "/srv/t:/usr/bin:/srv/t"}) {
    add(value, /*hasNoCommands=*/false);
  }
  std::string folders;
  while (folders.size() < kMegabyte / 16) folders += "/nonexistent:";
  add(folders + "/usr/bin", /*hasNoCommands=*/false);
  catalogue.add("PATH", kAllChildren, "unset", having(&Caller::environment, Texts{"A=b"}));
}

void addLoader(Catalogue& catalogue) {
  std::string folders;
  for (int number = 0; number < 1000; ++number) {
    folders += "/nonexistent" + std::to_string(number) + ":";
  }
  addEntries(catalogue, "LD_LIBRARY_PATH",
             values("LD_LIBRARY_PATH", {"", ":", "/nonexistent", "/usr/lib", "/srv/t:/tmp", ".",
                                        "/srv/t;/tmp", "/nonexistent:/usr/lib", folders}));
  for (const std::string& value :
       Texts{"/srv/lib", "/nonexistent:/srv/lib", "/srv/lib:/nonexistent", ":/srv/lib",
             "/srv/lib:", "/srv/t:/srv/lib:/tmp", "/usr/lib:/srv/lib", "/nonexistent;/srv/lib",
             folders + "/srv/lib"}) {
    catalogue.add("LD_LIBRARY_PATH", kSending, "only '" + value.substr(0, 40) + "'",
                  [value](Situation& situation) {
                    having("LD_LIBRARY_PATH=" + value)(situation);
                    situation.isLibraryElsewhere = true;
                  });
  }
}

// --- zone and language ---------------------------------------------------------------------------

void addZones(Catalogue& catalogue) {
  const Texts zones = wordsOf(R"(
      : UTC UTC0 XST-9 XST+9 XST-14 XST+12 XST-24:59:59 XST+24:59:59 XST-5:45:30
      <+1245>-12:45 <->9 AAA0BBB,0,364 AAA3BBB,J1/0,J365/23 EST5EDT,M3.2.0,M11.1.0
      EST5EDT4,M3.2.0/-167,M11.1.0/167 EST5EDT
      Europe/London Asia/Tokyo :America/St_Johns Pacific/Kiritimati right/UTC posix/Asia/Tokyo
      /etc/localtime :/etc/localtime /usr/share/zoneinfo/Asia/Tokyo
      nonsense X XST XST- XST-99 -9
      /etc/passwd ../../../../etc/passwd /dev/null /dev/zero / /nonexistent)");
  const Texts odd = {"\xff\xfe", "a\nb", std::string(5000, 'z'), std::string(100000, '/')};
  addEntries(catalogue, "TZ", values("TZ", joined({{""}, zones, odd})));
  for (const char* call : {"KEL_GetID", "KEL_StartComm"}) {
    for (const char* before : {"A=b", "TZ=UTC0", "TZ=AAA3", "TZ=Asia/Tokyo"}) {
      for (const char* zone : {"XST-9:30", "YST+5:30", "UTC1"}) {
        catalogue.add("TZ changed", kSending, std::string(call) + " " + before + " " + zone,
                      all({having(before), changingZone(call, zone)}));
      }
    }
  }
}

void addLocales(Catalogue& catalogue) {
  const Texts locales = wordsOf(R"(
      C POSIX C.UTF-8 C.utf8 en_US.UTF-8 en_US de_DE@euro
      ja japanese ja_JP.eucJP ja_JP.ujis ja_JP.SJIS ja_JP.UTF-8 tr_TR.UTF-8 zh_CN.GB18030 ar_EG
      nonsense /nonexistent ../../etc a/b)");
  for (const char* name : {"LANG", "LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LC_TIME", "LANGUAGE"}) {
    const Texts odd = {"\xff", std::string(5000, 'l')};
    addEntries(catalogue, "locale", values(name, joined({{""}, locales, odd})));
  }
}

// --- where temporary directories are -------------------------------------------------------------

/// A folder of this many bytes of path name.
std::string longFolder(std::size_t bytes) {
  std::string path = kTempFolder;
  while (path.size() + 101 < bytes) path += "/" + std::string(99, 'l');
  return path + "/" + std::string(bytes - path.size() - 1, 'e');
}

/// One value of TMPDIR, and the place to which it leads.
struct Place {
  std::string what;
  std::string value;
  TempPlace temp = {value, value};
};

std::vector<Place> oddPlaces() {
  constexpr int kExit1 = 1 << 8;  // wait statuses
  constexpr int kNotFound = 127 << 8;
  constexpr TempFate kNotMade = TempFate::kNotMade;
  constexpr TempFate kKept = TempFate::kKept;
  const std::string longest = longFolder(4085);
  return {
      // No place at all: it is /tmp.
      {"missing", "/srv/t/missing", {}},
      {"a file", "/srv/t/file", {}},
      {"below a file", "/srv/t/file/below", {}},
      {"empty", "", {}},
      {"not text", "\xff\xfe", {}},
      {"longer than a path", "/srv/t/" + std::string(5000, 'x'), {}},
      {"a broken link", "/srv/t/broken", {}},
      {"/tmp itself", "/tmp"},
      {"/tmp with a slash", "/tmp/", {}},
      // None that can be written to.
      {"read only", "/usr", {"/usr", "/usr", kNotMade, kExit1}},
      {"of the kernel", "/proc", {"/proc", "/proc", kNotMade, kExit1}},
      {"the root", "/", {"/", "", kNotMade, kExit1}},
      {"above /tmp", "/tmp/..", {"/tmp/..", "", kNotMade, kExit1}},
      {"4,085 bytes", longest, {longest, longest, TempFate::kNoName}},
      // Elsewhere.
      {"elsewhere", "/srv/t/area"},
      {"deep", "/srv/t/a/b/c/d/e/f"},
      {"with a slash", "/srv/t/area/", {"/srv/t/area", "/srv/t/area"}},
      {"with slashes", "/srv/t/area///", {"/srv/t/area", "/srv/t/area"}},
      {"/tmp with a dot", "/tmp/.", {"/tmp/.", "/tmp"}},
      {"two slashes", "//tmp", {"//tmp", "/tmp"}},
      {"below /tmp", "/tmp/area"},
      {"with dots", "/srv/./t/../t", {"/srv/./t/../t", "/srv/t"}},
      {"relative", "../t/area", {"../t/area", "/srv/t/area"}},
      {"a link to /tmp", "/srv/t/to-tmp"},
      {"a link", "/srv/t/to-area"},
      // What the command does not hide from the shell ends mkdir's line.
      {"named a;b", "/srv/t/a;b", {"/srv/t/a;b", "/srv/t/a;b", kNotMade, kNotFound, {"/srv/t/a"}}},
      {"named with a line feed",
       "/srv/t/a\nb",
       {"/srv/t/a\nb", "/srv/t/a\nb", kNotMade, kNotFound, {"/srv/t/a"}}},
      {"too shallow", "/srv", {"/srv", "/srv", kKept}},
      {"too shallow by dots", "/srv/t/..", {"/srv/t/..", "/srv", kKept}},
      {"too shallow, relative", "..", {"..", "/srv", kKept}},
  };
}

void addPlaces(Catalogue& catalogue) {
  std::vector<Place> places = oddPlaces();
  for (const std::size_t bytes : {200, 900, 968, 980, 981, 1200, 1900, 2020, 3000, 4000}) {
    places.push_back({std::to_string(bytes) + " bytes", longFolder(bytes)});
  }
  for (const std::string name : {"a b", "a*b", "a#b", "a?b", "a[b]", "a=b", "a~b", "a!b", "a%sb"}) {
    places.push_back({"named " + name, "/srv/t/" + name});
  }
  for (const Place& place : places) {
    catalogue.add("TMPDIR", {"incident", "incident-trace", "event-err"}, place.what,
                  [place](Situation& situation) {
                    having("TMPDIR=" + place.value)(situation);
                    situation.temp = place.temp;
                  });
  }
}

}  // namespace

void addEnvironment(Catalogue& catalogue) {
  addOdd(catalogue);
  addSizes(catalogue);
  addPaths(catalogue);
  addLoader(catalogue);
  addZones(catalogue);
  addLocales(catalogue);
  addPlaces(catalogue);
}
