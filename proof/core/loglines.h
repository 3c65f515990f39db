#ifndef TANEXICS_PROOF_CORE_LOGLINES_H
#define TANEXICS_PROOF_CORE_LOGLINES_H

#include <sys/types.h>

#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// The bytes of the time with which a line begins, the blank after it included.
constexpr std::size_t kTimeBytes = 20;

/// The head of a line, with time and process id, and its message.
struct LogLine {
  std::string head;
  std::string message;
};

/// The lines of a log. A message with a line feed of its own goes on in the next line of the file.
std::vector<LogLine> linesOf(const std::string& log);

/// Their messages, with process ids, times and generated names made equal.
Texts messagesOf(const std::vector<LogLine>& lines);

/// Whether the head has its shape, and the process id is `pid`.
bool isHead(const std::string& head, pid_t pid);

/// A text with process ids, times and generated names made equal.
std::string normalised(const std::string& text);
Texts normalised(Texts texts);

/// A text in which X stands for each generated character of a temporary directory's name.
std::string withFixedNames(const std::string& text);

/// The pieces of a text that end with a line feed, without it.
Texts splitLines(const std::string& text);

bool beginsWith(const std::string& text, const std::string& head);

#endif
