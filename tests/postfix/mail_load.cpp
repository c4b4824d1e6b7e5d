#include "postfix/mail_load.h"

#include <map>
#include <stdexcept>

#include "postfix/verdict.h"

namespace zrtest {
namespace {

std::string markOf(const std::string& message) {
  const std::size_t start = message.find("\nX-Mark: ") + 9;
  return message.substr(start, message.find('\n', start) - start);
}

std::map<std::string, std::vector<std::string>> messagesByMark(const PostfixServer& postfix) {
  std::map<std::string, std::vector<std::string>> found;
  for (std::string& message : postfix.delivered()) {
    const std::string mark = markOf(message);
    found[mark].push_back(std::move(message));
  }
  return found;
}

}  // namespace

MailLoad::MailLoad(MailSite& site, const std::vector<Mail>& mails, int clients)
    : m_site(site), m_mails(mails), m_actions(site.expectedActions(mails)) {
  for (int client = 0; client < clients; ++client)
    m_clients.emplace_back([this, client] { bringAll(client); });
}

void MailLoad::bringAll(int client) try {
  SmtpClient smtp(m_site.postfix().smtpSocket());
  for (std::size_t i = 0; !m_isEnding; ++i) {
    Brought one{(i + static_cast<std::size_t>(client)) % m_mails.size(),
                "load-" + std::to_string(client) + "-" + std::to_string(i), Outcome{}};
    one.outcome = smtp.bring(m_mails[one.mail], one.mark);
    ++m_brought;
    const std::lock_guard lock(m_mutex);
    m_log.push_back(one);
  }
} catch (const std::runtime_error& error) {
  const std::lock_guard lock(m_mutex);
  m_faults.push_back(error.what());
}

void MailLoad::waitForMore(int count) const {
  const int wanted = m_brought + count;
  comesTrue([&] { return m_brought >= wanted; });
}

void MailLoad::stop() {
  m_isEnding = true;
  for (std::thread& client : m_clients) {
    if (client.joinable()) client.join();
  }
}

LoadResult MailLoad::end() {
  stop();
  LoadResult result{.brought = m_brought, .deferred = 0, .faults = m_faults};
  std::map<std::string, std::string> rests;
  for (const Brought& one : m_log) {
    if (one.outcome.taken()) rests[one.mark] = m_site.postfix().restOf(one.outcome.queueId);
  }
  const auto messages = messagesByMark(m_site.postfix());
  for (const Brought& one : m_log) {
    if (one.outcome.reply.starts_with("450 4.3.5 ")) {
      ++result.deferred;
      continue;
    }
    const auto found = messages.find(one.mark);
    const std::string fault = faultOf(m_actions[one.mail], m_mails[one.mail], one.outcome, rests[one.mark],
                                      found == messages.end() ? std::vector<std::string>() : found->second);
    if (!fault.empty()) result.faults.push_back(one.mark + ", " + m_actions[one.mail] + ": " + fault);
  }
  return result;
}

std::vector<Mail> loadOfEveryVerdict() {
  return {{.login = "john@example.org"}, {.login = "intern@example.org"},        {.login = "mary@example.org"},
          {.login = "cook@example.org"}, {.hostName = "mx.partner.example.com"}, {.hostName = "a.partner.example.com"},
          {.address = "10.0.0.7"},       {.address = "10.0.0.66", .sender = ""}, {.address = "10.0.0.200"},
          {.login = "held@example.org"}};
}

}  // namespace zrtest
