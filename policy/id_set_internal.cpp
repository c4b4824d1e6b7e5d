#include "policy/id_set_internal.h"

#include <algorithm>
#include <new>

#include "policy/ZrEPLink.h"
#include "policy/ZrPolicy.h"

namespace zr {

void IdSet::turnOff() {
  *this = IdSet();
  m_off = true;
}

void IdSet::clear() {
  if (m_off || m_links.size() > kKept) *this = IdSet();
  m_links.clear();
  m_ids.clear();
  m_slots.clear();
}

bool IdSet::isScanned(std::int32_t id) const {
  for (const ZrEPLink* const link : m_links) {
    if (link->m_pPolicy->m_policyId == id) return true;
  }
  return false;
}

bool IdSet::isHashed(std::int32_t id) const {
  return id == kFree ? m_holdsFree : m_slots[slotOf(id)] == id;
}

// Several at a time without a branch, so that the links are fetched side by side.
void IdSet::recheck() {
  constexpr std::size_t kStep = 16;
  const auto changed = [this](std::size_t at) { return m_links[at]->m_pPolicy->m_policyId ^ m_ids[at]; };
  std::size_t at = 0;
  for (; at + kStep <= m_ids.size(); at += kStep) {
    std::int32_t any = 0;
    for (std::size_t i = 0; i < kStep; ++i)
      any |= changed(at + i);
    if (any != 0) return renew();
  }
  for (; at < m_ids.size(); ++at)
    if (changed(at) != 0) return renew();
}

// Where `id` stands, or the free slot that it would take.
std::size_t IdSet::slotOf(std::int32_t id) const {
  const std::uint32_t hash = static_cast<std::uint32_t>(id) * 0x9E3779B9U;
  std::size_t at = (hash ^ (hash >> 16)) & (m_slots.size() - 1);
  while (m_slots[at] != kFree && m_slots[at] != id)
    at = (at + 1) & (m_slots.size() - 1);
  return at;
}

void IdSet::hash(std::int32_t id) {
  if (id == kFree) {
    m_holdsFree = true;
  } else {
    m_slots[slotOf(id)] = id;
  }
}

void IdSet::hashAll() {
  std::fill(m_slots.begin(), m_slots.end(), kFree);
  m_holdsFree = false;
  for (const std::int32_t id : m_ids)
    hash(id);
}

// Allocates nothing.
void IdSet::renew() {
  for (std::size_t at = 0; at < m_ids.size(); ++at)
    m_ids[at] = m_links[at]->m_pPolicy->m_policyId;
  hashAll();
}

void IdSet::note(std::size_t at) {
  m_ids.push_back(m_links[at]->m_pPolicy->m_policyId);
  if (m_ids.size() * 2 <= m_slots.size()) return hash(m_ids.back());
  m_slots.resize(std::max(m_slots.size() * 2, kFirstSlots));
  hashAll();
}

void IdSet::add(const ZrEPLink* link) {
  try {
    if (m_links.empty()) m_links.reserve(16);
    m_links.push_back(link);
    if (m_links.size() <= kScanned) return;
    if (link->m_pPolicy == nullptr) return turnOff();  // a result that a walk can pass no more than this
    while (m_ids.size() < m_links.size())              // all of them at the first time
      note(m_ids.size());
  } catch (const std::bad_alloc&) {
    turnOff();
  }
}

}  // namespace zr
