#ifndef TANEXICS_LOG_WRITEFILE_H
#define TANEXICS_LOG_WRITEFILE_H

#include <string>
#include <string_view>

/// Makes `bytes` the content of the file `path`, as a whole or not at all: they are written to a
/// new file beside it, which then takes its name. A reader never sees a part, and what fails leaves
/// an older file as it was and nothing else behind. A new file has the mode 0644 as far as the
/// umask allows; one that takes the place of another keeps its permission bits, and its owner and
/// group where the caller may give files away. Anything but a regular file is left alone, links
/// too. Returns the reason in words where that fails; empty where all went well.
///
/// Where SIGXFSZ is not ignored, a limit on file sizes ends the process and leaves the new file.
std::string writeWhole(const std::string& path, std::string_view bytes);

#endif
