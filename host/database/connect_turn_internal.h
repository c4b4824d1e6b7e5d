#pragma once

#include <cstdint>
#include <optional>

#include "host/database/silence_watch_internal.h"

namespace zrhost {

// The turn to connect. psqlodbc sets the locale of the whole process as its last step, and reads a text that the next
// such call frees: no two threads may be there at once.
//
// A server that falls silent behind the login is waited for without end, since no time-out of the driver's holds there.
// Whoever has had the turn for longer than kLongestTurn has lost it therefore, and the next one goes on. The two can
// meet only if the silent server speaks again in the very moment in which the other's has said its last word.
class ConnectTurn {
 public:
  ConnectTurn();
  ~ConnectTurn();
  ConnectTurn(const ConnectTurn&) = delete;
  ConnectTurn& operator=(const ConnectTurn&) = delete;

 private:
  const std::uint64_t m_number;
};

// Who connects in the calling thread while the object lives.
class ConnectScope {
 public:
  // A file needs no turn: its driver leaves the locale alone.
  ConnectScope(bool isFile, SilenceWatch::Waiter& waiter);
  ~ConnectScope();
  ConnectScope(const ConnectScope&) = delete;
  ConnectScope& operator=(const ConnectScope&) = delete;

  // Makes one attempt, in its turn. The watch begins with the attempt: waiting for the turn is no server's silence.
  template <typename Attempt>
  static auto attempt(Attempt connect) {
    const ConnectScope* const scope = ofThisThread();
    std::optional<ConnectTurn> turn;
    if (scope == nullptr || !scope->m_isFile) turn.emplace();
    return scope == nullptr ? connect() : scope->m_waiter.whileConnecting(connect);
  }

 private:
  static const ConnectScope* ofThisThread();

  const bool m_isFile;
  SilenceWatch::Waiter& m_waiter;
  const ConnectScope* const m_outer;
};

}  // namespace zrhost
