#include "host/load/GroupMembers.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <utility>

namespace zrhost {

std::uint32_t NameTable::add(std::string_view name) {
  if (m_slots.size() * 2 <= m_ends.size() * 3) grow();
  const std::size_t slot = slotOf(name, hashKey(name));
  if (m_slots[slot] != kNone) return m_slots[slot];
  if (m_ends.size() == kNone) throw std::bad_alloc();
  m_text.append(name).push_back('\0');
  m_ends.push_back(m_text.size());
  return m_slots[slot] = size() - 1;
}

std::uint32_t NameTable::find(std::string_view name, std::uint64_t hash) const {
  return m_slots.empty() ? kNone : m_slots[slotOf(name, hash)];
}

std::string_view NameTable::name(std::uint32_t number) const {
  const std::size_t start = number == 0 ? 0 : m_ends[number - 1];
  return std::string_view(m_text).substr(start, m_ends[number] - start - 1);
}

void NameTable::shrink() {
  m_text.shrink_to_fit();
  m_ends.shrink_to_fit();
}

std::size_t NameTable::slotOf(std::string_view name, std::uint64_t hash) const {
  const std::size_t mask = m_slots.size() - 1;
  std::size_t slot = hash & mask;
  while (m_slots[slot] != kNone && this->name(m_slots[slot]) != name)
    slot = (slot + 1) & mask;
  return slot;
}

void NameTable::grow() {
  m_slots = std::vector<std::uint32_t>(std::max<std::size_t>(m_slots.size() * 2, 16), kNone);
  for (std::uint32_t number = 0; number < size(); ++number)
    m_slots[slotOf(name(number), hashKey(name(number)))] = number;
}

void GroupMembers::add(std::string_view group, std::string_view user) {
  if (m_added.size() == UINT32_MAX) throw std::bad_alloc();  // as far as m_starts counts
  const Group number = m_groups.add(group);
  m_added.push_back({m_users.add(user), number});
}

void GroupMembers::finish() {
  orderGroups();
  groupByUser();
  m_users.shrink();
  m_groups.shrink();
}

// Groups are numbered as they came, which is ascending when the source keeps its promise; otherwise anew.
void GroupMembers::orderGroups() {
  std::vector<Group> order(m_groups.size());
  std::iota(order.begin(), order.end(), Group{0});
  const auto byName = [this](Group a, Group b) { return m_groups.name(a) < m_groups.name(b); };
  if (std::is_sorted(order.begin(), order.end(), byName)) return;
  std::sort(order.begin(), order.end(), byName);
  NameTable ordered;
  for (const Group old : order)
    ordered.add(m_groups.name(old));
  for (Membership& membership : m_added)
    membership.group = ordered.find(m_groups.name(membership.group));
  m_groups = std::move(ordered);
}

void GroupMembers::groupByUser() {
  std::sort(m_added.begin(), m_added.end());
  m_added.erase(std::unique(m_added.begin(), m_added.end()), m_added.end());
  m_starts.assign(m_users.size() + std::size_t{1}, 0);
  m_lists.reserve(m_added.size());
  for (const Membership& membership : m_added) {  // every user has one, so every start is set
    m_lists.push_back(membership.group);
    m_starts[membership.user + std::size_t{1}] = static_cast<std::uint32_t>(m_lists.size());
  }
  std::vector<Membership>().swap(m_added);
}

GroupMembers::Groups GroupMembers::groupsOf(std::string_view user, std::uint64_t hash) const {
  const std::uint32_t number = m_users.find(user, hash);
  if (number == NameTable::kNone) return {};
  return {m_lists.data() + m_starts[number], m_lists.data() + m_starts[number + std::size_t{1}]};
}

}  // namespace zrhost
