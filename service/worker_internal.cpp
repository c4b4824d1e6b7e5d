#include "service/worker_internal.h"

#include <exception>

#include "host/base/quiet_thread.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

constexpr std::chrono::milliseconds kSweepEach{250};
// Of turns, before the connections that wait for the system to tell of them are looked after again.
constexpr int kRounds = 4;

// Where memory runs out the connection at hand loses, and ends by its time limit; the others go on.
void tellDropped(const std::exception& error) {
  PolicyLog::log(PolicyLog::LEVEL_ERROR, "a connection was dropped: %s", error.what());
}

}  // namespace

void Worker::start() {
  sweep();
  m_thread = zrhost::quietThread([this] { run(); });
}

void Worker::run() {
  for (;;) {
    try {
      m_context.run();
      return;
    } catch (const std::exception& error) {
      tellDropped(error);
    }
  }
}

void Worker::stop() {
  m_context.stop();
  if (m_thread.joinable()) m_thread.join();
  while (!m_connections.empty())
    m_connections.front()->close();
}

void Worker::beginDrain() {
  asio::post(m_context, [this] {
    m_isDraining = true;
    for (auto next = m_connections.begin(); next != m_connections.end();)
      std::shared_ptr<Connection>(*next++)->drain();
  });
}

void Worker::add(const std::shared_ptr<Connection>& connection) {
  m_connections.push_back(connection);
  ++open;
}

void Worker::remove(const Connection* connection) {
  open -= m_connections.remove_if([connection](const auto& each) { return each.get() == connection; });
}

// All that wait go on by one handler: one for each would cost as much as an answer.
void Worker::waitForTurn(std::shared_ptr<Connection> connection) {
  m_waiting.push_back(std::move(connection));
  if (!m_areTurnsPosted) postTurns();
}

void Worker::postTurns() {
  asio::post(m_context, [this] { giveTurns(); });
  m_areTurnsPosted = true;
}

void Worker::giveTurns() {
  for (int round = 0; round < kRounds && !m_waiting.empty(); ++round) {
    std::swap(m_waiting, m_turns);
    for (auto& connection : m_turns) {
      try {
        connection->takeTurn();
      } catch (const std::exception& error) {
        tellDropped(error);
      }
    }
    m_turns.clear();
  }
  m_areTurnsPosted = false;
  if (!m_waiting.empty()) postTurns();
}

void Worker::complain(const char* what, const char* why) {
  if (m_complaints.mayLog()) PolicyLog::log(PolicyLog::LEVEL_WARNING, "%s: %s", what, why);
}

// One timer for all connections: a request costs none.
void Worker::sweep() {
  m_sweep.expires_after(kSweepEach);
  m_sweep.async_wait([this](const asio::error_code& error) {
    if (error) return;
    const Clock::time_point now = Clock::now();
    for (auto next = m_connections.begin(); next != m_connections.end();)
      std::shared_ptr<Connection>(*next++)->checkTime(now);
    sweep();
  });
}

}  // namespace zrservice
