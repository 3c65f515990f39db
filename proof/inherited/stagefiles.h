#ifndef TANEXICS_PROOF_INHERITED_STAGEFILES_H
#define TANEXICS_PROOF_INHERITED_STAGEFILES_H

#include <cstddef>

// What the proof and the programs that it puts on its stage agree on.

constexpr const char* kRealShell = "/srv/bin/sh";
constexpr const char* kWitnessProgram = "/srv/bin/witness";
constexpr const char* kWitnessLibrary =
    "/srv/bin/libkelcom.so";                               // where the loader looks at nothing
constexpr const char* kMakersFolder = "/opt/QZKBkel/lib";  // where the maker installs his
constexpr const char* kOwnLibraryFolder = "/srv/lib";      // for LD_LIBRARY_PATH alone

constexpr std::size_t kCollectedLine = 64;  // bytes of a line of the first collection command
constexpr const char* kCollectedBySecond = "collected by tanexcs\n";

#endif
