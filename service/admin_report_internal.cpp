#include "service/admin_report_internal.h"

#include <array>
#include <bit>
#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>

#include "service/json_text_internal.h"

namespace zrservice {
namespace {

using nlohmann::ordered_json;

constexpr std::array kLinkTypes = {"user", "group", "host", "address", "range", "other"};

ordered_json timeText(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  if (seconds <= 0) return nullptr;
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

double secondsOf(std::chrono::milliseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

ordered_json textOrNull(const std::string& text) {
  return text.empty() ? ordered_json() : ordered_json(text);
}

double tenths(double microseconds) {
  return std::round(microseconds * 10) / 10;
}

ordered_json linksJson(const zrlive::SnapshotCounts& counts) {
  ordered_json json = ordered_json::object();
  for (std::size_t i = 0; i < kLinkTypes.size(); ++i)
    json[kLinkTypes[i]] = counts.linksByType[i + 1];
  return json;
}

void addPolicies(ordered_json& json, const zrlive::LiveStatus& status) {
  json["state"] = zrlive::nameOf(status.state);
  json["source"] = status.source == zrlive::LiveSource::kNone ? ordered_json() : zrlive::nameOf(status.source);
  json["epoch"] = status.epoch;
  json["revision"] = status.revision;
  json["generation"] = status.generation;
  json["loaded_at"] = timeText(status.loadedAt);
  json["age_seconds"] = status.hasAge ? ordered_json(secondsOf(status.age)) : ordered_json();
  json["policies"] = status.counts.policies;
  json["rules"] = status.counts.rules;
  json["links"] = linksJson(status.counts);
  json["members"] = status.counts.members;
  json["refused_rows"] = status.counts.refusedRows;
  json["last_error"] = textOrNull(status.lastError);
  json["held_back"] = nullptr;
  if (status.isHeldBack) json["held_back"] = {{"revision", status.heldRevision}, {"reason", status.heldReason}};
  json["standby_lag_seconds"] = status.hasStandbyLag ? ordered_json(secondsOf(status.standbyLag)) : ordered_json();
  json["loaders_standing"] = status.loadersStanding;
  json["keep_error"] = textOrNull(status.keepError);
}

// The text of OpenMetrics, line by line.
class Metrics {
 public:
  Metrics& family(const std::string& name, const char* type, const char* help) {
    m_name = "zrpolicyd_" + name;
    m_text += "# TYPE " + m_name + " " + type + "\n# HELP " + m_name + " " + help + "\n";
    return *this;
  }
  template <typename Number>
  Metrics& value(const std::string& suffix, Number number) {
    m_text += m_name + suffix + " " + ordered_json(number).dump() + "\n";
    return *this;
  }
  template <typename Number>
  void counter(const std::string& name, const char* help, Number number) {
    family(name, "counter", help).value("_total", number);
  }
  template <typename Number>
  void gauge(const std::string& name, const char* help, Number number) {
    family(name, "gauge", help).value("", number);
  }
  std::string end() && { return std::move(m_text) + "# EOF\n"; }

 private:
  std::string m_name, m_text;
};

std::string label(const char* name, const std::string& value) {
  return std::string("{") + name + "=\"" + value + "\"}";
}

// One bucket for each doubling from a microsecond on, so that it holds whole classes.
void addHistogram(Metrics& metrics, const Totals& totals) {
  constexpr std::uint64_t kLeast = 1024;  // ns
  metrics.family("answer_seconds", "histogram", "How long an answer took, without the network.");
  std::uint64_t sum = 0;
  for (std::size_t place = 0; place < totals.latency.size(); ++place) {
    sum += totals.latency[place];
    const std::uint64_t end = Latency::endOf(place);
    if (std::has_single_bit(end) && end >= kLeast && place < totals.latency.size() - 1)
      metrics.value("_bucket" + label("le", ordered_json(static_cast<double>(end) / 1e9).dump()), sum);
  }
  metrics.value("_bucket{le=\"+Inf\"}", sum).value("_count", sum).value("_sum", totals.sumMicroseconds / 1e6);
}

void addAnswers(Metrics& metrics, const Totals& totals) {
  metrics.family("requests", "counter", "Requests that were answered.")
      .value("_total{protocol=\"policy\"}", totals.policyRequests)
      .value("_total{protocol=\"socketmap\"}", totals.socketmapRequests);
  metrics.family("answers", "counter", "Answers by their first word, those that Postfix does not know as other.");
  for (const auto& [word, count] : totals.answers)
    metrics.value("_total" + label("word", word), count);
  metrics.counter("bad_requests", "Requests that are none, or over a limit.", totals.badRequests);
  metrics.counter("ipv6_addresses", "Addresses that were not asked for.", totals.ipv6Addresses);
  metrics.counter("faulty_actions", "Actions of policies that cannot be sent.", totals.faultyActions);
  addHistogram(metrics, totals);
}

void addStatus(Metrics& metrics, const zrlive::LiveStatus& status) {
  metrics.gauge("ready", "1 when answers are those of the policies.",
                status.state == zrlive::LiveState::kReady ? 1 : 0);
  metrics.gauge("revision", "The revision that is answered from.", status.revision);
  metrics.family("age_seconds", "gauge", "Since the database last confirmed the policies.");
  if (status.hasAge) metrics.value("", secondsOf(status.age));
  metrics.gauge("links", "Links in use.", status.counts.links());
  metrics.gauge("refused_rows", "Rows that cannot be used.", status.counts.refusedRows);
  metrics.gauge("held_back", "1 while a new state waits to be accepted.", status.isHeldBack ? 1 : 0);
  metrics.family("reloads", "counter", "Loads by their result.")
      .value("_total{result=\"loaded\"}", status.loadsDone)
      .value("_total{result=\"failed\"}", status.loadsFailed)
      .value("_total{result=\"held_back\"}", status.loadsHeldBack);
}

}  // namespace

AdminReport::AdminReport(const zrlive::LivePolicies& policies, const Server& server, const DecisionLog* log)
    : status(policies.status()), totals(server.totals()), open(server.open()) {
  if (log == nullptr) return;
  written = log->written();
  dropped = log->dropped();
}

std::string AdminReport::statusJson() const {
  ordered_json json;
  addPolicies(json, status);
  json["connections"] = open;
  json["requests"] = totals.policyRequests + totals.socketmapRequests;
  json["answers"] = ordered_json::object();
  for (const auto& [word, count] : totals.answers)
    json["answers"][word] = count;
  json["latency_us"] = {{"p50", tenths(totals.quantileMicroseconds(0.5))},
                        {"p99", tenths(totals.quantileMicroseconds(0.99))},
                        {"max", tenths(totals.longestMicroseconds)}};
  json["over_limit"] = totals.overLimit;
  json["bad_requests"] = totals.badRequests;
  json["faulty_actions"] = totals.faultyActions;
  json["ipv6_addresses"] = totals.ipv6Addresses;
  json["timeouts"] = totals.timeOuts;
  json["log_lines"] = written;
  json["log_lines_dropped"] = dropped;
  return jsonText(json, 2) + '\n';
}

std::string AdminReport::metrics() const {
  Metrics metrics;
  addStatus(metrics, status);
  addAnswers(metrics, totals);
  metrics.gauge("open_connections", "Connections that are open.", open);
  metrics.counter("connections", "Connections so far.", totals.connections);
  metrics.counter("connections_over_limit", "Connections beyond max_connections.", totals.overLimit);
  metrics.counter("timeouts", "Connections that took too long.", totals.timeOuts);
  metrics.counter("log_lines", "Lines of the decision log that were written.", written);
  metrics.counter("log_lines_dropped", "Lines of the decision log that were dropped.", dropped);
  return std::move(metrics).end();
}

std::string AdminReport::whyNotReady() const {
  if (status.state == zrlive::LiveState::kReady) return {};
  std::string why = status.lastError.empty() ? "" : ": " + status.lastError;
  if (status.isHeldBack)
    why += ": revision " + std::to_string(status.heldRevision) + " is held back: " + status.heldReason;
  return (status.state == zrlive::LiveState::kStale ? "the policies are too old" : "there are no policies yet") + why;
}

}  // namespace zrservice
