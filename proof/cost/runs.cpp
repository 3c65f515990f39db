#include "runs.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

constexpr int kRejected = 68;  // the status of a run without arguments

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

pid_t start(const Words& words, const std::string& errors) {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::dup2(::open("/dev/null", O_RDWR), STDIN_FILENO);
  ::dup2(STDIN_FILENO, STDOUT_FILENO);
  ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  ::execvp(argv[0], argv.data());
  ::_exit(127);
}

std::vector<double> sorted(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values;
}

Sample medianOf(const std::vector<Sample>& samples) {
  const auto pick = [&samples](double Sample::*field) {
    std::vector<double> values;
    values.reserve(samples.size());
    for (const Sample& sample : samples) values.push_back(sample.*field);
    return sorted(values)[values.size() / 2];
  };
  return {pick(&Sample::cpu), pick(&Sample::peak)};
}

}  // namespace

Sample runOnce(const Words& words, const std::string& errors) {
  const pid_t pid = start(words, errors);
  int status = 0;
  rusage usage = {};
  if (::wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("wait4 failed");
  if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != kRejected)) {
    throw std::runtime_error(words[0] + " ended with wait status " + std::to_string(status));
  }
  return {secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) * 1024};
}

void Turns::add(const Sample& command, const Sample& floor) {
  m_command.push_back(command);
  m_floor.push_back(floor);
  m_ratios.push_back(command.cpu / floor.cpu);
}

Comparison Turns::result() const {
  const std::vector<double> ratios = sorted(m_ratios);
  const std::size_t count = ratios.size();
  // How many of the values lie below the median is a matter of tossing coins, whatever their
  // distribution: half of them, give or take half the root of their number, times 1.96 for 95 %.
  const double spread = 1.96 * std::sqrt(static_cast<double>(count));
  const double below = std::max(0.0, (static_cast<double>(count) - spread) / 2);
  const auto low = static_cast<std::size_t>(below);
  return {medianOf(m_command), medianOf(m_floor),       ratios[count / 2],
          ratios[low],         ratios[count - 1 - low], count};
}
