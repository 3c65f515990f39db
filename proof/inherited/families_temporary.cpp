#include "inherited/situation.h"

namespace {

constexpr int kExit1 = 1 << 8;  // the wait status

/// A place for temporary directories, as the command's lines name it and without detours.
TempPlace placeAt(const std::string& parent, const std::string& canonical) {
  TempPlace place;
  place.parent = parent;
  place.canonical = canonical;
  return place;
}

/// A place below the folder for them, which is made.
TempPlace made(const std::string& path) {
  TempPlace place = placeAt(path, path);
  place.folders = {path};
  return place;
}

TempPlace ofFate(TempPlace place, TempFate fate, int mkdirStatus = 0) {
  place.fate = fate;
  place.mkdirStatus = mkdirStatus;
  return place;
}

/// A folder of this many bytes of path name.
std::string longFolder(std::size_t bytes) {
  std::string path = kTempFolder;
  while (path.size() + 101 < bytes) path += "/" + std::string(99, 'l');
  return path + "/" + std::string(bytes - path.size() - 1, 'e');
}

/// The situations, each with the value of TMPDIR and the place to which that leads.
class Places {
 public:
  explicit Places(Catalogue& catalogue) : m_catalogue(catalogue) {}

  void add(const std::string& what, const std::string& value, const TempPlace& place) {
    m_catalogue.add("TMPDIR", {"incident", "incident-trace", "event-err"}, what,
                    [=](Situation& situation) {
                      having("TMPDIR=" + value)(situation);
                      situation.temp = place;
                    });
  }

  /// The same for a place that is what TMPDIR says.
  void add(const std::string& what, const TempPlace& place) { add(what, place.parent, place); }

 private:
  Catalogue& m_catalogue;
};

void addUnusable(Places& places) {
  TempPlace file;
  file.files = {"/srv/t/file"};
  places.add("missing", "/srv/t/missing", {});
  places.add("a file", "/srv/t/file", file);
  places.add("below a file", "/srv/t/file/below", file);
  places.add("empty", "", {});
  places.add("not text", "\xff\xfe", {});
  places.add("longer than a path", "/srv/t/" + std::string(5000, 'x'), {});
  TempPlace broken;
  broken.links = {{"/srv/t/link", "/nonexistent"}};
  places.add("a broken link", "/srv/t/link", broken);
}

void addUnwritable(Places& places) {
  places.add("read only", ofFate(placeAt("/usr", "/usr"), TempFate::kNotMade, kExit1));
  places.add("of the kernel", ofFate(placeAt("/proc", "/proc"), TempFate::kNotMade, kExit1));
  places.add("the root", ofFate(placeAt("/", ""), TempFate::kNotMade, kExit1));
  places.add("above /tmp", ofFate(placeAt("/tmp/..", ""), TempFate::kNotMade, kExit1));
  places.add("4,085 bytes", ofFate(made(longFolder(4085)), TempFate::kNoName));
}

void addElsewhere(Places& places) {
  places.add("elsewhere", made("/srv/t/area"));
  places.add("deep", made("/srv/t/a/b/c/d/e/f"));
  places.add("with a slash", "/srv/t/area/", made("/srv/t/area"));
  places.add("with slashes", "/srv/t/area///", made("/srv/t/area"));
  places.add("/tmp itself", "/tmp", {});
  places.add("/tmp with a slash", "/tmp/", {});
  places.add("/tmp with a dot", placeAt("/tmp/.", "/tmp"));
  places.add("two slashes", placeAt("//tmp", "/tmp"));
  places.add("below /tmp", made("/tmp/area"));
  places.add("with dots", placeAt("/srv/./t/../t", "/srv/t"));
  TempPlace relative = placeAt("../t/area", "/srv/t/area");
  relative.folders = {"/srv/t/area"};
  places.add("relative", relative);
  TempPlace link = placeAt("/srv/t/link", "/srv/t/link");
  link.links = {{"/srv/t/link", "/tmp"}};
  places.add("a link to /tmp", link);
  link.folders = {"/srv/t/area"};
  link.links = {{"/srv/t/link", "area"}};
  places.add("a link", link);
  for (const std::size_t bytes : {200, 900, 968, 980, 981, 1200, 1900, 2020, 3000, 4000}) {
    places.add(std::to_string(bytes) + " bytes", made(longFolder(bytes)));
  }
}

void addOddNames(Places& places) {
  for (const std::string name : {"a b", "a*b", "a#b", "a?b", "a[b]", "a=b", "a~b", "a!b", "a%sb"}) {
    places.add("named " + name, made("/srv/t/" + name));
  }
  // What the command does not hide from the shell ends mkdir's line.
  constexpr int kNotFound = 127 << 8;
  TempPlace place = ofFate(made("/srv/t/a;b"), TempFate::kNotMade, kNotFound);
  place.leftBehind = {"/srv/t/a"};
  places.add("named a;b", place);
  place = ofFate(made("/srv/t/a\nb"), TempFate::kNotMade, kNotFound);
  place.leftBehind = {"/srv/t/a"};
  places.add("named with a line feed", place);
}

void addShallow(Places& places) {
  places.add("too shallow", ofFate(placeAt("/srv", "/srv"), TempFate::kKept));
  places.add("too shallow by dots", ofFate(placeAt("/srv/t/..", "/srv"), TempFate::kKept));
  places.add("too shallow, relative", ofFate(placeAt("..", "/srv"), TempFate::kKept));
}

}  // namespace

void addTemporary(Catalogue& catalogue) {
  Places places(catalogue);
  addUnusable(places);
  addUnwritable(places);
  addElsewhere(places);
  addOddNames(places);
  addShallow(places);
}
