#ifndef TANEXICS_RMGLIB_KELCOM_H
#define TANEXICS_RMGLIB_KELCOM_H

// The maker's closed communication library, libkelcom. Only its binary exists: these declarations
// are all that is known of it. Every call returns 0 for success; the meaning of any other result is
// the library's own.

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
///             error (0 none, 1 SMTP, 2 HTTP), the agent's error code, and a word nobody reads.
int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error);

/// Stores the machine identifier.
int KEL_GetID(int* id);

/// Stores the connection status word. `reserved` is always 0.
int KEL_GetStatus(int reserved, int* status);
}

#endif
