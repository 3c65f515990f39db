#ifndef TANEXICS_COMMON_BASE_SHELL_H
#define TANEXICS_COMMON_BASE_SHELL_H

#include <cstdio>
#include <string>

// The silent way to run a command line: the action log itself runs its backup copy through here, so
// nothing in this unit ever logs.

/// Starts `command` through "/bin/sh" "-c" and returns a stream on what it prints. Standard input
/// and standard error are the caller's own. `command` must not be null.
///
/// `fd`   out: the descriptor under the stream; 0 when no child could be made.
/// `pid`  out: the child's process id, -1 when none could be made.
///
/// Both and the stream go to `s_pclose`, also when only part of the output was read.
///
/// Returns null when no child or no stream could be made; what is open of the pipe then stays open,
/// and a child that was made is not waited for. When no pipe can be made the process ends at once
/// with status 1: a system without descriptors cannot do anything useful any more. A child whose
/// shell cannot be started, as for a command above 131,071 bytes (see execve(2)), ends with status
/// 0, so that it is taken for a success without output.
FILE* s_popen(const char* command, int& fd, int& pid);

/// Closes a stream of `s_popen` and waits for its child, however long that takes. Returns the raw
/// wait status (see wait(2)), or -1 when the child could not be waited for; an interrupted wait is
/// not made again.
int s_pclose(FILE* stream, int fd, int pid);

/// Runs `command` through the shell and prints what it prints on standard output.
///
/// Each line, in pieces of at most 511 bytes, is printed as a printf(3) format without arguments:
/// "%%" prints one percent sign and "%m" the system's text for errno; any other "%", also one that
/// the end of a piece cuts from its conversion, prints as itself. What follows a zero byte within a
/// piece is lost.
///
/// Returns the raw wait status, not yet decoded; -1 when `command` is null, `s_popen` gives no
/// stream or the child could not be waited for.
int s_system(const char* command);

/// `text` as one word of a "/bin/sh" command line: a backslash before each of " ' tab blank ( ) | <
/// > & # ^ ` { } $ and \, and, when `escWild` is non-zero, before * ? [ and ]. Semicolon,
/// exclamation mark, tilde and line feed stay as they are, on purpose: callers pass paths that they
/// built themselves. `text` must not be null (an empty text is returned for it).
std::string shellEsc(const char* text, int escWild);
std::string shellEsc(const std::string& text, int escWild);

#endif
