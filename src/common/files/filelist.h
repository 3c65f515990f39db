#ifndef TANEXICS_COMMON_FILES_FILELIST_H
#define TANEXICS_COMMON_FILES_FILELIST_H

#include <list>
#include <string>
#include <vector>

/// Lists a directory, "." and ".." left out, in the directory's own order.
///
/// `out`       out: the entries; emptied first, unless `dir` is null or no directory.
/// `dir`       the directory, with or without a trailing "/".
/// `fullPath`  non-zero: each entry is DIR/NAME; 0: the bare name.
/// `withDirs`  non-zero: directories (links to them count) are listed among the rest.
/// `onlyDirs`  1: directories only, whatever `withDirs` is.
///
/// Returns the number of entries; -1 when `dir` is null ("invalid param" is logged, at
/// (common:2519) for a list and (common:2599) for a vector), is no directory, or cannot be opened.
/// A directory that cannot be read to its end gives the entries up to there.
int getFileList(std::list<std::string>& out, const char* dir, int fullPath, int withDirs,
                int onlyDirs);
int getFileList(std::vector<std::string>& out, const char* dir, int fullPath, int withDirs,
                int onlyDirs);

#endif
