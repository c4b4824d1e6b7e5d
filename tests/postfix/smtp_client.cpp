#include "postfix/smtp_client.h"

#include <cctype>
#include <cstdio>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "postfix/unix_socket.h"

namespace zrtest {
namespace {

// As XCLIENT takes values: everything but letters, digits and a few signs as + and two hexadecimal digits.
std::string xtext(const std::string& value) {
  if (value.empty()) return "[UNAVAILABLE]";
  std::string text;
  for (const unsigned char byte : value) {
    char escape[4];
    std::snprintf(escape, sizeof escape, "+%02X", byte);
    text += std::isalnum(byte) || byte == '.' || byte == '-' || byte == ':' ? std::string(1, char(byte)) : escape;
  }
  return text;
}

}  // namespace

SmtpClient::SmtpClient(const std::string& socketPath) : m_socket(connectTo(socketPath)) {
  if (m_socket < 0) throw std::runtime_error("nobody listens at " + socketPath);
  const timeval patience = {60, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  readReply();
}

SmtpClient::~SmtpClient() {
  close(m_socket);
}

std::string SmtpClient::readReply() {
  for (;;) {
    const std::size_t end = m_input.find("\r\n");
    if (end != std::string::npos) {
      const std::string line = m_input.substr(0, end);
      m_input.erase(0, end + 2);
      if (line.size() < 4 || line[3] != '-') return line;
      continue;
    }
    char buffer[4096];
    const ssize_t size = recv(m_socket, buffer, sizeof buffer, 0);
    if (size <= 0) throw std::runtime_error("the server ended the session, or says nothing");
    m_input.append(buffer, static_cast<std::size_t>(size));
  }
}

std::string SmtpClient::say(const std::string& line) {
  const std::string bytes = line + "\r\n";
  send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  return readReply();
}

std::string SmtpClient::offer(const Mail& mail) {
  say("RSET");
  const std::string overridden =
      say("XCLIENT NAME=" + xtext(mail.hostName) + " ADDR=" + mail.address + " LOGIN=" + xtext(mail.login));
  if (overridden[0] != '2') throw std::runtime_error(overridden);
  say("EHLO client.example.com");
  const std::string reply = say("MAIL FROM:<" + mail.sender + "> SMTPUTF8");
  return reply[0] == '2' ? say("RCPT TO:<" + mail.recipient + ">") : reply;
}

Outcome SmtpClient::bring(const Mail& mail, const std::string& mark) {
  std::string reply = offer(mail);
  if (reply[0] != '2') return {reply, {}};
  reply = say("DATA");
  if (reply[0] != '3') return {reply, {}};
  reply = say("X-Mark: " + mark + "\r\nSubject: hello\r\n\r\nHello.\r\n.");
  const std::string words = "queued as ";
  const std::size_t at = reply.find(words);
  return {reply, at == std::string::npos ? std::string() : reply.substr(at + words.size())};
}

}  // namespace zrtest
