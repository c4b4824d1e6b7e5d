#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "postfix/mail_site.h"
#include "postfix/smtp_client.h"

namespace zrtest {

struct LoadResult {
  int brought = 0;
  int deferred = 0;                 // answered by Postfix itself, because no service did
  std::vector<std::string> faults;  // each mail whose verdict was another one than lookup's
};

// Clients that bring mail all the time, from the start of the object to end(): the given mails, one after another.
class MailLoad {
 public:
  MailLoad(MailSite& site, const std::vector<Mail>& mails, int clients);
  ~MailLoad() { stop(); }
  MailLoad(const MailLoad&) = delete;
  MailLoad& operator=(const MailLoad&) = delete;

  int brought() const { return m_brought; }
  // Waits until as many more have been brought; gives up after half a minute.
  void waitForMore(int count) const;
  // Ends the clients, waits until Postfix has delivered, and compares what became of every mail.
  LoadResult end();

 private:
  struct Brought {
    std::size_t mail;
    std::string mark;
    Outcome outcome;
  };

  void stop();
  void bringAll(int client);

  MailSite& m_site;
  std::vector<Mail> m_mails;
  std::vector<std::string> m_actions;
  std::atomic<bool> m_isEnding{false};
  std::atomic<int> m_brought{0};
  std::mutex m_mutex;
  std::vector<Brought> m_log;
  std::vector<std::string> m_faults;
  std::vector<std::thread> m_clients;
};

// Mails that meet users, groups, hosts, addresses and ranges, and get different verdicts; none meets the default.
std::vector<Mail> loadOfEveryVerdict();

}  // namespace zrtest
