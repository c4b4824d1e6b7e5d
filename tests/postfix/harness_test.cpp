#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "postfix/constant_responder.h"
#include "postfix/guide.h"
#include "postfix/postfix_server.h"
#include "postfix/smtp_client.h"

namespace zrtest {
namespace {
TEST(Try, Out) {
  PostfixServer postfix(guideBlock("# /etc/postfix/main.cf"));
  SmtpClient client(postfix.smtpSocket());
  Mail mail;
  mail.login = "ren\xc3\xa9"
               "e@example.org";
  mail.hostName = "relay.example.org";
  int n = 0;
  for (const std::string action :
       {"DUNNO", "OK", "PREPEND X-A: b", "REJECT 5.7.1 no way", "DEFER_IF_PERMIT 4.7.1 later", "HOLD it",
        "REDIRECT deputy@example.org", "BCC archive@example.org", "DISCARD it", "WARN me", "FILTER smtp:[127.0.0.1]:1", "", "dunnoo"}) {
    auto responder = std::make_unique<ConstantResponder>(postfix.policySocket(), action);
    const auto start = std::chrono::steady_clock::now();
    Outcome o = client.bring(mail, std::to_string(++n));
    std::cerr << action << " -> " << o.reply << " ms "
              << std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    if (o.taken()) std::cerr << " rests " << postfix.restOf(o.queueId);
    std::cerr << "\n";
    for (auto& m : postfix.delivered(std::to_string(n))) std::cerr << m << "=====\n";
    if (n == 1) std::cerr << responder->requests().at(0);
    responder.reset();
    unlink(postfix.policySocket().c_str());
  }
  Outcome o = client.bring(mail, std::to_string(++n));
  std::cerr << o.reply << "\n" << postfix.log();
}
}  // namespace
}  // namespace zrtest
