#ifndef TANEXICS_TESTS_SUPPORT_STATUSWORDS_H
#define TANEXICS_TESTS_SUPPORT_STATUSWORDS_H

// The words by which the library tells the state of its connection.

inline constexpr int kOperating = 0x20;
inline constexpr int kMaintenance = 0x10000;
inline constexpr int kStopped = 0x20000;
inline constexpr int kMaintenanceStop = 0x30000;

#endif
