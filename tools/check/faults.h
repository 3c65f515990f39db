#ifndef TANEXICS_CHECK_FAULTS_H
#define TANEXICS_CHECK_FAULTS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace check {

/// Something that is wrong with the input.
struct Fault {
  std::optional<std::string> file;  ///< its path, as it was given; none: the command line
  std::size_t line = 0;             ///< the line of the file, from 1; 0: none in particular
  bool isError = false;             ///< whether the command rejects it; else it is a warning
  /// What is wrong, in one sentence of the language that is spoken; UTF-8 without controls.
  std::string text;
};

/// What was found, in the order in which it was found, as much of it as a reader can use.
class Faults {
 public:
  /// How many are kept. Beyond that an error takes the place of the last warning, so that there is
  /// always one to see where there is any.
  static constexpr std::size_t kMostKept = 1000;

  void add(Fault fault);

  /// What is kept.
  const std::vector<Fault>& kept() const { return m_kept; }

  /// How many there are, those that are not kept included.
  std::size_t errors() const { return m_errors; }
  std::size_t warnings() const { return m_warnings; }

  /// One sentence on those that are not kept; empty where all are.
  std::string rest() const;

  /// Whether an error is among those that are not kept.
  bool isErrorLeftOut() const { return m_keptErrors < m_errors; }

 private:
  std::vector<Fault> m_kept;
  std::size_t m_keptErrors = 0;
  std::size_t m_errors = 0;
  std::size_t m_warnings = 0;
};

/// The faults of one file, or of the command line.
class FaultsOf {
 public:
  /// `file`: its path; none: the command line. `all`: where they go; it outlives this.
  FaultsOf(std::optional<std::string> file, Faults& all) : m_file(std::move(file)), m_all(all) {}

  void error(std::size_t line, std::string text);
  void warning(std::size_t line, std::string text);

 private:
  std::optional<std::string> m_file;
  Faults& m_all;
};

/// Bytes of the input for a sentence: readable, and cut where they are very long.
std::string shown(std::string_view bytes);

/// The same between double quotes.
std::string quoted(std::string_view bytes);

/// What is said of one thing, as one sentence on it: "is large; it is old".
std::string sentenceOf(const std::vector<std::string>& remarks);

}  // namespace check

#endif
