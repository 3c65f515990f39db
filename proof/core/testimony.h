#ifndef TANEXICS_PROOF_CORE_TESTIMONY_H
#define TANEXICS_PROOF_CORE_TESTIMONY_H

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// What the proof and the programs on its stage have to say to each other: memory that they share
// through a file. No limit on files, and no descriptor that is closed or full, keeps anything from
// being written there, and what was written outlives any end of a process. Used without the C++
// runtime as well.

constexpr const char* kTestimonyFile = "/srv/testimony";
constexpr const char* kRealShell = "/srv/bin/sh";
constexpr std::size_t kCollectedLine = 64;  // bytes of a line of the first collection command
constexpr const char* kCollectedBySecond = "collected by tanexcs\n";

/// The prctl(2) option by which the fence around the closed library tells where its calls begin
/// (argument 1) and end (0). No kernel knows it.
constexpr int kFenceMark = 0x50524f56;

/// Who has looked at itself.
enum class Role : int {
  kCaller,    // the process that is about to become the command
  kLoaded,    // the command, before main
  kCalled,    // the command, whenever it calls the closed library
  kShell,     // a shell that it has started
  kCollector  // a collection command
};

constexpr int kSignals = 64;
constexpr int kStreams = 3;
constexpr int kLimits = 16;
constexpr int kMostObservations = 64;
constexpr std::size_t kDetailBytes = 256;
constexpr std::size_t kRecordBytes = 64UL * 1024UL;

/// The bit of a signal in a set of signals, as the kernel has it.
constexpr std::uint64_t bitOf(int signal) { return std::uint64_t{1} << (signal - 1); }

/// The bytes of a set of signals, as the kernel's calls take it.
constexpr std::size_t kBytesOfSet = sizeof(std::uint64_t);

/// As the kernel knows it: the C library hides two signals that it uses itself.
struct KernelAction {
  void (*handler)(int);
  unsigned long flags;
  void (*restorer)();
  std::uint64_t mask;
};

/// One of the descriptors 0 to 2.
struct StreamState {
  bool isOpen;
  bool isBroken;  // a pipe that nobody reads
  int access;     // O_RDONLY, O_WRONLY, O_RDWR
  mode_t mode;
  dev_t device;  // of a device, which one it is
  std::uint64_t file;
};

/// What a process finds itself with.
struct Observation {
  Role role;
  pid_t pid;
  std::uint64_t ignored;  // sets of signals
  std::uint64_t caught;
  std::uint64_t blocked;
  std::uint64_t pending;
  std::uint64_t limits[kLimits];  // the soft ones
  StreamState streams[kStreams];
  int openAbove;  // how many descriptors above 2 are open, as far as poll(2) may look
  mode_t mask;
  int nice;
  bool leadsSession;
  bool hasTerminal;
  int folderError;    // errno of getcwd(2), 0 where there is a name
  char folder[32];    // the beginning of the name
  mode_t folderMode;  // 0 where it cannot be looked at
  bool canReadFolder;
  std::size_t words;  // of the argument list, and its bytes
  std::size_t wordBytes;
  std::uint64_t environment;  // what hashOf makes of it
  mode_t tempMode;            // of a collection command's directory
  char detail[kDetailBytes];  // a shell's command line; what a collection command was given; the
                              // file that the closed library was loaded from
};

/// What the programs on the stage are to do.
struct Orders {
  int firstFailing;     // the allocation of the command that fails, counted from 1; 0 for none
  bool failsOn;         // so do all after it
  char guiltyCall[32];  // the call of the closed library that misbehaves
  int guiltyTime;       // at its so-many-th time alone; 0 for every time
  char deed[16];        // what it does, see misbehaviour.cpp
  int value;            // and with what
  std::size_t collectedBytes;  // what the first collection command prints
  char zoneCall[32];           // the call in which the closed library changes the time zone
  char zone[64];               // to this one
};

struct Testimony {
  Orders orders;
  int allocationsMade;
  int allocationsFailed;
  std::atomic<int> count;
  Observation observations[kMostObservations];
  std::atomic<int> recordEnd;
  char record[kRecordBytes];  // the exchanges, one JSON object a line
};

/// Maps the file; null where that is refused.
Testimony* openTestimony();

/// The next free place, filled in by looking at this process, but for the detail and what stands in
/// the argument list and the environment; null where there is none.
Observation* observe(Testimony* testimony, Role role);

/// Fills in what was handed over in memory.
void observeWords(Observation& observation, const char* const* words,
                  const char* const* environment);

void setDetail(Observation& observation, const char* text);

/// Takes `text`, its end included, into account. The hash of nothing is `kHashOfNothing`.
constexpr std::uint64_t kHashOfNothing = 14695981039346656037ULL;
std::uint64_t hashOf(const char* text, std::uint64_t before);

#endif
