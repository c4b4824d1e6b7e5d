// What zrpolicyd is measured against: a policy service on the same library and the same threads that gives every
// request the same action, and reads nothing of it but where it ends.
//
//     constant_responder SOCKET ACTION THREADS

#include <array>
#include <asio.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Socket = asio::local::stream_protocol::socket;

// One connection; answers all requests that have arrived whole, in one piece.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Socket socket, const std::string& reply) : m_socket(std::move(socket)), m_reply(reply) {}

  void read() {
    m_socket.async_read_some(asio::buffer(m_bytes),
                             [self = shared_from_this()](const asio::error_code& error, std::size_t size) {
                               if (!error) self->answer({self->m_bytes.data(), size});
                             });
  }

 private:
  // An empty line ends a request; it may be cut in two by the end of what was read.
  void answer(std::string_view bytes) {
    m_out.clear();
    for (std::size_t at = 0, end; (end = bytes.find('\n', at)) != bytes.npos; at = end + 1) {
      if (end == at && m_isAtLineStart) m_out += m_reply;
      m_isAtLineStart = true;
    }
    m_isAtLineStart = bytes.ends_with('\n');
    m_out.empty() ? read() : write();
  }

  void write() {
    asio::async_write(m_socket, asio::buffer(m_out),
                      [self = shared_from_this()](const asio::error_code& error, std::size_t) {
                        if (!error) self->read();
                      });
  }

  Socket m_socket;
  const std::string& m_reply;
  std::array<char, 4096> m_bytes{};
  bool m_isAtLineStart = true;
  std::string m_out;
};

// Connections go to the threads in turn; each thread has a context of its own, and the first one accepts.
class Responder {
 public:
  Responder(const std::string& path, const std::string& action, int threads) : m_reply("action=" + action + "\n\n") {
    for (int i = 0; i < threads; ++i)
      m_contexts.push_back(std::make_unique<asio::io_context>(1));
    m_acceptor = std::make_unique<asio::local::stream_protocol::acceptor>(*m_contexts[0], path);
  }

  void run() {
    accept();
    std::vector<std::thread> threads;
    for (const auto& context : m_contexts)
      threads.emplace_back([&context] {
        const auto guard = asio::make_work_guard(*context);
        context->run();
      });
    for (std::thread& thread : threads)
      thread.join();
  }

 private:
  void accept() {
    asio::io_context& context = *m_contexts[m_next++ % m_contexts.size()];
    m_acceptor->async_accept(context, [this, &context](const asio::error_code& error, Socket socket) {
      if (error) std::exit(1);
      auto connection = std::make_shared<Connection>(std::move(socket), m_reply);
      asio::post(context, [connection] { connection->read(); });
      accept();
    });
  }

  const std::string m_reply;
  std::vector<std::unique_ptr<asio::io_context>> m_contexts;
  std::unique_ptr<asio::local::stream_protocol::acceptor> m_acceptor;
  std::size_t m_next = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: constant_responder SOCKET ACTION THREADS\n");
    return 64;
  }
  try {
    Responder(argv[1], argv[2], std::atoi(argv[3])).run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "constant_responder: %s\n", error.what());
    return 1;
  }
}
