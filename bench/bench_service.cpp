#include "bench/bench_service.h"

#include <algorithm>
#include <cstdio>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

#include "common/postgres_server.h"
#include "host/database/PolicyDatabase.h"
#include "postfix/unix_socket.h"

namespace zrbench {
namespace {

constexpr int kPolicies = 900, kDefault = 1000, kEnvelopes = 1000;

// Of N links: 6/10 users, each in one group, 2/10 groups, 1/10 hosts, 1/10 addresses. Priorities rise in the order in
// which Postfix's attributes are asked, so the first key that has a link gives the action.
constexpr char kRows[] = R"(
INSERT INTO policy SELECT i, 2, 'Policy ' || i, 0 FROM n WHERE i <= 900;
INSERT INTO policy VALUES (1000, 1, 'Everybody else', 1);
INSERT INTO policy VALUES (901, 2, 'Refused', 0);
INSERT INTO policy_rule VALUES (901, 1, 901, 247, 'Always', 0, 'REJECT 5.7.1 refused');
INSERT INTO ep_link VALUES (50000000, 1, 'refused@example.org', 901, 1);
INSERT INTO policy_rule SELECT policy_id, 1, policy_id, 247, 'Always', 0, 'DUNNO policy ' || policy_id FROM policy
  WHERE policy_id <> 901;
INSERT INTO ep_link SELECT i, 1, 'user' || i || '@example.org', 1 + i % 900, 10 FROM n WHERE i <= N * 6 / 10;
INSERT INTO ep_link SELECT 10000000 + i, 2, 'group' || i, 1 + i % 900, 20 FROM n WHERE i <= N * 2 / 10;
INSERT INTO ep_link SELECT 20000000 + i, 3, 'host' || i || '.example.net', 1 + i % 900, 30 FROM n WHERE i <= N / 10;
INSERT INTO ep_link SELECT 30000000 + i, 4, '10.' || (i >> 16) || '.' || (i >> 8 & 255) || '.' || (i & 255),
  1 + i % 900, 40 FROM n WHERE i <= N / 10;
INSERT INTO ep_link SELECT 40000000 + i, 5, '172.' || (i >> 8) || '.' || (i & 255) || '.0 ~ 172.' || (i >> 8) || '.' ||
  (i & 255) || '.255', 1 + i % 900, 50 FROM n WHERE i <= 5000;
INSERT INTO group_member SELECT 'group' || (1 + i % (N * 2 / 10)), 'user' || i || '@example.org' FROM n
  WHERE i <= N * 6 / 10;
)";

std::string number(int value) {
  return std::to_string(value);
}

std::string lastBytes(int value) {
  return number(value >> 8) + '.' + number(value & 255);
}

std::string actionOf(int policy) {
  return "DUNNO policy " + number(policy);
}

Envelope envelopeOf(int i) {
  const std::string ofPolicy = actionOf(1 + i % kPolicies);
  switch (i % 5) {
    case 0:
      return {.login = "user" + number(i) + "@example.org", .hostName = "dsl7.pool.example.com", .action = ofPolicy};
    case 1:
      return {.hostName = "host" + number(i) + ".example.net", .action = ofPolicy};
    case 2:
      return {.address = "10.0." + lastBytes(i), .action = ofPolicy};
    case 3:
      return {.address = "172." + lastBytes(i) + ".77", .action = ofPolicy};
    default:
      return {.login = "nobody@example.com", .hostName = "mx.example.com", .action = actionOf(kDefault)};
  }
}

std::vector<std::string> heldOn(int core, std::vector<std::string> command) {
  if (core < 0) return command;
  std::vector<std::string> held{"/usr/bin/taskset", "-c", number(core)};
  held.insert(held.end(), command.begin(), command.end());
  return held;
}

// One line after the other for a shell that stays, so that a change costs the machine next to nothing.
void changeRows(const std::stop_token& end, const std::string& file) {
  std::FILE* shell = popen(("nice -n 19 sqlite3 '" + file + "' > /dev/null").c_str(), "w");
  std::fputs(".timeout 60000\n", shell);
  while (!end.stop_requested()) {
    std::fputs("UPDATE policy SET policy_type = policy_type + 1 WHERE policy_id = 1;\n", shell);
    std::fflush(shell);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  pclose(shell);
}

}  // namespace

std::string Envelope::request() const {
  return "request=smtpd_access_policy\nprotocol_state=RCPT\nprotocol_name=ESMTP\nhelo_name=client.example.com\n"
         "queue_id=8045F2AB23\nsender=stranger@example.com\nrecipient=someone@example.org\nrecipient_count=0\n"
         "client_address=" +
         address + "\nclient_name=" + hostName + "\nreverse_client_name=" + hostName +
         "\ninstance=123.456.7\nsasl_method=" + (login.empty() ? "" : "plain") + "\nsasl_username=" + login +
         "\nsasl_sender=\nsize=12345\nccert_subject=\nccert_issuer=\nccert_fingerprint=\nccert_pubkey_fingerprint=\n"
         "encryption_protocol=TLSv1.3\nencryption_cipher=TLS_AES_256_GCM_SHA384\nencryption_keysize=256\n"
         "etrn_domain=\nstress=\nclient_port=1234\npolicy_context=\nserver_address=192.0.2.25\nserver_port=54321\n\n";
}

std::vector<Envelope> envelopes() {
  std::vector<Envelope> made;
  for (int i = 0; i < kEnvelopes; ++i)
    made.push_back(envelopeOf(1 + i));
  return made;
}

std::vector<Exchange> exchangesWithService(const std::vector<Envelope>& envelopes) {
  std::vector<Exchange> made;
  for (const Envelope& envelope : envelopes)
    made.push_back({envelope.request(), "action=" + envelope.action + "\n\n"});
  return made;
}

std::vector<Exchange> exchangesWithConstant(const std::vector<Envelope>& envelopes) {
  std::vector<Exchange> made;
  for (const Envelope& envelope : envelopes)
    made.push_back({envelope.request(), std::string("action=") + kConstantAction + "\n\n"});
  return made;
}

std::unique_ptr<zrtest::ChildProcess> startConstant(const std::string& socketPath, const std::string& logPath,
                                                    int threads, int core) {
  auto process = std::make_unique<zrtest::ChildProcess>(
      heldOn(core, {ZR_CONSTANT, socketPath, kConstantAction, number(threads)}), logPath);
  const bool listens = zrtest::comesTrue([&] {
    const int descriptor = zrtest::connectTo(socketPath);
    return descriptor >= 0 && close(descriptor) == 0;
  });
  if (!listens) throw std::runtime_error("the constant responder does not start: " + zrtest::readFile(logPath));
  zrtest::outputOf("chmod 666 '" + socketPath + "'");
  return process;
}

BenchService::BenchService(const std::string& socketPath, std::int64_t links, int core) {
  makeDatabase(links);
  const std::string folder = m_folder.path().string();
  const bool isRoot = geteuid() == 0;
  m_folder.write("conf",
                 "[database]\nfile = " + m_folder.file("policies.db") + "\n[service]\nlisten = unix:" + socketPath +
                     "\nsocket_mode = 0666\nstate_folder = " + folder + "\n" + (isRoot ? "user = nobody\n" : "") +
                     "[admin]\nlisten = unix:" + m_folder.file("admin") + "\n");
  if (isRoot) zrtest::outputOf("chown -R nobody '" + folder + "'");
  m_daemon = std::make_unique<zrtest::ChildProcess>(heldOn(core, {ZR_DAEMON, "--config", m_folder.file("conf")}),
                                                    m_folder.file("log"));
  const bool isReady =
      zrtest::comesTrue([this] { return administration("/health/ready").find("200 OK") != std::string::npos; });
  if (!isReady) throw std::runtime_error("the service is not ready: " + zrtest::readFile(m_folder.file("log")));
}

BenchService::~BenchService() = default;

void BenchService::makeDatabase(std::int64_t links) const {
  zrhost::DatabaseOptions options;
  options.file = m_folder.file("policies.db");
  zrhost::PolicyDatabase::init(options, {.sample = false, .force = false});
  std::string rows = kRows;
  for (std::size_t at = 0; (at = rows.find("N ", at)) != rows.npos;)
    rows.replace(at, 1, std::to_string(links));
  const std::string numbers =
      "CREATE TEMP TABLE n AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(links) + ") SELECT i FROM n;";
  const std::string script = m_folder.write("rows.sql", numbers + "BEGIN;" + rows + "COMMIT;");
  zrtest::outputOf("sqlite3 -bail '" + options.file + "' < '" + script + "'");
}

