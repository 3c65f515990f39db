#ifndef TANEXICS_PROOF_FUZZ_TARGET_H
#define TANEXICS_PROOF_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

// The two functions by which libFuzzer, and replay.cpp in its place, drive a target.

/// Called once before the first input: sends the action log, without traces, to /dev/null. Its
/// texts are formatted all the same.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

/// Runs the code on one input, and ends the process by abort(3) when it breaks a promise. Returns
/// 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif
