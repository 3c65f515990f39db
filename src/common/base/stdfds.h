#ifndef TANEXICS_COMMON_BASE_STDFDS_H
#define TANEXICS_COMMON_BASE_STDFDS_H

/// Opens /dev/null on each of the descriptors 0 to 2 that the caller of the process left closed.
///
/// A descriptor opened later would otherwise take such a number, and what is meant for a terminal
/// would end up in a pipe, in the action log or on the line to the centre. To be called once,
/// before anything else is opened. One system call where all three are open. Where /dev/null
/// cannot be opened, and under a limit of fewer than three open files, the descriptors stay closed;
/// nothing is logged, since there is no log yet.
void occupyStandardDescriptors();

#endif
