#ifndef TANEXICS_OUTCOME_EXPLANATION_H
#define TANEXICS_OUTCOME_EXPLANATION_H

#include <string>
#include <vector>

namespace outcome {

/// What the command's message catalogue says about an exchange, in UTF-8, for a person to read: the
/// lines of `IExtKelError::toString`, line ends removed. The stand-in library has no message of a
/// mail server to hand back; its line, where the catalogue has one, is empty.
///
/// `result`     what the library returned.
/// `errorType`  the kind of the agent's error; there is no line when it is 0.
/// `agentCode`  the agent's error code.
std::vector<std::string> explanationLines(int result, int errorType, int agentCode);

}  // namespace outcome

#endif
