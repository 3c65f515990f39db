#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "rmglib/CVuqRmgLib.h"
#include "support/FakeKelcom.h"
#include "support/testevent.h"
#include "support/transmission.h"

namespace {

using Texts = std::vector<std::string>;

// --- reply ---------------------------------------------------------------------------------------

/// A client that fills the reply, as the library does not.
struct ReplyingClient : CVuqRmgLib {
  explicit ReplyingClient(std::string text) : reply(std::move(text)) {}

  int sendNotify(unsigned long, char*, char* buffer) override { return fill(buffer); }
  int sendData(unsigned long, void*, int, char* buffer) override { return fill(buffer); }

  std::string reply;
  Texts found;  // what stood in the reply before each call

 private:
  int fill(char* buffer) {
    found.emplace_back(buffer);
    std::memcpy(buffer, reply.c_str(), reply.size() + 1);
    reply[0] = '2';
    return 0;
  }
};

TEST_F(Transmission, ReplyIsOneBufferThatEachCallIsHandedAndThatIsLogged) {
  for (const int type : {1, 2}) {
    TestEvent event = incident({m_a});
    event.m_eventType = type;
    ReplyingClient client("1 reply");
    EXPECT_EQ(event.sendThrough(client), 0);
    EXPECT_EQ(client.found, (Texts{"", "1 reply"}));
    const Texts log = m_log.take();
    const std::string notification =
        type == 1 ? plainNotifyCall("0x40016") : notifyCall("0x40017", incidentText(1, 1));
    const std::string codes = type == 1 ? "0x4010a" : "0x4010b";
    EXPECT_EQ(log,
              (Texts{kStarted, loop(1, 1), notification, kDone,
                     "RM_Communicate call (param=" + codes + " ? 1 " + m_a + " NULL 1 reply NULL)",
                     kDone, kOk}));
  }
}

TEST_F(Transmission, ReplyOfOneFileIsLoggedWithTheNext) {
  TestEvent event(1, {m_a, m_b});
  ReplyingClient client("1 reply");
  EXPECT_EQ(event.sendThrough(client), 0);
  EXPECT_EQ(m_log.texts().at(7), "RM_Communicate call (param=0x40016 0 0 NULL NULL 2 reply NULL)");

  TestEvent other = incident({m_a, m_b});
  m_log.take();
  ReplyingClient another("1 reply");
  EXPECT_EQ(other.sendThrough(another), 0);
  EXPECT_EQ(m_log.texts().at(7),
            "RM_Communicate call (param=0x40017 0 0 " + incidentText(2, 2) + " NULL 2 reply NULL)");
}

TEST_F(Transmission, ReplyHasRoomFor2047CharactersAndItsEnd) {
  TestEvent event(1, {m_a});
  const std::string longest(2047, '1');
  ReplyingClient client(longest);
  EXPECT_EQ(event.sendThrough(client), 0);
  EXPECT_EQ(client.found, (Texts{"", longest}));
  EXPECT_EQ(m_log.texts().back(), kOk);
}

// --- what the library may do with what it is handed ----------------------------------------------

/// A client whose library writes over texts, paths and the array of paths that it is handed.
struct ScribblingClient : CVuqRmgLib {
  int sendNotify(unsigned long param, char* data, char* reply) override {
    const int result = CVuqRmgLib::sendNotify(param, data, reply);
    if (data != nullptr) std::memset(data, '#', std::strlen(data));
    return result;
  }
  int sendData(unsigned long param, void* list, int count, char* reply) override {
    const int result = CVuqRmgLib::sendData(param, list, count, reply);
    char** paths = static_cast<char**>(list);
    for (int at = 0; at < count; ++at) {
      std::memset(paths[at], '#', std::strlen(paths[at]));
      paths[at] = nullptr;
    }
    return result;
  }
};

/// The calls of the library and the lines of log of one run on a client of its own.
template <class Client>
std::pair<Texts, Texts> runOn(TestEvent& event, FakeKelcom& fake, CapturedLog& log) {
  {
    Client client;
    EXPECT_EQ(event.sendThrough(client), 0);
  }
  return {std::exchange(fake.calls, {}), log.take()};
}

TEST_F(Transmission, LibraryThatWritesIntoWhatItIsHanded_ChangesNoLaterRequest) {
  for (const int type : {1, 2, 3, 4}) {
    TestEvent event = type == 2 ? incident({m_a, m_b, m_a}) : eventOf(type, {m_a, m_b, m_a});
    const auto undisturbed = runOn<CVuqRmgLib>(event, m_fake, m_log);
    EXPECT_EQ(runOn<ScribblingClient>(event, m_fake, m_log), undisturbed) << type;
    EXPECT_EQ(runOn<ScribblingClient>(event, m_fake, m_log), undisturbed) << type;
    EXPECT_EQ(event.getSendFileList(), (Texts{m_a, m_b, m_a}));
  }
}

// --- results -------------------------------------------------------------------------------------

TEST_F(Transmission, ResultsOfTheLibraryAreOnlyLogged) {
  m_fake.stopResult = -9;
  m_fake.onCommunicate = [](unsigned code) {
    return code == 0x40017 ? FakeKelcom::Reply{-74, 1, -10} : FakeKelcom::Reply{-52, 2, 404};
  };
  TestEvent event = incident({m_a});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(
      m_log.texts(),
      (Texts{kStarted, loop(1, 1), notifyCall("0x40017", incidentText(1, 1)),
             "RM_Communicate done (code='-74', msg='(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"\"') ",
             dataCall("0x4010b", 1, m_a),
             "RM_Communicate done (code='-52', msg='(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\"') ",
             kOk}));
}

TEST_F(Transmission, ResultWithoutAgentErrorHasNoMessage) {
  m_fake.reply.result = 7;
  for (const int type : {1, 3}) {
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(send(event), 0);
    const Texts texts = m_log.take();
    EXPECT_EQ(texts.at(3), done(7));
    EXPECT_EQ(texts.at(5), done(7));
  }
}

}  // namespace
