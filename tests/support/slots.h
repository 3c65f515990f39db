#ifndef TANEXICS_TESTS_SUPPORT_SLOTS_H
#define TANEXICS_TESTS_SUPPORT_SLOTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The place of a virtual operation in the class's table, as the C++ ABI keeps it in a pointer to a
/// member (the lowest bit marks the virtual ones on some machines and is unused on the others).
template <class Member>
std::size_t slotOf(Member member) {
  std::uintptr_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word & ~std::uintptr_t{1}) / sizeof(void*);
}

#endif
