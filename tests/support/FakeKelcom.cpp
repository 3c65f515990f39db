#include "support/FakeKelcom.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "rmglib/kelcom.h"

namespace {

FakeKelcom* current = nullptr;

/// The current fake, told of the call. A call without one is a mistake of the test.
FakeKelcom& enter(const char* call, const std::string& arguments) {
  if (current == nullptr) {
    std::fprintf(stderr, "KEL_%s without a FakeKelcom\n", call);
    std::abort();
  }
  current->calls.push_back(call + arguments);
  if (current->onCall) current->onCall(call);
  return *current;
}

std::string exchangeText(unsigned code, int reserved, int count, const void* data) {
  char head[64];
  std::snprintf(head, sizeof head, "(0x%x, %d, %d, ", code, reserved, count);
  std::string text = head;
  if (count == 0) return text + (data == nullptr ? "NULL" : static_cast<const char*>(data)) + ")";
  const auto* paths = static_cast<const char* const*>(data);
  for (int i = 0; i < count; ++i) text += (i == 0 ? "[" : " ") + std::string(paths[i]);
  return text + "])";
}

}  // namespace

FakeKelcom::FakeKelcom() { current = this; }

FakeKelcom::~FakeKelcom() {
  if (current == this) current = nullptr;
}

int KEL_StartComm(int mode, int* value) {
  FakeKelcom& fake = enter("StartComm", "(" + std::to_string(mode) + ")");
  fake.startValue = *value;
  return fake.startResult;
}

int KEL_StopComm() { return enter("StopComm", "").stopResult; }

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  FakeKelcom& fake = enter("Communicate", exchangeText(code, reserved, count, data));
  const FakeKelcom::Reply reply = fake.onCommunicate ? fake.onCommunicate(code) : fake.reply;
  int* words = static_cast<int*>(error);
  std::copy(words, words + 3, fake.errorBefore);
  if (fake.storesError) {
    words[0] = reply.type;
    words[1] = reply.agentCode;
  }
  return reply.result;
}

int KEL_GetID(int* id) {
  FakeKelcom& fake = enter("GetID", "");
  if (fake.storesId) *id = fake.id;
  return fake.idResult;
}

int KEL_GetStatus(int reserved, int* status) {
  FakeKelcom& fake = enter("GetStatus", "(" + std::to_string(reserved) + ")");
  *status = fake.status;
  return fake.statusResult;
}
