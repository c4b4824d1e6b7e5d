#pragma once

#include <string>

namespace zrtest {

// One mail, and who the server is made to believe brings it.
struct Mail {
  std::string recipient = "someone@example.org";
  std::string login = {};                       // of SASL; empty: none
  std::string hostName = {};                    // empty: unknown
  std::string address = "203.0.113.9";          // IPv4, or "IPV6:…"
  std::string sender = "stranger@example.com";  // empty: a bounce
};

struct Outcome {
  std::string reply;    // to the recipient when that was refused, else to the message
  std::string queueId;  // empty unless the mail was taken

  bool taken() const { return !queueId.empty(); }
};

// An SMTP client over a Unix socket, whose host, address and login are overridden mail by mail.
// Throws when the server ends the session.
class SmtpClient {
 public:
  explicit SmtpClient(const std::string& socketPath);
  ~SmtpClient();
  SmtpClient(const SmtpClient&) = delete;
  SmtpClient& operator=(const SmtpClient&) = delete;

  // Brings a mail; `mark` stands in its header "X-Mark", so that it is found again where it is delivered.
  Outcome bring(const Mail& mail, const std::string& mark);
  // The reply to the recipient alone; the mail is not sent.
  std::string offer(const Mail& mail);
  // Sends a line; answers the last line of the reply.
  std::string say(const std::string& line);

 private:
  std::string readReply();

  int m_socket;
  std::string m_input;
};

}  // namespace zrtest
