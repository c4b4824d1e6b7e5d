#include "service/Admin.h"

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <string_view>
#include <sys/socket.h>
#include <thread>

#include "service/admin_ask_internal.h"
#include "service/admin_report_internal.h"

namespace zrservice {
namespace {

using httplib::Request;
using httplib::Response;
using std::chrono::milliseconds;

constexpr const char* kJson = "application/json";
constexpr const char* kText = "text/plain; charset=utf-8";
constexpr const char* kMetrics = "application/openmetrics-text; version=1.0.0; charset=utf-8";
constexpr std::size_t kMostBytes = std::size_t{64} << 10U;
constexpr milliseconds kLongestReload{10'000};

// Whether a browser that was led astray could have sent it: its page has another origin, or its name for this machine
// is somebody else's. Host names of the loopback are the only ones that this service has.
bool isFromPage(const Request& request, bool isUnix) {
  if (request.has_header("Origin")) return true;
  if (isUnix) return false;
  const std::string host = request.get_header_value("Host");
  const std::string name = host.starts_with('[') ? host.substr(0, host.find(']') + 1) : host.substr(0, host.find(':'));
  return name != "localhost" && name != "[::1]" && !name.starts_with("127.");
}

// The server would wait for a body without a length; in a request there is none.
bool isPostWithoutBody(const Request& request) {
  return request.method == "POST" && !request.has_header("Content-Length") && !request.has_header("Transfer-Encoding");
}

}  // namespace

struct Admin::Parts {
  // Serves one socket that listens already.
  class Listener : public httplib::Server {
   public:
    explicit Listener(ListenSocket from) : m_socket(std::move(from)) {
      const int flags = fcntl(m_socket.descriptor(), F_GETFL);
      fcntl(m_socket.descriptor(), F_SETFL, flags & ~O_NONBLOCK);  // as the server expects it
    }
    bool isUnix() const;
    void takeFileAway() { m_socket.takeFileAway(); }
    void run();
    void end();

    std::thread thread;

   private:
    ListenSocket m_socket;
    std::atomic<bool> m_isEnding{false}, m_hasEnded{false};
  };

  void addRoutes(Listener& http);
  void reload(const Request& request, Response& response);
  AdminReport report() const { return {policies, server, log}; }

  zrlive::LivePolicies& policies;
  const Desk& desk;
  const Server& server;
  const DecisionLog* log;
  std::vector<std::unique_ptr<Listener>> listeners;
};

bool Admin::Parts::Listener::isUnix() const {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  return getsockname(m_socket.descriptor(), reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
         address.ss_family == AF_UNIX;
}

// A server that ends by itself, for a connection that broke while it was taken, begins anew.
void Admin::Parts::Listener::run() {
  while (!m_isEnding) {
    svr_sock_ = fcntl(m_socket.descriptor(), F_DUPFD_CLOEXEC, 0);
    if (svr_sock_ >= 0) listen_after_bind();
    if (!m_isEnding) std::this_thread::sleep_for(milliseconds(100));
  }
  m_hasEnded = true;
}

// Says it until it is heard: a server that is just beginning does not.
void Admin::Parts::Listener::end() {
  m_isEnding = true;
  while (thread.joinable() && !m_hasEnded) {
    stop();
    std::this_thread::sleep_for(milliseconds(2));
  }
  if (thread.joinable()) thread.join();
  m_socket.close();
}

void Admin::Parts::reload(const Request& request, Response& response) {
  using Reload = zrlive::LivePolicies::Reload;
  const bool accept = request.get_param_value("accept") == "true";
  const auto [result, status] = [&]() -> std::pair<const char*, int> {
    switch (policies.reload(accept, kLongestReload)) {
      case Reload::kLoaded:
        return {"loaded", 200};
      case Reload::kHeldBack:
        return {"held_back", 409};
      case Reload::kFailed:
        return {"failed", 503};
      case Reload::kPending:
        break;
    }
    return {"pending", 202};
  }();
  const zrlive::LiveStatus now = policies.status();
  nlohmann::ordered_json json{{"result", result}, {"revision", now.revision}};
  if (status == 409) json["reason"] = now.heldReason;
  if (status == 503) json["reason"] = now.lastError;
  response.status = status;
  response.set_content(json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n', kJson);
}

void Admin::Parts::addRoutes(Listener& http) {
  http.set_pre_routing_handler([this, isUnix = http.isUnix()](const Request& request, Response& response) {
    if (isFromPage(request, isUnix)) {
      response.status = 403;
      response.set_content(errorJson("requests of web pages are not served"), kJson);
    } else if (request.path == "/reload" && isPostWithoutBody(request)) {
      reload(request, response);
    } else {
      return httplib::Server::HandlerResponse::Unhandled;
    }
    return httplib::Server::HandlerResponse::Handled;
  });
  http.Get("/status",
           [this](const Request&, Response& response) { response.set_content(report().statusJson(), kJson); });
  http.Get("/metrics",
           [this](const Request&, Response& response) { response.set_content(report().metrics(), kMetrics); });
  http.Get("/health/live", [](const Request&, Response& response) { response.set_content("live\n", kText); });
  http.Get("/health/ready", [this](const Request&, Response& response) {
    const std::string why = report().whyNotReady();
    response.status = why.empty() ? 200 : 503;
    response.set_content((why.empty() ? "ready" : why) + '\n', kText);
  });
  http.Post("/reload", [this](const Request& request, Response& response) { reload(request, response); });
  http.Post("/ask", [this](const Request& request, Response& response) {
    const AdminReply reply = answerAsked(desk, request.body);
    response.status = reply.status;
    response.set_content(reply.body, kJson);
  });
}

Admin::Admin(zrlive::LivePolicies& policies, const Desk& desk, const Server& server, const DecisionLog* log)
    : m_parts(new Parts{policies, desk, server, log, {}}) {}

Admin::~Admin() {
  stop();
}

void Admin::listen(ListenSocket socket) {
  auto http = std::make_unique<Parts::Listener>(std::move(socket));
  http->new_task_queue = [] { return new httplib::ThreadPool(4); };
  http->set_keep_alive_timeout(1);
  http->set_read_timeout(5);
  http->set_write_timeout(5);
  http->set_payload_max_length(kMostBytes);
  m_parts->addRoutes(*http);
  m_parts->listeners.push_back(std::move(http));
}

void Admin::start() {
  for (const auto& http : m_parts->listeners)
    http->thread = std::thread([server = http.get()] { server->run(); });
}

void Admin::close() {
  for (const auto& http : m_parts->listeners)
    http->takeFileAway();
}

void Admin::stop() {
  for (const auto& http : m_parts->listeners)
    http->end();
  m_parts->listeners.clear();
}

}  // namespace zrservice
