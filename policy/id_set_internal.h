#ifndef ZR_POLICY_ID_SET_INTERNAL_H
#define ZR_POLICY_ID_SET_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <vector>

class ZrEPLink;

namespace zr {

// Tells which policies the results of a set are for, without walking the results: it knows the link of each.
//
// As many as kScanned links are asked for their policies, as a walk would ask them. Of more the policies' IDs are
// looked up in a hash table, and recheck sees to links that were pointed at other policies since, by the host or, as
// the default link is, by the cache.
//
// Like the cache's indexes it knows how many results it has seen, and must be asked only while it covers the set. Once
// off (because the numbers differed, so that somebody had changed the set by hand, or because memory ran out) it stays
// off: the numbers might agree again by chance.
class IdSet {
 public:
  static constexpr std::size_t kScanned = 32;
  static constexpr std::size_t kKept = 1024;

  // Whether it covers a set of `size` results. If not, it is off from now on.
  bool covers(std::size_t size) {
    if (!m_off && m_links.size() != size) turnOff();
    return !m_off;
  }
  void turnOff();
  // Starts anew for an empty set, with memory for no more than kKept results.
  void clear();

  bool contains(std::int32_t id) const { return m_links.size() <= kScanned ? isScanned(id) : isHashed(id); }
  // Takes in the link of a result just added, which the set covered before.
  void add(const ZrEPLink* link);
  // Looks whether links were pointed at other policies.
  void recheck();

 private:
  static constexpr std::int32_t kFree = INT32_MIN;  // marks a free slot; as an ID it is kept apart
  static constexpr std::size_t kFirstSlots = 256;
  static_assert((kFirstSlots & (kFirstSlots - 1)) == 0 && kFirstSlots > 2 * kScanned);

  bool isScanned(std::int32_t id) const;
  bool isHashed(std::int32_t id) const;
  void note(std::size_t at);
  void hash(std::int32_t id);
  void hashAll();
  void renew();
  std::size_t slotOf(std::int32_t id) const;

  bool m_off = false;
  std::vector<const ZrEPLink*> m_links;
  // The rest is empty up to kScanned links.
  std::vector<std::int32_t> m_ids;    // of the links' policies
  std::vector<std::int32_t> m_slots;  // a power of two, at most half of them in use
  bool m_holdsFree = false;
};

}  // namespace zr

#endif  // ZR_POLICY_ID_SET_INTERNAL_H
