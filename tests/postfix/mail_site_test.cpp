#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>

#include "common/postgres_server.h"
#include "postfix/mail_load.h"
#include "postfix/verdict.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

const std::string kRenee = "ren\xc3\xa9\x65@example.org";

class MailSiteTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string reason = PostfixServer::whyNot(); !reason.empty()) GTEST_SKIP() << reason;
  }
};

void expectVerdicts(MailSite& site, const std::vector<Mail>& mails, const std::vector<std::string>& actions) {
  SmtpClient client(site.postfix().smtpSocket());
  for (std::size_t i = 0; i < mails.size(); ++i) {
    EXPECT_EQ(faultOfBringing(site.postfix(), client, mails[i], actions[i]), "")
        << mails[i].login << ' ' << mails[i].hostName << ' ' << mails[i].address << ": " << actions[i];
  }
}

TEST_F(MailSiteTest, SendersGetTheVerdictsThatLookupAnswers) {
  const std::vector<Mail> mails = {{.login = "john@example.org"},
                                   {.login = "John+lists@example.org"},
                                   {.login = kRenee},
                                   {.login = "held@example.org", .hostName = "relay1.example.org"},
                                   {.login = "intern@example.org"},
                                   {.login = "mary@example.org", .address = "10.0.0.7"},
                                   {.login = "cook@example.org"},
                                   {.hostName = "relay1.example.org"},
                                   {.hostName = "mx.partner.example.com"},
                                   {.hostName = "a.b.partner.example.com", .address = "IPV6:2001:db8::7"},
                                   {.hostName = "nagios.example.org", .address = "10.0.0.7"},
                                   {.address = "10.0.0.7"},
                                   {.address = "10.0.0.66", .sender = ""},
                                   {.address = "10.0.0.200"},
                                   {.address = "192.168.50.77", .sender = ""},
                                   {.hostName = "elsewhere.example.net"},
                                   {.address = "IPV6:2001:db8::7"}};
  MailSite site;
  site.startService();
  const std::vector<std::string> actions = site.expectedActions(mails);
  // Every way of asking and every kind of verdict is there, or the comparison would prove little.
  for (const char* word : {"BCC ", "REDIRECT ", "HOLD ", "REJECT ", "DEFER_IF_PERMIT ", "PREPEND X-Domain", "OK",
                           "PREPEND X-Partner", "PREPEND X-Network: servers", "PREPEND X-Network: office",
                           "PREPEND X-Network: branch", "DISCARD ", "PREPEND X-Policy: default"}) {
    EXPECT_THAT(actions, testing::Contains(testing::StartsWith(word)));
  }
  expectVerdicts(site, mails, actions);
  // A policy's OK is no leave to relay.
  SmtpClient client(site.postfix().smtpSocket());
  EXPECT_THAT(client.offer({.recipient = "x@example.net", .hostName = "relay1.example.org"}),
              HasSubstr("Relay access denied"));
}

TEST_F(MailSiteTest, RecipientsGetTheVerdictsThatLookupAnswers) {
  const std::vector<Mail> mails = {
      {.recipient = "john+lists@example.org"}, {.recipient = "cook@example.org"},
      {.recipient = "intern@example.org"},     {.recipient = "held@example.org"},
      {.recipient = "nobody@example.org"},     {.recipient = "x@example.org", .address = "10.0.0.66"}};
  MailSite site(" of the recipients' service");
  site.startService();
  const std::vector<std::string> actions = site.expectedActions(mails, true);
  EXPECT_EQ(std::count(actions.begin(), actions.end(), "DUNNO"), 2) << testing::PrintToString(actions);
  expectVerdicts(site, mails, actions);
}

TEST_F(MailSiteTest, ChangedRowRejectsTheNextMailsAndNoOther) {
  MailSite site;
  site.startService();
  const std::vector<Mail> others = {{.login = "mary@example.org"}, {.address = "10.0.0.7"}};
  MailLoad load(site, others, 2);
  SmtpClient client(site.postfix().smtpSocket());
  const Mail mail{.login = "fired@example.org"};
  EXPECT_EQ(client.offer(mail).substr(0, 3), "250");
  site.change(
      "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) VALUES"
      " (900, 1, 'fired@example.org', 16, 1)");
  const auto changed = std::chrono::steady_clock::now();
  EXPECT_TRUE(comesTrue([&] { return client.offer(mail).starts_with("554 5.7.1"); }));
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - changed;
  std::cout << "a changed row rejected after " << passed.count() << " s\n";
  const LoadResult result = load.end();
  EXPECT_GT(result.brought, 0);
  EXPECT_EQ(result.deferred, 0);
  EXPECT_THAT(result.faults, testing::IsEmpty());
}

TEST_F(MailSiteTest, DatabaseThatIsKilledAndStartedAgainChangesNoVerdict) {
  if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
  PostgresServer& server = PostgresServer::shared();
  // The service comes to the socket as a user of its own.
  outputOf("chmod 711 '" + server.socketFolder() + "'");
  MailSite site("", server.socketFolder(), server.createDatabase());
  site.startService();
  MailLoad load(site, loadOfEveryVerdict(), 2);
  load.waitForMore(100);
  server.stop(true);
  load.waitForMore(100);
  server.start();
  site.change("UPDATE policy_rule SET action = 'PREPEND X-Policy: changed' WHERE policy_id = 1");
  SmtpClient client(site.postfix().smtpSocket());
  // The new row is seen once the service has found the server again; the mails of the load do not meet the default.
  EXPECT_TRUE(comesTrue([&] {
    return faultOfBringing(site.postfix(), client, {.login = "new@example.org"}, "PREPEND X-Policy: changed").empty();
  })) << site.administration("/status");
  const LoadResult result = load.end();
  EXPECT_EQ(result.deferred, 0);
  EXPECT_THAT(result.faults, testing::IsEmpty());
}

TEST_F(MailSiteTest, ServiceThatIsKilledUnderLoadDefersMailAndLetsNoWrongVerdictOut) {
  MailSite site;
  site.startService();
  MailLoad load(site, loadOfEveryVerdict(), 4);
  for (int kills = 0; kills < 3; ++kills) {
    load.waitForMore(100);
    site.killService();
    load.waitForMore(2);  // each a second or two, since Postfix tries again
    site.startService();
  }
  load.waitForMore(100);
  const LoadResult result = load.end();
  std::cout << result.brought << " mails, " << result.deferred << " deferred\n";
  EXPECT_GT(result.deferred, 0);
  EXPECT_THAT(result.faults, testing::IsEmpty());
}

TEST_F(MailSiteTest, ThousandsOfMailsWithReloadsAllTheTimeGetTheirVerdicts) {
  MailSite site;
  site.startService();
  MailLoad load(site, loadOfEveryVerdict(), 4);
  for (int change = 0; change == 0 || load.brought() < 2400; ++change) {
    const std::string id = std::to_string(1000 + change);
    site.change("INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) VALUES (" + id +
                ", 1, 'new" + id + "@example.org', 16, 1)");
    load.waitForMore(20);
  }
  const LoadResult result = load.end();
  std::cout << result.brought << " mails; " << site.administration("/status") << '\n';
  EXPECT_EQ(result.deferred, 0);
  EXPECT_THAT(result.faults, testing::IsEmpty());
}

}  // namespace
}  // namespace zrtest
