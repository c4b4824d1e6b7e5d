#include <cstdlib>
#include <gmock/gmock.h>
#include <random>

#include "service/running_service.h"

namespace zrtest {
namespace {

// Sound bytes with some changed, left out, repeated or cut off: the same ones in each run. ZR_FUZZ_ROUNDS makes more.
class FuzzTest : public ServiceTest {
 protected:
  static int rounds() {
    const char* const given = std::getenv("ZR_FUZZ_ROUNDS");
    return given == nullptr ? 300 : std::atoi(given);
  }
  std::string mutated(const std::string& sound) {
    static constexpr std::string_view kBytes("\n\r=:, ,0159/{}[]\"%\0\xff", 21);
    std::string bytes = sound;
    for (unsigned changes = 1 + m_random() % 4; changes > 0 && !bytes.empty(); --changes) {
      const std::size_t at = m_random() % bytes.size(), size = 1 + m_random() % 8;
      switch (m_random() % 4) {
        case 0:
          bytes[at] = kBytes[m_random() % kBytes.size()];
          break;
        case 1:
          bytes.erase(at, size);
          break;
        case 2:
          bytes.insert(at, bytes.substr(at, size * (m_random() % 50)));
          break;
        default:
          if (m_random() % 8 == 0) bytes.resize(at);
      }
    }
    return bytes;
  }
  // Sends them in two pieces, and hears what comes in half of the cases.
  void talk(const Client& client, const std::string& bytes) {
    const std::size_t split = m_random() % (bytes.size() + 1);
    if (!client.send(bytes.substr(0, split)) || !client.send(bytes.substr(split))) return;
    if (m_random() % 2 == 0) return;
    client.endSending();
    EXPECT_THAT(client.receiveAll(), testing::Not(testing::EndsWith("<silence>"))) << bytes;
  }
  void expectSound(std::size_t descriptorsBefore) {
    EXPECT_TRUE(comesTrue([&] { return descriptors() <= descriptorsBefore && connections() == 0; })) << descriptors();
    EXPECT_EQ(askJohn(), kJohns);
    EXPECT_EQ(end(), 0) << log();
  }

  std::mt19937 m_random{20261125};  // NOLINT: the same ones each time
};

TEST_F(FuzzTest, RequestsThatAreNoneHarmNobody) {
  startReady();
  const std::size_t before = descriptors();
  const std::string lookups = "21:user john@example.org,7:default,11:address ::1,10:host a.b.c,";
  for (int round = 0; round < rounds() * 3; ++round) {
    talk(Client(policySocket()), mutated(std::string(kAskJohn) + "client_address=10.0.0.7\nclient_name=a.b\n\n"));
    talk(Client(file("map")), mutated(lookups));
  }
  expectSound(before);
}

TEST_F(FuzzTest, HttpThatIsNoneHarmsNobody) {
  startReady();
  const std::size_t before = descriptors();
  const std::string body = R"({"user":["john@example.org"],"address":["10.0.0.7"],"members":true,"default":true})";
  const std::string end = "Host: localhost\r\nConnection: close\r\n";
  const std::string requests[] = {
      "GET /status HTTP/1.1\r\n" + end + "\r\n",
      "GET /metrics?x=%41&y HTTP/1.1\r\n" + end + "Accept: */*\r\nRange: bytes=0-5\r\n\r\n",
      "POST /ask HTTP/1.1\r\n" + end + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body,
      "POST /ask HTTP/1.1\r\n" + end + "Transfer-Encoding: chunked\r\n\r\n10\r\n" + body.substr(0, 16) +
          "\r\n0\r\n\r\n",
      "GET /health/ready HTTP/1.0\r\nHost: localhost\r\nOrigin: http://x\r\n\r\n"};
  for (int round = 0; round < rounds(); ++round)
    talk(Client(file("admin")), mutated(requests[m_random() % std::size(requests)]));
  EXPECT_THAT(http("GET", "/health/ready"), testing::HasSubstr("200 OK"));
  expectSound(before);
}

}  // namespace
}  // namespace zrtest
