#include "inherited/families.h"

namespace {

constexpr const char* kKinds[kStreamKinds] = {"ordinary", "closed", "wrong-way", "full", "broken"};

}  // namespace

void addStreams(Catalogue& catalogue) {
  for (int in = 0; in < kStreamKinds; ++in) {
    for (int out = 0; out < kStreamKinds; ++out) {
      for (int error = 0; error < kStreamKinds; ++error) {
        if (in + out + error == 0) continue;
        catalogue.add("descriptors",
                      {"incident", "incident-above-buffer", "incident-above-pipe", "event-err",
                       "log-rotation"},
                      std::string(kKinds[in]) + " " + kKinds[out] + " " + kKinds[error],
                      [in, out, error](Situation& situation) {
                        situation.caller.streams = {static_cast<Stream>(in),
                                                    static_cast<Stream>(out),
                                                    static_cast<Stream>(error)};
                      });
      }
    }
  }
}
