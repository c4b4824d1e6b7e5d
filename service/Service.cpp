#include "service/Service.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <thread>
#include <unistd.h>
#include <vector>

#include "host/log/LogSink.h"
#include "host/settings/Settings.h"
#include "service/Admin.h"
#include "service/DecisionLog.h"
#include "service/Identity.h"
#include "service/Server.h"
#include "service/Sockets.h"
#include "service/SystemdSockets.h"
#include "service/service_settings_internal.h"
#include "service/signals_internal.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

using std::chrono::seconds;
using zrhost::Options;

constexpr int kLeastLogLevel = PolicyLog::LEVEL_WARNING;  // a service that says nothing of its faults helps nobody
constexpr int kMostThreads = 4;
constexpr seconds kLongestStart{5};
constexpr seconds kLongestSilence{2};  // shorter than any mail server waits for an answer
constexpr timespec kMoment{0, 10'000'000};

int threadsOf(const zrhost::ServiceSection& service) {
  if (service.threads > 0) return service.threads;
  return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
}

// A process that was started without standard error would log into whatever it opens first, a connection in the end.
void openStandardDescriptors() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO)
    descriptor = open("/dev/null", O_RDWR);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

void makeRoomForConnections(const zrhost::ServiceSection& service) {
  const unsigned long limit = raiseDescriptorLimit(service);
  if (limit > 0)
    say("warning: [service] max_connections = " + std::to_string(service.maxConnections) + ", but only " +
        std::to_string(limit) + " descriptors are allowed; see LimitNOFILE of systemd.exec(5), or ulimit -n");
}

void sayWhatStays(const Sockets& sockets) {
  for (const auto* const list : {&sockets.policy, &sockets.socketmap, &sockets.admin}) {
    for (const ListenSocket& socket : *list) {
      if (socket.isFileForKeeps())
        say("warning: the file of " + socket.text() +
            " cannot be taken away at the end: its folder belongs to another user");
    }
  }
}

class Running {
 public:
  explicit Running(const std::string& configFile)
      : m_configFile(configFile), m_started(readSettings(configFile)), m_settings(m_started) {}

  int run();

 private:
  const Options& options() const { return m_settings.options(); }
  void start(Sockets sockets);
  void reload();
  void applyLogLevel() const { zrhost::setLogLevel(std::max(options().log.level, kLeastLogLevel)); }
  void readAgain();
  void tellAndReload(bool isReady);
  void serve(const Signals& signals);
  std::optional<int> drain(const Signals& signals);
  void end(const Signals& signals);

  std::string m_configFile;
  zrhost::Settings m_started, m_settings;  // what it was started with, and what was read last
  std::unique_ptr<DecisionLog> m_log;
  std::unique_ptr<zrlive::LivePolicies> m_policies;
  std::unique_ptr<Desk> m_desk;
  std::unique_ptr<Server> m_server;
  std::unique_ptr<Admin> m_admin;
};

void Running::start(Sockets sockets) {
  m_policies = std::make_unique<zrlive::LivePolicies>(liveOptions(m_settings));
  m_log = DecisionLog::open(options().service);
  m_desk = std::make_unique<Desk>(*m_policies, std::make_shared<Rules>(options()), m_log.get());
  m_server = std::make_unique<Server>(*m_desk, threadsOf(options().service));
  for (ListenSocket& socket : sockets.policy)
    m_server->listen(std::move(socket), Protocol::kPolicy);
  for (ListenSocket& socket : sockets.socketmap)
    m_server->listen(std::move(socket), Protocol::kSocketmap);
  m_admin = std::make_unique<Admin>(*m_policies, *m_desk, *m_server, m_log.get());
  for (ListenSocket& socket : sockets.admin)
    m_admin->listen(std::move(socket));
  m_policies->start();
  m_admin->start();
}

void Running::readAgain() {
  zrhost::Settings next = readSettings(m_configFile);
  requireService(next);
  sayWarnings(next);
  for (const std::string& name : restartNeeded(m_started, next))
    say(name + " has changed, which takes a restart");
  m_desk->setRules(std::make_shared<Rules>(next.options()));
  m_settings = std::move(next);
  applyLogLevel();
  makeRoomForConnections(options().service);
  say("the settings were read again");
}

void Running::reload() {
  if (m_log != nullptr) m_log->reopen();
  try {
    readAgain();
  } catch (const std::exception& error) {
    say(std::string(error.what()) + "; the settings stay as they were");
  }
}

void Running::tellAndReload(bool isReady) {
  tellManagerOfReload();
  reload();
  if (isReady) tellManager("READY=1");
}

// Until a signal ends it. Who asks before there are policies waits for them a moment, so that a restart puts off no
// mail. It counts as ready when there are policies to answer from, or when there will be none soon.
void Running::serve(const Signals& signals) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (bool isServing = false, isReady = false;;) {
    const bool hasPolicies = isReady || m_policies->lease() != nullptr;
    const auto waited = Clock::now() - start;
    if (!isServing && (hasPolicies || waited >= kLongestSilence)) {
      m_server->start();
      isServing = true;
    }
    if (!isReady && (hasPolicies || waited >= kLongestStart)) {
      tellManager("READY=1");
      isReady = true;
    }
    const int number = isReady ? signals.wait() : signals.waitFor(kMoment).value_or(0);
    if (Signals::meansEnd(number)) {
      if (!isServing) m_server->start();  // what has been asked is answered
      return;
    }
    if (number == SIGHUP) tellAndReload(isReady);
  }
}

// Answers what has been asked; the signal that says a second time to end, if one comes meanwhile.
std::optional<int> Running::drain(const Signals& signals) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + seconds(m_desk->rules()->service.shutdownTimeout);
  m_server->beginDrain();
  while (!m_server->isDrained() && Clock::now() < end) {
    const std::optional<int> number = signals.waitFor(kMoment);
    if (number && Signals::meansEnd(*number)) return number;
  }
  return std::nullopt;
}

// Whoever says it once more means at once, whatever the rest waits for. By then no file of a socket is left.
void Running::end(const Signals& signals) {
  tellManager("STOPPING=1");
  const std::optional<int> again = drain(signals);
  m_admin->close();
  Signals::letThemEnd();
  if (again) std::raise(*again);
  m_server->stop();
  m_admin->stop();
  m_policies->stop(seconds(m_desk->rules()->service.shutdownTimeout));
}

int Running::run() {
  applyLogLevel();
  requireService(m_settings);
  sayWarnings(m_settings);
  const std::optional<Identity> identity = identityToTake(options().service.user);
  const Signals signals;
  makeRoomForConnections(options().service);
  Sockets sockets = openSockets(options());
  if (identity) become(*identity);
  sayWhatStays(sockets);
  start(std::move(sockets));
  serve(signals);
  end(signals);
  return 0;
}

}  // namespace

int runService(const std::string& configFile) {
  openStandardDescriptors();
  zrhost::loseLinesNobodyReads();
  return Running(configFile).run();
}

}  // namespace zrservice
