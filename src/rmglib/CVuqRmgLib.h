#ifndef TANEXICS_RMGLIB_CVUQRMGLIB_H
#define TANEXICS_RMGLIB_CVUQRMGLIB_H

#include <cstddef>
#include <exception>
#include <string>
#include <vector>

#include "rmglib/IExtKelError.h"

/// The closed library's file: "/opt/QZKBkel/lib/libkelcom.so" until somebody lets it point
/// elsewhere. The text is the caller's to keep.
extern const char* REPRESENTLIB;

/// The room that `RMG_GetID` is given for a machine identifier.
constexpr std::size_t kRmgIdBytes = 4096;

/// Whether the file that REPRESENTLIB names exists and is not a directory; false for null.
bool isKelExist();

/// Debug output, to standard error.
class MLog {
 public:
  virtual ~MLog();

  /// Writes `msg` and a line feed. The text form calls the pointer form, for which null counts as
  /// an empty text.
  virtual void LOGDEBUG(std::string msg);
  virtual void LOGDEBUG(const char* msg);
};

/// Access to further calls of the closed library by their name.
class ICVuqRmg {
 public:
  /// The call of that name; what is to be called is the caller's knowledge.
  virtual void* getFuncEntry(const char* name) = 0;

 protected:
  ~ICVuqRmg() = default;  // an object is never destroyed through this interface
};

/// The closed library's calls, one by one, and nothing else. Every result is the library's own, 0
/// for success; whatever the library throws passes through.
class CVuqRmgLibImpl : public MLog, protected ICVuqRmg {
 public:
  /// Opens communication in the synchronous mode. `x` is handed to the library.
  int RM_StartComm(int& x);

  /// Closes communication.
  int RM_StopComm();

  /// One exchange; see KEL_Communicate in rmglib/kelcom.h for the shape of `data` and `err`, which
  /// is the block of three words.
  ///
  /// `param`  the request code, of which the library takes the low 32 bits.
  /// `a`      always 0.
  /// `b`      the number of path names that `data` points to, 0 for a text.
  int RM_Communicate(unsigned long param, int a, int b, void* data, void* err);

  /// Asks for the connection status word; `st` stays as it was where the library stores none.
  virtual int RMG_GetStatus(int& st);

  /// Asks for the machine identifier and writes it into `buf` in decimal, whatever the result is;
  /// "0" where the library stores none. `buf`: at least `kRmgIdBytes` bytes, or null to write
  /// nothing.
  virtual int RMG_GetID(char* buf);
};

/// Loading of the closed library: kept as an interface, since the loader does the work.
class ICVuqRmgLib {
 public:
  virtual ~ICVuqRmgLib();

  /// Whether the closed library is installed, as `isKelExist` says; the answer is remembered.
  virtual bool isDovraInstalled();

  /// Does nothing and returns 0.
  virtual int loadLibrary(const char* path);

  /// These two do nothing.
  virtual void scenarioLoadLibraries();
  virtual void scenarioUnloadLibraries();

 private:
  bool m_flags[5] = {};  // only the last has a meaning: what isDovraInstalled found
  std::vector<void*> m_libraries;
};

/// The one object through which the command talks to the support centre.
///
/// An instance lives on the stack of the function that uses it, for one thread. It keeps the
/// machine identifier, the last connection status and, in its base, the error record of the last
/// exchange. Status queries and exchanges may be made at any time: the library decides whether they
/// succeed. Communication that was started is stopped by the destructor at the latest.
///
/// All virtual operations call each other through their slots, so that a derived class can replace
/// any of them, but for the destructor's stop; whatever the closed library throws passes through
/// unless stated otherwise.
class CVuqRmgLib : public CVuqRmgLibImpl, public ICVuqRmgLib, public IExtKelError {
 public:
  /// A failure of the client, with the code that the closed library gave for it.
  class CVuqRmgLibException : public std::exception {
   public:
    /// `code`: what the closed library returned.
    explicit CVuqRmgLibException(int code) : m_code(code) {}

    /// That code.
    virtual int code() const { return m_code; }

   private:
    int m_code;
  };

  /// The start of communication was refused.
  class FailRM_StartCommException : public CVuqRmgLibException {
   public:
    /// As the constructor of the base.
    using CVuqRmgLibException::CVuqRmgLibException;

    /// "FailRM_StartCommException".
    const char* what() const noexcept override;
  };

  /// The environment setting was refused.
  class FailRM_SetEnvException : public CVuqRmgLibException {
   public:
    /// As the constructor of the base.
    using CVuqRmgLibException::CVuqRmgLibException;
  };

  /// The status query was refused.
  class FailGetStatusRmsLibException : public CVuqRmgLibException {
   public:
    /// As the constructor of the base.
    using CVuqRmgLibException::CVuqRmgLibException;
  };

  /// The code of the support centre is not known.
  class UnsupportCenterCodeException : public CVuqRmgLibException {
   public:
    /// As the constructor of the base.
    using CVuqRmgLibException::CVuqRmgLibException;
  };

  CVuqRmgLib();

  /// Stops communication where it is still marked as started. An integer that the library throws at
  /// this is dropped, as the result of every stop is; anything else ends the process.
  ~CVuqRmgLib() override;

  CVuqRmgLib(const CVuqRmgLib&) = delete;
  CVuqRmgLib& operator=(const CVuqRmgLib&) = delete;

  /// Asks for the status word and remembers it, also when the query failed. Returns the result of
  /// the query.
  virtual int GetStatus(int& st);

  /// Whether `GetStatus` succeeded.
  virtual bool queryConnection(int& st);

  /// Each of these makes a status query of its own and is true when that succeeded with exactly the
  /// status word of its state.
  virtual bool isOperate();
  virtual bool isMaintenance();
  virtual bool isStop();
  virtual bool isMaintenanceStop();

  /// The status word of the last query, 0 before the first.
  virtual int getLastStatus();

  /// Starts communication; throws FailRM_StartCommException with the library's result when it is
  /// refused. Anything else thrown inside ends the process by std::terminate.
  virtual void startCom();

  /// Stops communication. The library's result is dropped.
  virtual void stopCom();

  /// Sends a notification: `data` is its text, or null. `reply` is not used. Returns the library's
  /// result, which the error record keeps.
  virtual int sendNotify(unsigned long param, char* data, char* reply);

  /// Sends files: `list` points to `count` consecutive `char*` path names. Otherwise as
  /// `sendNotify`.
  virtual int sendData(unsigned long param, void* list, int count, char* reply);

  /// One exchange (see `RM_Communicate`), whose outcome replaces the error record; it is empty when
  /// the library throws. Returns the library's result.
  int Communicate(unsigned long param, int a, int b, void* data) override;

  /// Does nothing.
  virtual void setMailTimeout(int seconds);

  /// Does nothing; a derived class may throw the exceptions above.
  virtual void setEnv();

  /// The state of the object for a person: an empty line, then identifier, status and whether
  /// communication is started, a line each.
  virtual std::string to_s();

  /// As `RMG_GetID`.
  virtual int GetID(char* buf);

  /// The machine identifier in decimal, asked for anew; "0" where the library has none. The text
  /// belongs to this object and changes at the next call.
  virtual char* getMachineID();

  /// These three return 0.
  virtual int html_CheckUrl(int);
  virtual int CheckUrl(int);
  virtual int getCenterCode();

  /// Throws the integer 33: the library has no further calls.
  void* getFuncEntry(const char* name) override;

 private:
  bool isInState(int word);

  char m_machineID[kRmgIdBytes];
  int m_lastStatus;
  bool m_startedCom;
};

#endif
