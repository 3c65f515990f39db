#include "tools/check/faults.h"

#include <algorithm>

#include "loopback/bytes.h"
#include "tools/common/language.h"
#include "tools/common/listed.h"
#include "tools/outcome/readable.h"

namespace check {

namespace {

/// What is shown of a text at most, in characters.
constexpr std::size_t kMostShown = 200;

}  // namespace

void Faults::add(Fault fault) {
  ++(fault.isError ? m_errors : m_warnings);
  if (m_kept.size() == kMostKept) {
    if (!fault.isError || m_keptErrors == kMostKept) return;
    const auto last =
        std::find_if(m_kept.rbegin(), m_kept.rend(), [](const Fault& one) { return !one.isError; });
    m_kept.erase(std::next(last).base());
  }
  if (fault.isError) ++m_keptErrors;
  m_kept.push_back(std::move(fault));
}

std::string Faults::rest() const {
  const std::size_t keptWarnings = m_kept.size() - m_keptErrors;
  std::vector<std::string> kinds;
  if (const std::size_t number = m_errors - m_keptErrors; number > 0) {
    kinds.push_back(translatedCount("%s error", "%s errors", number, {std::to_string(number)}));
  }
  if (const std::size_t number = m_warnings - keptWarnings; number > 0) {
    kinds.push_back(translatedCount("%s warning", "%s warnings", number, {std::to_string(number)}));
  }
  return kinds.empty() ? "" : translated("... and %s more", {listed(kinds)});
}

void FaultsOf::error(std::size_t line, std::string text) {
  m_all.add({m_file, line, true, std::move(text)});
}

void FaultsOf::warning(std::size_t line, std::string text) {
  m_all.add({m_file, line, false, std::move(text)});
}

std::string shown(std::string_view bytes) {
  std::string text = outcome::readable(bytes, outcome::Encoding::kEither);
  std::size_t at = 0;
  for (std::size_t characters = 0; at < text.size(); ++characters) {
    if (characters == kMostShown) return text.substr(0, at) + "...";
    at += utf8Length(std::string_view(text).substr(at));
  }
  return text;
}

std::string quoted(std::string_view bytes) { return '"' + shown(bytes) + '"'; }

std::string sentenceOf(const std::vector<std::string>& remarks) {
  std::string sentence;
  for (const std::string& remark : remarks) {
    sentence = sentence.empty() ? remark : translated("%s; it %s", {sentence, remark});
  }
  return sentence;
}

}  // namespace check
