#include "rmglib/catalogue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "common/base/format.h"
#include "support/eucjp.h"

namespace {

/// What a row is: type, return code, agent's code, kind and the digest of its text's bytes. A text
/// that changes in src/rmglib/catalogue.txt, where it is read, changes its digest here.
const char* const kRows[] = {
    "HTTP -62/54 0 a98383aa",  "HTTP -58/62 0 9dc950e9",  "HTTP -57/53 0 eecb32e0",
    "HTTP -56/20 0 47a04a6e",  "HTTP -56/30 0 bea6acc2",  "HTTP -56/59 0 ca13f566",
    "HTTP -56/60 0 4d022dc8",  "HTTP -56/99 0 dbc62b76",  "HTTP -55/49 0 221cbd8e",
    "HTTP -54/41 0 ff6b14dd",  "HTTP -54/42 0 a98383aa",  "HTTP -54/52 0 a98383aa",
    "HTTP -52/1 0 df9ee888",   "HTTP -52/6 0 df9ee888",   "HTTP -27/32 0 22a96db9",
    "HTTP -27/34 0 dbc62b76",  "HTTP -21/257 0 864d8c66", "HTTP -20/1 0 ca476025",
    "HTTP -19/10 0 dbc62b76",  "HTTP -18/258 0 fde8c160", "HTTP -16/31 0 8b4e1edc",
    "HTTP -16/51 0 6c486abe",  "HTTP -14/5 0 caeffbb2",   "HTTP -14/50 0 caeffbb2",
    "HTTP -13/45 0 a98383aa",  "HTTP -13/46 0 a98383aa",  "HTTP -12/44 0 a98383aa",
    "HTTP -7/43 0 2a1c2fa3",   "HTTP -2/35 0 a98383aa",   "HTTP -2/40 0 a98383aa",
    "HTTP -2/56 0 89dd3da4",   "SMTP -91/-5 0 7eaadc16",  "SMTP -79/-26 1 86f53bcf",
    "SMTP -79/-25 1 0794c9f0", "SMTP -79/-18 2 245f7beb", "SMTP -79/-17 0 f3202726",
    "SMTP -79/-16 2 262199f4", "SMTP -79/-15 2 2a08d898", "SMTP -74/-10 1 df03b808",
    "SMTP -74/-7 1 1fd63553",  "SMTP -72/-6 1 a65bdbc0",  "SMTP -27/-3 0 f3190bb3",
    "SMTP -19/-5 0 7eaadc16",  "SMTP -14/-2 0 caeffbb2",  "SMTP -7/-4 0 d70e789e",
    "HTTP -52/259 0 df9ee888",
};

/// FNV-1a.
std::uint32_t digestOf(const std::string& bytes) {
  std::uint32_t digest = 2166136261U;
  for (const char byte : bytes) digest = (digest ^ static_cast<unsigned char>(byte)) * 16777619U;
  return digest;
}

std::string summaryOf(const EXTERR& row) {
  return format("%s %d/%d %d %08x", row.type, row.rc, row.code, row.kind, digestOf(row.message));
}

TEST(Catalogue, EveryRow_StandsInSearchOrderWithItsKindAndText) {
  const EXTERR* row = catalogueRows();
  for (const char* summary : kRows) {
    ASSERT_FALSE(isClosingRow(*row)) << summary;
    EXPECT_EQ(summaryOf(*row++), summary);
  }
  EXPECT_EQ(summaryOf(*row), " 9999/9999 0 811c9dc5") << "the closing row, without a text";
  EXPECT_TRUE(isClosingRow(*row));
}

TEST(Catalogue, RowWithOneCodeOfTheClosingRow_DoesNotClose) {
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 9999, 1, 0, ""}));
  EXPECT_FALSE(isClosingRow(EXTERR{"HTTP", 1, 9999, 0, ""}));
}

TEST(Catalogue, MailKinds_AloneHaveAHeading) {
  EXPECT_EQ(catalogueHeading(1), toEuc("(SMTPサーバのエラーメッセージ)"));
  EXPECT_EQ(catalogueHeading(2), toEuc("(POP3サーバのエラーメッセージ)"));
  for (const int kind : {0, 3, -1}) EXPECT_STREQ(catalogueHeading(kind), "") << kind;
}

}  // namespace
