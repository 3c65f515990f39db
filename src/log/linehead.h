#ifndef TANEXICS_LOG_LINEHEAD_H
#define TANEXICS_LOG_LINEHEAD_H

#include <cstddef>
#include <ctime>

/// Room for the head of a line, however wide its numbers are.
constexpr std::size_t kLineHeadBytes = 192;

/// Writes what stands in front of a line's message, "YYYY/MM/DD HH:MM:SS PID " with the process id
/// in at least five places, into `head`: the bytes that printf(3) gives for
/// "%04d/%02d/%02d %02d:%02d:%02d %5d ", also where a number is wider than its field or negative.
/// No terminating zero follows.
///
/// `local`  the time, broken down as localtime_r(3) does it.
///
/// Returns the number of bytes.
std::size_t formatLineHead(char (&head)[kLineHeadBytes], const std::tm& local, int pid);

#endif
