#include "service/worker_internal.h"

#include <exception>

#include "host/base/quiet_thread.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

constexpr std::chrono::milliseconds kSweepEach{250};

}  // namespace

void Worker::start() {
  sweep();
  m_thread = zrhost::quietThread([this] { run(); });
}

// Where memory runs out the connection at hand loses, and ends by its time limit; the others go on.
void Worker::run() {
  for (;;) {
    try {
      m_context.run();
      return;
    } catch (const std::exception& error) {
      PolicyLog::log(PolicyLog::LEVEL_ERROR, "a connection was dropped: %s", error.what());
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
