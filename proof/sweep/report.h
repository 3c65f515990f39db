#ifndef TANEXICS_PROOF_SWEEP_REPORT_H
#define TANEXICS_PROOF_SWEEP_REPORT_H

#include <cstdint>

#include "sweep/workers.h"

// What the programs of this folder print after their table, on standard output.

/// Each finding, with the line that tries it again; the first ones of very many.
void printFindings(const Tally& tally, const char* program);

/// The seed, and what it took: `seconds` on the clock, and the processor time of all processes.
void printEffort(std::uint32_t seed, unsigned jobs, double seconds);

/// "N passed, M failed". Returns whether nothing failed.
bool printClosingLine(const Tally& tally);

#endif
