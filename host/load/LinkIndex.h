#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/key_hash.h"
#include "host/load/GroupMembers.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

class SqlRule;

// Finds the links of a filled cache with fewer looks at memory than the cache needs, which must be ready for changes:
// a place of a table has the link and its policy, and everything else is looked at when a link was found. Links whose
// policy has no selected rule are not in it. Some 20 to 45 bytes for each link.
//
// Threads: any number at once. The cache and the members must outlive it, and must not be changed.
class LinkIndex {
 public:
  // Of what is loaded, where every rule is an SqlRule. Throws std::bad_alloc.
  LinkIndex(const ZrPolicyCache& cache, const GroupMembers& members);

  // A link with the number of its policy. (In a table that is not one link, see Table.)
  struct Entry {
    const ZrEPLink* link = nullptr;
    std::uint32_t policy = UINT32_MAX;
    std::uint32_t hash = 0;
  };
  // The links of one key, in the order in which they were added. Valid as long as the index is.
  struct Links {
    const Entry* first = nullptr;
    const Entry* last = nullptr;
    const Entry* begin() const { return first; }
    const Entry* end() const { return last; }
  };
  struct Applying {
    const ZrPolicy* policy;
    const SqlRule* rule;
  };

  // By a key in the form in which it is searched, and its hashKey. Of the types with names.
  Links named(ZrEntityType type, std::string_view key, std::uint64_t hash) const;
  // Has the memory fetched that `named` will look at.
  void prefetch(ZrEntityType type, std::uint64_t hash) const { tableOf(type).prefetch(placeHash(hash)); }
  // By an address of inet_addr; without the ranges.
  Links ofAddress(std::uint32_t address) const;
  // Whether any range holds it; `links` are those of the range when it is one alone, and else none.
  bool isInRange(std::uint32_t address, Links& links) const;
  Links ofGroup(GroupMembers::Group group) const { return m_groups[group]; }
  Links ofDefault() const { return m_default; }

  const Applying& applying(const Entry& entry) const { return m_applying[entry.policy]; }

 private:
  // Open addressing, at most three quarters of the places in use. A place stands for one link whose name is the key,
  // or, without a link, for the list of that number.
  class Table {
   public:
    void reserve(std::size_t keys);
    void place(const Entry& entry);
    void prefetch(std::uint32_t hash) const {
      if (!m_places.empty()) __builtin_prefetch(&m_places[first(hash)]);
    }
    template <class IsSame>
    const Entry* find(std::uint32_t hash, const IsSame& isSame) const {
      if (m_places.empty()) return nullptr;
      for (std::size_t at = first(hash); m_places[at].policy != kFree; at = (at + 1) & (m_places.size() - 1))
        if (m_places[at].hash == hash && isSame(m_places[at])) return &m_places[at];
      return nullptr;
    }

   private:
    static constexpr std::uint32_t kFree = UINT32_MAX;
    // The hash may be an address, which counts from its last byte.
    std::size_t first(std::uint32_t hash) const {
      return static_cast<std::size_t>(std::uint64_t{hash} * 0x9E3779B97F4A7C15U >> m_shift);
    }

    std::vector<Entry> m_places;
    unsigned m_shift = 63;
  };
  // The links of a key that has several, or whose links are called otherwise.
  struct List {
    std::string_view key;
    std::size_t begin, end;
  };

  // Addresses that ranges hold, apart from all others.
  struct Covered {
    std::uint32_t from, to;
    Entry range;  // when it is one alone
  };

  class Builder;

  static std::uint32_t placeHash(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }
  const Table& tableOf(ZrEntityType type) const;
  Links linksAt(const Entry* place) const;

  std::vector<Applying> m_applying;
  Table m_users, m_groupNames, m_hosts, m_others, m_addresses;
  std::vector<List> m_lists;
  std::vector<Entry> m_listed;
  std::vector<Links> m_groups;
  Links m_default;
  std::vector<Covered> m_covered;  // ascending
};

}  // namespace zrhost
