#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/temp_folder.h"
#include "postfix/child_process.h"

namespace zrtest {

// A Postfix of this test process only: settings, queue and sockets in a temporary folder, mail taken through a Unix
// socket and delivered into a sink that keeps every message. The system's own Postfix is not touched. Ended by its
// process id.
class PostfixServer {
 public:
  // Why there can be none here; empty when there can.
  static std::string whyNot();

  // `settings`: lines of main.cf on top of those that keep it private.
  explicit PostfixServer(const std::string& settings);
  ~PostfixServer();

  std::string queueFolder() const { return m_folder.file("queue"); }
  std::string smtpSocket() const { return m_folder.file("queue/public/smtp"); }
  // The folder in which a policy service listens, as the guide has it.
  std::string policyFolder() const { return m_folder.file("queue/zrpolicy"); }
  std::string policySocket() const { return policyFolder() + "/policy.sock"; }

  // Where a mail that was taken has come to rest, for which it is waited: "hold", "deferred", or "gone" when it was
  // delivered or dropped.
  std::string restOf(const std::string& queueId) const;
  // The messages that came through with this mark: the envelope's lines ("X-Rcpt-Args: …"), then the message.
  std::vector<std::string> delivered(const std::string& mark) const;
  // All that came through.
  std::vector<std::string> delivered() const;
  // What Postfix logged.
  std::string log() const { return readFile(m_folder.file("mail.log")); }

 private:
  void writeSettings(const std::string& settings) const;
  void makeFolders() const;

  TempFolder m_folder;
  std::unique_ptr<ChildProcess> m_sink;
  std::unique_ptr<ChildProcess> m_master;
};

}  // namespace zrtest
