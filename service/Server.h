#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "service/Counters.h"
#include "service/Desk.h"
#include "service/ListenSocket.h"

namespace zrservice {

enum class Protocol { kPolicy, kSocketmap };

// Serves connections, by threads of its own; each connection stays with one of them.
//
// Limits, by the settings: a request that takes longer than request_timeout from its first byte, or a reply that nobody
// takes for so long, ends its connection; so does idle_timeout without a request. Of more than max_connections each
// further one is answered unavailable_action at its first request and closed. What is no request is answered
// unavailable_action, and its connection closed.
//
// Threads: everything here by one thread; totals() and open() by any.
class Server {
 public:
  // The desk must outlive it.
  Server(const Desk& desk, int threads);
  // As drain with no time.
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Before start.
  void listen(ListenSocket socket, Protocol protocol);
  // Starts the threads; they take no signals.
  void start();

  // Nobody can connect any more, what has been asked is answered, connections without a request under way are closed.
  void beginDrain();
  // Whether all connections have gone.
  bool isDrained() const;
  // Ends the threads, whatever is under way.
  void stop();

  std::size_t open() const;
  Totals totals() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrservice
