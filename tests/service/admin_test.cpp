#include "service/Admin.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/temp_folder.h"
#include "service/sample_site.h"

namespace zrservice {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kHost[] = "Host: localhost\r\n";

class AdminTest : public testing::Test {
 protected:
  AdminTest() {
    m_options.service.user = "nobody";  // who has the socket's file when root runs this
  }
  void start() {
    m_policies = zrtest::startedPolicies(m_live);
    serve();
  }
  void serve() {
    m_desk = std::make_unique<Desk>(*m_policies, std::make_shared<Rules>(m_options), nullptr);
    m_server = std::make_unique<Server>(*m_desk, 1);
    m_admin = std::make_unique<Admin>(*m_policies, *m_desk, *m_server, nullptr);
    m_admin->listen({parseListenAddress("unix:" + m_folder.file("admin"), "", false), m_options.service});
    m_admin->start();
  }

  int connected() const {
    const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    m_folder.file("admin").copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return client;
  }
  // The whole reply, headers included.
  std::string replyTo(const std::string& bytes) const {
    const zrhost::FileDescriptor client(connected());
    send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return client.read(std::size_t{10} << 20U).value_or("");
  }
  std::string replyTo(const std::string& head, const std::string& body) const {
    return replyTo(head + kHost + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  }
  static std::string bodyOf(const std::string& reply) { return reply.substr(reply.find("\r\n\r\n") + 4); }
  std::string get(const std::string& path) const {
    return bodyOf(replyTo("GET " + path + " HTTP/1.1\r\n" + kHost + "\r\n"));
  }
  json ask(const json& question) const {
    return json::parse(bodyOf(replyTo("POST /ask HTTP/1.1\r\n", question.dump())));
  }

  zrtest::TempFolder m_folder;
  zrlive::LiveOptions m_live = zrtest::sampleSite(m_folder);
  zrhost::Options m_options;
  std::unique_ptr<zrlive::LivePolicies> m_policies;
  std::unique_ptr<Desk> m_desk;
  std::unique_ptr<Server> m_server;
  std::unique_ptr<Admin> m_admin;
};

TEST_F(AdminTest, TellsHowTheServiceStands) {
  start();
  const json status = json::parse(get("/status"));
  const json expected =
      json::parse(R"({"state": "ready", "source": "database", "policies": 22, "rules": 24, "members": 5,
      "links": {"user": 10, "group": 9, "host": 4, "address": 3, "range": 4, "other": 3}, "refused_rows": 0,
      "last_error": null, "held_back": null, "connections": 0, "requests": 0, "answers": {},
      "latency_us": {"p50": 0.0, "p99": 0.0, "max": 0.0}})");
  for (const auto& [name, value] : expected.items())
    EXPECT_EQ(status[name], value) << name;
  for (const char* const name : {"epoch", "revision", "generation", "loaded_at", "age_seconds"})
    EXPECT_FALSE(status[name].is_null()) << name;
  EXPECT_EQ(get("/health/live"), "live\n");
  EXPECT_EQ(get("/health/ready"), "ready\n");
}

TEST_F(AdminTest, SaysWhyItIsNotReady) {
  m_policies = std::make_unique<zrlive::LivePolicies>(m_live);
  serve();
  EXPECT_THAT(replyTo("GET /health/ready HTTP/1.1\r\n" + std::string(kHost) + "\r\n"), StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(replyTo("POST /ask HTTP/1.1\r\n", R"({"default":true})"),
              testing::AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr(m_options.service.unavailableAction)));
  EXPECT_EQ(json::parse(get("/status"))["source"], nullptr);
}

TEST_F(AdminTest, AnswersAndExplains) {
  start();
  const json answer = ask({{"user", {"John@example.org"}}, {"host", {"nagios.example.org"}}, {"default", true}});
  EXPECT_EQ(answer["action"], "DISCARD monitoring");
  EXPECT_EQ(answer["results"][0]["policy_id"], 32);
  EXPECT_EQ(answer["results"].size(), 5U);
  EXPECT_EQ(answer["explain"]["questions"][0]["links"][0]["link_id"], 1);
  EXPECT_EQ(ask({{"user", {"john@example.org"}}, {"members", true}})["results"].size(), 5U);
  EXPECT_EQ(ask({{"user", {"nobody"}}})["action"], m_options.service.noMatchAction);
  for (const char* const faulty :
       {"", "[]", "{}", R"({"usr":["x"]})", R"({"user":"x"})", R"({"user":[1]})", R"({"address":["::1"]})",
        R"({"default":1})", R"({"user":[""]})", R"({"user":["x"],"user":["y"]})"})
    EXPECT_THAT(replyTo("POST /ask HTTP/1.1\r\n", faulty),
                testing::AllOf(StartsWith("HTTP/1.1 400 "), HasSubstr("{\"error\":")))
        << faulty;
}

TEST_F(AdminTest, RefusesWhatAPageCouldSendAndWhatIsNotServed) {
  start();
  const std::string host = kHost, many(70'000, 'x');
  const std::pair<std::string, int> cases[] = {
      {"GET /status HTTP/1.1\r\nHost: 127.0.0.1:80\r\n\r\n", 200},
      {"HEAD /status HTTP/1.1\r\nHost: [::1]\r\n\r\n", 200},
      {"GET /status HTTP/1.1\r\nHost: LocalHost:1\r\n\r\n", 200},
      {"GET /status HTTP/1.1\r\nHost: evil.example\r\n\r\n", 403},
      {"GET /status HTTP/1.1\r\nHost: 127.0.0.1.evil.example\r\n\r\n", 403},
      {"GET /status HTTP/1.1\r\nHost: localhost.evil.example\r\n\r\n", 403},
      {"GET /status HTTP/1.1\r\nHost: localhost:1@evil.example\r\n\r\n", 403},
      {"GET /status HTTP/1.1\r\n\r\n", 400},
      {"GET /status HTTP/1.1\r\n" + host + host + "\r\n", 400},
      {"GET /status HTTP/1.1\r\n" + host + "Origin: null\r\n\r\n", 403},
      {"POST /reload HTTP/1.1\r\n" + host + "Origin: http://localhost\r\n\r\n", 403},
      {"POST /reload HTTP/1.1\r\n" + host + "\r\n", 200},
      {"GET /reload?accept=true HTTP/1.1\r\n" + host + "\r\n", 405},
      {"POST /reload?accept=yes HTTP/1.1\r\n" + host + "\r\n", 400},
      {"POST /status HTTP/1.1\r\n" + host + "Content-Length: 0\r\n\r\n", 405},
      {"GET / HTTP/1.1\r\n" + host + "\r\n", 404},
      {"POST /ask HTTP/1.1\r\n" + host + "Content-Length: 70000\r\n\r\n" + many, 413},
      {"POST /ask HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\n", 411},
      {"POST /ask HTTP/1.1\r\n" + host + "Content-Encoding: gzip\r\nContent-Length: 1\r\n\r\nx", 415},
      {"POST /ask HTTP/1.1\r\n" + host + "Content-Type: multipart/form-data; boundary=x\r\nContent-Length: 1\r\n\r\nx",
       415},
      {"GET /" + many + " HTTP/1.1\r\n" + host + "\r\n", 414},
      {"GET /status HTTP/1.1\r\n" + host + "X: " + many + "\r\n\r\n", 400},
      {"nonsense\r\n\r\n", 400}};
  for (const auto& [request, status] : cases) {
    const std::string reply = replyTo(request), shown = request.substr(0, 80);
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 " + std::to_string(status) + ' ')) << shown;
    EXPECT_EQ(status != 200, bodyOf(reply).starts_with("{\"error\":\"")) << shown;
  }
  EXPECT_THAT(replyTo("PUT /ask HTTP/1.1\r\n" + host + "\r\n"), HasSubstr("Allow: POST\r\n"));
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST_F(AdminTest, HoldsFewOfManyConnectionsAndEndsInSpiteOfThem) {
  start();
  std::vector<zrhost::FileDescriptor> clients;
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 200; ++i)
    clients.emplace_back(connected());
  send(clients[0].get(), "GET /status HTTP", 16, MSG_NOSIGNAL);
  EXPECT_LT(openDescriptors() - before - clients.size(), 10U);
  m_admin->stop();
  EXPECT_FALSE(std::filesystem::exists(m_folder.file("admin")));
}

// What a scraper would read: each sample behind the type of its family, counters that end in _total, and the end.
TEST_F(AdminTest, TellsOpenMetrics) {
  start();
  std::istringstream text(get("/metrics"));
  std::map<std::string, std::string> types;
  std::string first, second, family, rest;
  while (text >> first >> second && second != "EOF") {
    if (second == "TYPE") {
      text >> family;
      EXPECT_TRUE(text >> types[family]) << family;
    } else if (first != "#") {
      EXPECT_THAT(first, StartsWith(family + (types[family] == "counter" ? "_total" : "")));
    }
    std::getline(text, rest);
  }
  EXPECT_EQ(first + ' ' + second, "# EOF");
  for (const char* const name : {"reloads", "requests", "answers", "log_lines_dropped"})
    EXPECT_EQ(types[std::string("zrpolicyd_") + name], "counter") << name;
  EXPECT_EQ(types["zrpolicyd_answer_seconds"], "histogram");
}

TEST(CountersTest, AddUpTimesAndFirstWords) {
  Counters counters;
  for (const char* const reply :
       {"REJECT no", "reject", "DUNNO", "550 5.7.1 no", "450", "4500", "OK", "nonsense x", ""})
    counters.answers.add(reply);
  for (int i = 1; i <= 100; ++i)
    counters.latency.add(std::chrono::microseconds(i));
  Totals totals;
  totals.add(counters);
  EXPECT_EQ(totals.answers, (std::map<std::string, std::uint64_t>{
                                {"REJECT", 2}, {"DUNNO", 1}, {"5xx", 1}, {"4xx", 1}, {"OK", 1}, {"other", 3}}));
  EXPECT_NEAR(totals.quantileMicroseconds(0.5), 50, 50 / 8.0);
  EXPECT_NEAR(totals.quantileMicroseconds(0.99), 99, 99 / 8.0);
  EXPECT_EQ(totals.longestMicroseconds, 100);
  for (std::uint64_t time = 0; time < (std::uint64_t{1} << 34U); time += time / 16 + 1) {
    const std::size_t place = Latency::classOf(time);
    EXPECT_LT(time, Latency::endOf(place));
    EXPECT_GE(time, place == 0 ? 0 : Latency::endOf(place - 1));
  }
}

}  // namespace
}  // namespace zrservice
