#ifndef TANEXICS_RMGLIB_IEXTKELERROR_H
#define TANEXICS_RMGLIB_IEXTKELERROR_H

#include <iosfwd>
#include <list>
#include <string>

#include "rmglib/catalogue.h"

/// The extended error record of the last exchange with the support centre: what the communication
/// library returned, which agent behind it failed (mail or web), with which code, and what the mail
/// server said. It says this in one line for the action log, in several lines for a person, and in
/// four lines that can be read back.
///
/// A record is empty at first: all numbers 0, all texts empty. Whoever performs the exchange
/// derives from it and fills it. Nothing is logged here. Every operation reaches the others through
/// their virtual slots, so that a derived class can replace any of them; the order of the slots is
/// fixed.
class IExtKelError {
 public:
  virtual ~IExtKelError();

  /// Performs one exchange and keeps its outcome in the record. `param` is the request code, `b`
  /// the number of items at `data`, `a` a reserved word. Returns the communication library's
  /// result.
  virtual int Communicate(unsigned long param, int a, int b, void* data) = 0;

  /// Prints `code` in a line of its own, then the four lines of `e`, then an empty line, on
  /// standard output.
  virtual void reportResult(int code, IExtKelError& e);

  /// The mail server's message: 256 bytes that belong to the record. A message of 256 bytes fills
  /// them without a terminating zero; never read beyond them.
  virtual char* getLastSmtpMsg();

  /// The kind of the agent's error: 0 none, 1 SMTP, 2 HTTP.
  virtual int getLastZWErrType();

  /// The same as a constant text: "SMTP", "HTTP", and "" for every other value.
  virtual const char* getLastZWErrTypeStr();

  /// The agent's error code.
  virtual int getLastZWErrCode();

  /// The communication library's return code.
  virtual int getLastRMErrCode();

  /// What `lookup` says about the record; "" when the kind of the agent's error is 0. The text
  /// belongs to the record and stays valid until the next call of `toString` or `toString1line`.
  virtual const char* toString();

  /// The record in one line without line end, as the action log takes it:
  ///
  ///   (SMTP) RL:-74,ZW-Agent:-10,Mailsvr:"550 denied"
  ///
  /// "" when the kind of the agent's error is 0. Lifetime as of `toString`.
  virtual const char* toString1line();

  /// The message of a catalogue row in EUC-JP, each line ended by a line feed; for a row of kind 1
  /// or 2 followed by the heading of that kind and the mail server's message, each in a line of its
  /// own. An empty or null message of the row gives no line.
  virtual std::string formatExtRMError(EXTERR& row);

  /// What the catalogue says about a key, in EUC-JP: "(TYPE) ", the formatted row (the rows, if
  /// several have the key), and a last line with both numbers:
  ///
  ///   RL:-79,ZW-Agent:-25
  ///
  /// `type`  "HTTP" or "SMTP"; any other text has no rows, and null counts as empty.
  /// `rl`    return code of the communication library.
  /// `code`  the agent's error code.
  ///
  /// A key without rows is no error: the text then consists of its first and last part. A web
  /// status above 258 ("HTTP", -52) is explained by the rows kept for 259.
  virtual std::string lookup(const char* type, int rl, int code);

  /// Sets the fields from up to four texts: return code, kind of error, agent's code (each as
  /// atoi(3) takes it, so that a text without a number is 0) and the mail server's message, of
  /// which the first 256 bytes are kept. Fields without a text stay as they are; further texts are
  /// ignored.
  virtual void setData(std::list<std::string> values);

 protected:
  int m_lastRMErrCode = 0;       ///< return code of the communication library
  int m_lastZWErrType = 0;       ///< kind of the agent's error
  int m_lastZWErrCode = 0;       ///< the agent's error code
  char m_lastSmtpMsg[256] = {};  ///< the mail server's message, not always terminated
  std::string m_text;            ///< what `toString` and `toString1line` gave last
};

/// Writes the record: return code, kind of error, agent's code and the mail server's message, each
/// followed by a line feed. The numbers are decimal, whatever the stream's own format. Stops at the
/// first line that the stream does not take.
std::ostream& operator<<(std::ostream& out, IExtKelError& record);

/// Reads what `operator<<` wrote: up to four lines. After each, all that have been read are given
/// to `setData`, so that a stream that throws leaves what stood before in the record. A last line
/// without line end counts. Reading stops when the stream is no longer good, and at a
/// line that does not fit into 4,096 bytes with its terminating zero, which fails the stream (see
/// std::istream::getline): that field and the later ones then stay as they were. A line ends at its
/// first zero byte, too.
std::istream& operator>>(std::istream& in, IExtKelError& record);

#endif
