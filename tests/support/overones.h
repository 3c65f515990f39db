#ifndef TANEXICS_TESTS_SUPPORT_OVERONES_H
#define TANEXICS_TESTS_SUPPORT_OVERONES_H

#include <cstddef>
#include <cstring>
#include <new>
#include <string>

/// An object made over memory that is not zero, so that a field which nobody sets shows.
template <class Object>
class OverOnes {
 public:
  OverOnes() {
    std::memset(m_memory, 0xff, sizeof m_memory);
    m_object = new (m_memory) Object;
  }
  ~OverOnes() { m_object->~Object(); }
  OverOnes(const OverOnes&) = delete;
  OverOnes& operator=(const OverOnes&) = delete;

  Object& object() { return *m_object; }

  /// `count` bytes of the object, as they stand in memory.
  std::string bytes(std::size_t offset, std::size_t count) const {
    return {reinterpret_cast<const char*>(m_memory) + offset, count};
  }

 private:
  alignas(Object) unsigned char m_memory[sizeof(Object)];
  Object* m_object;
};

#endif
