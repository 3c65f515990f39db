#include "inherited/families.h"

#include <sys/resource.h>

#include <csignal>

namespace {

constexpr rlim_t kKilobyte = 1024;
constexpr rlim_t kMegabyte = 1024 * kKilobyte;

void limit(Situation& situation, int resource, rlim_t value) {
  situation.caller.limits[resource] = value;
}

void addFileSize(Catalogue& catalogue) {
  for (const rlim_t bytes :
       {0UL,     1UL,     10UL,     20UL,     27UL,     28UL,     50UL,     100UL,
        200UL,   300UL,   400UL,    500UL,    600UL,    700UL,    800UL,    900UL,
        1000UL,  1200UL,  1500UL,   2000UL,   3000UL,   4000UL,   4096UL,   10000UL,
        20000UL, 50000UL, 100000UL, 200000UL, 511999UL, 512000UL, 512001UL, 600000UL}) {
    catalogue.add("limit on file size",
                  {"incident", "incident-trace", "incident-above-pipe", "event-err", "event-trace",
                   "log-rotation"},
                  std::to_string(bytes),
                  [bytes](Situation& situation) { limit(situation, RLIMIT_FSIZE, bytes); });
    catalogue.add("limit on file size", {"incident", "event-err"},
                  std::to_string(bytes) + " SIGXFSZ ignored", [bytes](Situation& situation) {
                    limit(situation, RLIMIT_FSIZE, bytes);
                    situation.caller.ignored = bitOf(SIGXFSZ);
                  });
  }
}

void addOpenFiles(Catalogue& catalogue) {
  constexpr rlim_t kMost = 24;
  for (rlim_t count = kStreams; count <= kMost; ++count) {
    catalogue.add("limit on open files", {"incident", "event-err", "log-rotation"},
                  std::to_string(count),
                  [count](Situation& situation) { limit(situation, RLIMIT_NOFILE, count); });
    for (unsigned closed = 1; closed < 8; ++closed) {
      catalogue.add("limit on open files", {"incident", "event-err", "log-rotation"},
                    std::to_string(count) + " closed " + std::to_string(closed),
                    [count, closed](Situation& situation) {
                      limit(situation, RLIMIT_NOFILE, count);
                      for (unsigned stream = 0; stream < kStreams; ++stream) {
                        if ((closed >> stream & 1U) == 0) continue;
                        situation.caller.streams[stream] = Stream::kClosed;
                      }
                    });
    }
  }
  for (const char* zone : {"UTC0", "XST-9", "Asia/Tokyo"}) {
    catalogue.add("limit on open files", {"event-err"}, std::string("4 zone ") + zone,
                  [zone](Situation& situation) {
                    limit(situation, RLIMIT_NOFILE, kStreams + 1);
                    setVariable(situation.caller, std::string("TZ=") + zone);
                  });
  }
}

void addMemory(Catalogue& catalogue) {
  for (rlim_t steps = 4; steps <= 128; ++steps) {
    const rlim_t bytes = steps * kMegabyte / 16;
    catalogue.add("limit on address space", {"incident", "event-err"}, std::to_string(bytes),
                  [bytes](Situation& situation) { limit(situation, RLIMIT_AS, bytes); });
  }
  for (rlim_t pages = 1; pages <= 32; ++pages) {
    const rlim_t bytes = pages * 4 * kKilobyte;
    catalogue.add("limit on stack", {"incident", "event-err", "log-rotation"},
                  std::to_string(bytes),
                  [bytes](Situation& situation) { limit(situation, RLIMIT_STACK, bytes); });
  }
}

void addCores(Catalogue& catalogue) {
  rlimit now = {};
  ::getrlimit(RLIMIT_CORE, &now);
  for (const rlim_t bytes : {rlim_t{0}, rlim_t{1}, rlim_t{kMegabyte}, rlim_t{RLIM_INFINITY}}) {
    if (bytes == now.rlim_cur || bytes > now.rlim_max) continue;
    catalogue.add("limit on core", {"incident", "event-err", "log-rotation"}, std::to_string(bytes),
                  [bytes](Situation& situation) { limit(situation, RLIMIT_CORE, bytes); });
  }
}

}  // namespace

void addLimits(Catalogue& catalogue) {
  addFileSize(catalogue);
  addOpenFiles(catalogue);
  addMemory(catalogue);
  addCores(catalogue);
}
