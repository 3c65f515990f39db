#ifndef TANEXICS_TESTS_SUPPORT_INPUTFILES_H
#define TANEXICS_TESTS_SUPPORT_INPUTFILES_H

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "support/scratch.h"

// What the tests of the input share: of the list of files to send, and of definition files.

// How the texts end in which the action log names what is wrong with a definition file.
inline const std::string kNotFound = " not found.(CSendEventBase::parseMsgCommon)";
inline const std::string kOpenError = " open error.(CSendEventBase::parseMsgCommon)";
inline const std::string kReadError = " read error.(CSendEventBase::parseMsgCommon)";
inline const std::string kFormatError = " format error.(CSendEventBase::parseMsgCommon)";
inline const std::string kKeywordError = " Keyword error.(CSendEventBase::parseMsgCommon)";
inline const std::string kValueError = " value error.(CSendEventBase::parseMsgCommon)";
inline const std::string kParameterError = " parameter error.(CSendEventBase::parseTanexMsg)";

/// As many bytes x.
inline std::string x(std::size_t count) { return std::string(count, 'x'); }

/// Bytes of a text with zero bytes in it.
template <std::size_t N>
std::string bytesOf(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

/// A socket file, which exists and cannot be opened, not even by root.
inline std::string makeSocketFile(const ScratchDir& dir) {
  const std::string path = dir / "socket";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ::close(fd);
  return path;
}

#endif
