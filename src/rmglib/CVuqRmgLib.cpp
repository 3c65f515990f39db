#include "rmglib/CVuqRmgLib.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "common/base/format.h"
#include "rmglib/kelcom.h"

const char* REPRESENTLIB = "/opt/QZKBkel/lib/libkelcom.so";

namespace {

constexpr int kSynchronousMode = 0;

constexpr int kNoFuncEntry = 33;

/// The extended error block of an exchange, as the closed library fills it.
struct ErrorBlock {
  int type;
  int code;
  int unused;
};

}  // namespace

bool isKelExist() {
  struct stat status = {};
  return REPRESENTLIB != nullptr && ::stat(REPRESENTLIB, &status) == 0 && !S_ISDIR(status.st_mode);
}

MLog::~MLog() = default;

void MLog::LOGDEBUG(std::string msg) { LOGDEBUG(C(msg)); }

void MLog::LOGDEBUG(const char* msg) { std::fprintf(stderr, "%s\n", msg == nullptr ? "" : msg); }

int CVuqRmgLibImpl::RM_StartComm(int& x) { return KEL_StartComm(kSynchronousMode, &x); }

int CVuqRmgLibImpl::RM_StopComm() { return KEL_StopComm(); }

int CVuqRmgLibImpl::RM_Communicate(unsigned long param, int a, int b, void* data, void* err) {
  return KEL_Communicate(static_cast<unsigned int>(param), a, b, data, err);
}

int CVuqRmgLibImpl::RMG_GetStatus(int& st) { return KEL_GetStatus(0, &st); }

int CVuqRmgLibImpl::RMG_GetID(char* buf) {
  int id = 0;
  const int result = KEL_GetID(&id);
  if (buf != nullptr) std::snprintf(buf, kRmgIdBytes, "%d", id);
  return result;
}

ICVuqRmgLib::~ICVuqRmgLib() = default;

bool ICVuqRmgLib::isDovraInstalled() {
  m_flags[4] = isKelExist();
  return m_flags[4];
}

int ICVuqRmgLib::loadLibrary(const char* /*path*/) { return 0; }
void ICVuqRmgLib::scenarioLoadLibraries() {}
void ICVuqRmgLib::scenarioUnloadLibraries() {}

const char* CVuqRmgLib::FailRM_StartCommException::what() const noexcept {
  return "FailRM_StartCommException";
}

CVuqRmgLib::CVuqRmgLib() : m_machineID(), m_lastStatus(0), m_startedCom(false) {}

CVuqRmgLib::~CVuqRmgLib() {
  if (!m_startedCom) return;
  try {
    CVuqRmgLib::stopCom();
  } catch (int) {
    // The run has its result by now, and nobody above a destructor could be told of another.
  }
}

int CVuqRmgLib::GetStatus(int& st) {
  const int result = RMG_GetStatus(st);
  m_lastStatus = st;
  return result;
}

bool CVuqRmgLib::queryConnection(int& st) { return GetStatus(st) == 0; }

bool CVuqRmgLib::isInState(int word) {
  int st = 0;
  return queryConnection(st) && st == word;
}

bool CVuqRmgLib::isOperate() { return isInState(kKelOperating); }
bool CVuqRmgLib::isMaintenance() { return isInState(kKelMaintenance); }
bool CVuqRmgLib::isStop() { return isInState(kKelStopped); }
bool CVuqRmgLib::isMaintenanceStop() { return isInState(kKelMaintenanceStop); }

int CVuqRmgLib::getLastStatus() { return m_lastStatus; }

void CVuqRmgLib::startCom() {
  try {
    int value = 0;
    const int result = RM_StartComm(value);
    if (result != 0) throw FailRM_StartCommException(result);
    m_startedCom = true;
  } catch (const FailRM_StartCommException&) {
    throw;
  } catch (...) {
    // Callers rely on the one exception: with any other, nobody knows whether the line is open.
    std::terminate();
  }
}

void CVuqRmgLib::stopCom() {
  RM_StopComm();
  m_startedCom = false;
}

int CVuqRmgLib::sendNotify(unsigned long param, char* data, char* /*reply*/) {
  return Communicate(param, 0, 0, data);
}

int CVuqRmgLib::sendData(unsigned long param, void* list, int count, char* /*reply*/) {
  return Communicate(param, 0, count, list);
}

int CVuqRmgLib::Communicate(unsigned long param, int a, int b, void* data) {
  m_lastRMErrCode = 0;
  std::memset(m_lastSmtpMsg, 0, sizeof m_lastSmtpMsg);
  m_lastZWErrType = 0;
  m_lastZWErrCode = 0;

  ErrorBlock block = {};
  const int result = RM_Communicate(param, a, b, data, &block);
  m_lastRMErrCode = result;
  m_lastZWErrType = block.type;
  m_lastZWErrCode = block.code;
  return result;
}

void CVuqRmgLib::setMailTimeout(int /*seconds*/) {}
void CVuqRmgLib::setEnv() {}

std::string CVuqRmgLib::to_s() {
  return format(
      "\n"
      "    m_machineID       = %s\n"
      "    m_lastStatus      = %d\n"
      "    m_startedCom      = %s\n",
      m_machineID, m_lastStatus, m_startedCom ? "true" : "false");
}

int CVuqRmgLib::GetID(char* buf) { return RMG_GetID(buf); }

char* CVuqRmgLib::getMachineID() {
  std::memset(m_machineID, 0, sizeof m_machineID);
  GetID(m_machineID);
  return m_machineID;
}

int CVuqRmgLib::html_CheckUrl(int) { return 0; }
int CVuqRmgLib::CheckUrl(int) { return 0; }
int CVuqRmgLib::getCenterCode() { return 0; }

void* CVuqRmgLib::getFuncEntry(const char* /*name*/) { throw kNoFuncEntry; }
