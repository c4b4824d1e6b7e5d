#ifndef ZR_POLICY_ID_SET_INTERNAL_H
#define ZR_POLICY_ID_SET_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zr {

// A set of 32-bit numbers that only grows: a hash table, at most half full.
class IdSet {
 public:
  std::size_t size() const { return m_size; }
  bool contains(std::int32_t id) const;
  // Adds a number that the set does not contain. Answers false, with the set unchanged, when memory runs out.
  bool add(std::int32_t id);

 private:
  static constexpr std::int32_t kFree = INT32_MIN;  // marks a free slot; as a member it is kept apart

  std::size_t slotOf(std::int32_t id) const;
  bool grow();

  std::unique_ptr<std::int32_t[]> m_slots;
  std::size_t m_capacity = 0;  // 0 or a power of two
  std::size_t m_size = 0;
  bool m_holdsFree = false;
};

}  // namespace zr

#endif  // ZR_POLICY_ID_SET_INTERNAL_H
