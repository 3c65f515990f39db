#include "common/text/fields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <string>
#include <vector>

#include "support/generator.h"
#include "support/slowsplit.h"

namespace {

using Fields = std::vector<std::string>;

/// Splits into a vector and a list, which must agree, and returns the fields.
Fields splitBoth(const std::string& text, const std::string& delim, int maxFields) {
  Fields vector = {"left over"};
  std::list<std::string> list = {"left over"};
  const int inVector = split(text.c_str(), delim.c_str(), vector, maxFields);
  const int inList = split(text.c_str(), delim.c_str(), list, maxFields);
  EXPECT_EQ(inVector, static_cast<int>(vector.size()));
  EXPECT_EQ(inList, static_cast<int>(list.size()));
  EXPECT_EQ(Fields(list.begin(), list.end()), vector);
  return vector;
}

std::string joinBoth(const Fields& items, const std::string& sep) {
  const std::string text = join(items, sep.c_str());
  EXPECT_EQ(join(std::list<std::string>(items.begin(), items.end()), sep.c_str()), text);
  return text;
}

/// A text in which the delimiter is likely, and the delimiter.
struct Sample {
  std::string text;
  std::string delim;
};

Sample sampleOf(Generator& generator) {
  const std::string delim = generator.text("/=", 2) + "/";
  return {generator.text("a/=", 12) + generator.text("/=\xe6 ", 6), delim};
}

TEST(SplitAndJoin, GeneratedTexts_ComeBackWhenTheirFieldsAreJoined) {
  Generator generator(20010);
  for (int i = 0; i < 20000; ++i) {
    const Sample sample = sampleOf(generator);
    const int maxFields = generator.between(-1, 1);
    ASSERT_EQ(joinBoth(splitBoth(sample.text, sample.delim, maxFields), sample.delim), sample.text)
        << sample.delim;
  }
}

TEST(SplitAndJoin, GeneratedItems_ComeBackWhenTheirTextIsSplit) {
  Generator generator(20011);
  for (int i = 0; i < 10000; ++i) {
    Fields items(generator.below(6) + 1);
    for (std::string& item : items) item = generator.text("ab \xe6=", 4);
    ASSERT_EQ(splitBoth(joinBoth(items, "/"), "/", 0), items);
    ASSERT_EQ(splitBoth(joinBoth(items, "//"), "//", 0), items);
  }
}

TEST(Split, GeneratedTexts_AgreeWithTheSlowSplit) {
  Generator generator(20012);
  for (int i = 0; i < 20000; ++i) {
    const Sample sample = sampleOf(generator);
    const int maxFields = generator.between(-1, 8);
    ASSERT_EQ(splitBoth(sample.text, sample.delim, maxFields),
              slowSplit(sample.text, sample.delim, maxFields))
        << "'" << sample.text << "' at '" << sample.delim << "', " << maxFields;
  }
}

TEST(Split, MaximumAbove1_GivesExactlySoManyFieldsThatHoldTheWholeText) {
  Generator generator(20013);
  for (int i = 0; i < 10000; ++i) {
    const Sample sample = sampleOf(generator);
    const int maxFields = generator.between(2, 8);
    const Fields fields = splitBoth(sample.text, sample.delim, maxFields);
    ASSERT_EQ(fields.size(), static_cast<std::size_t>(maxFields));
    // Joined, nothing is lost; only the fields that were filled up add their delimiters.
    const std::string joined = joinBoth(fields, sample.delim);
    ASSERT_EQ(joined.substr(0, sample.text.size()), sample.text);
    const std::size_t found = splitBoth(sample.text, sample.delim, 0).size();
    const std::size_t added = fields.size() - std::min(found, fields.size());
    ASSERT_EQ(joined.size(), sample.text.size() + added * sample.delim.size());
  }
}

TEST(Split, EveryNumberOfFieldsAroundTheMaximum_IsMadeRight) {
  for (int count = 1; count <= 6; ++count) {
    const Fields items(static_cast<std::size_t>(count), "k");
    const std::string text = joinBoth(items, "=");
    for (int maxFields = 2; maxFields <= 6; ++maxFields) {
      const Fields fields = splitBoth(text, "=", maxFields);
      ASSERT_EQ(fields, slowSplit(text, "=", maxFields)) << count << ", " << maxFields;
      ASSERT_EQ(fields.size(), static_cast<std::size_t>(maxFields));
    }
  }
}

}  // namespace
