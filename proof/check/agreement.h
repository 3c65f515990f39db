#ifndef TANEXICS_PROOF_CHECK_AGREEMENT_H
#define TANEXICS_PROOF_CHECK_AGREEMENT_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/check/report.h"

using Texts = std::vector<std::string>;

/// What the checker is asked about.
struct CheckInput {
  Texts words;                               ///< of a command line, without the program
  std::map<std::string, std::string> files;  ///< all that a word may name, by path, with its bytes
};

/// Where a fault stands.
struct Place {
  std::optional<std::string> file;  ///< none: the command line
  std::size_t line = 0;             ///< from 1; 0: none in particular
  bool isError = true;

  bool operator==(const Place& other) const {
    return file == other.file && line == other.line && isError == other.isError;
  }
};

/// The places of the faults that the report keeps, in its order.
std::vector<Place> placesIn(const check::Report& report);

/// The places, one after the other, for a person.
std::string textOf(const std::vector<Place>& places);

/// In what the report differs from what the command's own readers say, and from what a judge says
/// who has nothing in common with either: whether the input is accepted, the places of all errors,
/// and what would be sent. Empty where they agree.
Texts disagreements(const CheckInput& input, const check::Report& report);

#endif
