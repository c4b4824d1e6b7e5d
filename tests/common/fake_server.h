#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "common/temp_folder.h"

namespace zrtest {

// What listens where a PostgreSQL server would (port 5432 of a Unix socket's folder) and is none: it takes connections
// and either says nothing at all, or refuses each with one text of the severity FATAL, or lets each log in and says
// nothing from then on.
class FakeServer {
 public:
  static constexpr const char* kLetIn = "let in";

  explicit FakeServer(const std::string& refusal = {});
  ~FakeServer();
  FakeServer(const FakeServer&) = delete;
  FakeServer& operator=(const FakeServer&) = delete;

  std::string socketFolder() const { return m_folder.path().string(); }
  // How many connections were answered so far.
  int answered() const { return m_answered; }

 private:
  void answerAll();

  TempFolder m_folder;
  std::string m_reply;
  bool m_letsIn;
  int m_socket;
  std::atomic<int> m_answered{0};
  std::vector<int> m_clients;
  std::thread m_thread;
};

}  // namespace zrtest
