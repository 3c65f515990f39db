#ifndef TANEXICS_PROOF_CHECK_DEMANDAGREEMENT_H
#define TANEXICS_PROOF_CHECK_DEMANDAGREEMENT_H

#include "check/agreement.h"
#include "fuzz/target.h"

/// Has a fuzz target demand that the checker says of the input what the command does.
inline void demandAgreement(const CheckInput& input) {
  const Texts differences = disagreements(input, check::reportOn(input.words, false));
  demandEqual(differences, Texts(), "the checker says what the command does");
}

#endif
