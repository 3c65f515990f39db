#include "log/loglines.h"

#include <gtest/gtest.h>

#include <string>

#include "log/CLog.h"
#include "support/actionlog.h"

namespace {

TEST(LogLines, EveryShape_IsWrittenButForTraceAtInformationLevel) {
  Texts expected = {"[T](SendEventBase:73):trace 1 of it", "[I](CTemp:132):info 2%",
                    "[I](common:602):invalid param", "VUQ90004L : com=echo 100%d"};
  for (const auto level : {CapturedLog::Level::kTrace, CapturedLog::Level::kInfo}) {
    const CapturedLog log(level);
    traceAt("SendEventBase", 73, "trace %d of %s", 1, "it");
    infoAt("CTemp", 132, "info %d%%", 2);
    invalidParamAt("common", 602);
    infoNumbered("VUQ90004L", "com=%s", "echo 100%d");
    EXPECT_EQ(log.texts(), expected);
    expected.erase(expected.begin());
  }
}

TEST(LogLines, TextsOfEveryLength_AreCutWhereTheWholeLineIs) {
  CapturedLog log(CapturedLog::Level::kTrace);
  for (std::size_t length = 0; length <= 2060; length += length == 0 ? 2020 : 1) {
    const std::string text(length, 'x');
    traceAt("common", 1345, "%s", text.c_str());
    infoAt("common", 1345, "%s", text.c_str());
    infoNumbered("VUQ90004L", "%s", text.c_str());
    const Texts shaped = log.take();
    gLog.ilog("%s", ("[T](common:1345):" + text).c_str());
    gLog.ilog("%s", ("[I](common:1345):" + text).c_str());
    gLog.ilog("%s", ("VUQ90004L : " + text).c_str());
    EXPECT_EQ(shaped, log.take()) << length;
  }
}

}  // namespace
