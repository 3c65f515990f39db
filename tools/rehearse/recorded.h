#ifndef TANEXICS_REHEARSE_RECORDED_H
#define TANEXICS_REHEARSE_RECORDED_H

#include <istream>
#include <string>

#include "tools/outcome/run.h"

/// What the exchanges of one run came to, as whoever answered them knows it.
struct Exchanges {
  int expected = 0;    ///< how many the run had to make: those that are missing were not accepted
  int made = 0;        ///< all of those below, and those that failed
  int accepted = 0;    ///< answered with 0, and without an agent's error
  int withError = 0;   ///< answered with 0, and with an agent's error: accepted or not
  int thrownZero = 0;  ///< left by throwing 0: accepted or not
  bool isFileMissing = false;  ///< a listed file was not there

  bool isWhole() const { return made >= expected; }
};

/// What became of the report; `kUnknown` where what may be accepted or not decides. This is the one
/// that the log is judged by: tools/outcome computes the same from the log alone.
outcome::Verdict verdictOf(const Exchanges& exchanges);

/// One sentence for people: why the verdict is what `verdictOf` says.
std::string reasonOf(const Exchanges& exchanges);

/// What the stand-in library's record of one run tells.
struct Recorded {
  Exchanges exchanges;
  bool hasThrown = false;  ///< some call threw an integer: no log tells which one
  int unreadable = 0;      ///< lines that are no call of the library
};

/// Reads a record, see docs/loopback.md, to its end. Lines that are no calls are counted and passed
/// over. How many exchanges had to be made is what the first notification says of it, and what was
/// made where communication was stopped, which follows the last one.
Recorded readRecorded(std::istream& record);

#endif
