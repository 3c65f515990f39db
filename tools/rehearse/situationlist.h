#ifndef TANEXICS_REHEARSE_SITUATIONLIST_H
#define TANEXICS_REHEARSE_SITUATIONLIST_H

#include <cstddef>
#include <string>
#include <vector>

/// A canned situation: a script of the stand-in library that has a name.
struct Situation {
  std::string name;      // the file's name without its ending
  std::string sentence;  // what the situation is: the comment in the script's first line, in the
                         // language that is spoken
  std::string script;    // the file's path
};

/// The situations of a folder: its files NAME.script, in the byte order of their names. Anything
/// else in the folder is left alone.
///
/// Throws std::runtime_error when the folder or a script cannot be read, and for a script that does
/// not begin with a comment: a list with gaps would be taken for a whole one.
std::vector<Situation> readSituations(const std::string& folder);

/// The name and the sentence of each, in lines of at most `width` columns; 0: one line for each.
/// Sentences stand in a column of their own, and below the names where that would be too narrow.
std::string situationRows(const std::vector<Situation>& situations, std::size_t width);

#endif
