#ifndef ZR_POLICY_KEY_INDEX_INTERNAL_H
#define ZR_POLICY_KEY_INDEX_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace zr {

inline std::uint32_t hashKey(std::string_view key) {
  const auto hash = static_cast<std::uint64_t>(std::hash<std::string_view>()(key));
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

inline std::uint32_t hashKey(unsigned long key) {
  return static_cast<std::uint32_t>((static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15U) >> 32);
}

// A hash table beside a multimap: from each key to the first element of that key, from where the multimap itself gives
// the others in their order. Two words for each slot, at most three quarters of the slots in use.
//
// The table knows how many elements it has seen. While that is not the multimap's size, somebody has changed the
// multimap by himself, and the table must not be asked. Once off (for that reason, or because memory ran out) it stays
// off until clear or rebuild.
template <class Map>
class KeyIndex {
 public:
  using Iterator = typename Map::const_iterator;

  bool covers(const Map& map) const { return m_covered == map.size(); }

  void clear() {
    m_slots.reset();
    m_capacity = m_used = m_covered = 0;
  }

  void turnOff() {
    clear();
    m_covered = kOff;
  }

  // Takes in an element just inserted into `map`, which the table covered before (else turn the table off).
  void added(const Map& map, Iterator element) {
    if (isFirstOfKey(map, element) && !addKey(element)) {
      turnOff();
    } else {
      ++m_covered;
    }
  }

  void rebuild(const Map& map) {
    clear();
    for (auto element = map.begin(); element != map.end() && m_covered != kOff; ++element)
      added(map, element);
  }

  // The first element of `key`, or the end. Only while the table covers `map`.
  template <class Key>
  Iterator find(const Map& map, const Key& key) const {
    if (m_capacity == 0) return map.end();
    const std::uint32_t hash = hashKey(key) | kInUse;
    for (std::size_t at = hash & (m_capacity - 1); m_slots[at].hash != 0; at = (at + 1) & (m_capacity - 1)) {
      if (m_slots[at].hash == hash && m_slots[at].first->first == key) return m_slots[at].first;
    }
    return map.end();
  }

 private:
  static constexpr std::size_t kOff = static_cast<std::size_t>(-1);
  static constexpr std::uint32_t kInUse = 0x80000000U;  // set in every stored hash: 0 marks a free slot

  struct Slot {
    std::uint32_t hash = 0;
    Iterator first;
  };

  // New elements go behind those of the same key, so only the element in front has to be looked at.
  static bool isFirstOfKey(const Map& map, Iterator element) {
    return element == map.begin() || std::prev(element)->first != element->first;
  }

  bool addKey(Iterator element) {
    if ((m_used + 1) * 4 > m_capacity * 3 && !grow()) return false;
    place({hashKey(element->first) | kInUse, element});
    ++m_used;
    return true;
  }

  void place(const Slot& slot) {
    std::size_t at = slot.hash & (m_capacity - 1);
    while (m_slots[at].hash != 0)
      at = (at + 1) & (m_capacity - 1);
    m_slots[at] = slot;
  }

  bool grow() {
    const std::size_t oldCapacity = m_capacity;
    const std::size_t capacity = oldCapacity == 0 ? 16 : oldCapacity * 2;
    std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[capacity]);
    if (!slots) return false;
    std::swap(m_slots, slots);
    m_capacity = capacity;
    for (std::size_t i = 0; i < oldCapacity; ++i) {
      if (slots[i].hash != 0) place(slots[i]);
    }
    return true;
  }

  std::unique_ptr<Slot[]> m_slots;
  std::size_t m_capacity = 0;  // 0 or a power of two
  std::size_t m_used = 0;
  std::size_t m_covered = 0;
};

}  // namespace zr

#endif  // ZR_POLICY_KEY_INDEX_INTERNAL_H
