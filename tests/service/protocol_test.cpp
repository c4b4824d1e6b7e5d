#include <csignal>
#include <gmock/gmock.h>
#include <vector>

#include "service/running_service.h"

namespace zrtest {
namespace {

using testing::StartsWith;

using ProtocolTest = ServiceTest;

std::string netstring(const std::string& text) {
  return std::to_string(text.size()) + ":" + text + ",";
}

std::string times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

// Each piece is read before the next one is sent.
void sendInPieces(const Client& client, const std::string& text, std::size_t split) {
  client.send(text.substr(0, split));
  client.waitUntilRead();
  client.send(text.substr(split));
}

TEST_F(ProtocolTest, AnswersTheSameWhereverARequestIsSplit) {
  startReady();
  const Client policy(policySocket()), map(file("map"));
  const std::string two = std::string(kAskJohn) + "request=smtpd_access_policy\nx=a=b\nempty=\n\n";
  for (std::size_t split = 0; split <= two.size(); ++split) {
    sendInPieces(policy, two, split);
    ASSERT_EQ(policy.receive("DUNNO\n\n"), std::string(kJohns) + "action=DUNNO\n\n") << split;
  }
  const std::string lookups = netstring("user john@example.org") + netstring("default");
  for (std::size_t split = 0; split <= lookups.size(); ++split) {
    sendInPieces(map, lookups, split);
    ASSERT_EQ(map.receive("DUNNO,"), "26:OK BCC archive@example.org,8:OK DUNNO,") << split;
  }
  for (const char byte : std::string(kAskJohn)) {
    policy.send({byte});
    policy.waitUntilRead();
  }
  EXPECT_EQ(policy.receive("\n\n"), kJohns);
}

TEST_F(ProtocolTest, AnswersAllThatAClientSentBeforeItStoppedSending) {
  configure("listen = inet:127.0.0.1:" + std::to_string(freePort()) + " unix:" + policySocket());
  startReady();
  const Client policy(policySocket()), map(file("map")), port(lastPort());
  for (const Client* const client : {&policy, &port}) {
    client->send(times(3000, kAskJohn) + "request=half\n");
    client->endSending();
    EXPECT_EQ(client->receiveAll(), times(3000, kJohns));
  }
  map.send(times(3000, "7:default,") + "7:defa");
  map.endSending();
  EXPECT_EQ(map.receiveAll(), times(3000, "8:OK DUNNO,"));
}

// What a client sends, and all that it gets before the connection is closed.
struct Talk {
  const char* name;
  std::string sent, received;
};

std::vector<Talk> faultyRequests() {
  const std::string ok = kAskJohn, garbage("\x16\x03\x01\x02\0\x01\n", 7);
  return {{"another protocol", "GET / HTTP/1.1\r\nHost: x\r\n\r\n", kNotReady},
          {"garbage behind a request", ok + garbage, kJohns + std::string(kNotReady)},
          {"an empty request", "\n", kNotReady},
          {"a line without =", "request=x\njohn\n\n", kNotReady},
          {"a line without a name", "=x\n\n", kNotReady},
          {"a zero byte", std::string("a=b\0c\n\n", 7), kNotReady},
          {"CR LF", "request=x\r\nsasl_username=john@example.org\r\n\r\n", kNotReady},
          {"201 attributes", times(201, "a=b\n") + "\n", kNotReady},
          {"a request of a byte too many", "aa=" + std::string((64 << 10) - 4, 'x') + "\n\n", kNotReady},
          {"a line without an end", std::string(200'000, 'x'), kNotReady},
          {"a request without an end", times(100, "a=" + std::string(1000, 'b') + "\n"), kNotReady}};
}

TEST_F(ProtocolTest, RefusesWhatIsNoRequestAndServesOthersOn) {
  configure("listen = inet:127.0.0.1:" + std::to_string(freePort()) + " unix:" + policySocket());
  startReady();
  const Client sound(policySocket());
  int count = 0;
  for (const Talk& talk : faultyRequests()) {
    const Client client(policySocket()), port(lastPort());
    client.send(talk.sent);
    EXPECT_EQ(client.receiveAll(), talk.received) << talk.name;
    port.send(talk.sent);
    EXPECT_EQ(port.receiveAll(), talk.received) << talk.name << " by a port";
    sound.send(kAskJohn);
    EXPECT_EQ(sound.receive("\n\n"), kJohns) << talk.name;
    count += 2;
  }
  EXPECT_EQ(metric("bad_requests_total"), count);
  EXPECT_TRUE(says("a connection is closed: "));
}

TEST_F(ProtocolTest, TakesTheLargestRequests) {
  startReady();
  const std::string john = "sasl_username=john@example.org\n";
  const Client client(policySocket());
  for (const std::string& request :
       {times(199, "a=b\n") + john + "\n", john + "a=" + std::string((64 << 10) - john.size() - 4, 'x') + "\n\n"}) {
    client.send(request);
    EXPECT_EQ(client.receive("\n\n"), kJohns);
  }
}

TEST_F(ProtocolTest, AnswersEachMapAlone) {
  startReady();
  const Client client(file("map"));
  const std::pair<std::string, std::string> cases[] = {
      {"user john@example.org", "OK BCC archive@example.org"},
      {"user nobody@example.org", "NOTFOUND "},
      {"user ", "NOTFOUND "},
      {"user", "NOTFOUND "},
      {"group sales", "OK PREPEND X-Disclaimer: sales"},
      {"host relay1.example.org", "OK OK"},
      {"address 10.0.0.7", "OK PREPEND X-Network: servers"},
      {"address ::ffff:10.0.0.7", "OK PREPEND X-Network: servers"},
      {"address 2001:db8::1", "NOTFOUND "},
      {"address 10.0.0.7.1", "NOTFOUND "},
      {"other nothing", "NOTFOUND "},
      {"default", "OK DUNNO"},
      {"default whoever", "OK DUNNO"},
      {"USER john@example.org", "PERM unknown map, ask user, group, host, address, other or default"},
      {"", "PERM unknown map, ask user, group, host, address, other or default"}};
  for (const auto& [request, reply] : cases) {
    client.send(netstring(request));
    EXPECT_EQ(client.receive(","), reply.starts_with("PERM") ? "66:PERM unknown map," : netstring(reply)) << request;
    if (reply.starts_with("PERM")) client.receive("default,");
  }
}

TEST_F(ProtocolTest, RefusesWhatIsNoNetstring) {
  startReady();
  const std::string fault = netstring("TEMP policy service is not ready");
  const Client sound(file("map"));
  for (const std::string& sent :
       {std::string("x"), std::string(":user a,"), std::string("6:user ab,"), std::string("6:user a;"),
        std::string("06:user a,"), std::string("00:,"), std::string("-1:,"), std::string(" 6:user a,"),
        std::string("65537:"), std::string("99999999999999999999:"), std::string(100'000, '1'),
        std::string("6:user \0,", 9), std::string("request=smtpd_access_policy\n\n")}) {
    const Client client(file("map"));
    client.send("7:default," + sent);
    EXPECT_EQ(client.receiveAll(), "8:OK DUNNO," + fault) << sent.substr(0, 30);
    sound.send("7:default,");
    EXPECT_EQ(sound.receive(","), "8:OK DUNNO,");
  }
  sound.send(netstring("user " + std::string((64 << 10) - 5, 'x')));
  EXPECT_EQ(sound.receive(","), "9:NOTFOUND ,");
}

TEST_F(ProtocolTest, ForgetsWhoLeavesInTheMiddle) {
  startReady();
  const std::size_t before = descriptors();
  for (int i = 0; i < 50; ++i) {
    const Client half(policySocket()), unread(policySocket()), map(file("map"));
    half.send("request=x\nsasl_us");
    unread.send(times(100, kAskJohn));
    map.send("21:user john");
  }
  EXPECT_TRUE(comesTrue([&] { return descriptors() <= before && connections() == 0; }));
  EXPECT_EQ(askJohn(), kJohns);
}

}  // namespace
}  // namespace zrtest
