#ifndef TANEXICS_OUTCOME_EXPLAIN_H
#define TANEXICS_OUTCOME_EXPLAIN_H

#include <string>
#include <vector>

#include "tools/outcome/run.h"

namespace outcome {

// What the numbers of an action log mean, in UTF-8 and ready to be printed. The status words, the
// message numbers and the positions are the tables of docs/support.md, read when this was built;
// the exit statuses are those of sendevent/exitstatus.h, the errors the command's message
// catalogue.

/// The explanations of `word`, a sentence each; none where it is unknown. A word is
///
///   131072, 0x20000                  a status word of the line to the centre
///   exit/78                          an exit status: the log's, or a shell's
///   -62/54, HTTP/-62/54              the library's result and the agent's code, of every agent or
///   one (HTTP) RL:-62,ZW-Agent:54,...    the same as the log has it, to its last quote VUQ90103L
///   a message number common:602, (common:602)         a position; common.cpp:19 is one on standard
///   error
std::vector<std::string> explain(const std::string& word);

/// What there is to explain of `run`, each sentence once: its exit status, the status word that
/// kept it from sending, what the catalogue says of the errors of its exchanges (with the mail
/// server's message, where the text leads up to one), and the message numbers of its lines, where
/// it has them.
std::vector<std::string> explanationsOf(const Run& run);

}  // namespace outcome

#endif
