#include "host/database/PolicyDatabase.h"

#include "host/database/session_internal.h"

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

void readLinks(Session& session, RowSink& sink) {
  session.run("read_links.sql");
  for (LinkRow row; session.next(); sink.onLink(row)) {
    session.take("link_id", row.linkId);
    session.take("entity_type", row.entityType);
    session.take("entity_name", row.entityName);
    session.take("policy_id", row.policyId);
    session.take("priority", row.priority);
  }
}

}  // namespace

struct PolicyDatabase::Parts : Source {
  using Source::Source;
};

PolicyDatabase::PolicyDatabase(const DatabaseOptions& options) : m_parts(std::make_unique<Parts>(options)) {}

PolicyDatabase::~PolicyDatabase() = default;

Revision PolicyDatabase::read(RowSink& sink) {
  Session session(*m_parts);
  Transaction transaction(session, "begin_read.sql", "end_read.sql");
  Revision revision = readRevision(session);
  sink.onRevision(revision);
  readPolicies(session, sink);
  readRules(session, sink);
  readLinks(session, sink);
  return revision;
}

Revision PolicyDatabase::revision() {
  Session session(*m_parts);
  Transaction transaction(session, "begin_read.sql", "end_read.sql");
  return readRevision(session);
}

}  // namespace zrhost
