#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "common/temp_folder.h"

namespace zrtest {

// What listens where a PostgreSQL server would (port 5432 of a Unix socket's folder) and is none: it takes connections
// and either says nothing at all, or refuses each with one text of the severity FATAL.
class FakeServer {
 public:
  explicit FakeServer(const std::string& refusal = {});
  ~FakeServer();
  FakeServer(const FakeServer&) = delete;
  FakeServer& operator=(const FakeServer&) = delete;

  std::string socketFolder() const { return m_folder.path().string(); }
  // How many connections were refused so far.
  int refused() const { return m_refused; }

 private:
  void refuseAll();

  TempFolder m_folder;
  std::string m_reply;
  int m_socket;
  std::atomic<int> m_refused{0};
  std::thread m_thread;
};

}  // namespace zrtest
