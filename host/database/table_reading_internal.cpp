#include "host/database/table_reading_internal.h"

#include "host/database/link_batches_internal.h"

namespace zrhost {
namespace {

void readPolicies(Session& session, RowSink& sink) {
  session.run("read_policies.sql");
  for (PolicyRow row; session.next(); sink.onPolicy(row)) {
    session.take("policy_id", row.policyId);
    session.take("policy_type", row.policyType);
    session.take("policy_name", row.policyName);
    session.take("is_default", row.isDefault);
  }
}

void readRules(Session& session, RowSink& sink) {
  session.run("read_rules.sql");
  for (RuleRow row; session.next(); sink.onRule(row)) {
    session.take("policy_id", row.policyId);
    session.take("position", row.position);
    session.take("rule_id", row.ruleId);
    session.take("rule_type", row.ruleType);
    session.take("rule_name", row.ruleName);
    session.take("ldap_setting", row.ldapSetting);
    session.take("action", row.action);
  }
}

void readLinks(Session& session, RowSink& sink, const char* statement) {
  session.run(statement);
  for (LinkRow row; session.next(); sink.onLink(row))
    takeLink(session, row);
}

void readMembers(Session& session, RowSink& sink) {
  session.run("read_members.sql");
  for (MemberRow row; session.next(); sink.onMember(row)) {
    session.take("group_name", row.groupName);
    session.take("user_name", row.userName);
  }
}

template <typename ReadLinks>
void readAll(Session& session, const Revision& revision, RowSink& sink, ReadLinks readTheLinks) {
  sink.onRevision(revision);
  readPolicies(session, sink);
  readRules(session, sink);
  readTheLinks();
  if (revision.schemaVersion >= 2) readMembers(session, sink);
}

}  // namespace

void takeLink(Session& session, LinkRow& row) {
  session.take("link_id", row.linkId);
  session.take("entity_type", row.entityType);
  session.take("entity_name", row.entityName);
  session.take("policy_id", row.policyId);
  session.take("priority", row.priority);
}

void readTables(Session& session, const Revision& revision, RowSink& sink, const char* linkStatement) {
  readAll(session, revision, sink, [&] { readLinks(session, sink, linkStatement); });
}

void readTablesByKey(Session& session, const Revision& revision, RowSink& sink) {
  readAll(session, revision, sink, [&] {
    if (!readLinkBatches(session, sink)) readLinks(session, sink, kByKey);
  });
}

}  // namespace zrhost
