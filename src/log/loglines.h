#ifndef TANEXICS_LOG_LOGLINES_H
#define TANEXICS_LOG_LOGLINES_H

// The line shapes that every unit writes the action log through.
//
// A position is a unit's name and a number, such as ("common", 602): support staff look messages up
// by it, so it is written where the line is logged and never changes, whatever becomes of the file.
// The formats are those of printf(3). The whole line is cut as `CLog::ilog` says.

/// Writes "[T](UNIT:NUMBER):TEXT" at trace level; without trace nothing is formatted.
void traceAt(const char* unit, int number, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

/// Writes "[I](UNIT:NUMBER):TEXT" at information level.
void infoAt(const char* unit, int number, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

/// Writes "[I](UNIT:NUMBER):invalid param", the line of a caller's null argument.
void invalidParamAt(const char* unit, int number);

/// Writes "ID : TEXT" at information level. `id` is a message number of the form VUQ90001L.
void infoNumbered(const char* id, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

#endif
