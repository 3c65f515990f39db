// What tanexics-check says of that which would be sent.

#include <sys/stat.h>

#include "tools/checked.h"

namespace {

class CheckNotification : public Checked {
 protected:
  /// What is said of an event besides the files.
  std::string sentFor(const std::string& event, const std::string& list = "") {
    dir.write("event", event);
    if (!list.empty()) dir.write("list", list);
    return checked({"list", "-r", "event"});
  }

  const std::string m_head =
      "\"2026/11/15 12:00:07\",,\"disk\",\"db01\",\"Linux\",\"Debian\",\"12\","
      "\"storage\",\"ERROR\",,";
  const std::string m_fileRow = "file \"" + kExtract + "\": 46 bytes\n";
};

TEST_F(CheckNotification, Event_IsShownAsTheCentreGetsIt) {
  EXPECT_EQ(sentFor(kEvent),
            "sends an error event (0x40204) with 1 file of 46 bytes\n"
            "notification (118 of 896 bytes): " +
                m_head + "\"Nov 15 12:00:05 db01 kernel: I/O error\"\n" + m_fileRow +
                "result: accepted\n");
  EXPECT_EQ(sentFor(eventWith("=err", "=info")),
            "sends another event (0x40205) with 1 file of 46 bytes\n"
            "notification (118 of 896 bytes): " +
                m_head + "\"Nov 15 12:00:05 db01 kernel: I/O error\"\n" + m_fileRow +
                "result: accepted\n");
}

TEST_F(CheckNotification, Incident_IsShownForItsFirstFile) {
  dir.write("list", kExtract + "\n/none\n");
  const std::string text = "INCNO=\"4\"2\",HOSTNAME=\"" + nodeName() + "\",PART=\"1\",TOTAL=\"2\"";
  EXPECT_EQ(checked({"list", "-i", "4\"2"}),
            "list:2: warning: \"/none\" does not exist\n"
            "sends an incident (0x40017) with 2 files of 46 bytes\n"
            "first notification (" +
                std::to_string(text.size()) + " of 2046 bytes): " + text + "\n" + m_fileRow +
                "file \"/none\": not measured\n"
                "result: accepted, 1 warning\n");
}

TEST_F(CheckNotification, ValuesWithTheMarksOfFields_AreSentWhole) {
  const std::string text = sentFor(eventWith("=disk", "=\"\"di\"sk\",,\"\""));
  EXPECT_NE(text.find(",,\"\"\"\"\"di\"\"sk\"\",,\"\"\"\"\",\"db01\","), std::string::npos) << text;
  EXPECT_EQ(text.find("left out"), std::string::npos) << text;
  EXPECT_EQ(text.find("cut in it"), std::string::npos) << text;
  EXPECT_EQ(linesOf(text).back(), "result: accepted");
}

TEST_F(CheckNotification, FieldsThatVanish_AreNamedAtTheLongestValue) {
  const auto withLabel = [this](std::size_t bytes) {
    return eventWith("=disk", "=" + std::string(bytes, 'x'));
  };
  const std::string full = ": warning: the notification is 896 of 896 bytes; ";
  const std::string last = "OSName, OSVersion, PkgName, MsgType and the log line\n";
  const struct {
    std::string event;
    std::string warning;
    std::string losses;
  } rows[] = {
      // As docs/tanexics-input.5 has it.
      {withLabel(858), "event:3" + full + "cut: OSType; not sent: " + last,
       "cut in it: OSType\n"
       "left out of it: OSName, OSVersion, PkgName, MsgType and log line\n"},
      {withLabel(860),
       "event:3: warning: the notification is 893 of 896 bytes; not sent: OSType, " + last,
       "left out of it: OSType, OSName, OSVersion, PkgName, MsgType and log line\n"},
      {withLabel(900), "event:3" + full + "cut: Label; not sent: HostName, OSType, " + last,
       "cut in it: Label\n"
       "left out of it: HostName, OSType, OSName, OSVersion, PkgName, MsgType and log line\n"},
      // The room is full to the last byte, and nothing is lost but what follows.
      {withLabel(856), "event:3" + full + "not sent: " + last,
       "left out of it: OSName, OSVersion, PkgName, MsgType and log line\n"},
      {eventWith("=42", "=" + std::string(900, 'x')), "", ""},
      {eventWith("=ERROR", "=" + std::string(790, 'x')), "", "cut in it: log line\n"},
      {eventWith("=ERROR", "=" + std::string(819, 'x')),
       "event:9: warning: the notification is 892 of 896 bytes; not sent: the log line\n",
       "left out of it: log line\n"},
      {eventWith("=ERROR", "=" + std::string(5, '"') + std::string(900, 'x')),
       "event:9" + full + "cut: MsgType; not sent: the log line\n",
       "cut in it: MsgType\nleft out of it: log line\n"},
  };
  for (const auto& row : rows) {
    const std::string text = sentFor(row.event);
    EXPECT_EQ(text.substr(0, text.find("sends ")), row.warning);
    const std::size_t begin = text.find('\n', text.find("\nnotification (") + 1) + 1;
    EXPECT_EQ(text.substr(begin, text.find("file \"") - begin), row.losses);
  }
}

TEST_F(CheckNotification, IncidentOfOneFile_HasOneNotification) {
  const std::string text = "INCNO=\"7\",HOSTNAME=\"" + nodeName() + "\",PART=\"1\",TOTAL=\"1\"";
  EXPECT_EQ(checked({"list", "-i", "7"}),
            "sends an incident (0x40017) with 1 file of 46 bytes\nnotification (" +
                std::to_string(text.size()) + " of 2046 bytes): " + text + "\n" + m_fileRow +
                "result: accepted\n");
}

TEST_F(CheckNotification, IncidentThatIsTooLong_IsCutWhereItIsFull) {
  const std::string rest = "\",HOSTNAME=\"" + nodeName() + "\",PART=\"1\",TOTAL=\"1\"";
  const std::size_t room = 2046 - 7 - rest.size();  // for the number, where all is sent
  const std::size_t host = nodeName().size();
  const std::string warning = "command line: warning: the notification is 2046 of 2046 bytes; ";
  const struct {
    std::size_t digits;
    std::string warnings;
  } rows[] = {
      {room, ""},
      {room + 1, warning + "cut: TOTAL\n"},
      {room + 2, warning + "not sent: TOTAL\n"},
      {room + 11, warning + "cut: PART; not sent: TOTAL\n"},
      {room + 12, warning + "not sent: PART and TOTAL\n"},
      {room + 20, warning + "cut: HostName; not sent: PART and TOTAL\n"},
      {room + 20 + host, warning + "not sent: HostName, PART and TOTAL\n"},
      {2039, warning + "cut: IncidentNumber; not sent: HostName, PART and TOTAL\n"},
      {5000, warning + "cut: IncidentNumber; not sent: HostName, PART and TOTAL\n"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(warningsOf({"list", "-i", std::string(row.digits, '7')}), row.warnings) << row.digits;
  }
}

TEST_F(CheckNotification, LogLine_IsToldWhereThereIsNone) {
  const std::string softwareLog =
      "list: warning: no path has .syslog.txt or .apllog.txt in it: the notification quotes "
      "\"Software Log\" instead of a line\n";
  const std::string empty = dir.write("a.apllog.txt", "# only\n");
  const std::string other = dir.write("b", "");
  const std::string fifo = dir / "fifo.syslog.txt";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const auto warnings = [this](const std::string& list) {
    dir.write("list", list);
    return warningsOf({"list", "-r", "event"});
  };
  EXPECT_EQ(warnings(other), softwareLog);
  EXPECT_EQ(warnings("\n" + other + "\n" + empty + "\n" + kExtract),
            "list:3: warning: \"" + empty + "\" has no line that the notification could quote\n");
  EXPECT_EQ(warnings(dir / "none.syslog.txt"),
            "list:1: warning: \"" + (dir / "none.syslog.txt") +
                "\" does not exist\nlist:1: warning: \"" + (dir / "none.syslog.txt") +
                "\" has no line that the notification could quote\n");
  EXPECT_EQ(warnings(kExtract + "\n" + fifo), "list:2: warning: \"" + fifo + "\" is a FIFO\n");
  EXPECT_EQ(sentFor(kEvent, fifo + "\n"),
            "list:1: warning: \"" + fifo + "\" is a FIFO\n" + "list:1: warning: \"" + fifo +
                "\" is a FIFO, and not opened here: the line that the notification quotes is not "
                "known\n"
                "sends an error event (0x40204) with 1 file of 0 bytes\n"
                "notification: not known\n"
                "file \"" +
                fifo +
                "\": 0 bytes\n"
                "result: accepted, 2 warnings\n");
}

TEST_F(CheckNotification, Bytes_AreReadable) {
  const std::string text = sentFor(eventWith("=disk", "=\xa4\xa2\\\x01"));
  EXPECT_NE(text.find(",,\"あ\\\\\\x01\",\"db01\","), std::string::npos) << text;
}

TEST_F(CheckNotification, ManyFiles_AreCounted) {
  std::string list;
  for (int i = 0; i < 1002; ++i) list += kExtract + "\n";
  dir.write("list", list);
  const Texts lines = linesOf(checked({"list", "-i", "1"}));
  ASSERT_EQ(lines.size(), 1000u + 1 + 2 + 1000 + 2);
  EXPECT_EQ(lines[1000], "... and 1 warning more");
  EXPECT_EQ(lines[1001], "sends an incident (0x40017) with 1002 files of 46092 bytes");
  EXPECT_EQ(lines[2003], "... and 2 files more");
  EXPECT_EQ(lines[2004], "result: accepted, 1001 warnings");
}

}  // namespace
