#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "postfix/constant_responder.h"
#include "postfix/guide.h"
#include "postfix/verdict.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

class HarnessTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string reason = PostfixServer::whyNot(); !reason.empty()) GTEST_SKIP() << reason;
  }
};

TEST_F(HarnessTest, EveryActionIsToldFromWhatBecomesOfTheMail) {
  const PostfixServer postfix(guideBlock("# /etc/postfix/main.cf"));
  ConstantResponder responder(postfix.policySocket(), "DUNNO");
  SmtpClient client(postfix.smtpSocket());
  const std::string actions[] = {"DUNNO",
                                 "OK",
                                 "PREPEND X-A: b",
                                 "REJECT 5.7.1 no way",
                                 "DEFER_IF_PERMIT 4.7.1 later",
                                 "HOLD it",
                                 "REDIRECT deputy@example.org",
                                 "BCC archive@example.org",
                                 "DISCARD it",
                                 "FILTER smtp:[127.0.0.1]:1"};
  for (const std::string& action : actions) {
    responder.setAction(action);
    EXPECT_EQ(faultOfBringing(postfix, client, Mail{}, action), "") << action;
    // A mail that was treated otherwise is noticed.
    EXPECT_NE(faultOfBringing(postfix, client, Mail{}, "PREPEND X-Other: c"), "") << action;
  }
}

TEST_F(HarnessTest, AttributesArriveAsTheClientWasMadeToHaveThem) {
  const PostfixServer postfix(guideBlock("# /etc/postfix/main.cf"));
  ConstantResponder responder(postfix.policySocket(), "DUNNO");
  SmtpClient client(postfix.smtpSocket());
  Mail mail{.login = "ren\xc3\xa9\x65@example.org", .hostName = "relay.example.org", .address = "IPV6:2001:db8::7"};
  mail.sender = "";
  client.offer(mail);
  client.offer(Mail{});
  ASSERT_EQ(responder.requests().size(), 2U);
  for (const char* line : {"client_address=2001:db8::7\n", "client_name=relay.example.org\n", "sender=\n",
                           "sasl_username=ren\xc3\xa9\x65@example.org\n"}) {
    EXPECT_THAT(responder.requests()[0], HasSubstr(line));
  }
  EXPECT_THAT(responder.requests()[1], HasSubstr("client_name=unknown\n"));
  EXPECT_THAT(responder.requests()[1], HasSubstr("sasl_username=\n"));
}

TEST_F(HarnessTest, ServiceThatIsNotThereOrSaysNothingDefersMail) {
  const PostfixServer postfix(guideBlock("# /etc/postfix/main.cf"));
  const std::string action = "DEFER_IF_PERMIT 4.3.5 the policy service does not answer";
  SmtpClient client(postfix.smtpSocket());
  EXPECT_EQ(faultOfBringing(postfix, client, Mail{}, action), "");
  const ConstantResponder responder(postfix.policySocket(), "");
  EXPECT_EQ(faultOfBringing(postfix, client, Mail{}, action), "");
}

}  // namespace
}  // namespace zrtest
