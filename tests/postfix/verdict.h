#pragma once

#include <string>
#include <vector>

#include "postfix/postfix_server.h"
#include "postfix/smtp_client.h"

namespace zrtest {

// What became of a mail that a policy service answered with `action`: empty when it is what access(5) says of the
// action, else what is wrong. `rest` and `messages` are PostfixServer's answers for a mail that was taken.
std::string faultOf(const std::string& action, const Mail& mail, const Outcome& outcome, const std::string& rest,
                    const std::vector<std::string>& messages);

// Brings the mail and waits for what becomes of it; as faultOf.
std::string faultOfBringing(const PostfixServer& postfix, SmtpClient& client, const Mail& mail,
                            const std::string& action);

}  // namespace zrtest
