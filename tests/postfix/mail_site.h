#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/temp_folder.h"
#include "postfix/child_process.h"
#include "postfix/postfix_server.h"
#include "postfix/smtp_client.h"

namespace zrtest {

// A mail host as docs/postfix.md has it: a policy database with the sample data and a few rows more, zrpolicyd, and
// Postfix. The guide's lines are used as they stand; only folders and the service's user are replaced.
class MailSite {
 public:
  // The database is an SQLite file, unless a PostgreSQL database's socket folder and name are given. `variant` goes on
  // the titles of the guide's blocks.
  explicit MailSite(const std::string& variant = {}, const std::string& serverFolder = {},
                    const std::string& database = {});

  // Starts the service, and waits until it is ready.
  void startService();
  void killService() { m_service->end(9); }
  PostfixServer& postfix() { return m_postfix; }
  // The answer of the service's administration, with its head.
  std::string administration(const std::string& path) const;
  // Statements on the policy database.
  void change(const std::string& sql) const;
  // For each mail the action that "zrpolicy lookup" answers from the database; DUNNO where nothing applies.
  // `isInbound`: users are the recipients, and the default is not asked.
  std::vector<std::string> expectedActions(const std::vector<Mail>& mails, bool isInbound = false) const;
  std::string serviceLog() const { return readFile(m_folder.file("service.log")); }

 private:
  std::vector<std::string> databaseOptions() const;

  TempFolder m_folder;
  std::string m_serverFolder;
  std::string m_database;
  std::map<std::string, std::string> m_environment;
  PostfixServer m_postfix;
  std::unique_ptr<ChildProcess> m_service;
};

}  // namespace zrtest
