#include "host/check/Check.h"

#include <optional>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/check/action_check_internal.h"
#include "host/check/check_text_internal.h"
#include "host/check/finding_log_internal.h"
#include "host/check/link_check_internal.h"
#include "host/check/name_check_internal.h"
#include "host/check/policy_check_internal.h"
#include "host/load/CacheSink.h"

namespace zrhost {
namespace {

constexpr const char* kGroup = "group_name";
constexpr const char* kUser = "user_name";

std::string shownValue(const Field& value) {
  if (!value) return "NULL";
  return strictNumber(*value, INT64_MIN, INT64_MAX) ? *value : "'" + shortened(*value) + "'";
}

}  // namespace

std::string RowName::text() const {
  std::string text = table;
  for (const ColumnValue& each : key)
    text += ", " + each.column + ' ' + shownValue(each.value);
  return text;
}

// Rows go through the sink that loads them into a cache. It keeps the policies; a link is looked at and dropped.
struct CheckSink::Parts {
  explicit Parts(const CheckOptions& checkOptions)
      : options(checkOptions), log(checkOptions), links(cache, judge, log), policies(cache, log) {
    loading.onProgress = checkOptions.onProgress;
    loading.onRefused = [this](const RefusedRow& row) { refusal = row.reason; };
  }

  RowName row(const char* table, std::vector<ColumnValue> key) const {
    return {table, std::move(key), options.place == nullptr ? RowPlace{} : *options.place};
  }

  // Loads a row; answers why it was refused.
  template <class Row>
  std::optional<std::string> load(void (CacheSink::*take)(Row&), Row& row) {
    refusal.reset();
    (loader.*take)(row);
    return refusal;
  }

  // Why a member is a bad row: the loader's reason, or the tables'. That a name is empty is told by its own code.
  std::optional<std::string> memberFault(const MemberRow& member, const std::optional<std::string>& loading) const {
    if (!member.groupName || !member.userName) return std::string(member.groupName ? kUser : kGroup) + " is NULL";
    if (member.groupName->empty() || member.userName->empty()) return std::nullopt;
    const bool isThere =
        lastMember && lastMember->groupName == member.groupName && lastMember->userName == member.userName;
    return isThere ? std::optional<std::string>("the group has this member already") : loading;
  }

  void checkMember(const RowName& name, const MemberRow& member, const std::optional<std::string>& loading) {
    if (const auto fault = memberFault(member, loading)) {
      faults.push_back({FindingCode::kBadRow, "the row cannot be used: " + *fault, "correct or remove the row"});
    }
    const Field& group = member.groupName;
    const bool isNewGroup = group && member.userName && !group->empty() && lastGroup != group;
    if (group) checkName({"member's group", kGroup, *group}, *group, true, faults);
    if (member.userName) checkName({"member", kUser, *member.userName}, *member.userName, true, faults);
    if (isNewGroup && log.wants(FindingCode::kUnusedGroup) && !links.hasGroup(*group)) {
      faults.push_back({FindingCode::kUnusedGroup, "no link names the group " + quotedText(*group),
                        "link it to a policy, or remove its members"});
    }
    if (isNewGroup) lastGroup = group;
    log.report(name, faults);
  }

  const CheckOptions& options;
  FindingLog log;
  ZrPolicyCache cache;
  GroupMembers members;
  LinkJudge judge;
  LoadOptions loading;
  LoadReport report;
  CacheSink loader{cache, members, loading, report};
  LinkCheck links;
  PolicyCheck policies;
  std::optional<std::string> refusal;
  std::vector<Fault> faults;
  LinkRow linkRow;
  std::optional<MemberRow> lastMember;
  Field lastGroup;  // that has a member
};

CheckSink::CheckSink(const CheckOptions& options) : m_parts(std::make_unique<Parts>(options)) {}

CheckSink::~CheckSink() = default;

void CheckSink::onRevision(const Revision& revision) {
  m_parts->loader.onRevision(revision);
}

void CheckSink::onPolicy(PolicyRow& row) {
  const RowName name = m_parts->row("policy", {{"policy_id", row.policyId}});
  const auto refusal = m_parts->load(&CacheSink::onPolicy, row);
  if (!refusal) return m_parts->policies.add(name);
  m_parts->log.report(name, {FindingCode::kBadRow, "the row is not loaded: " + *refusal, "correct or remove the row"});
}

void CheckSink::onRule(RuleRow& row) {
  const RowName name = m_parts->row("policy_rule", {{"policy_id", row.policyId}, {"position", row.position}});
  const bool isSelectable = row.ruleType && strictNumber(*row.ruleType, ZrRule::kSelectedKind, ZrRule::kSelectedKind);
  if (isSelectable && row.action) checkAction(*row.action, m_parts->options.postfixActions, m_parts->faults);
  const Field policyId = row.policyId;
  const auto refusal = m_parts->load(&CacheSink::onRule, row);
  if (refusal && m_parts->policies.isUnknown(policyId)) {
    m_parts->log.report(name, unknownPolicy("rule", policyId));
  } else if (refusal) {
    m_parts->log.report(name,
                        {FindingCode::kBadRow, "the row is not loaded: " + *refusal, "correct or remove the row"});
  }
  m_parts->log.report(name, m_parts->faults);
}

void CheckSink::onLink(LinkRow& row) {
  m_parts->linkRow = row;  // the loader moves texts out
  m_parts->policies.countLink(row.policyId);
  const auto refusal = m_parts->load(&CacheSink::onLink, row);
  if (refusal) {
    m_parts->links.refused(m_parts->linkRow, *refusal, m_parts->options.place);
  } else {
    m_parts->links.loaded(m_parts->linkRow, m_parts->options.place);
  }
}

void CheckSink::onMember(MemberRow& row) {
  m_parts->links.finish();
  const RowName name = m_parts->row("group_member", {{kGroup, row.groupName}, {kUser, row.userName}});
  MemberRow member = row;
  const auto refusal = m_parts->load(&CacheSink::onMember, row);
  m_parts->checkMember(name, member, refusal);
  m_parts->lastMember = std::move(member);
}

CheckSummary CheckSink::finish() {
  m_parts->links.finish();
  m_parts->policies.finish();
  return m_parts->log.summary();
}

CheckSummary checkRows(RowSource& source, const CheckOptions& options) {
  CheckSink sink(options);
  source.read(sink);
  return sink.finish();
}

}  // namespace zrhost
