// How the text functions of the utility library grow with their input: each runs on 1 KB to 10 MB
// of it. Where the cost is linear, the time a byte stays level.

#include <benchmark/benchmark.h>

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "common/common.h"

namespace {

using Text = std::string;

/// Text of every kind that the functions look for: words, blanks, quotes, slashes, references,
/// lines.
Text sampleText(std::size_t bytes) {
  static const Text kPattern = "key=value 'a b' /usr//lib $HOME %HOME% (x) \"y\";\n";
  Text text;
  while (text.size() < bytes) text += kPattern;
  text.resize(bytes);
  return text;
}

template <class Value>
void keep(Value value) {
  benchmark::DoNotOptimize(value);
}

/// Runs `work` on texts of every size: the sample text, or where that would end it early, `only`
/// this byte.
template <class Work>
void measure(const char* name, const Work& work, char only = '\0') {
  const auto run = [work, only](benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const Text text = only == '\0' ? sampleText(bytes) : Text(bytes, only);
    for (auto iteration : state) {
      (void)iteration;
      work(text);
    }
  };
  benchmark::RegisterBenchmark(name, run)->RangeMultiplier(10)->Range(1000, 10000000);
}

template <class Fields>
void splitBySlashes(const Text& text) {
  Fields fields;
  keep(split(C(text), "/", fields, 0));
}

template <class Counter>
auto counting(const Counter& counter) {
  return [counter](const Text& text) {
    static std::vector<unsigned> elements;
    if (elements.size() != text.size()) {
      elements.clear();
      for (const char byte : text) elements.push_back(static_cast<unsigned char>(byte));
    }
    keep(counter(elements.data(), static_cast<int>(elements.size())));
  };
}

void measureAll() {
  measure("format", [](const Text& t) { keep(format("%s", C(t))); });
  measure("shellEsc", [](const Text& t) { keep(shellEsc(t, 1)); });
  measure("quoteEsc", [](const Text& t) { keep(quoteEsc(C(t), '"')); });
  measure("split (list)", splitBySlashes<std::list<Text>>);
  measure("split (vector)", splitBySlashes<std::vector<Text>>);
  measure("join", [](const Text& t) {
    keep(join(std::vector<Text>(t.size() / 16, "fifteen bytes.."), "/"));
  });
  measure(
      "justifyPath", [](const Text& t) { keep(justifyPath(t)); }, '/');
  measure(
      "parentPath", [](const Text& t) { keep(parentPath(t)); }, 'a');
  measure("replaceEnvValue", [](const Text& t) { keep(replaceEnvValue(C(t))); });
  measure(
      "trim", [](Text t) { keep(trim(t)); }, ' ');
  measure(
      "trimQuote", [](const Text& t) { keep(trimQuote(C(t))); }, '"');
  measure("replaceString", [](Text t) { keep(replaceString(t, " ", "  ")); });
  measure("matchedString", [](const Text& t) { keep(matchedString(C(t), C(t))); });
  measure("toLowerStr", [](const Text& t) { keep(toLowerStr(t)); });
  measure("compareRightNoCase", [](const Text& t) { keep(compareRightNoCase(t, t, 0)); });
  measure(
      "isNumeric", [](const Text& t) { keep(isNumeric(t)); }, '7');
  measure(
      "isAlpha", [](const Text& t) { keep(isAlpha(t)); }, 'a');
  measure(
      "hasWildCard", [](const Text& t) { keep(hasWildCard(t)); }, 'a');
  measure(
      "splitKeyVal",
      [](const Text& t) {
        Text key;
        Text val;
        keep(splitKeyVal(C(t), key, val));
      },
      'a');
  measure("countLines", [](const Text& t) { keep(countLines(C(t))); });
  measure("check_EUCMultiByteLength", counting(check_EUCMultiByteLength), '\xa4');
  measure("check_UTF8MultiByteLength", counting(check_UTF8MultiByteLength), '\xe3');
  measure("check_SJISMultiByteLength", counting(check_SJISMultiByteLength), '\x82');
  measure("getCharactorLength",
          [](const Text& t) { keep(getCharactorLength(C(t), static_cast<int>(t.size()))); });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  measureAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
