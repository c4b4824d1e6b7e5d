#include "live/quick_asking_internal.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/load/SqlRule.h"
#include "host/load/search_key.h"

namespace zrlive {
namespace {

using Kind = Question::Kind;

ZrEntityType typeOf(Kind kind) {
  switch (kind) {
    case Kind::kUser:
      return ZrEntityType::USER;
    case Kind::kGroup:
      return ZrEntityType::GROUP;
    case Kind::kHost:
      return ZrEntityType::HOSTNAME;
    default:
      return ZrEntityType::OTHER;
  }
}

bool hasName(Kind kind) {
  return kind < Kind::kDefault && kind != Kind::kAddress;
}

}  // namespace

std::size_t lastUserOf(const Question& question) {
  if (!question.members()) return question.size();
  for (std::size_t part = question.size(); part > 0; --part)
    if (question.kind(part - 1) == Kind::kUser) return part - 1;
  return question.size();
}

void mergeGroups(std::vector<zrhost::GroupMembers::Group>& groups) {
  std::sort(groups.begin(), groups.end());
  groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
}

bool QuickAsking::ask(const zrhost::Snapshot& snapshot, const Question& question, ZrPolicyResultSet& ranges) {
  m_snapshot = &snapshot;
  m_index = snapshot.index();
  m_count = 0;
  if (m_index == nullptr || !prepare(question)) return false;
  const std::size_t lastUser = lastUserOf(question);
  for (std::size_t part = 0; part < question.size(); ++part) {
    if (!lookUp(question, part, ranges)) return false;
    if (part == lastUser && !lookUpGroups(question)) return false;
  }
  return true;
}

// All places in the tables are known before the first is looked at: the memory comes while the others are worked out.
bool QuickAsking::prepare(const Question& question) {
  m_searches.resize(question.size());
  m_text.resize(std::max(m_text.size(), question.textSize()));
  std::size_t start = 0;
  for (std::size_t part = 0; part < question.size(); ++part) {
    const Kind kind = question.kind(part);
    if (kind == Kind::kAll) return false;
    if (!hasName(kind)) continue;
    const std::string_view asked = question.key(part);
    std::memcpy(m_text.data() + start, asked.data(), asked.size());
    zrhost::makeSearchKey(typeOf(kind), m_text.data() + start, asked.size());
    Search& search = m_searches[part] = {start, asked.size(), 0};
    search.hash = zrhost::hashKey(key(search));
    m_index->prefetch(typeOf(kind), search.hash);
    if (kind == Kind::kUser && question.members()) m_snapshot->members().prefetch(search.hash);
    start += asked.size();
  }
  return true;
}

bool QuickAsking::lookUp(const Question& question, std::size_t part, ZrPolicyResultSet& ranges) {
  const Kind kind = question.kind(part);
  if (kind == Kind::kDefault) return addAll(m_index->ofDefault());
  if (kind != Kind::kAddress) return addAll(m_index->named(typeOf(kind), key(m_searches[part]), m_searches[part].hash));
  const std::uint32_t address = question.address(part);
  if (!addAll(m_index->ofAddress(address))) return false;
  zrhost::LinkIndex::Links range;
  if (!m_index->isInRange(address, range)) return true;
  return range.first != nullptr ? addAll(range) : lookUpRanges(question.key(part).data(), ranges);
}

bool QuickAsking::lookUpGroups(const Question& question) {
  m_groups.clear();
  bool isFirst = true;
  for (std::size_t part = 0; part < question.size(); ++part) {
    if (question.kind(part) != Kind::kUser) continue;
    const auto found = m_snapshot->members().groupsOf(key(m_searches[part]), m_searches[part].hash);
    m_groups.insert(m_groups.end(), found.begin(), found.end());
    if (!std::exchange(isFirst, false)) mergeGroups(m_groups);
  }
  return std::all_of(m_groups.begin(), m_groups.end(),
                     [this](zrhost::GroupMembers::Group group) { return addAll(m_index->ofGroup(group)); });
}

// The set gives them in the order of their priorities, in which they would come to stand anyhow.
bool QuickAsking::lookUpRanges(const char* address, ZrPolicyResultSet& ranges) {
  m_snapshot->bind(ranges);
  m_snapshot->lookUpRanges(address, ranges);
  const auto& results = ranges.m_setResult;
  const bool isDone = std::all_of(results.begin(), results.end(), [this](const ZrPolicyResult* result) {
    const ZrEPLink* const link = result->m_pEPLink;
    return add({link->m_priority, link, link->m_pPolicy, static_cast<const zrhost::SqlRule*>(result->m_pRule)});
  });
  ranges.cleanup();
  return isDone;
}

bool QuickAsking::addAll(zrhost::LinkIndex::Links links) {
  return std::all_of(links.begin(), links.end(), [this](const zrhost::LinkIndex::Entry& entry) {
    const auto& [policy, rule] = m_index->applying(entry);
    return add({entry.link->m_priority, entry.link, policy, rule});
  });
}

// The first of a policy stays; of equal priorities the first is in front.
bool QuickAsking::add(const Found& found) {
  Found* const end = m_found.data() + m_count;
  if (std::any_of(m_found.data(), end, [&found](const Found& each) { return each.policy == found.policy; }))
    return true;
  if (m_count == kMost) return false;
  Found* place = end;
  for (; place != m_found.data() && place[-1].priority > found.priority; --place)
    *place = place[-1];
  *place = found;
  ++m_count;
  return true;
}

}  // namespace zrlive
