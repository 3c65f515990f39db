#include "tools/rehearse/progressline.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

#include "tools/common/language.h"

namespace {

// To the end of the line.
constexpr char kErase[] = "\x1b[K";

std::size_t callsIn(const std::string& record) {
  std::ifstream file(record);
  const std::istreambuf_iterator<char> end;
  return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(file), end, '\n'));
}

}  // namespace

ProgressLine::ProgressLine(std::string record) : m_record(std::move(record)) {
  if (::isatty(STDERR_FILENO) != 0) m_thread = std::thread([this] { show(); });
}

ProgressLine::~ProgressLine() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hasEnded = true;
  }
  m_end.notify_one();
  m_thread.join();
}

void ProgressLine::show() {
  std::unique_lock<std::mutex> lock(m_mutex);
  std::size_t seconds = 0;
  while (!m_end.wait_for(lock, std::chrono::seconds(1), [this] { return m_hasEnded; })) {
    // What the command prints meanwhile takes the place of this line.
    const std::size_t calls = callsIn(m_record);
    std::cerr << asCallerReads(
                     translatedCount("%s s, %s call", "%s s, %s calls", calls,
                                     {std::to_string(++seconds), std::to_string(calls)})) +
                     kErase + '\r';
  }
  if (seconds > 0) std::cerr << kErase;
}
