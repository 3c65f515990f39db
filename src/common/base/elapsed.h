#ifndef TANEXICS_COMMON_BASE_ELAPSED_H
#define TANEXICS_COMMON_BASE_ELAPSED_H

/// The time of day in seconds since the epoch, with microseconds: the difference of two calls is a
/// duration, unless the clock was set between them.
double elapsedTime();

#endif
