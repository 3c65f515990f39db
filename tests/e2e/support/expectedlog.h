#ifndef TANEXICS_TESTS_E2E_SUPPORT_EXPECTEDLOG_H
#define TANEXICS_TESTS_E2E_SUPPORT_EXPECTEDLOG_H

#include <string>
#include <vector>

// Stretches of an action log that come again from run to run, as `RunResult::log` has them.

/// The messages, a line feed after each.
std::string lines(const std::vector<std::string>& messages);

/// The whole log of a run: `body` between the start line and the two lines at the end.
std::string framed(const std::string& body, int status, const std::string& argument0 = "tanexics");

/// The same for a run that ends with one message of its own.
std::string rejected(const std::string& message, int status = 68);

/// The host name is asked for.
std::string hostNameLines(bool trace = false);

/// A wait status is decoded, at trace level; `exitStatus` 0 to 255.
std::string decodedStatus(int exitStatus = 0);

/// The two collection commands run on a directory in `parent`, which is removed again.
std::string collectionLines(bool trace = false, const std::string& parent = "/tmp");

/// The temporary directory is made, and nothing more.
std::string tempDirLines(bool trace = false, const std::string& parent = "/tmp");

/// The temporary directory is removed, at trace level.
std::string removalLines(const std::string& parent = "/tmp");

/// The parameters of the event definition that a `Machine` comes with, at trace level.
std::string parameterLines(const std::string& sendType = "err");

/// One file is measured, at trace level.
std::string measured(const std::string& total, const std::string& path, const std::string& size);

/// All files are measured, at trace level.
std::string measuredAll(const std::string& total);

/// The three files that a `Machine` comes with are measured, at trace level.
std::string measuredStandard();

/// Communication is started.
std::string startedLine();

/// One pair of exchanges of an incident, of the loop's pass `part` of `total`.
std::string incidentPart(const std::string& number, int part, int total, const std::string& path);

/// The one pair of exchanges of an event.
std::string eventPart(const std::string& notification, const std::string& text, int total,
                      const std::string& firstPath);

/// The three pairs of exchanges of an incident with the files that a `Machine` comes with.
std::string standardParts(const std::string& number = "1");

/// Such an incident from the first line of its own to the end of its transmission.
std::string standardIncident(bool trace = false, const std::string& number = "1");

/// The same of the event that a `Machine` comes with.
std::string standardEvent(bool trace = false);

/// The call of an exchange is over.
std::string done(int code = 0, const std::string& message = "");

/// The notification text of incident `number`.
std::string incidentText(const std::string& number, int part, int total);

/// The notification text of the event that a `Machine` comes with.
std::string eventText(const std::string& excerpt = "Jan  1 host msg");

/// The same with an empty excerpt.
std::string eventTextWithoutExcerpt();

#endif
