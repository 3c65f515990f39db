#ifndef TANEXICS_COMMON_CAPTURE_TERMINAL_H
#define TANEXICS_COMMON_CAPTURE_TERMINAL_H

/// The number of lines of the terminal, at the start of the first three characters that tput(1)
/// prints: 10 when the command cannot be found, fails or cannot be read, and when no child or
/// stream could be made; 0 when it succeeds and prints no number. Without a pipe or a shell as
/// `s_popen` says. The status is traced by `exitStatus`, unless the output could not be read.
int getTerminalLineCount();

/// Waits until standard input can be read, for `seconds` at the most.
///
/// `ready`  out: 1 when it can be read (its end counts), else 0. Only the descriptor is asked:
///          lines that `getch` has read ahead into the buffer of stdin do not count.
///
/// Returns 0, or -1 when the wait failed, as it does for negative seconds, when standard input is
/// closed and when a signal interrupts. Nothing is logged.
int checkReceiveData(int& ready, int seconds);

/// Reads one line of standard input, 1,023 bytes of it at the most, and drops it. Returns 0.
int getch();

#endif
