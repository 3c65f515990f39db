#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "e2e/support/expected.h"
#include "support/scratch.h"
#include "tools/rehearse/json.h"

namespace {

using Json = nlohmann::ordered_json;

TEST(MakeJson, Everything_IsThereWithWhatCannotBeShownEscaped) {
  const RehearsalFolder folder("");
  std::filesystem::create_directory(folder.path() + "/items");
  std::ofstream(folder.path() + "/items/0001-a") << "12345";
  std::ofstream(folder.record())
      << getId() + notify("0x40017", "t\\\\ \\xc6 \x1b \xe6\x97\xa5", {-62, 2, 54}) +
             sendItems("0x4010b", {{"/a\\xff", "=items/0001-a"},
                                   {"/b", "=items/gone"},
                                   {"/c", "No such file or directory"}})
      << R"({"call":"KEL_Communicate","text":null,"items":[{"path":null}]})"
         "\nno call \xc6\n[1]\n";
  std::ofstream(folder.actionLogBackup()) << "old\n";
  std::ofstream(folder.actionLog()) << "new \xc6\x07\\";
  Judgement judgement = {outcome::Verdict::kRefused, "why \xc6", outcome::Verdict::kRefused,
                         outcome::Verdict::kUnknown, "open"};
  const std::string text = makeJson(folder, SIGINT, judgement);
  EXPECT_EQ(text.find('\n'), std::string::npos);
  const Json expected = Json::parse(R"json({
    "calls": [
      {"call": "KEL_GetID", "id": 4711, "result": 0},
      {"call": "KEL_Communicate", "code": "0x40017", "count": 0, "error": [2, 54, 0],
       "reserved": 0, "result": -62, "text": "t\\\\ \\xc6 \\x1b 日"},
      {"call": "KEL_Communicate", "code": "0x4010b", "count": 3, "error": [0, 0, 0],
       "items": [{"copy": "items/0001-a", "path": "/a\\xff"},
                 {"copy": "items/gone", "path": "/b"},
                 {"error": "No such file or directory", "path": "/c"}],
       "reserved": 0, "result": 0},
      {"call": "KEL_Communicate", "text": null, "items": [{"path": null}]},
      {"unreadable": "no call \\xc6"},
      {"unreadable": "[1]"}],
    "texts": ["t\\\\ \\xc6 \\x1b 日"],
    "files": [
      {"path": "/a\\xff", "bytes": 5, "copy": "items/0001-a", "error": null},
      {"path": "/b", "bytes": null, "copy": "items/gone", "error": null},
      {"path": "/c", "bytes": null, "copy": null, "error": "No such file or directory"},
      {"path": null, "bytes": null, "copy": null, "error": null}],
    "log": ["old", "new \\xc6\\x07\\\\"],
    "status": 130,
    "ended": "none: ended by signal 2 (Interrupt)",
    "verdict": "refused",
    "reason": "why \\xc6",
    "judged": {"record": "refused", "log": "unknown", "agree": true, "openInRecord": null,
               "openInLog": "open"},
    "outbox": null})json");
  EXPECT_EQ(Json::parse(text).dump(1), expected.dump(1));
}

TEST(MakeJson, RunThatLeftNothing_HasAllFields) {
  const RehearsalFolder folder("");
  Judgement judgement;
  judgement.isContradiction = true;
  EXPECT_EQ(makeJson(folder, 0, judgement),
            R"({"calls":[],"texts":[],"files":[],"log":[],"status":0,)"
            R"("ended":"0: the event was parsed, and nothing failed that the status tells of",)"
            R"("verdict":"unknown","reason":"","judged":{"record":"unknown","log":"unknown",)"
            R"("agree":false,"openInRecord":null,"openInLog":null},"outbox":null})");
}

TEST(MakeJson, KeptOutbox_IsNamed) {
  const ScratchDir scratch;
  const RehearsalFolder folder(scratch / "kept");
  EXPECT_EQ(Json::parse(makeJson(folder, 0, {}))["outbox"], scratch / "kept");
}

}  // namespace
