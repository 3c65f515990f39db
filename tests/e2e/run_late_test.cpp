// Runs after January 2038, when the seconds since 1970 do not fit into 32 bits any more: files that
// are dated so, and a clock that says so.

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>

#include "e2e/support/cases.h"
#include "support/actionlog.h"

namespace {

constexpr std::time_t kLate = 2208988800;  // 2040-01-01 00:00:00 UTC

class Late : public MachineTest {
 protected:
  /// Whether this date is kept: not every file system can.
  bool date(const std::string& path) const {
    const std::string file = machine.outside(path);
    const timespec times[2] = {{kLate, 0}, {kLate, 0}};
    EXPECT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0) << path;
    struct stat status = {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0) << path;
    return status.st_mtime == kLate;
  }
};

TEST_F(Late, DatesOfFiles_ChangeNothing) {
  const std::string log = "/var/opt/QZKBsoftmsg/log/msg_action.log";
  for (const char* path :
       {"/case/a.txt", "/case/b.syslog.txt", "/case/c.txt", "/case/list", "/case/event.def"}) {
    if (!date(path)) GTEST_SKIP() << "the file system of the test keeps no date after 2038";
  }
  expectRun(machine.run(incidentCall()), Sending().incident());
  machine.clear();
  expectRun(machine.run(eventCall()), Sending().event());
  machine.clear();

  // The log is measured, and rotated.
  machine.write(log, std::string(512001, 'o'));
  EXPECT_TRUE(date(log));
  machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}}));
  EXPECT_EQ(machine.log(log), Sending().event().log.info);
}

TEST_F(Late, Clock_ShowsInEachLineOfTheLog) {
  const Call call =
      eventCall().with({{"LD_PRELOAD", "/testkelcom/liblateclock.so"}, {"TZ", "UTC0"}});
  expectRun(machine.run(call), Sending().event());
  for (const LogLine& line : parseLog(machine.read("/case/action.log"))) {
    EXPECT_EQ(line.head.substr(0, 20), "2040/01/01 00:00:00 ") << line.text;
  }
}

}  // namespace
