#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "rmglib/CVuqRmgLib.h"
#include "support/logtexts.h"
#include "support/transmission.h"

namespace {

// --- the four event types ------------------------------------------------------------------------

TEST_F(Transmission, EveryType_SendsItsFilesOneByOneOrAllAtOnce) {
  Texts many(2000, m_a);
  many.back() = m_b;
  for (const int type : {1, 2, 3, 4}) {
    for (const Texts& files : {Texts{}, Texts{m_a}, Texts{m_a, m_b, m_c}, many}) {
      SCOPED_TRACE(testing::Message() << type << " with " << files.size());
      if (type < 3 && files.size() > 3) continue;
      expectSent(eventOf(type, files), turnsOf(type, files));
    }
  }
}

TEST_F(Transmission, TypeThatChanges_IsReadAnewForEachFileAndTheCodesAreChosenOnce) {
  for (const int later : {1, 3}) {
    Turns turns = turnsOf(2, {m_a, m_b});
    turns[1].text = later == 1 ? "NULL" : kEventText;
    if (later == 3) turns[1].paths = {m_a, m_b};
    TestEvent event = eventOf(2, {m_a, m_b});
    m_fake.onCall = [&](const std::string& call) {
      if (call == "Communicate") event.m_eventType = later;
    };
    EXPECT_EQ(send(event), 0);
    EXPECT_EQ(m_log.take(), sessionLog(turns));
    EXPECT_EQ(takeCalls(), session(turns));
  }
}

TEST_F(Transmission, UnknownType_Returns68AndStops) {
  for (const int type : {5, 0, -1, 6, 0x40017}) {
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(send(event), 68) << type;
    EXPECT_EQ(m_log.take(), (Texts{kStarted, "EventType param error."}));
    EXPECT_EQ(takeCalls(), (Texts{kQuery, kQuery, kStart, kStop}));
  }
}

// --- notification texts --------------------------------------------------------------------------

TEST_F(Transmission, EveryText_HasTheParametersOfItsType) {
  const std::string extract = m_dir.write("x.syslog.txt", "# head\nJan 1 \"db01\" 100%s\nnext\n");
  struct Row {
    int type;
    Params params;
    std::string file;
    std::string text;
  };
  const Row rows[] = {
      {2, {}, m_a, "INCNO=\"\",HOSTNAME=\"\",PART=\"1\",TOTAL=\"1\""},
      {2, {{"HostName", "a\"%s"}}, m_a, "INCNO=\"\",HOSTNAME=\"a\"%s\",PART=\"1\",TOTAL=\"1\""},
      {4, {}, m_a, ",,,,,,,,,,\"Software Log\""},
      {3, {{"Label", "a\"b"}}, extract, ",,\"a\"\"b\",,,,,,,,\"Jan 1 \"\"db01\"\" 100%s\""},
  };
  for (const Row& row : rows) {
    TestEvent event(row.type, {row.file});
    event.m_params = row.params;
    Turns turns = turnsOf(row.type, {row.file});
    turns[0].text = row.text;
    expectSent(event, turns);
  }
}

TEST_F(Transmission, IncidentText_IsBoundedTo2046Characters) {
  TestEvent event = eventOf(2, {m_a});
  event.m_params["IncidentNumber"] = std::string(3000, '7');
  Turns turns = turnsOf(2, {m_a});
  turns[0].text = "INCNO=\"" + std::string(2046 - 7, '7');
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(takeCalls(), session(turns));
}

TEST_F(Transmission, EventFields_AreBuiltBeforeTheExtractIsOpenedThatIsMissing) {
  const std::string missing = m_dir / "x.syslog.txt";
  const std::string head = "\"2026/11/20 12:00:00\",,\"";
  TestEvent event = eventOf(3, {missing});
  event.m_params["Label"] = std::string(2000, 'L');
  Turn turn = turnsOf(3, {missing})[0];
  turn.text = head + std::string(895 - head.size(), 'L') + "\"";
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.texts(),
            (Texts{"get file size error(" + missing + ",No such file or directory)", kStarted,
                   turn.loop(), "string convert error (CSendEventBase::convStr)",
                   "syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)",
                   turn.notifyLine(), done(0), turn.dataLine(), done(0), kOk}));
  EXPECT_EQ(takeCalls(), session({turn}));
}

