#include "sweep/workers.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace {

using Json = nlohmann::json;

std::string toText(const Tally& tally) {
  Json findings = Json::array();
  for (const Finding& finding : tally.findings) {
    findings.push_back({{"trial", finding.trial}, {"broken", finding.broken}});
  }
  // Bytes of a hostile command may be anything.
  return Json({{"rows", tally.rows}, {"findings", findings}})
      .dump(-1, ' ', true, Json::error_handler_t::replace);
}

/// Does one share in a process of its own; what it found goes to `report`.
pid_t startWorker(const std::function<Tally(unsigned)>& share, unsigned number, int report) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::string text;
  try {
    text = toText(share(number));
  } catch (const std::exception& error) {
    text = Json({{"failure", error.what()}}).dump(-1, ' ', true, Json::error_handler_t::replace);
  }
  ::_exit(::write(report, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

std::string readReport(int report) {
  const off_t size = ::lseek(report, 0, SEEK_END);
  std::string text(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
  if (::pread(report, text.data(), text.size(), 0) != size) text.clear();
  return text;
}

void addReport(Tally& tally, const std::string& text) {
  const Json found = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!found.is_object()) throw std::runtime_error("a worker ended without a report");
  if (found.contains("failure")) throw std::runtime_error(found.value("failure", ""));
  for (const auto& [row, counts] : found["rows"].items()) {
    for (const auto& [column, count] : counts.items()) tally.count(row, column, count);
  }
  for (const Json& finding : found["findings"]) {
    tally.findings.push_back({finding.value("trial", ""), finding["broken"]});
  }
}

}  // namespace

void Tally::count(const std::string& row, const std::string& column, int more) {
  rows[row][column] += more;
}

void Tally::note(const std::string& row, const std::string& trial,
                 const std::vector<std::string>& broken) {
  if (broken.empty()) return;
  count(row, "broken");
  findings.push_back({trial, broken});
}

int Tally::at(const std::string& row, const std::string& column) const {
  const auto counts = rows.find(row);
  if (counts == rows.end()) return 0;
  const auto count = counts->second.find(column);
  return count == counts->second.end() ? 0 : count->second;
}

int Tally::sum(const std::string& column) const {
  int sum = 0;
  for (const auto& [row, counts] : rows) sum += at(row, column);
  return sum;
}

Tally workTogether(unsigned count, const std::function<Tally(unsigned)>& share) {
  std::vector<int> reports;
  for (unsigned number = 0; number < count; ++number) {
    reports.push_back(::memfd_create("report", MFD_CLOEXEC));
    if (startWorker(share, number, reports.back()) < 0) throw std::runtime_error("no worker");
  }
  while (::wait(nullptr) > 0 || errno == EINTR) continue;
  Tally tally;
  for (const int report : reports) {
    addReport(tally, readReport(report));
    ::close(report);
  }
  return tally;
}
