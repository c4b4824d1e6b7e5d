// Asks one question as a host does it: which policies apply to this user, best first?
//
//   ask_one_question DSN USER-NAME
//
// DSN names a policy database in odbc.ini that needs no user and no password. Prints one line for each policy.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "db/ZrDataAccess.h"
#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace {

// The host's own kind of rule: the library knows of it only what ZrRule declares.
class Rule : public ZrRule {
 public:
  Rule(int id, int type, std::string name, bool ldap, std::string action)
      : m_id(id), m_name(std::move(name)), m_ldap(ldap), m_action(std::move(action)) {
    m_ruleType = type;
  }
  int getRuleId() const override { return m_id; }
  const char* getRuleName() const override { return m_name.c_str(); }
  bool containLDAPSetting() override { return m_ldap; }
  void logRuleSummary() override { PolicyLog::log(PolicyLog::LEVEL_INFO, "rule %d %s", m_id, m_name.c_str()); }
  const char* action() const { return m_action.c_str(); }

 private:
  int m_id;
  std::string m_name;
  bool m_ldap;
  std::string m_action;
};

void loadPolicies(ZrDbConnect& database, ZrPolicyCache& cache) {
  database.executeSQL("SELECT policy_id, policy_type, policy_name, is_default FROM policy ORDER BY policy_id",
                      ZrDbConnect::SQLTYPE_ANSI);
  while (database.fetchNextRow() == 0) {
    auto policy = std::make_unique<ZrPolicy>();
    policy->m_policyId = database.getColValInt("policy_id");
    policy->m_policyType = database.getColValInt("policy_type");
    policy->m_policyName = database.getColVal("policy_name");
    policy->m_isDefault = database.getColValInt("is_default") != 0;
    cache.addPolicy(policy.get());
    policy.release();  // the cache owns it now
  }
}

void loadRules(ZrDbConnect& database, ZrPolicyCache& cache) {
  database.executeSQL(
      "SELECT policy_id, rule_id, rule_type, rule_name, ldap_setting, action FROM policy_rule "
      "ORDER BY policy_id, position",
      ZrDbConnect::SQLTYPE_ANSI);
  while (database.fetchNextRow() == 0) {
    const auto policy = cache.m_mapPolicy.find(database.getColValInt("policy_id"));
    if (policy == cache.m_mapPolicy.end()) continue;
    policy->second->m_vecRule.push_back(
        new Rule(database.getColValInt("rule_id"), database.getColValInt("rule_type"), database.getColVal("rule_name"),
                 database.getColValInt("ldap_setting") != 0, database.getColVal("action")));
  }
}

void loadLinks(ZrDbConnect& database, ZrPolicyCache& cache) {
  database.executeSQL("SELECT entity_type, entity_name, policy_id, priority FROM ep_link ORDER BY priority, link_id",
                      ZrDbConnect::SQLTYPE_ANSI);
  while (database.fetchNextRow() == 0) {
    auto link = std::make_unique<ZrEPLink>();
    link->m_entityType = static_cast<ZrPolicyCache::EntityType>(database.getColValInt("entity_type"));
    link->m_entityName = database.getColVal("entity_name");
    link->m_policyId = database.getColValInt("policy_id");
    link->m_priority = database.getColValInt("priority");
    cache.addEPLink(link.get());
    link.release();
  }
}

void printAnswer(ZrPolicyResultSet& answer) {
  for (ZrPolicyResult* result = answer.getTopPriorityResult(); result != nullptr; result = answer.getNextResult()) {
    const auto* rule = static_cast<const Rule*>(result->getRule());
    std::printf("%d\t%s\t%s\n", result->getPriority(), result->getPolicyName(), rule->action());
  }
}

void ask(const char* dsn, char* user) {
  ZrDataAccess pool;
  pool.setDbReconnectTrial(1);
  pool.setDbRetrialTimeOut(0);
  pool.init("", 1, dsn, "", "");
  ZrPolicyCache cache;
  cache.m_generation = 1;
  ZrDbConnect* database = pool.getConnect();
  loadPolicies(*database, cache);
  loadRules(*database, cache);
  loadLinks(*database, cache);
  pool.returnConnect(database);

  ZrPolicyResultSet answer;
  answer.setRefInfo(&cache, cache.m_generation);
  cache.lookupPolicy(ZrPolicyCache::USER, user, &answer);
  cache.getDefaultPolicy(&answer);
  printAnswer(answer);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: ask_one_question DSN USER-NAME\n");
    return EXIT_FAILURE;
  }
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
  try {
    ask(argv[1], argv[2]);
  } catch (const char* reason) {  // takes fixed and formatted texts alike
    std::fprintf(stderr, "ask_one_question: %s\n", reason);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
