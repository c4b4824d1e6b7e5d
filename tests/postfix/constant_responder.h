#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zrtest {

// A policy service that gives every request the same action; an empty one: it says nothing at all. What stands between
// our service and Postfix is proved with it.
class ConstantResponder {
 public:
  ConstantResponder(const std::string& socketPath, const std::string& action);
  ~ConstantResponder();
  ConstantResponder(const ConstantResponder&) = delete;
  ConstantResponder& operator=(const ConstantResponder&) = delete;

  // The action from now on.
  void setAction(const std::string& action);
  // The requests so far, each as the lines that came.
  std::vector<std::string> requests() const;

 private:
  void answerAll();
  // What a client has sent is answered; false at its end.
  bool answer(int client, std::string& input);

  std::string m_action;
  std::string m_path;
  int m_socket;
  mutable std::mutex m_mutex;
  std::vector<std::string> m_requests;
  std::thread m_thread;
};

}  // namespace zrtest
