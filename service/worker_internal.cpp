#include "service/worker_internal.h"

#include <algorithm>
#include <exception>
#include <span>

#include "host/base/quiet_thread.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

constexpr std::chrono::milliseconds kSweepEach{250};
// Of turns, before the connections that wait for the system to tell of them are looked after again.
constexpr int kRounds = 4;
// Connections that take the steps of a turn together: enough to gain by it, and few answers that a reply waits for.
constexpr std::size_t kTogether = 16;

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

// Step by step: what the system needs for reading, and then for writing, stays in the processor's cache, and so does
// the code that answers. One connection after the other pushes all of it out each time, and costs a tenth more.
void Worker::giveTurnsTo(std::span<std::shared_ptr<Connection>> connections) {
  for (const auto step : {&Connection::readForTurn, &Connection::answerForTurn, &Connection::endTurn}) {
    for (auto& connection : connections) {
      if (!connection) continue;
      try {
        (*connection.*step)();
      } catch (const std::exception& error) {
        tellDropped(error);
        connection.reset();
      }
    }
  }
}

void Worker::giveTurns() {
  for (int round = 0; round < kRounds && !m_waiting.empty(); ++round) {
    std::swap(m_waiting, m_turns);
    const std::span<std::shared_ptr<Connection>> turns(m_turns);
    for (std::size_t first = 0; first < turns.size(); first += kTogether)
      giveTurnsTo(turns.subspan(first, std::min(kTogether, turns.size() - first)));
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
