#ifndef TANEXICS_PROOF_CHECK_RECORDED_H
#define TANEXICS_PROOF_CHECK_RECORDED_H

#include "check/agreement.h"

/// The programs that are run.
struct Programs {
  std::string command;
  std::string checker;
  std::string libraryFolder;  ///< of the stand-in of the communication library
};

/// What one input has come to.
struct Recorded {
  bool isAccepted = false;  ///< by the command
  Texts differences;        ///< of what the checker has said from what was recorded
};

/// Has the checker look at the input, and then runs the command on it. Compares the checker's
/// `result`, `status`, `notification`, `cut` and `files` with the status of the command and with
/// the record of the stand-in.
///
/// `outbox`  a path that does not exist yet, and does again not afterwards.
Recorded runRecorded(const Programs& programs, const CheckInput& input, const std::string& outbox);

#endif
