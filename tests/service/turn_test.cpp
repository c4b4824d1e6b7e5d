#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <vector>

#include "common/temp_folder.h"
#include "host/base/FileDescriptor.h"
#include "service/running_service.h"
#include "service/sample_site.h"
#include "service/stream_connection_internal.h"

namespace zrservice {
namespace {

constexpr std::size_t kClients = 40;
const std::string kJohn = zrtest::kAskJohn, kJohns = zrtest::kJohns;
const std::string kOther = "request=x\nsasl_username=other@example.org\n\n", kOthers = "action=DUNNO\n\n";
const std::string kRefusal = zrtest::kNotReady;

// A worker whose handlers are run by the test, one at a time.
class TurnTest : public testing::Test {
 protected:
  TurnTest() {
    for (std::size_t i = 0; i < kClients; ++i)
      connect();
  }
  ~TurnTest() override { m_worker.stop(); }

  void connect() {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    m_clients.emplace_back(ends[0]);
    StreamSocket socket(m_worker.context(), asio::generic::stream_protocol(AF_UNIX, 0), ends[1]);
    const auto connection = std::make_shared<StreamConnection<PolicyRequest>>(m_worker, std::move(socket), false);
    m_worker.add(connection);
    connection->start();
  }
  void send(std::size_t client, const std::string& text) const {
    ASSERT_EQ(::send(m_clients[client].get(), text.data(), text.size(), MSG_NOSIGNAL), std::ssize(text));
  }
  // What has come so far.
  std::string received(std::size_t client) const {
    char bytes[4096];
    const ssize_t size = recv(m_clients[client].get(), bytes, sizeof bytes, MSG_DONTWAIT);
    return {bytes, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

  zrtest::TempFolder m_folder;
  std::unique_ptr<zrlive::LivePolicies> m_policies = zrtest::startedPolicies(zrtest::sampleSite(m_folder));
  Desk m_desk{*m_policies, std::make_shared<Rules>(zrhost::Options()), nullptr};
  Worker m_worker{m_desk};
  std::vector<zrhost::FileDescriptor> m_clients;
};

TEST_F(TurnTest, AllWhoseNextRequestHasComeAreAnsweredByOneHandler) {
  for (std::size_t i = 0; i < kClients; ++i)
    send(i, i % 2 == 0 ? kJohn : kOther);
  for (std::size_t i = 0; i < kClients; ++i)
    m_worker.context().poll_one();
  for (std::size_t i = 0; i < kClients; ++i)
    ASSERT_EQ(received(i), i % 2 == 0 ? kJohns : kOthers) << i;

  struct Next {
    std::string request, reply, rest, replyToRest;
  };
  const std::vector<Next> kinds = {{kOther, kOthers, kJohn, kJohns},
                                   {kJohn + kOther + kJohn, kJohns + kOthers + kJohns, kOther, kOthers},
                                   {kJohn.substr(0, 20), "", kJohn.substr(20), kJohns},
                                   {kOther + kJohn.substr(0, 20), kOthers, kJohn.substr(20) + kOther, kJohns + kOthers},
                                   {kJohn + "no line\n" + kJohn, kJohns + kRefusal, "", ""},
                                   {"", "", kOther, kOthers}};
  const std::size_t gone = kClients - 1;
  for (std::size_t i = 0; i < gone; ++i)
    send(i, kinds[i % kinds.size()].request);
  m_clients[gone] = zrhost::FileDescriptor();
  m_worker.context().poll_one();
  for (std::size_t i = 0; i < gone; ++i)
    ASSERT_EQ(received(i), kinds[i % kinds.size()].reply) << i;

  m_worker.context().poll();
  std::size_t open = 0;
  for (std::size_t i = 0; i < gone; ++i) {
    if (kinds[i % kinds.size()].rest.empty()) continue;
    send(i, kinds[i % kinds.size()].rest);
    ++open;
  }
  EXPECT_EQ(m_worker.open, open);
  m_worker.context().poll();
  for (std::size_t i = 0; i < gone; ++i)
    EXPECT_EQ(received(i), kinds[i % kinds.size()].replyToRest) << i;
}

}  // namespace
}  // namespace zrservice
