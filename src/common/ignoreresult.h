#ifndef TANEXICS_COMMON_IGNORERESULT_H
#define TANEXICS_COMMON_IGNORERESULT_H

/// Takes the result of a call that changes nothing whichever way it ends; the call says why. The
/// compilers accept no cast to void for calls whose result they want looked at.
template <class Result>
void ignoreResult(const Result& /*result*/) {}

#endif
