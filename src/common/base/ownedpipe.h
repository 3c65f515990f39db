#ifndef TANEXICS_COMMON_BASE_OWNEDPIPE_H
#define TANEXICS_COMMON_BASE_OWNEDPIPE_H

#include <unistd.h>

#include <cstdio>

#include "common/base/childshell.h"

/// A pipe, empty until `makePipe` fills it, that closes what is left of it at the end of its life.
class OwnedPipe : public Pipe {
 public:
  OwnedPipe() = default;
  ~OwnedPipe() {
    closeEnd(readEnd);
    closeEnd(writeEnd);
  }
  OwnedPipe(const OwnedPipe&) = delete;
  OwnedPipe& operator=(const OwnedPipe&) = delete;

  /// For the parent, once the child is made: its output ends when the child's own end is closed.
  void closeWriteEnd() { closeEnd(writeEnd); }

  /// A stream on the read end, which belongs to the stream from now on. Null when there is none to
  /// be had; the pipe then keeps the end.
  FILE* openOutput() {
    FILE* stream = ::fdopen(readEnd, "r");
    if (stream != nullptr) readEnd = -1;
    return stream;
  }

 private:
  static void closeEnd(int& end) {
    if (end >= 0) ::close(end);
    end = -1;
  }
};

#endif