// --- sizes ---------------------------------------------------------------------------------------

TEST_F(Transmission, Files_AreMeasuredBeforeTheFirstQuery) {
  const std::string missing = m_dir / "missing";
  const auto line = [](const std::string& total, const std::string& file, const char* size) {
    return "[T](SendEventBase:486):current_total='" + total + "'  target='" + file + "' size='" +
           size + "'bytes.\n";
  };
  const Texts lines = {line("0", m_a, "3"),
                       "get file size error(" + missing + ",No such file or directory)",
                       line("3", missing, "-1"), line("2", m_b, "5"),
                       "[T](SendEventBase:491):final_total='7' bytes. \n"};
  const Texts files = {m_a, missing, m_b};
  const CapturedLog log(CapturedLog::Level::kTrace);
  int queries = 0;
  m_fake.onCall = [&](const std::string& call) {
    if (call != "GetStatus" || queries++ > 0) return;
    EXPECT_EQ(log.texts(), lines);
  };
  TestEvent event = eventOf(1, files);
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(log.texts(), inOrder({lines, sessionLog(turnsOf(1, files))}));
}

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
    ++reply[0];
    return 0;
  }
};

TEST_F(Transmission, Reply_IsOneBufferThatEachCallIsHandedAndThatIsLogged) {
  TestEvent event = eventOf(1, {m_a, m_b});
  const Turns turns = turnsOf(1, {m_a, m_b});
  ReplyingClient client("1 reply");
  EXPECT_EQ(event.sendThrough(client), 0);
  EXPECT_EQ(client.found, (Texts{"", "1 reply", "2 reply", "3 reply"}));
  EXPECT_EQ(m_log.take(), (Texts{kStarted, turns[0].loop(), turns[0].notifyLine(), done(0),
                                 turns[0].dataLine("1 reply"), done(0), turns[1].loop(),
                                 turns[1].notifyLine("2 reply"), done(0),
                                 turns[1].dataLine("3 reply"), done(0), kOk}));
}

TEST_F(Transmission, Reply_HasRoomFor2047CharactersAndItsEnd) {
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

TEST_F(Transmission, LibraryThatWritesIntoWhatItIsHanded_ChangesNoLaterRequest) {
  const Texts files = {m_a, m_b, m_a};
  for (const int type : {1, 2, 3, 4}) {
    TestEvent event = eventOf(type, files);
    for (int run = 0; run < 2; ++run) {
      {
        ScribblingClient client;
        EXPECT_EQ(event.sendThrough(client), 0);
      }
      EXPECT_EQ(m_log.take(), sessionLog(turnsOf(type, files))) << type;
      EXPECT_EQ(takeCalls(), session(turnsOf(type, files))) << type;
    }
    EXPECT_EQ(event.getSendFileList(), files);
  }
}

// --- results -------------------------------------------------------------------------------------

TEST_F(Transmission, ResultsOfTheLibrary_AreOnlyLogged) {
  m_fake.stopResult = -9;
  m_fake.onCommunicate = [](unsigned code) -> FakeKelcom::Reply {
    if (code == 0x40017) return {-74, 1, -10};
    return {8, 0, 0};
  };
  TestEvent event = eventOf(2, {m_a});
  const Turn turn = turnsOf(2, {m_a})[0];
  const std::string notified = done(-74, "(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"\"");
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.take(), inOrder({{kStarted}, turn.log(notified, done(8)), {kOk}}));
  EXPECT_EQ(takeCalls(), session({turn}));
}

}  // namespace
