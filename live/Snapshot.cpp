#include "live/Snapshot.h"

#include <new>

#include "host/load/Snapshot.h"
#include "host/load/SqlRule.h"
#include "live/answer_work_internal.h"
#include "support/PolicyLog.h"

namespace zrlive {
namespace {

using Kind = Question::Kind;

// One question while it is answered with the library's lookups: those that zrhost::ask makes, in the same order,
// without copies of keys and texts.
class Asking {
 public:
  Asking(const zrhost::Snapshot& snapshot, const Question& question, ZrPolicyResultSet& results,
         std::vector<zrhost::GroupMembers::Group>& groups)
      : m_snapshot(snapshot), m_question(question), m_results(results), m_groups(groups) {
    snapshot.bind(results);
  }
  // A set may outlive the snapshot once it is bound to none.
  ~Asking() { m_results.cleanup(); }
  Asking(const Asking&) = delete;
  Asking& operator=(const Asking&) = delete;

  void run() {
    const std::size_t lastUser = lastUserOf(m_question);
    for (std::size_t part = 0; part < m_question.size(); ++part) {
      lookUp(m_question.kind(part), m_question.key(part).data());
      if (part == lastUser) lookUpGroups();
    }
  }

 private:
  void lookUp(Kind kind, const char* key) {
    switch (kind) {
      case Kind::kUser:
        return m_snapshot.lookUp(ZrPolicyCache::USER, key, m_results);
      case Kind::kGroup:
        return m_snapshot.lookUp(ZrPolicyCache::GROUP, key, m_results);
      case Kind::kHost:
        return m_snapshot.lookUp(ZrPolicyCache::HOSTNAME, key, m_results);
      case Kind::kAddress:
        m_snapshot.lookUp(ZrPolicyCache::IP, key, m_results);
        return m_snapshot.lookUpRanges(key, m_results);
      case Kind::kOther:
        return m_snapshot.lookUp(ZrPolicyCache::OTHER, key, m_results);
      case Kind::kDefault:
        return m_snapshot.lookUpDefault(m_results);
      case Kind::kAll:
        return m_snapshot.lookUpAll(m_results);
    }
  }

  void lookUpGroups() {
    m_groups.clear();
    for (std::size_t part = 0; part < m_question.size(); ++part) {
      if (m_question.kind(part) != Kind::kUser) continue;
      const auto found = m_snapshot.groupsOf(m_question.key(part));
      m_groups.insert(m_groups.end(), found.begin(), found.end());
    }
    mergeGroups(m_groups);
    for (const auto group : m_groups)
      m_snapshot.lookUp(ZrPolicyCache::GROUP, m_snapshot.groupName(group), m_results);
  }

  const zrhost::Snapshot& m_snapshot;
  const Question& m_question;
  ZrPolicyResultSet& m_results;
  std::vector<zrhost::GroupMembers::Group>& m_groups;
};

// The names are taken from the objects and not from the accessors, whose texts would end at a zero byte. Every rule of
// a snapshot is a row of policy_rule.
Result resultOf(const ZrEPLink& link, const ZrPolicy& policy, const zrhost::SqlRule& rule) {
  return {link.m_priority,     policy.m_policyId, policy.m_policyType, static_cast<EntityType>(link.m_entityType),
          policy.m_policyName, link.m_entityName, rule.m_ruleId,       rule.m_ruleType,
          rule.m_ldapSetting,  rule.m_ruleName,   rule.m_action};
}

}  // namespace

Snapshot::~Snapshot() = default;

void Snapshot::ask(const Question& question, Answer& answer) const {
  answer.m_results.clear();
  if (!answer.m_work) answer.m_work = std::make_unique<Answer::Work>();
  Answer::Work& work = *answer.m_work;
  try {
    // At this level every lookup of the library is told.
    const bool isTold = PolicyLog::passes(PolicyLog::LEVEL_TRACE);
    if (!isTold && work.quick.ask(*m_inner, question, work.results)) {
      for (const QuickAsking::Found& found : work.quick)
        answer.m_results.push_back(resultOf(*found.link, *found.policy, *found.rule));
      return;
    }
    Asking asking(*m_inner, question, work.results, work.groups);
    asking.run();
    for (const ZrPolicyResult* found : work.results.m_setResult)
      answer.m_results.push_back(resultOf(*found->m_pEPLink, *found->m_pEPLink->m_pPolicy,
                                          static_cast<const zrhost::SqlRule&>(*found->m_pRule)));
  } catch (
      ...) {  // a question holds nothing that a lookup refuses: the library says in its own ways that memory ran out
    answer.m_results.clear();
    work.results.cleanup();  // the next question begins with what it holds
    throw std::bad_alloc();
  }
}

}  // namespace zrlive
