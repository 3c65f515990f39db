#ifndef TANEXICS_TESTS_SUPPORT_FAKEKELCOM_H
#define TANEXICS_TESTS_SUPPORT_FAKEKELCOM_H

#include <functional>
#include <string>
#include <vector>

// The words by which the library tells the state of its connection.
inline constexpr int kOperating = 0x20;
inline constexpr int kMaintenance = 0x10000;
inline constexpr int kStopped = 0x20000;
inline constexpr int kMaintenanceStop = 0x30000;

/// The closed library of a unit test: answers what the test sets, and writes down what it was
/// asked. Linked into the test in place of the library, so that everything above it runs for real.
/// There is one, since the library's calls have no object; constructing a FakeKelcom makes it
/// current and forgets what the one before was told.
class FakeKelcom {
 public:
  FakeKelcom();
  ~FakeKelcom();
  FakeKelcom(const FakeKelcom&) = delete;
  FakeKelcom& operator=(const FakeKelcom&) = delete;

  /// The calls in order, with their arguments, as for example:
  ///   "GetID", "GetStatus(0)", "StartComm(0)", "StopComm",
  ///   "Communicate(0x40017, 0, 0, INCNO=...)"            a text ("NULL" for none)
  ///   "Communicate(0x4010d, 0, 2, [/a /b])"              path names
  std::vector<std::string> calls;

  // The answers. A value is stored through the caller's pointer, a result returned.
  int id = 4711;
  int idResult = 0;
  bool storesId = true;
  int status = kOperating;
  int statusResult = 0;
  int startResult = 0;
  int startValue = -1;  // out: what the value handed to StartComm was
  int stopResult = 0;

  struct Reply {
    int result = 0;
    int type = 0;
    int agentCode = 0;
  };
  /// The answer to every exchange, unless `onCommunicate` is set: then it is asked for each, with
  /// the request code.
  Reply reply;
  bool storesError = true;            // whether the error words are stored
  int errorBefore[3] = {-1, -1, -1};  // out: what the words of the last exchange were before
  std::function<Reply(unsigned code)> onCommunicate;

  /// Called at the beginning of each call with its name ("GetID", "GetStatus", "StartComm",
  /// "StopComm", "Communicate"): the place to throw from, or to count.
  std::function<void(const std::string& call)> onCall;
};

#endif
