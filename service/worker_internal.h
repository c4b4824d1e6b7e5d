#pragma once

#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <list>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "service/Answerer.h"
#include "service/Complaints.h"
#include "service/Counters.h"

namespace zrservice {

using Clock = std::chrono::steady_clock;
using StreamSocket = asio::generic::stream_protocol::socket;

// To some milliseconds: enough for limits of seconds, and asked for with every request.
inline Clock::time_point coarseNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);  // the clock of Clock
  return Clock::time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

class Worker;

// What a worker asks of the connections that it has.
class Connection {
 public:
  virtual ~Connection() = default;
  // A turn, in three steps: reads what has come, answers it, and writes the replies or waits for more. Connections that
  // are ready take each step together, see Worker::giveTurnsTo.
  virtual void readForTurn() = 0;
  virtual void answerForTurn() = 0;
  virtual void endTurn() = 0;
  // Closes it when it has taken too long.
  virtual void checkTime(Clock::time_point now) = 0;
  // Answers what has arrived, and closes it unless a request is under way.
  virtual void drain() = 0;
  virtual void close() = 0;
};

// A thread with its connections, its answerer and its counters.
class Worker {
 public:
  explicit Worker(const Desk& desk) : m_answerer(desk, counters), m_sweep(m_context) {}

  asio::io_context& context() { return m_context; }
  Answerer& answerer() { return m_answerer; }

  void start();
  void stop();
  // By any thread.
  void beginDrain();

  // By the worker's own thread.
  void add(const std::shared_ptr<Connection>& connection);
  void remove(const Connection* connection);
  bool isDraining() const { return m_isDraining; }
  // Has a connection go on when the others that are ready have had their turn.
  void waitForTurn(std::shared_ptr<Connection> connection);
  // Logs a warning, as often as Complaints lets it.
  void complain(const char* what, const char* why);

  Counters counters;
  std::atomic<std::size_t> open{0};

 private:
  void run();
  void sweep();
  void postTurns();
  void giveTurns();
  void giveTurnsTo(std::span<std::shared_ptr<Connection>> connections);

  asio::io_context m_context{1};
  Answerer m_answerer;
  asio::steady_timer m_sweep;
  std::list<std::shared_ptr<Connection>> m_connections;
  std::vector<std::shared_ptr<Connection>> m_waiting, m_turns;
  bool m_areTurnsPosted = false;
  bool m_isDraining = false;
  Complaints m_complaints;
  asio::executor_work_guard<asio::io_context::executor_type> m_guard = asio::make_work_guard(m_context);
  std::thread m_thread;
};

}  // namespace zrservice
