#include <csignal>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "service/running_service.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

class LimitsTest : public ServiceTest {
 protected:
  // What it uses of a processor while it has nothing to do for a second.
  double processorSecondsOfOne() const {
    const double before = processorSeconds();
    sleep(1);
    return processorSeconds() - before;
  }
};

// Far more than a service needs that waits, far less than one that spins.
constexpr double kSpinning = 0.5;

void limitDescriptors(rlim_t count) {
  const rlimit limit{count, count};
  setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(LimitsTest, TellsThoseBeyondTheLimitAtTheirFirstRequest) {
  configure("max_connections = 2\n");
  startReady();
  const Client first(policySocket()), second(policySocket());
  for (const Client* const client : {&first, &second}) {
    client->send(kAskJohn);
    EXPECT_EQ(client->receive("\n\n"), kJohns);
  }
  const Client silent(policySocket()), third(policySocket()), map(file("map"));
  third.send(std::string(kAskJohn) + kAskJohn);
  EXPECT_EQ(third.receiveAll(), kNotReady);
  map.send("21:user john@example.org,");
  EXPECT_EQ(map.receiveAll(), "32:TEMP policy service is not ready,");
  EXPECT_EQ(metric("connections_over_limit_total"), 3);
  first.send(kAskJohn);
  EXPECT_EQ(first.receive("\n\n"), kJohns);
  configure("max_connections = 50\n");
  signal(SIGHUP);
  EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; }));
}

TEST_F(LimitsTest, ManyMoreThanAreToldAreClosedAndTheServiceRecovers) {
  configure("max_connections = 2\nrequest_timeout = 1\n");
  startReady();
  std::vector<Client> many;
  for (int i = 0; i < 600; ++i)
    many.emplace_back(policySocket());
  EXPECT_TRUE(comesTrue([this] { return metric("connections_over_limit_total") >= 598; }));
  EXPECT_LT(connections(), 300);
  many.clear();
  EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; }));
}

TEST_F(LimitsTest, ClosesWhatTakesTooLongFromItsFirstByte) {
  configure("request_timeout = 2\nidle_timeout = 3600\n");
  startReady();
  const Client idle(policySocket()), used(policySocket()), half(policySocket()), map(file("map")),
      trickle(policySocket());
  used.send(kAskJohn);
  EXPECT_EQ(used.receive("\n\n"), kJohns);
  half.send(std::string(kAskJohn) + "request=smtpd");
  map.send("7:defa");
  while (trickle.send("x"))  // each byte on its own is in time
    usleep(20'000);
  EXPECT_EQ(half.receiveAll(), kJohns);
  EXPECT_EQ(map.receiveAll(), "");
  EXPECT_EQ(metric("timeouts_total"), 3);
  for (const Client* const client : {&idle, &used}) {
    client->send(kAskJohn);
    EXPECT_EQ(client->receive("\n\n"), kJohns);
  }
}

TEST_F(LimitsTest, ClosesWhatIsIdle) {
  configure("idle_timeout = 1\n");
  startReady();
  EXPECT_EQ(Client(policySocket()).receiveAll(), "");
  EXPECT_TRUE(comesTrue([this] {
    const Client used(policySocket());
    used.send(kAskJohn);
    return used.receiveAll() == kJohns;
  }));
}

// Who takes no replies is not read from any more, and ends by the time limit of a request.
TEST_F(LimitsTest, DoesNotReadFromThoseWhoTakeNoReplies) {
  configure("request_timeout = 2\n");
  startReady();
  constexpr std::size_t kMost = std::size_t{64} << 20U;
  std::string requests;
  while (requests.size() < 60'000)
    requests += kAskJohn;
  const Client greedy(policySocket());
  std::size_t taken = 0;
  for (int waits = 0; waits < 50 && taken < kMost;) {
    const std::size_t sent = greedy.sendSome(requests);
    taken += sent;
    waits += sent == 0 ? 1 : 0;
    if (sent == 0) usleep(10'000);
  }
  EXPECT_LT(taken, std::size_t{8} << 20U);
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_TRUE(comesTrue([this] { return metric("timeouts_total") >= 1 && connections() == 0; }));
}

TEST_F(LimitsTest, ThousandsOfSilentConnectionsLeaveTheOthersAlone) {
  constexpr int kSilent = 3000;
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_max < kSilent + 1000) GTEST_SKIP() << "needs " << kSilent + 1000 << " descriptors (ulimit -Hn)";
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  configure("max_connections = 3200\nrequest_timeout = 3600\n");
  startReady();
  std::vector<Client> silent;
  for (int i = 0; i < kSilent; ++i) {
    silent.emplace_back(policySocket());
    if (i % 3 == 0) silent.back().send("request=half");
  }
  EXPECT_TRUE(comesTrue([this] { return connections() == kSilent; })) << connections() << log();
  EXPECT_LT(processorSecondsOfOne(), kSpinning);
  const Client client(policySocket());
  for (int i = 0; i < 1000; ++i) {
    client.send(kAskJohn);
    ASSERT_EQ(client.receive("\n\n"), kJohns);
  }
  silent.clear();
  EXPECT_TRUE(comesTrue([this] { return connections() == 1; }));
}

TEST_F(LimitsTest, DescriptorsThatRunOutDelayOnlyThoseWhoAreNew) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer of undefined behaviour needs descriptors for its own checks";
#endif
  startReady([] { limitDescriptors(60); });
  EXPECT_THAT(log(), HasSubstr("max_connections = 1024, but only 60 descriptors are allowed"));
  const Client early(policySocket());
  {
    std::vector<Client> many;
    for (int i = 0; i < 100; ++i)
      many.emplace_back(i % 2 == 0 ? policySocket() : file("map"));
    EXPECT_TRUE(says("cannot take a connection: Too many open files"));
    change("UPDATE policy_rule SET action = 'REJECT no' WHERE policy_id = 20");
    const std::size_t logged = log().size();
    EXPECT_LT(processorSecondsOfOne(), kSpinning);
    EXPECT_LT(log().size(), logged + 2000) << log();
    early.send(kAskJohn);
    EXPECT_THAT(early.receive("\n\n"), testing::AnyOf(kJohns, "action=REJECT no\n\n"));
  }
  EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=REJECT no\n\n"; })) << log();
  EXPECT_THAT(http("GET", "/status"), HasSubstr("\"state\": \"ready\""));
}

}  // namespace
}  // namespace zrtest
