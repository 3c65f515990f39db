#ifndef TANEXICS_PROOF_CHECK_MADE_H
#define TANEXICS_PROOF_CHECK_MADE_H

#include <cstdint>
#include <string>
#include <vector>

#include "check/agreement.h"

/// What the made inputs may name: a folder with files of every kind, the same for all.
class Shelf {
 public:
  /// Makes them in `folder`, which exists and is empty.
  explicit Shelf(const std::string& folder);

  Texts files;     ///< regular ones, in which nothing is odd
  Texts extracts;  ///< log extracts, each of `extractBytes`
  std::string extractBytes;
  std::string folder;
  std::string subfolder;
  std::string fifo;
  std::string missing;  ///< which does not exist
};

/// What an input is made of.
enum class Kind {
  kList,         ///< a list of anything, and an incident
  kDefinition,   ///< a definition of anything, and a good list
  kCommandLine,  ///< words of anything, and good files
  kSpoilt,       ///< good input that is spoilt in some places
};
constexpr std::size_t kKinds = 4;

/// An input that was made up.
struct Made {
  Kind kind = Kind::kList;
  CheckInput input;
  std::vector<Place> spoilt;  ///< of `kSpoilt`: the faults, all of them, in their order
};

/// The input of this number: the same for the same seed and the same folders.
///
/// `folder`  where the input's own files will be; they are not written.
Made makeInput(const Shelf& shelf, const std::string& folder, std::uint32_t seed,
               std::uint64_t number);

#endif
