#ifndef TANEXICS_PROOF_INHERITED_FAMILIES_H
#define TANEXICS_PROOF_INHERITED_FAMILIES_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "inherited/situation.h"

/// What is tried, as it is put together.
class Catalogue {
 public:
  /// Adds a situation in each of the scenarios: an ordinary caller's, changed by `change`. `what`
  /// tells it from the others of its family.
  void add(const std::string& family, std::initializer_list<const char*> scenarios,
           const std::string& what, const std::function<void(Situation&)>& change);

  std::vector<Situation>& situations() { return m_situations; }

 private:
  std::vector<Situation> m_situations;
};

// The families, each by the file that adds it.
void addSignals(Catalogue& catalogue);
void addStreams(Catalogue& catalogue);
void addLimits(Catalogue& catalogue);
void addProcess(Catalogue& catalogue);      // working directory, mask, niceness, session, arguments
void addEnvironment(Catalogue& catalogue);  // environment, PATH, loader, zone, locale
void addTemporary(Catalogue& catalogue);    // TMPDIR
void addMixtures(Catalogue& catalogue);     // much of it at once

/// Whether a process of this system may do something: tried in one that ends with it.
bool canDo(const std::function<bool()>& something);

/// "NAME=value" in front of all other entries.
void setVariable(Caller& caller, const std::string& entry);

/// The lowest niceness that can be handed down.
int leastNice();

#endif