std::string BenchService::administration(const std::string& path) const {
  const int descriptor = zrtest::connectTo(m_folder.file("admin"));
  if (descriptor < 0) return {};
  const std::string request = "GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
  send(descriptor, request.data(), request.size(), MSG_NOSIGNAL);
  std::string answer;
  char buffer[4096];
  for (ssize_t size; (size = recv(descriptor, buffer, sizeof buffer, 0)) > 0;)
    answer.append(buffer, static_cast<std::size_t>(size));
  close(descriptor);
  return answer;
}

int BenchService::generation() const {
  const std::string status = administration("/status"), name = "\"generation\":";
  const std::size_t at = status.find(name);
  return at == status.npos ? 0 : std::atoi(status.c_str() + at + name.size());
}

void BenchService::keepReloading() {
  m_writer = std::jthread(changeRows, m_folder.file("policies.db"));
}

void holdOn(int core) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(core), &set);
  sched_setaffinity(0, sizeof set, &set);
}

std::vector<int> processors() {
  cpu_set_t set;
  sched_getaffinity(0, sizeof set, &set);
  std::vector<int> cores;
  for (int core = 0; core < CPU_SETSIZE; ++core)
    if (CPU_ISSET(static_cast<std::size_t>(core), &set)) cores.push_back(core);
  return cores;
}

double quantile(std::vector<double>& values, double share) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

}  // namespace zrbench
