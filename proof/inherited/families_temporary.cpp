#include "inherited/families.h"

namespace {

constexpr int kExit1 = 1 << 8;  // the wait status

void add(Catalogue& catalogue, const std::string& what, const std::string& value,
         const TempPlace& place, Folder folder = Folder::kCase) {
  catalogue.add("TMPDIR", {"incident", "incident-trace", "event-err"}, what,
                [=](Situation& situation) {
                  setVariable(situation.caller, "TMPDIR=" + value);
                  situation.temp = place;
                  situation.caller.folder = folder;
                });
}

/// A place below the folder for them, which is made.
TempPlace made(const std::string& path) {
  TempPlace place;
  place.parent = place.canonical = path;
  place.folders = {path};
  return place;
}

TempPlace ofFate(TempPlace place, TempFate fate, int mkdirStatus = 0) {
  place.fate = fate;
  place.mkdirStatus = mkdirStatus;
  return place;
}

TempPlace at(const std::string& parent, const std::string& canonical) {
  TempPlace place;
  place.parent = parent;
  place.canonical = canonical;
  return place;
}

/// A folder of this many bytes of path name.
std::string longFolder(std::size_t bytes) {
  std::string path = "/srv/t";
  while (path.size() + 101 < bytes) path += "/" + std::string(99, 'l');
  return path + "/" + std::string(bytes - path.size() - 1, 'e');
}

void addUnusable(Catalogue& catalogue) {
  TempPlace file;
  file.files = {"/srv/t/file"};
  add(catalogue, "missing", "/srv/t/missing", {});
  add(catalogue, "a file", "/srv/t/file", file);
  add(catalogue, "below a file", "/srv/t/file/below", file);
  add(catalogue, "empty", "", {});
  add(catalogue, "not text", "\xff\xfe", {});
  add(catalogue, "longer than a path", "/srv/t/" + std::string(5000, 'x'), {});
  TempPlace broken;
  broken.links = {{"/srv/t/link", "/nonexistent"}};
  add(catalogue, "a broken link", "/srv/t/link", broken);
}

void addUnwritable(Catalogue& catalogue) {
  add(catalogue, "read only", "/usr", ofFate(at("/usr", "/usr"), TempFate::kNotMade, kExit1));
  add(catalogue, "of the kernel", "/proc",
      ofFate(at("/proc", "/proc"), TempFate::kNotMade, kExit1));
  add(catalogue, "the root", "/", ofFate(at("/", ""), TempFate::kNotMade, kExit1));
  add(catalogue, "above /tmp", "/tmp/..", ofFate(at("/tmp/..", ""), TempFate::kNotMade, kExit1));
  const std::string path = longFolder(4085);
  add(catalogue, "4,085 bytes", path, ofFate(made(path), TempFate::kNoName));
}

void addElsewhere(Catalogue& catalogue) {
  add(catalogue, "elsewhere", "/srv/t/area", made("/srv/t/area"));
  add(catalogue, "deep", "/srv/t/a/b/c/d/e/f", made("/srv/t/a/b/c/d/e/f"));
  add(catalogue, "with a slash", "/srv/t/area/", made("/srv/t/area"));
  add(catalogue, "with slashes", "/srv/t/area///", made("/srv/t/area"));
  add(catalogue, "/tmp itself", "/tmp", {});
  add(catalogue, "/tmp with a slash", "/tmp/", {});
  add(catalogue, "/tmp with a dot", "/tmp/.", at("/tmp/.", "/tmp"));
  add(catalogue, "two slashes", "//tmp", at("//tmp", "/tmp"));
  add(catalogue, "below /tmp", "/tmp/area", made("/tmp/area"));
  add(catalogue, "with dots", "/srv/./t/../t", at("/srv/./t/../t", "/srv/t"));
  TempPlace relative = at("../t/area", "/srv/t/area");
  relative.folders = {"/srv/t/area"};
  add(catalogue, "relative", "../t/area", relative);
  TempPlace link = at("/srv/t/link", "/srv/t/link");
  link.links = {{"/srv/t/link", "/tmp"}};
  add(catalogue, "a link to /tmp", "/srv/t/link", link);
  TempPlace linkAside = at("/srv/t/link", "/srv/t/link");
  linkAside.folders = {"/srv/t/area"};
  linkAside.links = {{"/srv/t/link", "area"}};
  add(catalogue, "a link", "/srv/t/link", linkAside);
  for (const std::size_t bytes :
       {200UL, 900UL, 968UL, 980UL, 981UL, 1200UL, 1900UL, 2020UL, 3000UL, 4000UL}) {
    const std::string path = longFolder(bytes);
    add(catalogue, std::to_string(bytes) + " bytes", path, made(path));
  }
}

void addOddNames(Catalogue& catalogue) {
  for (const char* name : {"a b", "a*b", "a#b", "a?b", "a[b]", "a=b", "a~b", "a!b", "a%sb"}) {
    const std::string path = std::string("/srv/t/") + name;
    add(catalogue, std::string("named ") + name, path, made(path));
  }
}

/// What the command does not hide from the shell ends mkdir's line.
void addUnescaped(Catalogue& catalogue) {
  constexpr int kNotFound = 127 << 8;
  for (const char* name : {"a;b", "a\nb"}) {
    const std::string path = std::string("/srv/t/") + name;
    TempPlace place = ofFate(made(path), TempFate::kNotMade, kNotFound);
    place.leftBehind = {"/srv/t/a"};
    add(catalogue, name[1] == ';' ? "named a;b" : "named with a line feed", path, place);
  }
}

void addShallow(Catalogue& catalogue) {
  add(catalogue, "too shallow", "/srv", ofFate(at("/srv", "/srv"), TempFate::kKept));
  add(catalogue, "too shallow by dots", "/srv/t/..",
      ofFate(at("/srv/t/..", "/srv"), TempFate::kKept));
  add(catalogue, "too shallow, relative", "..", ofFate(at("..", "/srv"), TempFate::kKept));
}

}  // namespace

void addTemporary(Catalogue& catalogue) {
  addUnusable(catalogue);
  addUnwritable(catalogue);
  addElsewhere(catalogue);
  addOddNames(catalogue);
  addUnescaped(catalogue);
  addShallow(catalogue);
}
