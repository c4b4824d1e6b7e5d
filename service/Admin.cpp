#include "service/Admin.h"

#include <csignal>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace zrservice {
namespace {

using nlohmann::ordered_json;

constexpr const char* kJson = "application/json";

// Serves a socket that listens already.
class HttpServer : public httplib::Server {
 public:
  explicit HttpServer(int descriptor) { svr_sock_ = descriptor; }
};

}  // namespace

struct Admin::Parts {
  struct Listener {
    explicit Listener(ListenSocket from) : socket(std::move(from)), server(dup(socket.descriptor())) {}
    ListenSocket socket;
    HttpServer server;
    std::thread thread;
  };

  void answerStatus(httplib::Response& response) const;
  void addRoutes(httplib::Server& server);

  zrlive::LivePolicies& policies;
  const Desk& desk;
  const Server& server;
  const DecisionLog* log;
  std::vector<std::unique_ptr<Listener>> listeners;
};

void Admin::Parts::answerStatus(httplib::Response& response) const {
  const zrlive::LiveStatus status = policies.status();
  ordered_json json;
  json["state"] = zrlive::nameOf(status.state);
  json["source"] = zrlive::nameOf(status.source);
  json["epoch"] = status.epoch;
  json["revision"] = status.revision;
  json["generation"] = status.generation;
  response.set_content(json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n', kJson);
}

void Admin::Parts::addRoutes(httplib::Server& http) {
  http.Get("/status", [this](const httplib::Request&, httplib::Response& response) { answerStatus(response); });
}

Admin::Admin(zrlive::LivePolicies& policies, const Desk& desk, const Server& server, const DecisionLog* log)
    : m_parts(new Parts{policies, desk, server, log, {}}) {}

Admin::~Admin() {
  stop();
}

void Admin::listen(ListenSocket socket) {
  m_parts->listeners.push_back(std::make_unique<Parts::Listener>(std::move(socket)));
  m_parts->addRoutes(m_parts->listeners.back()->server);
}

void Admin::start() {
  for (const auto& listener : m_parts->listeners)
    listener->thread = std::thread([&server = listener->server] { server.listen_after_bind(); });
}

void Admin::stop() {
  for (const auto& listener : m_parts->listeners) {
    listener->server.stop();
    if (listener->thread.joinable()) listener->thread.join();
  }
  m_parts->listeners.clear();
}

}  // namespace zrservice
