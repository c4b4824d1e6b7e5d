#include "host/explain/near_links_internal.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_set>

#include "host/explain/entity_text_internal.h"
#include "host/explain/near_name_internal.h"

namespace zrhost {

namespace {

constexpr std::size_t kMostNear = 20;
constexpr std::uint64_t kNeighbourhood = 65536;  // addresses

// How near a link comes: the rank first, then the distance within it.
struct Nearness {
  int rank;
  std::uint64_t distance;
  std::string difference;
  bool isAbove = false;  // of neighbours
  bool operator<(const Nearness& other) const {
    return rank != other.rank ? rank < other.rank : distance < other.distance;
  }
};
using Near = std::optional<Nearness>;

enum Rank { kSpelling, kNotAsked, kOtherType, kNeighbour, kOneCharacter };

bool isAddress(ZrPolicyCache::EntityType type) {
  return type == ZrPolicyCache::IP || type == ZrPolicyCache::IP_RANGE;
}

Near neighbour(const ZrEPLink& link, std::uint32_t address) {
  const std::uint64_t from = addressValue(link.m_ipFrom);
  const std::uint64_t to = link.m_entityType == ZrPolicyCache::IP ? from : addressValue(link.m_ipTo);
  if (from > to) {
    if (address < to || address > from) return std::nullopt;
    return Nearness{kNeighbour, 0, "its first address is above its last, so no address lies in it"};
  }
  const std::uint64_t distance = address < from ? from - address : address - to;
  if (distance > kNeighbourhood) return std::nullopt;
  const bool isAbove = from > address;
  const std::string verb = link.m_entityType == ZrPolicyCache::IP ? "is " : isAbove ? "begins " : "ends ";
  const std::string away = std::to_string(distance) + (distance == 1 ? " address " : " addresses ");
  return Nearness{kNeighbour, distance, "it " + verb + away + (isAbove ? "above " : "below ") + dotted(address),
                  isAbove};
}

Near nameNearness(const ZrEPLink& link, const ExplainedSearch& search) {
  const NameDifference difference = compareNames(link, search.key);
  const bool sameType = search.type == link.m_entityType;
  if (difference.isOneCharacter) {
    if (!sameType) return std::nullopt;
    return Nearness{kOneCharacter, 0, "one character differs from " + inQuotes(search.key)};
  }
  if (!difference.isSame) return std::nullopt;
  if (sameType) return Nearness{kSpelling, 0, difference.spelling};
  const std::string types = std::string("it is a link of type ") + entityTypeName(link.m_entityType) + ", asked was " +
                            entityTypeName(search.type);
  return Nearness{kOtherType, 0, types + (difference.spelling.empty() ? "" : "; " + difference.spelling)};
}

Near nearness(const ZrEPLink& link, const ExplainedSearch& search) {
  if (search.key.empty()) return std::nullopt;
  if (isAddress(search.type) && isAddress(link.m_entityType)) {
    return search.type == link.m_entityType ? neighbour(link, addressValue(search.key.c_str())) : std::nullopt;
  }
  return nameNearness(link, search);
}

// What the question leaves out altogether.
class NotAsked {
 public:
  explicit NotAsked(const Asked& asked) {
    for (const QuestionPart& part : asked.question) {
      m_groups = m_groups || part.kind == QuestionPart::Kind::kGroups;
      m_all = m_all || part.kind == QuestionPart::Kind::kAll;
      if (isUser(part)) addGroups(asked.snapshot, part.key);
    }
  }

  Near nearness(const ZrEPLink& link, const std::string& name) const {
    const auto type = link.m_entityType;
    if (type == ZrPolicyCache::DEFAULT) return Nearness{kNotAsked, 0, "the default policy was not asked: --default"};
    if (type == ZrPolicyCache::GROUP && !m_groups && m_namesOfGroups.contains(name)) {
      return Nearness{kNotAsked, 0,
                      "a user of the question is in this group, but groups were not asked: --with-groups"};
    }
    if (!m_all || (type != ZrPolicyCache::HOSTNAME && !isAddress(type))) return std::nullopt;
    return Nearness{kOtherType, 0,
                    std::string("it is a link of type ") + entityTypeName(type) + ", which is no part of all"};
  }

 private:
  void addGroups(const Snapshot& snapshot, const std::string& user) {
    for (const GroupMembers::Group group : snapshot.groupsOf(user))
      m_namesOfGroups.insert(Snapshot::searched(ZrPolicyCache::GROUP, snapshot.groupName(group)));
  }

  bool m_groups = false;
  bool m_all = false;
  std::unordered_set<std::string> m_namesOfGroups;
};

std::unordered_set<const ZrEPLink*> metLinks(const std::vector<ExplainedSearch>& searches) {
  std::unordered_set<const ZrEPLink*> links;
  for (const ExplainedSearch& search : searches) {
    for (const MetLink& met : search.links)
      links.insert(met.link);
  }
  return links;
}

struct Candidate {
  const ZrEPLink* link;
  Nearness nearness;
};

// The neighbours of an address are the nearest on either side; what lies behind them is no neighbour.
void keepNeighbours(std::vector<Candidate>& candidates) {
  int below = 0, above = 0;
  const auto isBehind = [&below, &above](const Candidate& each) {
    if (each.nearness.rank != kNeighbour || each.nearness.distance == 0) return false;
    return (each.nearness.isAbove ? above++ : below++) > 0;
  };
  candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isBehind), candidates.end());
}

}  // namespace

std::vector<NearLink> nearLinks(const Asked& asked, const std::vector<const ZrEPLink*>& links) {
  const auto met = metLinks(asked.searches);
  const NotAsked notAsked(asked);
  std::vector<Candidate> candidates;
  for (const ZrEPLink* link : links) {
    if (met.contains(link)) continue;
    Near nearest = notAsked.nearness(*link, filedName(*link));
    for (const ExplainedSearch& search : asked.searches) {
      Near near = nearness(*link, search);
      if (near && (!nearest || *near < *nearest)) nearest = std::move(near);
    }
    if (nearest) candidates.push_back({link, std::move(*nearest)});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.nearness < b.nearness; });
  keepNeighbours(candidates);
  std::vector<NearLink> near;
  for (std::size_t i = 0; i < std::min(candidates.size(), kMostNear); ++i)
    near.push_back({candidates[i].link, std::move(candidates[i].nearness.difference)});
  return near;
}

}  // namespace zrhost
