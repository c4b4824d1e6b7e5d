#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/key_hash.h"

namespace zrhost {

// Names, each once, numbered from 0 in the order in which they came, found by hashing. Their bytes stand one behind the
// other, each name ended by a zero byte: a million names cost little more than their bytes.
class NameTable {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // The number of a name, which is taken in when it is new. Throws std::bad_alloc, also when there are more names than
  // numbers; the table is of no use then.
  std::uint32_t add(std::string_view name);
  // The number of a name, or kNone; `hash` is its hashKey.
  std::uint32_t find(std::string_view name, std::uint64_t hash) const;
  std::uint32_t find(std::string_view name) const { return find(name, hashKey(name)); }
  // Has the memory fetched that `find` will look at.
  void prefetch(std::uint64_t hash) const {
    if (!m_slots.empty()) __builtin_prefetch(&m_slots[hash & (m_slots.size() - 1)]);
  }
  // The name of a number that was given out. Valid until the next name is added.
  std::string_view name(std::uint32_t number) const;
  std::uint32_t size() const { return static_cast<std::uint32_t>(m_ends.size()); }
  void shrink();

 private:
  // The slot that holds the name, or the free one where it belongs.
  std::size_t slotOf(std::string_view name, std::uint64_t hash) const;
  void grow();

  std::string m_text;
  std::vector<std::size_t> m_ends;     // behind each name's zero byte
  std::vector<std::uint32_t> m_slots;  // a power of two of them, at most two thirds in use
};

// Which groups a user is in. Names are compared byte by byte, as they stand.
//
// Filled by add and, once, finish; asked afterwards, by any number of threads at once.
class GroupMembers {
 public:
  // A group, by a number: ascending numbers are ascending names, compared as bytes.
  using Group = std::uint32_t;

  // Groups in ascending order, each once. Valid as long as the members are.
  struct Groups {
    const Group* first = nullptr;
    const Group* last = nullptr;
    const Group* begin() const { return first; }
    const Group* end() const { return last; }
  };

  // Takes a membership; names must hold no zero byte. One that is there already counts once.
  // Throws std::bad_alloc; asking is not possible then.
  void add(std::string_view group, std::string_view user);
  // Makes everything ready to be asked; throws std::bad_alloc.
  void finish();

  // The groups of a user; none for a user who is in no group. Costs one look into a hash table, no memory.
  Groups groupsOf(std::string_view user) const { return groupsOf(user, hashKey(user)); }
  Groups groupsOf(std::string_view user, std::uint64_t hash) const;
  void prefetch(std::uint64_t hash) const { m_users.prefetch(hash); }
  // The name of a group, ended by a zero byte.
  const char* name(Group group) const { return m_groups.name(group).data(); }

  std::uint32_t groups() const { return m_groups.size(); }
  // Every user that is in a group, by a number below users(), with the name as it came.
  std::uint32_t users() const { return m_users.size(); }
  std::string_view user(std::uint32_t number) const { return m_users.name(number); }

 private:
  struct Membership {
    std::uint32_t user;
    Group group;
    bool operator<(const Membership& other) const {
      return user != other.user ? user < other.user : group < other.group;
    }
    bool operator==(const Membership& other) const { return user == other.user && group == other.group; }
  };

  void orderGroups();
  void groupByUser();

  NameTable m_users, m_groups;
  std::vector<Membership> m_added;      // until finish
  std::vector<std::uint32_t> m_starts;  // of each user's groups in m_lists, with one more for the end
  std::vector<Group> m_lists;
};

}  // namespace zrhost
