#include "tools/outcome/reader.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>

#include "rmglib/kelcom.h"
#include "tools/outcome/reason.h"

namespace outcome {

namespace {

/// What is longer and has no line feed is no action log; it is read piece by piece all the same.
constexpr std::size_t kMostBuffered = 1 << 20;

/// So many runs wait for the lines around their end to be whole: of more that end among one
/// another, the first one is given.
constexpr std::size_t kMostEnded = 1000;

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

Mode modeOf(unsigned request) {
  switch (request) {
    case kKelNotifyIncident:
    case kKelDataIncident:
      return Mode::kIncident;
    case kKelNotifyErrorEvent:
      return Mode::kErrorEvent;
    case kKelNotifyOtherEvent:
      return Mode::kEvent;
    case kKelNotifyType1:
    case kKelDataType1:
      return Mode::kType1;
    default:
      return Mode::kNone;
  }
}

/// A field of an event's text: its quotes are doubled.
std::string unquoted(std::string_view field) {
  std::string text;
  for (std::size_t at = 0; at < field.size(); ++at) {
    text += field[at];
    if (field.substr(at, 2) == "\"\"") ++at;
  }
  return text;
}

/// What all ways agree on; nothing where they do not.
template <class Value, class Of>
std::optional<Value> common(const std::vector<Progress>& all, const Of& of) {
  if (all.empty()) return std::nullopt;
  const Value first = of(all.front());
  for (const Progress& one : all) {
    if (of(one) != first) return std::nullopt;
  }
  return first;
}

bool isEnded(const std::vector<Progress>& all) {
  return std::all_of(all.begin(), all.end(),
                     [](const Progress& one) { return one.phase == Progress::Phase::kEnded; });
}

}  // namespace

Reader::Reader(Sink sink, bool keepLines) : m_sink(std::move(sink)), m_keepLines(keepLines) {}

void Reader::feed(std::string_view bytes) {
  m_buffer.append(bytes);
  if (m_isAtStart) {
    if (m_buffer.size() < kByteOrderMark.size()) return;
    if (m_buffer.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0) {
      m_buffer.erase(0, kByteOrderMark.size());
    }
    m_isAtStart = false;
  }
  const std::size_t lastFeed = m_buffer.rfind('\n');
  std::size_t end = lastFeed == std::string::npos ? 0 : lastFeed + 1;
  const bool isFull = m_buffer.size() - end > kMostBuffered;
  if (isFull) end = m_buffer.size();
  std::size_t at = 0;
  while (at < end) {
    const std::size_t read = readPiece(std::string_view(m_buffer).substr(at, end - at), isFull);
    if (read == 0) break;
    at += read;
  }
  m_buffer.erase(0, at);
}

void Reader::finish() {
  std::size_t at = 0;
  while (at < m_buffer.size()) at += readPiece(std::string_view(m_buffer).substr(at), true);
  m_weave.giveUp([this](int pid, const Written& written, const std::vector<Progress>& progress) {
    take(pid, written, progress);
  });
  std::vector<std::pair<unsigned long, int>> open;
  for (const auto& [pid, live] : m_live) open.emplace_back(live.order, pid);
  std::sort(open.begin(), open.end());
  for (const auto& [order, pid] : open) close(pid);
  m_waiting = 0;
  m_unfinished = 0;
  giveEnded();
}

/// Reads one head, text or line feed, and returns its length; 0 where more bytes decide.
std::size_t Reader::readPiece(std::string_view bytes, bool isWhole) {
  if (bytes.front() == '\n') {
    onLineFeed();
    return 1;
  }
  const Head head = readHead(bytes);
  if (head.length > 0) {
    onHead(head, bytes.substr(0, head.length));
    return head.length;
  }
  std::size_t length = ownLength(bytes, isWhole);
  if (length == kMoreNeeded) return 0;
  if (length == 0) length = findPiece(bytes);
  // A head that the end of the bytes cuts is a text that nobody has written.
  std::string_view text = bytes.substr(0, length);
  const bool isEndOfLine = length < bytes.size() && bytes[length] == '\n';
  if (isEndOfLine && text.back() == '\r') text.remove_suffix(1);
  const bool hasOwnFeed = isEndOfLine && !text.empty() && endsInLineFeed(text);
  if (!text.empty()) onText(text);
  return length + (hasOwnFeed ? 1 : 0);
}

Reader::Live& Reader::live(int pid) {
  const auto [found, isNew] = m_live.try_emplace(pid);
  if (isNew) {
    found->second.run.pid = pid;
    found->second.progress = {Progress()};
    found->second.order = ++m_order;
    found->second.isRest = m_rests.count(pid) != 0;
  }
  return found->second;
}

void Reader::onHead(const Head& head, std::string_view bytes) {
  Live& own = live(head.pid);
  if (own.run.start.empty()) own.run.start = head.time;
  own.run.end = head.time;
  if (m_keepLines) own.head = bytes;
  if (m_weave.isEmpty()) {
    if (m_waiting == 0) {
      m_isInterrupted = false;
      m_waiting = head.pid;
      return;
    }
    if (m_waiting == head.pid) {
      for (Progress& one : own.progress) one.lose();
      ++own.run.torn;
      if (m_live.size() > 1) tearAll();
      return;
    }
    m_weave.addHead(m_waiting, live(m_waiting).progress);
    m_waiting = 0;
  }
  if (!m_weave.addHead(head.pid, live(head.pid).progress)) tearAll();
  settle();
}

void Reader::onLineFeed() {
  if (m_unfinished > 0) {
    --m_unfinished;
    m_isInterrupted = true;
    giveEnded();
  } else if (m_live.size() > 1) {
    tearAll();  // a head or a text is missing, and nobody knows whose
  } else if (m_waiting != 0) {
    patch(live(m_waiting));  // its text may come all the same
    ++live(m_waiting).run.torn;
    m_waiting = 0;
  }
}

void Reader::onText(std::string_view text) {
  if (!m_weave.isEmpty()) {
    onTornText(text);
    return;
  }
  if (m_waiting == 0) {
    onStrayText(text);
    return;
  }
  const int pid = m_waiting;
  const bool isAmongOthers = m_isInterrupted || m_unfinished > 0;
  m_waiting = 0;
  ++m_unfinished;
  const Message message = readMessage(text);
  if (message.kind != Kind::kUnread) {
    if (isAmongOthers && message.kind != Kind::kStarted) doubtBeginning(live(pid));
    addToRun(pid, message);
    closeIfEnded(pid);
    return;
  }
  // Texts meet where the head between them is lost, and no other process is known to have written
  // it.
  const auto readings = readingsOf(text, 8);
  Live& own = live(pid);
  ++own.run.torn;
  if (m_live.size() > 1) tearAll();
  if (readings.size() != 1) {
    for (Progress& one : own.progress) one.lose();
    if (m_keepLines) own.run.lines.push_back(own.head + std::string(text));
    return;
  }
  patch(own);
  for (const Message& one : readings.front()) addToRun(pid, one);
  closeIfEnded(pid);
}

/// The run is given a text that had no head of its own: lines of it may be lost there as well.
void Reader::patch(Live& live) {
  live.isPatched = true;
  for (Progress& one : live.progress) one.lose();
}

/// A text without a head.
void Reader::onStrayText(std::string_view text) {
  const Message message = readMessage(text);
  if (m_foreignLine.empty() && message.kind == Kind::kUnread) m_foreignLine = text;
  ++m_unfinished;
  if (message.kind == Kind::kOther) return;
  if (message.kind == Kind::kUnread) {
    // A line whose head is cut: nobody knows whose it is.
    for (auto& [pid, live] : m_live) {
      ++live.run.torn;
      for (Progress& one : live.progress) one.lose();
    }
    return;
  }
  if (m_live.size() > 1) {
    tearAll();
  } else if (m_live.size() == 1) {
    const int pid = m_live.begin()->first;
    patch(m_live.begin()->second);
    ++m_live.begin()->second.run.torn;
    addToRun(pid, message);
    closeIfEnded(pid);
  }
}

void Reader::onTornText(std::string_view text) {
  const std::size_t messages = m_weave.addText(text);
  m_unfinished += std::max(1, static_cast<int>(messages));
  if (messages == 0) tearAll();
  settle();
}

void Reader::settle() {
  const auto taker = [this](int pid, const Written& written,
                            const std::vector<Progress>& progress) {
    take(pid, written, progress);
  };
  if (m_weave.settle(taker)) return;
  tearAll();
  m_weave.giveUp(taker);
}

/// It is known what a process has written in one of its lines, or as much as can be.
void Reader::take(int pid, const Written& written, const std::vector<Progress>& progress) {
  if (written.message.kind == Kind::kStarted) begin(pid);
  Live& own = live(pid);
  if (written.isBroken) ++own.run.torn;
  if (written.isBroken || written.message.kind != Kind::kStarted) doubtBeginning(own);
  own.progress = progress;
  note(own, written.message, written.isVague || written.isBroken);
  closeIfEnded(pid);
}

/// The first line of a run: whatever has its process id so far comes to no end any more.
void Reader::begin(int pid) {
  Live& before = live(pid);
  m_rests.erase(pid);
  before.isRest = false;
  if (before.progress == std::vector<Progress>{Progress()}) return;
  Live next;
  next.run.pid = pid;
  next.run.start = next.run.end = before.run.end;
  next.head = before.head;
  next.isDisputed = before.isDisputed = true;
  next.order = ++m_order;
  next.progress = {Progress()};
  close(pid);
  m_live[pid] = std::move(next);
}

void Reader::addToRun(int pid, const Message& message) {
  if (message.kind == Kind::kStarted) begin(pid);
  Live& own = live(pid);
  std::vector<Progress>& all = own.progress;
  const auto refuses = [&message](const Progress& one) { return !one.accepts(message); };
  if (std::all_of(all.begin(), all.end(), refuses)) {
    // Lines of the run are lost. Where others write as well, a text may have gone to the wrong one;
    // one without a head may be of a process whose head stands before the beginning of the log.
    if (m_live.size() > 1 || own.isPatched) tearAll();
    ++own.run.torn;
  } else {
    all.erase(std::remove_if(all.begin(), all.end(), refuses), all.end());
  }
  for (Progress& one : all) one.advance(message);
  note(own, message, false);
}

/// Adds to the run what people want to know of it.
void Reader::note(Live& live, const Message& message, bool isVague) {
  Run& run = live.run;
  if (m_keepLines) run.lines.push_back(live.head + std::string(message.whole));
  // An incident asks the system for the host's name, whatever becomes of it; an event has one.
  if (run.mode == Mode::kNone && message.whole.find("com=uname -n") != std::string_view::npos) {
    run.mode = Mode::kIncident;
  }
  const auto text = [&]() -> std::optional<std::string> {
    if (isVague) return std::nullopt;
    return std::string(message.text);
  };
  switch (message.kind) {
    case Kind::kStarted:
      run.hasStart = true;
      return;
    case Kind::kExit:
      if (!isVague) run.exitCode = message.number;
      return;
    case Kind::kElapsed:
      if (!isVague) run.elapsed = std::strtod(std::string(message.text).c_str(), nullptr);
      return;
    case Kind::kMissing:
      run.missing.push_back(text().value_or(""));
      return;
    case Kind::kRefusal:
      if (!isVague) run.reason = message.text;
      return;
    case Kind::kNotification:
    case Kind::kData: {
      Exchange exchange;
      exchange.isData = message.kind == Kind::kData;
      if (!isVague) {
        exchange.request = message.request;
        const Mode mode = modeOf(message.request);
        if (mode != Mode::kNone) run.mode = mode;
      }
      if (exchange.isData) {
        exchange.files = message.total;
        exchange.path = text();
      } else if (!isVague) {
        const bool isQuoted = run.mode == Mode::kErrorEvent || run.mode == Mode::kEvent;
        run.identity = isQuoted ? unquoted(message.text) : text();
        run.host = isQuoted ? unquoted(message.host) : std::string(message.host);
      }
      const auto part = common<int>(live.progress, [](const Progress& p) { return p.part; });
      exchange.part = part;
      run.exchanges.push_back(std::move(exchange));
      live.awaitsAnswer = true;
      return;
    }
    case Kind::kDone:
      if (!live.awaitsAnswer) {
        run.exchanges.emplace_back();
        run.exchanges.back().part =
            common<int>(live.progress, [](const Progress& p) { return p.part; });
      }
      if (!isVague) {
        run.exchanges.back().code = message.number;
        run.exchanges.back().error = text();
      }
      live.awaitsAnswer = false;
      return;
    default:
      return;
  }
}

/// Among lines that mix, one that is no beginning of a run without any: it may have lost that here,
/// and then the text may be of another.
void Reader::doubtBeginning(const Live& live) {
  if (live.progress == std::vector<Progress>{Progress()}) tearAll();
}

/// What has been written by whom cannot be told here: nothing more is said of a run that is open,
/// or that has ended among the lines that are.
void Reader::tearAll() {
  for (auto& [pid, live] : m_live) live.isTorn = true;
  for (Live& ended : m_ended) ended.isTorn = true;
}

void Reader::closeIfEnded(int pid) {
  const auto found = m_live.find(pid);
  if (found != m_live.end() && isEnded(found->second.progress)) close(pid);
}

/// The run, whose lines have come to their end or are followed by others, goes on its way out.
void Reader::close(int pid) {
  const auto found = m_live.find(pid);
  Live own = std::move(found->second);
  m_live.erase(found);
  if (own.isRest) return;
  if (own.isDisputed && isEnded(own.progress)) m_rests.insert(pid);
  m_ended.push_back(std::move(own));
}

/// Gives the runs that have ended, where no line is open any more: what follows cannot show then
/// that one of theirs was torn.
void Reader::giveEnded() {
  const bool isQuiet = m_weave.isEmpty() && m_waiting == 0 && m_unfinished == 0;
  while (!m_ended.empty() && (isQuiet || m_ended.size() > kMostEnded)) {
    Live ended = std::move(m_ended.front());
    m_ended.pop_front();
    give(std::move(ended));
  }
}

void Reader::give(Live own) {
  std::set<Verdict> possible;
  for (const Progress& one : own.progress) possible.merge(one.verdicts());
  const bool isOpen = own.isTorn || own.isDisputed || possible.size() != 1;
  own.run.verdict = isOpen ? Verdict::kUnknown : *possible.begin();
  const auto expected = common<int>(own.progress, [](const Progress& p) { return p.expected(); });
  if (expected.value_or(0) > 0) own.run.expected = expected;
  if (!isEnded(own.progress)) own.run.end.clear();
  if (own.isTorn) own.run.doubt = Doubt::kTorn;
  if (own.isDisputed) own.run.doubt = Doubt::kDisputed;
  own.run.reason = reasonOf(own.run);
  m_sink(std::move(own.run));
}

}  // namespace outcome
