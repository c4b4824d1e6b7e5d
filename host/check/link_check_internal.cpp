#include "host/check/link_check_internal.h"

#include <array>
#include <iterator>

#include "host/base/strict_number.h"
#include "host/check/address_check_internal.h"
#include "host/check/check_text_internal.h"
#include "host/check/name_check_internal.h"
#include "host/check/policy_check_internal.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

using EntityType = ZrPolicyCache::EntityType;

// Indexed by entity type.
constexpr std::array<const char*, 7> kWords = {"default", "user", "group", "host", "address", "range", "other key"};
static_assert(kWords.size() == std::size(g_rule_entity));

RowName rowName(const Field& linkId, const RowPlace& place) {
  return {"ep_link", {{"link_id", linkId}}, place};
}

std::optional<EntityType> knownType(const Field& field) {
  const auto number = field ? strictNumber(*field, ZrPolicyCache::USER, ZrPolicyCache::OTHER) : std::nullopt;
  return number ? std::optional(static_cast<EntityType>(*number)) : std::nullopt;
}

Fault unknownType(const Field& field) {
  std::string known;
  for (std::size_t type = ZrPolicyCache::USER; type < std::size(g_rule_entity); ++type)
    known += (known.empty() ? "" : ", ") + std::to_string(type) + ' ' + g_rule_entity[type];
  return {FindingCode::kUnknownType,
          "entity_type is " + (field ? quotedText(*field) : std::string("NULL")) + ", which is none",
          "use one of " + known};
}

bool isAddress(EntityType type) {
  return type == ZrPolicyCache::IP || type == ZrPolicyCache::IP_RANGE;
}

std::string numbered(const char* what, std::int32_t number) {
  return std::string(what) + ' ' + std::to_string(number);
}

}  // namespace

void LinkCheck::loaded(const LinkRow& row, const RowPlace* place) {
  const FiledLink filed = onlyLink(m_cache);
  checkText(filed.link->m_entityType, *row.entityName, filed);
  m_links.add(row, filed, place);
  m_cache.purgeEPLinkList();
  if (!m_faults.empty()) m_log.report(rowName(row.linkId, place == nullptr ? RowPlace{} : *place), m_faults);
}

// Everything that is wrong is told at once, so that the row need not be mended twice; a reason that is none of these is
// the loader's.
void LinkCheck::refused(const LinkRow& row, const std::string& reason, const RowPlace* place) {
  const auto type = knownType(row.entityType);
  const auto policyId = row.policyId ? strictNumber(*row.policyId, INT32_MIN, INT32_MAX) : std::nullopt;
  if (!type) m_faults.push_back(unknownType(row.entityType));
  if (policyId && m_cache.m_mapPolicy.count(static_cast<std::int32_t>(*policyId)) == 0) {
    m_faults.push_back(unknownPolicy("link", row.policyId));
  }
  if (type && row.entityName && isAddress(*type)) explainRefusedAddress(*type, *row.entityName, m_judge, m_faults);
  if (m_faults.empty()) {
    m_faults.push_back({FindingCode::kBadRow, "the row is not loaded: " + reason, "correct or remove the row"});
  }
  if (type && row.entityName && m_judge.takes(*type, *row.entityName)) {
    const ZrEPLink link = *m_judge.filed().link;  // a copy: the judge may be asked again on the way
    const std::string key(m_judge.filed().key);
    checkText(*type, *row.entityName, {&link, key});
  }
  m_log.report(rowName(row.linkId, place == nullptr ? RowPlace{} : *place), m_faults);
}

void LinkCheck::checkText(EntityType type, const std::string& text, const FiledLink& filed) {
  if (isAddress(type)) return checkAddress(text, *filed.link, m_judge, m_faults);
  const NameColumn name{kWords[static_cast<std::size_t>(type)], kEntityName, text};
  checkName(name, filed.key, type != ZrPolicyCache::HOSTNAME, m_faults);
  if (type == ZrPolicyCache::USER || type == ZrPolicyCache::GROUP) checkEntities(m_cache, name, m_faults);
}

bool LinkCheck::counts(std::int32_t policyId) const {
  return m_cache.m_mapPolicy.at(policyId)->getRuleByDateTime() != nullptr;
}

void LinkCheck::finish() {
  if (m_sweep) return;
  m_links.sortAsLoaded();
  m_sweep.emplace(m_links, m_judge, [this](std::int32_t policyId) { return counts(policyId); });
  const bool notes = m_log.wants(FindingCode::kEqualPriority) || m_log.wants(FindingCode::kCoveredRange);
  for (const LinkRelation& relation : m_sweep->run(notes)) {
    if (!m_log.wants(relation.code)) continue;
    m_log.report(rowName(std::to_string(m_links[relation.link].linkId), m_links.place(relation.link)),
                 faultOf(relation));
  }
}

bool LinkCheck::hasGroup(const std::string& name) const {
  return m_sweep->isFiled(ZrPolicyCache::GROUP, askedName(name));
}

std::string LinkCheck::shownEntity(LinkIndex index) const {
  return std::string("the ") + kWords[static_cast<std::size_t>(m_links[index].type)] + ' ' +
         quotedText(m_links.name(index));
}

Fault LinkCheck::faultOf(const LinkRelation& relation) const {
  const KeptLink& link = m_links[relation.link];
  const KeptLink& earlier = m_links[relation.earlier];
  const std::string entity = shownEntity(relation.link);
  const std::string other = numbered("link", earlier.linkId);
  switch (relation.code) {
    case FindingCode::kDuplicateLink:
      return {relation.code,
              entity + " has " + other + " to policy " + std::to_string(link.policyId) + " already, which comes first" +
                  (counts(link.policyId) ? " and alone counts" : "; neither counts, for want of a rule of kind 247"),
              "remove one of the two"};
    case FindingCode::kCoveredRange:
      return {relation.code,
              entity + " lies inside " + quotedText(m_links.name(relation.earlier)) + " of " + other +
                  ", which comes first and has the same policy",
              "remove it, or give it a smaller priority"};
    case FindingCode::kEqualPriority:
      return {relation.code,
              entity + " shares the priority " + std::to_string(link.priority) + " with " +
                  (link.type == ZrPolicyCache::IP_RANGE ? quotedText(m_links.name(relation.earlier)) + " of " : "") +
                  other + ": its smaller link_id decides that policy " + std::to_string(earlier.policyId) +
                  " comes before policy " + std::to_string(link.policyId),
              "give the two different priorities if their order matters"};
    default:
      return {relation.code, "there is a link of this link_id already", "give it a link_id of its own"};
  }
}

}  // namespace zrhost
