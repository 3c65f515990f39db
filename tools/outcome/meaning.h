#ifndef TANEXICS_OUTCOME_MEANING_H
#define TANEXICS_OUTCOME_MEANING_H

#include <string>

#include "sendevent/exitstatus.h"

namespace outcome {

// What the numbers of a run mean, in words of the language that is spoken.

/// A request code of the centre.
std::string requestMeaning(unsigned code);

/// A connection status word.
std::string statusMeaning(int word);

/// The kind of an agent error: "SMTP", "HTTP", or the number.
std::string agentMeaning(int type);

/// An exit status that the command gives itself, or the library.
std::string exitMeaning(int status);

/// The same; `other` for one that the command does not give itself.
std::string exitMeaning(int status, const std::string& other);

/// How a run ended, by its raw wait status (see wait(2)), with number and words.
std::string endMeaning(int waitStatus);

/// The exit status that passes `waitStatus` on: the command's own, or 128 and the number of the
/// signal that ended it, as the shell has it.
int passedOn(int waitStatus);

}  // namespace outcome

#endif
