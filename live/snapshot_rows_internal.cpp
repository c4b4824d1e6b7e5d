#include "live/snapshot_rows_internal.h"

#include "host/load/SqlRule.h"

namespace zrlive {
namespace {

void setNumber(zrhost::Field& field, std::int64_t number) {
  field = std::to_string(number);
}

// Links of one key, and all ranges, stand in ascending (priority, link_id): rising numbers keep that order, and nothing
// else depends on it.
class LinkNumbers {
 public:
  explicit LinkNumbers(zrhost::RowSink& sink) : m_sink(sink) {}

  void give(const ZrEPLink& link) {
    setNumber(m_row.linkId, ++m_last);
    setNumber(m_row.entityType, static_cast<int>(link.m_entityType));
    m_row.entityName = link.m_entityName;
    setNumber(m_row.policyId, link.m_policyId);
    setNumber(m_row.priority, link.m_priority);
    m_sink.onLink(m_row);
  }

 private:
  zrhost::RowSink& m_sink;
  zrhost::LinkRow m_row;
  std::int64_t m_last = 0;
};

}  // namespace

zrhost::Revision SnapshotRows::read(zrhost::RowSink& sink) {
  sink.onRevision(m_snapshot.report().revision);
  readPolicies(sink);
  readRules(sink);
  readLinks(sink);
  readMembers(sink);
  return m_snapshot.report().revision;
}

void SnapshotRows::readPolicies(zrhost::RowSink& sink) const {
  zrhost::PolicyRow row;
  for (const auto& [id, policy] : m_snapshot.cache().m_mapPolicy) {
    setNumber(row.policyId, id);
    setNumber(row.policyType, policy->m_policyType);
    row.policyName = policy->m_policyName;
    setNumber(row.isDefault, policy->m_isDefault ? 1 : 0);
    sink.onPolicy(row);
  }
}

void SnapshotRows::readRules(zrhost::RowSink& sink) const {
  zrhost::RuleRow row;
  for (const auto& [id, policy] : m_snapshot.cache().m_mapPolicy) {
    int position = 0;
    for (ZrRule* const each : policy->m_vecRule) {
      const auto& rule = static_cast<const zrhost::SqlRule&>(*each);
      setNumber(row.policyId, id);
      setNumber(row.position, ++position);
      setNumber(row.ruleId, rule.m_ruleId);
      setNumber(row.ruleType, rule.m_ruleType);
      row.ruleName = rule.m_ruleName;
      setNumber(row.ldapSetting, rule.m_ldapSetting ? 1 : 0);
      row.action = rule.m_action;
      sink.onRule(row);
    }
  }
}

void SnapshotRows::readLinks(zrhost::RowSink& sink) const {
  const ZrPolicyCache& cache = m_snapshot.cache();
  LinkNumbers numbers(sink);
  for (const auto* map : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther})
    for (const auto& [key, link] : *map)
      numbers.give(*link);
  for (const auto& [address, link] : cache.m_mapIp)
    numbers.give(*link);
  for (const ZrEPLink* link : cache.m_vecIpRange)
    numbers.give(*link);
}

void SnapshotRows::readMembers(zrhost::RowSink& sink) const {
  const zrhost::GroupMembers& members = m_snapshot.members();
  zrhost::MemberRow row;
  for (std::uint32_t user = 0; user < members.users(); ++user) {
    const std::string name(members.user(user));
    for (const auto group : members.groupsOf(name)) {
      row.groupName = members.name(group);
      row.userName = name;
      sink.onMember(row);
    }
  }
}

}  // namespace zrlive
