#include <gmock/gmock.h>

#include "host/host_test_support.h"

using testing::ElementsAre;
using testing::HasSubstr;
using zrhost::LoadReport;
using zrhost::RefusedRow;
using zrhost::Snapshot;

namespace zrtest {
namespace {

class Load : public EveryDatabase {};
INSTANTIATE_TEST_SUITE_P(, Load, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

TEST_P(Load, SampleIsCountedAndEachSnapshotHasAGenerationOfItsOwn) {
  init(true);
  const auto snapshot = load();
  EXPECT_NE(load()->generation(), snapshot->generation());
  const LoadReport& report = snapshot->report();
  EXPECT_EQ(report.refused, 0u);
  EXPECT_EQ(report.policies, 22u);
  EXPECT_EQ(report.rules, 24u);
  EXPECT_THAT(report.linksByType, ElementsAre(0u, 10u, 9u, 4u, 3u, 4u, 3u));
}

TEST_P(Load, LinksKeepTheOrderOfPriorityAndThenOfTheirIds) {
  init();
  place->run(
      "INSERT INTO policy VALUES (1, 1, 'p', 0); INSERT INTO policy_rule VALUES (1, 10, 1, 1, 'b', 0, ''),"
      "(1, 9, 2, 247, 'a', 0, '');"
      "INSERT INTO ep_link VALUES (10, 5, '1.1.1.1 ~ 1.1.1.2', 1, 5), (9, 5, '1.1.1.1 ~ 1.1.1.3', 1, 5),"
      "(11, 5, '1.1.1.1 ~ 1.1.1.4', 1, -3), (1, 5, '1.1.1.1 ~ 1.1.1.5', 1, 40);");
  const auto snapshot = load();
  std::vector<std::string> names;
  for (const ZrEPLink* link : snapshot->cache().m_vecIpRange)
    names.push_back(link->m_entityName);
  EXPECT_THAT(names, ElementsAre("1.1.1.1 ~ 1.1.1.4", "1.1.1.1 ~ 1.1.1.3", "1.1.1.1 ~ 1.1.1.2", "1.1.1.1 ~ 1.1.1.5"));
  EXPECT_STREQ(snapshot->cache().m_mapPolicy.at(1)->m_vecRule.front()->getRuleName(), "a");
}

TEST_P(Load, TextsOfAnyLengthAndBytesComeBackWhole) {
  init();
  const std::string name = std::string(200000, 'x') + "\xCE\xB1\xE4\xB8\xAD%s?''";
  place->run("INSERT INTO policy VALUES (1, 1, '" + name + "', 1); INSERT INTO policy VALUES (2, 1, '', 0);" +
             "INSERT INTO ep_link VALUES (1, 6, '" + name + "', 1, 1)");
  const auto snapshot = load();
  const ZrPolicyCache& cache = snapshot->cache();
  const std::string expected = name.substr(0, name.size() - 1);
  EXPECT_TRUE(cache.m_mapPolicy.at(1)->m_policyName == expected);
  EXPECT_EQ(cache.m_mapPolicy.at(2)->m_policyName, "");
  EXPECT_TRUE(cache.m_mapOther.begin()->first == expected);
}

TEST_P(Load, RowsThatCannotBeUsedAreNamedAndTheRestLoads) {
  const std::pair<const char*, const char*> rows[] = {
      {"policy VALUES (NULL, '1', 'n', '0')", "policy, policy_id NULL: policy_id is NULL"},
      {"policy VALUES ('2', NULL, 'n', '0')", "policy, policy_id 2: policy_type is NULL"},
      {"policy VALUES ('3', '1', NULL, '0')", "policy, policy_id 3: policy_name is NULL"},
      {"policy VALUES ('4', '1', 'n', '2')", "policy, policy_id 4: is_default is '2', not a whole number from 0 to 1"},
      {"policy VALUES ('2147483648', '1', 'n', '0')",
       "policy, policy_id 2147483648: policy_id is '2147483648', not a whole number from -2147483648 to 2147483647"},
      {"policy VALUES ('1', '1', 'n', '1')", "policy, policy_id 1: Failed to insert Policy object into m_mapPolicy"},
      {"policy_rule VALUES ('8', '1', '1', '1', 'n', '0', '')",
       "policy_rule, policy_id 8, position 1: there is no policy 8"},
      {"policy_rule VALUES ('1', '1x', '1', '1', 'n', '0', '')",
       "policy_rule, policy_id 1, position '1x': position is '1x', not a whole number from -2147483648 to 2147483647"},
      {"policy_rule VALUES ('1', '1', '1', '1', 'n', '0', NULL)",
       "policy_rule, policy_id 1, position 1: action is NULL"},
      {"policy_rule VALUES ('1', '2', '1', '1', NULL, '0', '')",
       "policy_rule, policy_id 1, position 2: rule_name is NULL"},
      {"policy_rule VALUES ('1', '3', '1', ' 1', 'n', '', '')",
       "policy_rule, policy_id 1, position 3: rule_type is ' 1', not a whole number from -2147483648 to 2147483647"},
      {"ep_link VALUES ('1', '1', 'u', '9', '1')", "ep_link, link_id 1: PolicyID is not valid [9]"},
      {"ep_link VALUES ('2', '7', 'u', '1', '1')", "ep_link, link_id 2: Unknow entity type"},
      {"ep_link VALUES ('3', '4', '1.2.3.400', '1', '1')", "ep_link, link_id 3: Invalid IP address - 1"},
      {"ep_link VALUES ('4', '5', '1.2.3.4 ~ x', '1', '1')", "ep_link, link_id 4: Invalid IP address - 2"},
      {"ep_link VALUES ('5', '4', '', '1', '1')", "ep_link, link_id 5: Empty string without IP address value"},
      {"ep_link VALUES ('6', '4', '   ', '1', '1')", "ep_link, link_id 6: entity_name holds no IP address"},
      {"ep_link VALUES ('7', '5', '1.2.3.4', '1', '1')",
       "ep_link, link_id 7: entity_name '1.2.3.4' is no range: two addresses with ' ~ ' between them are needed"},
      {"ep_link VALUES ('8', '1', NULL, '1', '1')", "ep_link, link_id 8: entity_name is NULL"},
      {"ep_link VALUES ('9', '1', 'u', '1', '1e3')",
       "ep_link, link_id 9: priority is '1e3', not a whole number from -2147483648 to 2147483647"},
      {"ep_link VALUES (NULL, '1', 'u', '1', '1')", "ep_link, link_id NULL: link_id is NULL"},
      {"group_member VALUES (NULL, 'u')", "group_member, group_name NULL, user_name 'u': group_name is NULL"},
      {"group_member VALUES ('g', NULL)", "group_member, group_name 'g', user_name NULL: user_name is NULL"},
      {"group_member VALUES ('', 'u')", "group_member, group_name '', user_name 'u': group_name is empty"},
  };
  makeLooseTables();
  std::vector<std::string> expected;
  std::string script;
  for (const auto& [insert, text] : rows) {
    script += std::string("INSERT INTO ") + insert + ";";
    expected.push_back(text);
  }
  place->run(
      script +
      "INSERT INTO policy_rule VALUES ('1', '5', '1', '247', 'r', '1', 'a'), ('1', '5', '2', '1', 'r', '0', 'a');"
      "INSERT INTO ep_link VALUES ('99', '1', '', '1', '1'); INSERT INTO group_member VALUES ('g', 'u');");
  expected.push_back("policy_rule, policy_id 1, position 5: the policy has a rule at this position already");
  std::vector<std::string> refused;
  const auto snapshot = load({.onRefused = [&](const RefusedRow& row) { refused.push_back(row.text()); }});
  const LoadReport& report = snapshot->report();
  EXPECT_THAT(refused, testing::UnorderedElementsAreArray(expected));
  EXPECT_EQ(report.refused, expected.size());
  EXPECT_THAT((std::vector{report.policies, report.rules, report.links(), report.members}), testing::Each(1u));
  EXPECT_EQ(report.revision, (zrhost::Revision{"e", 7, 2}));

  const Failure failure = failureOf([&] { load({.strict = true}); });
  EXPECT_EQ(failure.kind, ErrorKind::kBadRow);
  EXPECT_THAT(failure.text, HasSubstr("bad row in policy, policy_id "));
}

TEST(LoadPostgres, TextsOfADatabaseWithoutAnEncodingAreReadAsTheyStand) {
  PostgresServer& server = PostgresServer::shared();
  const std::string name = OdbcEntries::freshName();
  server.run("postgres",
             "CREATE DATABASE " + name + " ENCODING 'SQL_ASCII' TEMPLATE template0 LC_COLLATE 'C' LC_CTYPE 'C'");
  for (const char* driver : {"PostgreSQL Unicode", "PostgreSQL ANSI"}) {
    OdbcEntries entries;
    zrhost::DatabaseOptions options;
    options.dsn = OdbcEntries::freshName();
    options.user = PostgresServer::kUser;
    options.sqlDirectory = ZR_TEST_SCHEMA;
    entries.addPostgres(options.dsn, server.socketFolder(), name, driver);
    zrhost::PolicyDatabase::init(options, {false, true});
    server.run(name,
               "SET client_encoding = 'SQL_ASCII'; INSERT INTO policy VALUES (1, 1, E'J\\xf6rg', 0), (2, 1, "
               "'J\xc3\xb6rg', 0)");
    zrhost::PolicyDatabase database(options);
    const auto snapshot = Snapshot::load(database);
    EXPECT_EQ(snapshot->cache().m_mapPolicy.at(1)->m_policyName, "J\xf6rg") << driver;
    EXPECT_EQ(snapshot->cache().m_mapPolicy.at(2)->m_policyName, "J\xc3\xb6rg") << driver;
  }
}

}  // namespace
}  // namespace zrtest
