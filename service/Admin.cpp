#include "service/Admin.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <string_view>

#include "service/admin_ask_internal.h"
#include "service/admin_guard_internal.h"
#include "service/admin_report_internal.h"
#include "service/http_server_internal.h"
#include "service/json_text_internal.h"

namespace zrservice {
namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::ordered_json;
using Handled = httplib::Server::HandlerResponse;
using Reload = zrlive::LivePolicies::Reload;

constexpr const char* kJson = "application/json";
constexpr const char* kText = "text/plain; charset=utf-8";
constexpr const char* kMetrics = "application/openmetrics-text; version=1.0.0; charset=utf-8";
constexpr std::chrono::seconds kLongestReload{8};  // less than the ten seconds for which zrpolicy waits

void reply(Response& response, int status, const ordered_json& document) {
  response.status = status;
  response.set_content(jsonText(document) + '\n', kJson);
}

void refuse(Response& response, int status, std::string_view why) {
  response.status = status;
  response.set_content(errorJson(std::string(why)), kJson);
}

// What the HTTP library refuses by itself.
void explainStatus(const Request&, Response& response) {
  if (!response.body.empty()) return;
  const bool isTooLong = response.status == 413;
  refuse(response, response.status,
         isTooLong ? "the body has more than 65536 bytes" : "this is no request that can be answered");
}

void explainFailure(const Request&, Response& response, const std::exception_ptr&) {
  refuse(response, 500, "want of memory, or a fault of the service");
}

// The library waits for the end of a body without a length; in a request there is none then.
bool isWithoutBody(const Request& request) {
  return request.method == "POST" && !request.has_header("Content-Length");
}

}  // namespace

struct Admin::Parts {
  void addRoutes(httplib::Server& http);
  Handled guard(const Request& request, Response& response);
  void reload(const Request& request, Response& response);
  void replyReload(Reload result, Response& response) const;
  void ask(std::string_view body, Response& response) const;
  void tellReady(Response& response) const;
  AdminReport report() const { return {policies, server, log}; }

  zrlive::LivePolicies& policies;
  const Desk& desk;
  const Server& server;
  const DecisionLog* log;
  std::vector<std::unique_ptr<HttpServer>> servers;
};

Handled Admin::Parts::guard(const Request& request, Response& response) {
  const Refusal refusal = refusalOf(request);
  if (refusal.status != 0) {
    refuse(response, refusal.status, refusal.why);
    if (!refusal.allowed.empty()) response.set_header("Allow", std::string(refusal.allowed));
    return Handled::Handled;
  }
  if (!isWithoutBody(request)) return Handled::Unhandled;
  request.path == "/reload" ? reload(request, response) : ask({}, response);
  return Handled::Handled;
}

void Admin::Parts::reload(const Request& request, Response& response) {
  const std::string accept = request.get_param_value("accept");
  const bool isKnown =
      request.params.empty() || (request.params.size() == 1 && (accept == "true" || accept == "false"));
  if (!isKnown) return refuse(response, 400, "the one parameter is accept, true or false");
  replyReload(policies.reload(accept == "true", kLongestReload), response);
}

void Admin::Parts::replyReload(Reload result, Response& response) const {
  const zrlive::LiveStatus now = policies.status();
  switch (result) {
    case Reload::kLoaded:
      return reply(response, 200, {{"result", "loaded"}, {"revision", now.revision}});
    case Reload::kPending:
      return reply(response, 202, {{"result", "pending"}, {"revision", now.revision}});
    case Reload::kHeldBack:
      return reply(response, 409,
                   {{"result", "held_back"}, {"revision", now.heldRevision}, {"reason", now.heldReason}});
    case Reload::kFailed:
      return reply(response, 503, {{"result", "failed"}, {"revision", now.revision}, {"reason", now.lastError}});
  }
}

void Admin::Parts::ask(std::string_view body, Response& response) const {
  const AdminReply answer = answerAsked(desk, body);
  response.status = answer.status;
  response.set_content(answer.body, kJson);
}

void Admin::Parts::tellReady(Response& response) const {
  const std::string why = report().whyNotReady();
  response.status = why.empty() ? 200 : 503;
  response.set_content((why.empty() ? "ready" : why) + '\n', kText);
}

void Admin::Parts::addRoutes(httplib::Server& http) {
  http.set_pre_routing_handler([this](const Request& request, Response& response) { return guard(request, response); });
  http.set_error_handler(httplib::Server::Handler(explainStatus));
  http.set_exception_handler(explainFailure);
  http.Get("/status",
           [this](const Request&, Response& response) { response.set_content(report().statusJson(), kJson); });
  http.Get("/metrics",
           [this](const Request&, Response& response) { response.set_content(report().metrics(), kMetrics); });
  http.Get("/health/live", [](const Request&, Response& response) { response.set_content("live\n", kText); });
  http.Get("/health/ready", [this](const Request&, Response& response) { tellReady(response); });
  http.Post("/reload", [this](const Request& request, Response& response) { reload(request, response); });
  // Read here, whatever type it is said to be: the library takes less of what it takes for a form.
  http.Post("/ask", [this](const Request&, Response& response, const httplib::ContentReader& read) {
    std::string body;
    const auto add = [&body](const char* bytes, std::size_t size) {
      body.append(bytes, size);
      return true;
    };
    if (read(add)) ask(body, response);
  });
}

Admin::Admin(zrlive::LivePolicies& policies, const Desk& desk, const Server& server, const DecisionLog* log)
    : m_parts(new Parts{policies, desk, server, log, {}}) {}

Admin::~Admin() {
  stop();
}

void Admin::listen(ListenSocket socket) {
  m_parts->servers.push_back(std::make_unique<HttpServer>(std::move(socket)));
  m_parts->addRoutes(m_parts->servers.back()->http());
}

void Admin::start() {
  for (const auto& server : m_parts->servers)
    server->start();
}

void Admin::close() {
  for (const auto& server : m_parts->servers)
    server->takeFileAway();
}

void Admin::stop() {
  m_parts->servers.clear();
}

}  // namespace zrservice
