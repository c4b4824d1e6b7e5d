#include "postfix/verdict.h"

#include <atomic>
#include <set>

namespace zrtest {
namespace {

using Recipients = std::set<std::string>;

Recipients recipientsOf(const std::string& message) {
  const std::string words = "X-Rcpt-Args: <";
  Recipients found;
  for (std::size_t at = message.find(words); at != std::string::npos; at = message.find(words, at + 1)) {
    const std::size_t start = at + words.size();
    found.insert(message.substr(start, message.find('>', start) - start));
  }
  return found;
}

// The lines between what the sink wrote and what Postfix wrote itself.
std::string prependedTo(const std::string& message) {
  const std::size_t start = message.find("(UTC)\n") + 6;
  return message.substr(start, message.find("Received: from client.example.com", start) - start);
}

std::string faultOfMessage(const std::string& word, const std::string& text, const Mail& mail,
                           const std::vector<std::string>& messages) {
  if (word == "DISCARD") return messages.empty() ? "" : "delivered";
  if (messages.size() != 1) return "delivered " + std::to_string(messages.size()) + " times";
  Recipients wanted = {word == "REDIRECT" ? text : mail.recipient};
  if (word == "BCC") wanted.insert(text);
  if (recipientsOf(messages[0]) != wanted) return "other recipients: " + messages[0];
  const std::string header = word == "PREPEND" ? text + "\n" : "";
  return prependedTo(messages[0]) == header ? "" : "other headers: " + messages[0];
}

}  // namespace

std::string faultOf(const std::string& action, const Mail& mail, const Outcome& outcome, const std::string& rest,
                    const std::vector<std::string>& messages) {
  const std::size_t blank = action.find(' ');
  const std::string word = action.substr(0, blank);
  const std::string text = blank == std::string::npos ? "" : action.substr(blank + 1);
  if (word == "REJECT" || word == "DEFER_IF_PERMIT") {
    const std::size_t code = text.find(' ');
    const std::string refusal = (word == "REJECT" ? "554 " : "450 ") + text.substr(0, code) + " <" + mail.recipient +
                                ">: Recipient address rejected:" + text.substr(code);
    return outcome.reply == refusal ? "" : "answered " + outcome.reply;
  }
  if (!outcome.taken()) return "answered " + outcome.reply;
  const std::string place = word == "HOLD" ? "hold" : word == "FILTER" ? "deferred" : "gone";
  if (rest != place) return "is " + rest;
  return place == "gone" ? faultOfMessage(word, text, mail, messages) : "";
}

std::string faultOfBringing(const PostfixServer& postfix, SmtpClient& client, const Mail& mail,
                            const std::string& action) {
  static std::atomic<int> brought{0};
  const std::string mark = "single-" + std::to_string(++brought);
  const Outcome outcome = client.bring(mail, mark);
  const std::string rest = outcome.taken() ? postfix.restOf(outcome.queueId) : "";
  return faultOf(action, mail, outcome, rest, outcome.taken() ? postfix.delivered(mark) : std::vector<std::string>());
}

}  // namespace zrtest
