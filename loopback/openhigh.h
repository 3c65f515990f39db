#ifndef TANEXICS_LOOPBACK_OPENHIGH_H
#define TANEXICS_LOOPBACK_OPENHIGH_H

#include <fcntl.h>
#include <sys/types.h>

#include "common/base/descriptor.h"

/// The lowest number that a descriptor of `openHigh` gets.
constexpr int kLowestDescriptor = 100;

/// Opens `path` as openat(2) does, close-on-exec, on a number of at least `kLowestDescriptor`. A
/// process whose standard descriptors were closed when it started gets their numbers for the next
/// files it opens, and its messages would end up in these: files of the library stay clear of them.
///
/// `path`    must not be null; relative to `folder`, a directory's descriptor or AT_FDCWD.
/// `flags`   as for open(2); O_CLOEXEC is added.
/// `mode`    the permission bits of a file that is created.
///
/// Returns an owner of nothing, with errno set, when the file cannot be opened, or when no such
/// number is free.
Descriptor openHigh(const char* path, int flags, mode_t mode = 0, int folder = AT_FDCWD);

#endif
