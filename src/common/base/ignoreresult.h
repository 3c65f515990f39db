#ifndef TANEXICS_COMMON_BASE_IGNORERESULT_H
#define TANEXICS_COMMON_BASE_IGNORERESULT_H

/// Takes the result of a call that changes nothing whichever way it ends; the call says why. GCC
/// accepts no cast to void where the C library wants a result looked at.
template <class Result>
void ignoreResult(const Result& /*result*/) {}

#endif
