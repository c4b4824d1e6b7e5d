#include "postfix/mail_site.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "postfix/guide.h"
#include "postfix/unix_socket.h"

namespace zrtest {
namespace {

// What the sample data has no example of: a hold, a deferral, a host's parent domain, a default that is seen.
constexpr const char* kMoreRows[] = {
    "INSERT INTO policy (policy_id, policy_type, policy_name, is_default) VALUES (70, 2, 'Review', 0)",
    "INSERT INTO policy_rule (policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action)"
    " VALUES (70, 1, 170, 247, 'Always', 0, 'HOLD for review')",
    "INSERT INTO policy (policy_id, policy_type, policy_name, is_default) VALUES (71, 4, 'Domain', 0)",
    "INSERT INTO policy_rule (policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action)"
    " VALUES (71, 1, 171, 247, 'Always', 0, 'PREPEND X-Domain: partner')",
    "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority)"
    " VALUES (70, 1, 'held@example.org', 70, 10)",
    "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority)"
    " VALUES (71, 3, '.partner.example.com', 71, 30)",
    "INSERT INTO group_member (group_name, user_name) VALUES ('caf\xc3\xa9', 'cook@example.org')",
    "UPDATE policy_rule SET action = 'PREPEND X-Policy: default' WHERE policy_id = 1"};

void addUsers(std::string& question, const std::string& user) {
  if (user.empty()) return;
  question += "user " + user + "\t";
  const std::size_t plus = user.find('+');
  if (plus != std::string::npos) question += "user " + user.substr(0, plus) + user.substr(user.find('@')) + "\t";
}

// The line for "zrpolicy lookup --stdin", made from the mail as [questions] says.
std::string questionOf(const Mail& mail, bool isInbound) {
  std::string question;
  addUsers(question, isInbound ? mail.recipient : mail.login);
  if (isInbound) return question.substr(0, question.size() - 1);
  for (std::string host = mail.hostName; !host.empty();) {
    question += "host " + host + "\t";
    const std::size_t dot = host.find('.', 1);
    host = dot == std::string::npos ? "" : host.substr(dot);
  }
  if (mail.address.find(':') == std::string::npos) question += "ip " + mail.address + "\t";
  return question + "default";
}

std::string receiveAll(int descriptor) {
  std::string text;
  char buffer[4096];
  for (ssize_t size; (size = recv(descriptor, buffer, sizeof buffer, 0)) > 0;)
    text.append(buffer, static_cast<std::size_t>(size));
  return text;
}

}  // namespace

MailSite::MailSite(const std::string& variant, const std::string& serverFolder, const std::string& database)
    : m_serverFolder(serverFolder),
      m_database(database.empty() ? m_folder.file("policy.db") : database),
      m_postfix(guideBlock("# /etc/postfix/main.cf" + variant)) {
  const std::string folder = m_folder.path().string();
  std::string settings = guideBlock("# /etc/zrpolicy/zrpolicy.conf" + variant);
  settings = replaced(settings, "user = zrpolicy\n", "user = nobody\n");
  settings = replaced(settings, "/var/spool/postfix", m_postfix.queueFolder());
  settings = replaced(replaced(settings, "/var/lib/zrpolicy", folder), "/run/zrpolicy", folder);
  settings = replaced(settings, "/var/log/zrpolicy", folder);
  if (!serverFolder.empty()) {
    settings = replaced(settings, "file = " + folder + "/policy.db", "dsn = policies\nuser = postgres");
    m_environment["ODBCINI"] =
        m_folder.write("odbc.ini", "[policies]\nDriver=PostgreSQL Unicode\nServername=" + serverFolder +
                                       "\nPort=5432\nDatabase=" + database + "\n");
  }
  m_folder.write("zrpolicy.conf", settings);
  std::vector<std::string> words = {"init", "--sample"};
  for (const std::string& word : databaseOptions())
    words.push_back(word);
  CommandSetup setup;
  setup.environment = m_environment;
  const CommandResult made = runCommand(words, setup);
  if (made.status != 0) throw std::runtime_error(made.err);
  for (const char* statement : kMoreRows)
    change(statement);
  outputOf("chmod 755 '" + folder + "' && chown -R nobody '" + folder + "'");
}

std::vector<std::string> MailSite::databaseOptions() const {
  if (m_serverFolder.empty()) return {"--database", m_database};
  return {"--dsn", "policies", "--db-user", PostgresServer::kUser};
}

void MailSite::startService() {
  m_service =
      std::make_unique<ChildProcess>(std::vector<std::string>{ZR_DAEMON, "--config", m_folder.file("zrpolicy.conf")},
                                     m_folder.file("service.log"), m_environment);
  if (!comesTrue([&] { return administration("/health/ready").find("200 OK") != std::string::npos; })) {
    throw std::runtime_error("the service is not ready: " + serviceLog());
  }
}

std::string MailSite::administration(const std::string& path) const {
  const int descriptor = connectTo(m_folder.file("admin.sock"));
  if (descriptor < 0) return {};
  const std::string request = "GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
  send(descriptor, request.data(), request.size(), MSG_NOSIGNAL);
  const std::string answer = receiveAll(descriptor);
  close(descriptor);
  return answer;
}

void MailSite::change(const std::string& sql) const {
  if (m_serverFolder.empty()) {
    const std::string script = m_folder.write("change.sql", ".timeout 10000\n" + sql + ";\n");
    outputOf("sqlite3 -bail '" + m_database + "' < '" + script + "'");
  } else {
    PostgresServer::shared().run(m_database, sql);
  }
}

std::vector<std::string> MailSite::expectedActions(const std::vector<Mail>& mails, bool isInbound) const {
  CommandSetup setup;
  setup.environment = m_environment;
  for (const Mail& mail : mails)
    setup.input += questionOf(mail, isInbound) + "\n";
  std::vector<std::string> words = {"lookup", "--stdin", "--with-groups", "--top"};
  for (const std::string& word : databaseOptions())
    words.push_back(word);
  const CommandResult answered = runCommand(words, setup);
  std::vector<std::string> actions;
  for (std::size_t at = 0, end; (end = answered.out.find('\n', at)) != std::string::npos; at = end + 1) {
    const auto results = nlohmann::json::parse(answered.out.substr(at, end - at)).at("results");
    actions.push_back(results.empty() ? "DUNNO" : results[0]["rule"]["action"].get<std::string>());
  }
  if (actions.size() != mails.size()) throw std::runtime_error("lookup failed: " + answered.err);
  return actions;
}

}  // namespace zrtest
