#ifndef TANEXICS_TESTS_SUPPORT_DEFINITIONERRORS_H
#define TANEXICS_TESTS_SUPPORT_DEFINITIONERRORS_H

#include <string>

// How the texts end in which the action log names what is wrong with a definition file.

inline const std::string kNotFound = " not found.(CSendEventBase::parseMsgCommon)";
inline const std::string kOpenError = " open error.(CSendEventBase::parseMsgCommon)";
inline const std::string kReadError = " read error.(CSendEventBase::parseMsgCommon)";
inline const std::string kFormatError = " format error.(CSendEventBase::parseMsgCommon)";
inline const std::string kKeywordError = " Keyword error.(CSendEventBase::parseMsgCommon)";
inline const std::string kValueError = " value error.(CSendEventBase::parseMsgCommon)";
inline const std::string kParameterError = " parameter error.(CSendEventBase::parseTanexMsg)";

#endif
