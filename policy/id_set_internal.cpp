#include "policy/id_set_internal.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zr {

// Where `id` stands, or the free slot that it would take. Only while there are slots.
std::size_t IdSet::slotOf(std::int32_t id) const {
  const std::uint32_t hash = static_cast<std::uint32_t>(id) * 0x9E3779B9U;
  std::size_t at = (hash ^ (hash >> 16)) & (m_capacity - 1);
  while (m_slots[at] != kFree && m_slots[at] != id)
    at = (at + 1) & (m_capacity - 1);
  return at;
}

bool IdSet::contains(std::int32_t id) const {
  if (id == kFree) return m_holdsFree;
  return m_capacity != 0 && m_slots[slotOf(id)] == id;
}

bool IdSet::add(std::int32_t id) {
  if (id == kFree) {
    m_holdsFree = true;
  } else {
    if ((m_size + 1) * 2 > m_capacity && !grow()) return false;
    m_slots[slotOf(id)] = id;
  }
  ++m_size;
  return true;
}

bool IdSet::grow() {
  const std::size_t oldCapacity = m_capacity;
  const std::size_t capacity = oldCapacity == 0 ? 64 : oldCapacity * 2;
  std::unique_ptr<std::int32_t[]> slots(new (std::nothrow) std::int32_t[capacity]);
  if (!slots) return false;
  std::fill_n(slots.get(), capacity, kFree);
  std::swap(m_slots, slots);
  m_capacity = capacity;
  for (std::size_t i = 0; i < oldCapacity; ++i) {
    if (slots[i] != kFree) m_slots[slotOf(slots[i])] = slots[i];
  }
  return true;
}

}  // namespace zr
