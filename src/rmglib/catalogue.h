#ifndef TANEXICS_RMGLIB_CATALOGUE_H
#define TANEXICS_RMGLIB_CATALOGUE_H

// The types of the agents, as the rows and the action log name them.
constexpr char kSmtpType[] = "SMTP";
constexpr char kHttpType[] = "HTTP";

/// Both codes of the row that closes the catalogue.
constexpr int kClosingCode = 9999;

/// One row of the message catalogue: what is said about one error of the centre's agent.
struct EXTERR {
  const char* type;     ///< the agent's type, `kHttpType` or `kSmtpType`
  int rc;               ///< return code of the communication library
  int code;             ///< the agent's error code
  int kind;             ///< 0 plain; 1, 2: the message of the SMTP, POP3 server follows the text
  const char* message;  ///< EUC-JP, lines separated by a line feed, none after the last
};

// The catalogue itself is written in catalogue.txt; the build turns it into these constants. All
// pointers are to constant data, never null, and valid for the whole run.

/// The first row of the catalogue. The rows follow each other in the order in which they are
/// searched; a closing row, which is none of the catalogue, ends them (see `isClosingRow`).
const EXTERR* catalogueRows();

/// Whether `row` is the closing row: return code and agent code `kClosingCode`, kind 0, type and
/// message empty.
bool isClosingRow(const EXTERR& row);

/// The line that announces the mail server's message after the text of a row of this kind (EUC-JP,
/// no line feed at its end); "" for kind 0 and every kind that announces none.
const char* catalogueHeading(int kind);

#endif
