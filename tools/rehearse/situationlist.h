#ifndef TANEXICS_REHEARSE_SITUATIONLIST_H
#define TANEXICS_REHEARSE_SITUATIONLIST_H

#include <string>
#include <vector>

/// A canned situation: a script of the stand-in library that has a name.
struct Situation {
  std::string name;      // the file's name without its ending
  std::string sentence;  // what the situation is: the comment in the script's first line
  std::string script;    // the file's path
};

/// The situations of a folder: its files NAME.script, in the byte order of their names. Anything
/// else in the folder is left alone.
///
/// Throws std::runtime_error when the folder or a script cannot be read, and for a script that does
/// not begin with a comment: a list with gaps would be taken for a whole one.
std::vector<Situation> readSituations(const std::string& folder);

/// One row for each: the name, blanks to the column after the longest name, and the sentence.
std::string situationRows(const std::vector<Situation>& situations);

#endif
