#ifndef TANEXICS_LOG_INPUT_H
#define TANEXICS_LOG_INPUT_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// One log: its files in the order in which they are read, the older generation first.
struct Log {
  std::vector<std::string> files;
  const std::string& name() const { return files.back(); }
};

/// The logs that the words of a command line name. Without words: the one that the command writes
/// (TANEX_LOG, else its default path), after its older generation where there is one. A file that
/// ends in .bak and is named right before the file that it was rotated from is one log with that.
std::vector<Log> logsOf(const std::vector<std::string>& words);

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
