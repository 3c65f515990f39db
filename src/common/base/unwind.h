#ifndef TANEXICS_COMMON_BASE_UNWIND_H
#define TANEXICS_COMMON_BASE_UNWIND_H

/// Runs `body` and returns its result; every exception passes on unchanged, but only after all that
/// `body` owns has been destroyed.
///
/// An exception that nobody catches ends the process without unwinding (the compilers search for a
/// handler first and call std::terminate where they stand when there is none). What must be let go
/// of even then, such as an open line to the centre or a directory on disk, is owned inside a body
/// that runs through here.
template <class Body>
auto releasingOwners(const Body& body) {
  try {
    return body();
  } catch (...) {
    throw;
  }
}

#endif
