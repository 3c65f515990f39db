// What a whole run says to the communication library: the input chooses the event's type, the
// number of files and the library's replies, and then gives the parameters and the bytes of the one
// file that there is, a log extract.

#include "fuzz/judges.h"
#include "fuzz/scratchfile.h"
#include "fuzz/target.h"
#include "support/FakeKelcom.h"
#include "support/testevent.h"

namespace {

constexpr const char* kFieldKeys[] = {"Time",   "",          "Label",   "HostName", "OSType",
                                      "OSName", "OSVersion", "PkgName", "MsgType",  "MsgID"};

std::string fieldText(const Params& params, const std::string& extract) {
  std::string text;
  for (const char* key : kFieldKeys) {
    text = withField(text, 897, *key == '\0' ? "" : params.at(key), /*comma=*/true);
  }
  return withField(text, 897, excerptOf(extract), /*comma=*/false);
}

std::string incidentText(const Params& params, std::size_t number, std::size_t count) {
  const std::string text = "INCNO=\"" + params.at("IncidentNumber") + "\",HOSTNAME=\"" +
                           params.at("HostName") + "\",PART=\"" + std::to_string(number) +
                           "\",TOTAL=\"" + std::to_string(count) + "\"";
  return text.substr(0, 2046);
}

/// The judge: the exchanges of a run on `files`, the first of which holds `extract`.
Texts exchangesOf(int type, const Params& params, const Texts& files, const std::string& extract) {
  const auto data = [](const std::string& head, const std::string& items) {
    return "Communicate(" + head + ", [" + items + "])";
  };
  if (type > 2) {
    std::string all;
    for (const std::string& file : files) all += (all.empty() ? "" : " ") + file;
    const std::string code = type == 3 ? "0x40204" : "0x40205";
    return {"Communicate(" + code + ", 0, 0, " + fieldText(params, extract) + ")",
            data("0x4010d, 0, " + std::to_string(files.size()), all)};
  }
  Texts exchanges;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string text = type == 1
                                 ? "0x40016, 0, 0, NULL"
                                 : "0x40017, 0, 0, " + incidentText(params, i + 1, files.size());
    exchanges.push_back("Communicate(" + text + ")");
    exchanges.push_back(data(type == 1 ? "0x4010a, 0, 1" : "0x4010b, 0, 1", files[i]));
  }
  return exchanges;
}

Texts exchangesAmong(const Texts& calls) {
  Texts exchanges;
  for (const std::string& call : calls) {
    if (call.compare(0, 11, "Communicate") == 0) exchanges.push_back(call);
  }
  return exchanges;
}

}  // namespace

void tryInput(Input input) {
  static const ScratchFile extract({"x.syslog.txt"});
  const int type = static_cast<int>(input.choice(4)) + 1;
  Texts files = {extract.folder() + "/x.syslog.txt"};
  for (unsigned more = input.choice(4); more > 0; --more) {
    files.push_back(extract.folder() + "/missing." + std::to_string(more));
  }
  FakeKelcom kelcom;
  const bool isFailing = input.choice(2) == 1;
  if (isFailing) kelcom.reply = {input.number(), input.number(), input.number()};

  TestEvent event(type, files);
  for (const char* key : kFieldKeys) {
    if (*key != '\0') event.m_params[key] = input.longWord();
  }
  event.m_params["IncidentNumber"] = input.longWord();
  const Params params = event.m_params;
  const std::string bytes = input.rest();
  extract.write(bytes);

  demandEqual(event.commonSendEvent(0, nullptr), 0, "no reply of the library fails the run");
  demandEqual(exchangesAmong(kelcom.calls), exchangesOf(type, params, files, bytes),
              "the notifications and the files of a run");
  demandEqual(event.m_params, params, "the parameters stay");
}
