// How the text functions of the utility library grow with their input: each runs on 1 KB to 10 MB
// of it. Where the cost is linear, the time a byte stays level.

#include <benchmark/benchmark.h>

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "common/common.h"

namespace {

/// Text of every kind that the functions look for: words, blanks, quotes, slashes, references,
/// lines.
std::string sampleText(std::size_t bytes) {
  static const std::string kPattern = "key=value 'a b' /usr//lib $HOME %HOME% (x) \"y\";\n";
  std::string text;
  text.reserve(bytes + kPattern.size());
  while (text.size() < bytes) text += kPattern;
  text.resize(bytes);
  return text;
}

using Work = std::function<void(const std::string&)>;

void runOn(benchmark::State& state, const std::string& text, const Work& work) {
  for (auto iteration : state) {
    (void)iteration;
    work(text);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}

/// Each function with the kind of text that makes it go to the end.
struct Case {
  const char* name;
  char only;  // 0: the sample text; otherwise a text of this one byte
  Work work;
};

template <class Value>
void keep(Value value) {
  benchmark::DoNotOptimize(value);
}

std::vector<unsigned> elementsOf(const std::string& text) {
  std::vector<unsigned> elements;
  for (const char byte : text) elements.push_back(static_cast<unsigned char>(byte));
  return elements;
}

template <class Counter>
Work counting(const Counter& counter) {
  return [counter](const std::string& text) {
    static std::vector<unsigned> elements;
    if (elements.size() != text.size()) elements = elementsOf(text);
    keep(counter(elements.data(), static_cast<int>(elements.size())));
  };
}

const std::vector<Case>& cases() {
  static const std::vector<Case> kCases = {
      {"format", 0, [](const std::string& t) { keep(format("%s", C(t))); }},
      {"shellEsc", 0, [](const std::string& t) { keep(shellEsc(t, 1)); }},
      {"quoteEsc", 0, [](const std::string& t) { keep(quoteEsc(C(t), '"')); }},
      {"split (list)", 0,
       [](const std::string& t) {
         std::list<std::string> fields;
         keep(split(C(t), "/", fields, 0));
       }},
      {"split (vector)", 0,
       [](const std::string& t) {
         std::vector<std::string> fields;
         keep(split(C(t), "/", fields, 0));
       }},
      {"join", 0,
       [](const std::string& t) {
         const std::vector<std::string> items(t.size() / 16, "fifteen bytes..");
         keep(join(items, "/"));
       }},
      {"justifyPath", '/', [](const std::string& t) { keep(justifyPath(t)); }},
      {"parentPath", 'a', [](const std::string& t) { keep(parentPath(t)); }},
      {"replaceEnvValue", 0, [](const std::string& t) { keep(replaceEnvValue(C(t))); }},
      {"trim", ' ',
       [](const std::string& t) {
         std::string text = t;
         keep(trim(text));
       }},
      {"trimQuote", '"', [](const std::string& t) { keep(trimQuote(C(t))); }},
      {"replaceString", 0,
       [](const std::string& t) {
         std::string text = t;
         keep(replaceString(text, " ", "  "));
       }},
      {"matchedString", 0, [](const std::string& t) { keep(matchedString(C(t), C(t))); }},
      {"toLowerStr", 0, [](const std::string& t) { keep(toLowerStr(t)); }},
      {"compareRightNoCase", 0, [](const std::string& t) { keep(compareRightNoCase(t, t, 0)); }},
      {"isNumeric", '7', [](const std::string& t) { keep(isNumeric(t)); }},
      {"isAlpha", 'a', [](const std::string& t) { keep(isAlpha(t)); }},
      {"hasWildCard", 'a', [](const std::string& t) { keep(hasWildCard(t)); }},
      {"splitKeyVal", 'a',
       [](const std::string& t) {
         std::string key;
         std::string val;
         keep(splitKeyVal(C(t), key, val));
       }},
      {"countLines", 0, [](const std::string& t) { keep(countLines(C(t))); }},
      {"check_EUCMultiByteLength", '\xa4', counting(check_EUCMultiByteLength)},
      {"check_UTF8MultiByteLength", '\xe3', counting(check_UTF8MultiByteLength)},
      {"check_SJISMultiByteLength", '\x82', counting(check_SJISMultiByteLength)},
      {"getCharactorLength", 0,
       [](const std::string& t) { keep(getCharactorLength(C(t), static_cast<int>(t.size()))); }},
  };
  return kCases;
}

constexpr std::size_t kSizes[] = {1000, 10000, 100000, 1000000, 10000000};

void registerAll() {
  for (const Case& bench : cases()) {
    for (const std::size_t bytes : kSizes) {
      const std::string text = bench.only == 0 ? sampleText(bytes) : std::string(bytes, bench.only);
      const std::string name = std::string(bench.name) + ":" + std::to_string(bytes);
      benchmark::RegisterBenchmark(name.c_str(), [text, &bench](benchmark::State& state) {
        runOn(state, text, bench.work);
      });
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  registerAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
