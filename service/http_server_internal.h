#pragma once

#include <array>
#include <atomic>
#include <httplib.h>
#include <thread>

#include "host/base/FileDescriptor.h"
#include "service/ListenSocket.h"

namespace zrservice {

// The longest body of a request.
inline constexpr std::size_t kMostBodyBytes = std::size_t{64} << 10U;

// Serves HTTP on a socket that listens already, a Unix socket included. Each of its few threads takes one connection at
// a time and answers one request of it. Whoever asks has five seconds to send it, and as long to take the answer: who
// is slow or silent keeps a thread no longer, who sends without end is cut off, and no number of connections takes more
// than one descriptor a thread. stop() ends them, whatever they wait for.
//
// Routes are added to http() before start. Threads: start and stop by one.
class HttpServer {
 public:
  // Throws HostError kInputOutput when the system has nothing left for it.
  explicit HttpServer(ListenSocket socket);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  httplib::Server& http() { return m_routes; }
  void takeFileAway() { m_socket.takeFileAway(); }
  void start();
  void stop();

 private:
  // Only what a request is answered with; the library's own way of listening knows no sockets that are there, and
  // accepts connections without end.
  class Routes : public httplib::Server {
   public:
    void answer(httplib::Stream& stream);
  };

  void serve();
  void serve(int descriptor);

  ListenSocket m_socket;
  zrhost::FileDescriptor m_wake;
  std::atomic<bool> m_isStopping{false};
  Routes m_routes;
  std::array<std::thread, 4> m_threads;
};

}  // namespace zrservice
