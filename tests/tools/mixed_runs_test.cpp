// Logs in which short runs mix by chance, half of them with pieces lost: how many runs are told,
// and how many left open. The instrument that makes them tries a million.

#include <gtest/gtest.h>

#include <array>

#include "outcome/mix.h"

namespace {

TEST(MixedRuns, OfManyLogs_AreToldAsOftenAsTheyWere) {
  constexpr std::uint32_t kSeed = 20261122;
  constexpr std::uint64_t kLogs = 1000;
  struct Row {
    const char* what;
    int told;
    int unknown;
    int decidable;
    int torn;
  };
  // What the reader made of them when this was written. One that tells more is a better one if
  // nothing of it is wrong, and takes its figures here.
  const std::array<Row, 4> kept = {{
      {"2 runs", 410, 90, 0, 0},
      {"3 runs", 574, 176, 0, 0},
      {"2 runs, 1 to 3 pieces lost", 137, 378, 0, 296},
      {"3 runs, 1 to 3 pieces lost", 161, 615, 0, 247},
  }};
  std::array<Row, 4> found = {};
  for (std::uint64_t number = 0; number < kLogs; ++number) {
    const Mix mix = mixOf(kSeed, number);
    const Reading reading = readMix(mix);
    EXPECT_EQ(reading.wrong, Texts()) << "log " << number;
    Row& row = found[number % found.size()];
    row.told += reading.told;
    row.unknown += reading.unknown;
    row.decidable += reading.decidable;
    for (const outcome::Run& run : runsOf(bytesOf(mix.log))) row.torn += run.torn;
  }
  for (std::size_t row = 0; row < kept.size(); ++row) {
    SCOPED_TRACE(kept[row].what);
    EXPECT_EQ(found[row].told, kept[row].told);
    EXPECT_EQ(found[row].unknown, kept[row].unknown);
    EXPECT_EQ(found[row].decidable, kept[row].decidable);
    EXPECT_EQ(found[row].torn, kept[row].torn);
  }
}

}  // namespace
