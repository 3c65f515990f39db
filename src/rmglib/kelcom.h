#ifndef TANEXICS_RMGLIB_KELCOM_H
#define TANEXICS_RMGLIB_KELCOM_H

// The maker's closed communication library, libkelcom. Only its binary exists: these declarations
// are all that is known of it. Every call returns 0 for success; the meaning of any other result is
// the library's own.
//
// The numbers are those of the library and of the centre: nothing here follows from anything else,
// and none of them may change. A number that is not listed has no known meaning.

// Connection status words, as `KEL_GetStatus` stores them.
constexpr int kKelOperating = 0x20;
constexpr int kKelMaintenance = 0x10000;
constexpr int kKelStopped = 0x20000;
constexpr int kKelMaintenanceStop = 0x30000;

// Types of an agent error, as `KEL_Communicate` stores them: which of the centre's agents, the one
// for mail or the one for the web, has failed.
constexpr int kKelNoAgentError = 0;
constexpr int kKelSmtpError = 1;
constexpr int kKelHttpError = 2;

// Request codes, as `KEL_Communicate` takes them: the notification of each type of event, and the
// transfer of its files.
constexpr unsigned kKelNotifyType1 = 0x40016;
constexpr unsigned kKelNotifyIncident = 0x40017;
constexpr unsigned kKelNotifyErrorEvent = 0x40204;
constexpr unsigned kKelNotifyOtherEvent = 0x40205;
constexpr unsigned kKelDataType1 = 0x4010a;
constexpr unsigned kKelDataIncident = 0x4010b;
constexpr unsigned kKelDataEvent = 0x4010d;

extern "C" {

/// Opens communication with the support centre. `mode` is always 0, the synchronous mode that the
/// action log calls RM_MODE_SYNC; `value` points to a word that is 0 and is not read afterwards.
int KEL_StartComm(int mode, int* value);

/// Closes communication.
int KEL_StopComm(void);

/// One exchange with the centre.
///
/// `code`      the request code.
/// `reserved`  always 0.
/// `count`     0: `data` is a zero-terminated text, or null. n > 0: `data` points to n consecutive
///             `char*` path names of files to send.
/// `error`     points to three signed 32-bit words that the library fills: the type of an agent
///             error, the agent's error code, and a word nobody reads.
int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error);

/// Stores the machine identifier.
int KEL_GetID(int* id);

/// Stores the connection status word. `reserved` is always 0.
int KEL_GetStatus(int reserved, int* status);
}

#endif
