#ifndef TANEXICS_COMMON_TERMINAL_H
#define TANEXICS_COMMON_TERMINAL_H

/// The number of lines of the terminal as tput(1) tells it, of which the first three characters are
/// read: 10 when the command cannot be run, fails or cannot be read, 0 when it succeeds and prints
/// nothing. The decoded status is traced.
int getTerminalLineCount();

/// Waits until standard input can be read, for `seconds` at the most.
///
/// `ready`  out: 1 when it can be read (its end counts), else 0.
///
/// Returns 0, or -1 when the wait failed, as it does for negative seconds. Nothing is logged.
int checkReceiveData(int& ready, int seconds);

/// Reads one line of standard input, 1,023 bytes of it at the most, and drops it. Returns 0.
int getch();

#endif
