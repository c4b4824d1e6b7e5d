#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace zrbench {

// A request and the only right reply to it.
struct Exchange {
  std::string request, reply;
};

// Connections to a policy service, driven by the calling thread, which never sleeps meanwhile: what is measured is the
// service and not how fast a client wakes up. Throws std::runtime_error for a reply that is not the expected one, and
// for a connection that ends.
class PolicyLoad {
 public:
  // The exchanges are used one after the other, again and again; they must outlive the object.
  PolicyLoad(const std::string& socketPath, int connections, const std::vector<Exchange>& exchanges);
  ~PolicyLoad();
  PolicyLoad(const PolicyLoad&) = delete;
  PolicyLoad& operator=(const PolicyLoad&) = delete;

  // Every connection asks again as soon as it is answered. Answers the requests per second.
  double closedLoop(std::chrono::milliseconds time);
  // Requests at a fixed rate, whether or not those before are answered. Appends the microseconds from the moment at
  // which a request was due to its reply.
  void openLoop(int perSecond, std::chrono::milliseconds time, std::vector<double>& microseconds);

 private:
  using Clock = std::chrono::steady_clock;
  struct Connection {
    int descriptor = -1;
    std::string input;
    const Exchange* pending = nullptr;
    Clock::time_point due;
  };

  void ask(Connection& connection, Clock::time_point due);
  // Takes what has come; answers whether the reply is whole, and checks it then.
  static bool takeReply(Connection& connection);
  // Calls `answered` with each connection whose reply has come; does not wait.
  template <class Answered>
  void collect(const Answered& answered);

  const std::vector<Exchange>& m_exchanges;
  std::size_t m_next = 0;
  int m_epoll;
  std::vector<Connection> m_connections;
};

}  // namespace zrbench
