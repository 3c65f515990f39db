#include "support/brokenfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

int unreadBytes(int slave) {
  int count = 0;
  return ::ioctl(slave, FIONREAD, &count) == 0 ? count : -1;
}

/// Waits, ten seconds at the most, until `count` bytes can be read from the slave.
void awaitUnread(int slave, int count) {
  for (int attempt = 0; attempt < 10000 && unreadBytes(slave) != count; ++attempt) ::usleep(1000);
  EXPECT_EQ(count, unreadBytes(slave));
}

/// Opens the slave without any line discipline of its own in the way.
int openRaw(const std::string& path) {
  const int slave = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(slave, 0) << path;
  termios settings = {};
  EXPECT_EQ(0, ::tcgetattr(slave, &settings));
  ::cfmakeraw(&settings);
  EXPECT_EQ(0, ::tcsetattr(slave, TCSANOW, &settings));
  return slave;
}

}  // namespace

BrokenFile::BrokenFile(const std::string& bytes) {
  const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_EQ(0, ::grantpt(master));
  EXPECT_EQ(0, ::unlockpt(master));
  const char* name = ::ptsname(master);
  m_path = name == nullptr ? "" : name;
  const int slave = openRaw(m_path);
  const int size = static_cast<int>(bytes.size());
  EXPECT_EQ(size, ::write(master, bytes.data(), bytes.size()));
  awaitUnread(slave, size);
  m_hangUp = std::thread([master, slave] {
    awaitUnread(slave, 0);  // until the reader has it all
    ::close(slave);
    ::close(master);
  });
}

BrokenFile::~BrokenFile() { m_hangUp.join(); }
