#ifndef TANEXICS_TESTS_SUPPORT_SLOTS_H
#define TANEXICS_TESTS_SUPPORT_SLOTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

/// The place of a virtual operation in the class's table, as the C++ ABI keeps it in a pointer to a
/// member (the lowest bit marks the virtual ones on some machines and is unused on the others).
template <class Member>
std::size_t slotOf(Member member) {
  std::uintptr_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word & ~std::uintptr_t{1}) / sizeof(void*);
}

/// The places of several.
template <class... Members>
std::vector<std::size_t> slotsOf(Members... members) {
  return {slotOf(members)...};
}

/// So many places in a row.
inline std::vector<std::size_t> slotsFrom(std::size_t first, std::size_t count) {
  std::vector<std::size_t> slots(count);
  std::iota(slots.begin(), slots.end(), first);
  return slots;
}

#endif
