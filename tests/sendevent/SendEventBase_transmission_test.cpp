#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "rmglib/CVuqRmgLib.h"
#include "support/logtexts.h"
#include "support/transmission.h"

namespace {

using Texts = std::vector<std::string>;

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

TEST_F(Transmission, BothArguments_AreIgnored) {
  char id[] = "4711";
  for (const int type : {2, 3}) {
    for (const int flag : {0, 1, -1}) {
      for (char* machineId : {static_cast<char*>(nullptr), id}) {
        TestEvent event = eventOf(type, {m_a});
        EXPECT_EQ(event.commonSendEvent(flag, machineId), 0);
        EXPECT_EQ(m_log.take(), sessionLog(turnsOf(type, {m_a})));
        EXPECT_EQ(takeCalls(), session(turnsOf(type, {m_a})));
      }
    }
  }
}

// --- notification texts --------------------------------------------------------------------------

TEST_F(Transmission, AbsentParameters_AreEmpty) {
  Turns turns = turnsOf(2, {m_a});
  turns[0].text = "INCNO=\"\",HOSTNAME=\"\",PART=\"1\",TOTAL=\"1\"";
  expectSent(TestEvent(2, {m_a}), turns);
  turns = turnsOf(4, {m_a});
  turns[0].text = ",,,,,,,,,,\"Software Log\"";
  expectSent(TestEvent(4, {m_a}), turns);
}

TEST_F(Transmission, IncidentText_IsBoundedTo2046Characters) {
  const std::size_t fixed = incidentText(1, 1).size() - 2;
  for (const std::size_t length : {2045 - fixed, 2046 - fixed, 2047 - fixed, std::size_t{3000}}) {
    const std::string number(length, '7');
    TestEvent event = eventOf(2, {m_a});
    event.m_params["IncidentNumber"] = number;
    Turns turns = turnsOf(2, {m_a});
    turns[0].text =
        ("INCNO=\"" + number + "\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"1\"").substr(0, 2046);
    EXPECT_EQ(send(event), 0);
    EXPECT_EQ(takeCalls(), session(turns));
  }
}

TEST_F(Transmission, IncidentText_DoublesNoQuotes) {
  TestEvent event = eventOf(2, {m_a});
  event.m_params["HostName"] = "a\"b%s";
  Turns turns = turnsOf(2, {m_a});
  turns[0].text = "INCNO=\"77\",HOSTNAME=\"a\"b%s\",PART=\"1\",TOTAL=\"1\"";
  expectSent(event, turns);
}

TEST_F(Transmission, EventText_QuotesTheExcerpt) {
  const std::string extract = m_dir.write("x.syslog.txt", "# head\nJan 1 \"db01\" 100%s\nnext\n");
  TestEvent event = eventOf(3, {m_a, extract});
  event.m_params["Label"] = "a\"b";
  event.m_params["MsgID"] = "";
  Turns turns = turnsOf(3, {m_a, extract});
  turns[0].text =
      "\"2026/11/20 12:00:00\",,\"a\"\"b\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\",,"
      "\"Jan 1 \"\"db01\"\" 100%s\"";
  expectSent(event, turns);
}

TEST_F(Transmission, EventFields_AreBuiltBeforeTheExtractIsOpenedThatIsMissing) {
  const std::string missing = m_dir / "x.syslog.txt";
  const std::string head = "\"2026/11/20 12:00:00\",,\"";
  struct Row {
    std::string label;
    Texts cuts;
    std::string text;
  };
  const Row rows[] = {
      {"disk", {}, kEventText.substr(0, kEventText.size() - 14)},
      {std::string(2000, 'L'),
       {"string convert error (CSendEventBase::convStr)"},
       head + std::string(895 - head.size(), 'L') + "\""},
  };
  for (const Row& row : rows) {
    for (const int type : {3, 4}) {
      TestEvent event = eventOf(type, {missing});
      event.m_params["Label"] = row.label;
      Turn turn = turnsOf(type, {missing})[0];
      turn.text = row.text;
      EXPECT_EQ(send(event), 0);
      EXPECT_EQ(
          m_log.take(),
          inOrder({{"get file size error(" + missing + ",No such file or directory)", kStarted,
                    turn.loop()},
                   row.cuts,
                   {"syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)",
                    turn.notifyLine(), done(0), turn.dataLine(), done(0), kOk}}));
      EXPECT_EQ(takeCalls(), session({turn}));
    }
  }
}

// --- sizes ---------------------------------------------------------------------------------------

std::string size486(const std::string& total, const std::string& path, const std::string& size) {
  return "[T](SendEventBase:486):current_total='" + total + "'  target='" + path + "' size='" +
         size + "'bytes.\n";
}

std::string total491(const std::string& total) {
  return "[T](SendEventBase:491):final_total='" + total + "' bytes. \n";
}

TEST_F(Transmission, Files_AreMeasuredBeforeTheFirstQuery) {
  const std::string missing = m_dir / "missing";
  const std::string percent = m_dir.write("100%s%n", "x");
  const std::string big = m_dir.write("big", "");
  ASSERT_EQ(::truncate(big.c_str(), 4294967295L), 0);
  const std::string bigger = m_dir.write("bigger", "");
  ASSERT_EQ(::truncate(bigger.c_str(), 4294967296L + 10), 0);
  const std::string noSize = "get file size error(" + missing + ",No such file or directory)";
  struct Row {
    Texts files;
    Texts lines;
  };
  const Row rows[] = {
      {{}, {total491("0")}},
      {{m_a, m_b, m_c},
       {size486("0", m_a, "3"), size486("3", m_b, "5"), size486("8", m_c, "0"), total491("8")}},
      {{percent}, {size486("0", percent, "1"), total491("1")}},
      // A file that is missing counts as -1, and the total wraps at 4 GiB.
      {{m_a, missing, m_b},
       {size486("0", m_a, "3"), noSize, size486("3", missing, "-1"), size486("2", m_b, "5"),
        total491("7")}},
      {{missing, m_a},
       {noSize, size486("0", missing, "-1"), size486("4294967295", m_a, "3"), total491("2")}},
      {{big, m_a, bigger},
       {size486("0", big, "4294967295"), size486("4294967295", m_a, "3"),
        size486("2", bigger, "4294967306"), total491("12")}},
  };
  for (const Row& row : rows) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    int queries = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call != "GetStatus" || queries++ > 0) return;
      EXPECT_EQ(log.texts(), row.lines);
    };
    TestEvent event = eventOf(1, row.files);
    EXPECT_EQ(send(event), 0);
    EXPECT_EQ(log.texts(), inOrder({row.lines, sessionLog(turnsOf(1, row.files))}));
    EXPECT_EQ(takeCalls(), session(turnsOf(1, row.files)));
  }
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
  for (const int type : {1, 2}) {
    TestEvent event = eventOf(type, {m_a, m_b});
    const Turns turns = turnsOf(type, {m_a, m_b});
    ReplyingClient client("1 reply");
    EXPECT_EQ(event.sendThrough(client), 0);
    EXPECT_EQ(client.found, (Texts{"", "1 reply", "2 reply", "3 reply"}));
    EXPECT_EQ(m_log.take(), (Texts{kStarted, turns[0].loop(), turns[0].notifyLine(), done(0),
                                   turns[0].dataLine("1 reply"), done(0), turns[1].loop(),
                                   turns[1].notifyLine("2 reply"), done(0),
                                   turns[1].dataLine("3 reply"), done(0), kOk}));
  }
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
  struct Row {
    int type;
    FakeKelcom::Reply notified;
    FakeKelcom::Reply sent;
    std::string notifiedLine;
    std::string sentLine;
  };
  const Row rows[] = {
      {2,
       {-74, 1, -10},
       {-52, 2, 404},
       done(-74, "(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"\""),
       done(-52, "(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\"")},
      {1, {7, 0, 0}, {8, 0, 0}, done(7), done(8)},
      {3, {7, 0, 0}, {8, 0, 0}, done(7), done(8)},
  };
  m_fake.stopResult = -9;
  for (const Row& row : rows) {
    TestEvent event = eventOf(row.type, {m_a});
    const Turn turn = turnsOf(row.type, {m_a})[0];
    int exchanges = 0;
    m_fake.onCommunicate = [&](unsigned) { return exchanges++ == 0 ? row.notified : row.sent; };
    EXPECT_EQ(send(event), 0);
    EXPECT_EQ(m_log.take(), inOrder({{kStarted}, turn.log(row.notifiedLine, row.sentLine), {kOk}}));
    EXPECT_EQ(takeCalls(), session({turn}));
  }
}

}  // namespace
