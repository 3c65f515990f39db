#ifndef TANEXICS_LOG_INPUT_H
#define TANEXICS_LOG_INPUT_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One log: its files in the order in which they are read, the older generation first.
struct Log {
  std::vector<std::string> files;
  bool mayLackOlder = false;  ///< nobody has named the older generation: there need not be one
  const std::string& name() const { return files.back(); }
};

/// The logs that the words of a command line name. Without words: the one that the command writes
/// (TANEX_LOG, else its default path), after its older generation, if there is one. A file that
/// ends in .bak and is named right before the file that it was rotated from is one log with that.
std::vector<Log> logsOf(const std::vector<std::string>& words);

/// The bytes of both generations of a log as they stood together at one moment. A rotation copies
/// the log over the older generation and empties it: who reads one after the other meanwhile misses
/// what has moved, or gets it twice. Nothing where there is one file alone, where one of them is no
/// regular file, cannot be read or has more than 8 MiB, which no rotation leaves, and where they
/// are rotated again and again: these are read one after the other.
std::optional<std::string> readTogether(const Log& log);

/// Whether there is something at the path.
bool isThere(const std::string& path);

/// Gives the bytes of a file, in pieces, until `take` returns false. Returns the reason in words
/// where the file cannot be read to its end, nothing is left out before that; empty where all went
/// well. Only a regular file is read, or what a pipe gives; a directory is none.
std::string readFile(const std::string& path, const std::function<bool(std::string_view)>& take);

/// Gives the bytes of a file and goes on with what is added, through rotations, until `take`
/// returns false; with no bytes where there is nothing new at the moment. A file that is replaced
/// or becomes shorter is read from its beginning; what a rotation has copied away unread is read
/// from the copy. Returns as `readFile`.
std::string followFile(const std::string& path, const std::function<bool(std::string_view)>& take);

#endif
