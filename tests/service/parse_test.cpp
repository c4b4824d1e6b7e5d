#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "service/PolicyRequest.h"
#include "service/QuestionRules.h"
#include "service/SocketmapRequest.h"

namespace {

using namespace zrservice;

std::string textOf(const PolicyRequest& request) {
  std::string text;
  for (const Attribute& attribute : request.attributes())
    text.append(attribute.name).append("=").append(attribute.value).append(";");
  return text;
}

std::string textOf(const SocketmapRequest& request) {
  return std::string(request.map()) + ">" + std::string(request.key());
}

// What a connection would make of bytes that come in two pieces: requests, and the fault that ends it.
template <class Request>
std::vector<std::string> parsed(const std::string& bytes, std::size_t split) {
  Request request;
  std::vector<std::string> found;
  std::size_t start = 0;
  for (const std::size_t end : {split, bytes.size()}) {
    for (;;) {
      const Found next = request.parse(std::string_view(bytes).substr(start, end - start));
      if (next.fault != nullptr) {
        found.push_back(std::string("fault: ") + next.fault);
        return found;
      }
      if (next.size == 0) break;
      found.push_back(textOf(request));
      start += next.size;
      if (start == end) break;
    }
  }
  return found;
}

// Whatever arrives, pieces tell the same as the whole; run under the sanitizers nothing is read beside it.
template <class Request>
void expectPiecesTellTheSame(std::string bytes) {
  std::mt19937 random(7);
  constexpr std::string_view kBytes("=\n:,019 a\0\xff", 11);
  for (int round = 0; round < 20000; ++round) {
    std::string changed = bytes;
    for (int i = 0; i < 3; ++i)
      changed[random() % changed.size()] = kBytes[random() % kBytes.size()];
    ASSERT_EQ(parsed<Request>(changed, random() % changed.size()), parsed<Request>(changed, changed.size()));
  }
}

TEST(Requests, OfRandomBytesAreTheSameInPieces) {
  expectPiecesTellTheSame<PolicyRequest>("request=a\nsasl_username=b\n\nrequest=c\n\n");
  expectPiecesTellTheSame<SocketmapRequest>("6:user a,7:default,10:address 1.,");
}

// The questions of one request, as words.
std::string asked(const zrhost::QuestionsSection& settings, const std::string& attributes) {
  PolicyRequest request;
  request.parse(attributes);
  zrlive::Question question;
  const unsigned leftOut = QuestionRules(settings).ask(request, question);
  std::string text;
  for (std::size_t i = 0; i < question.size(); ++i)
    text += "ughaod*"[static_cast<std::size_t>(question.kind(i))] + (":" + std::string(question.key(i))) + " ";
  return text + std::to_string(leftOut);
}

TEST(QuestionRules, MakeQuestionsOfAttributes) {
  const zrhost::QuestionsSection usual;
  zrhost::QuestionsSection inbound;
  inbound.user = {"recipient"};
  inbound.localpart = true;
  inbound.domainAs = "none";
  const struct {
    const zrhost::QuestionsSection& settings;
    const char *attributes, *questions;
  } cases[] = {
      {usual, "sasl_username=john+x@example.org\nclient_name=a.b.c.\nclient_address=10.0.0.7\n\n",
       "u:john+x@example.org u:john@example.org h:a.b.c h:.b.c h:.c a:10.0.0.7 o:example.org d: 0"},
      {usual, "sasl_username=\nclient_name=unknown\nclient_address=::FFFF:10.0.0.7\nsender=x@y\n\n", "a:10.0.0.7 d: 0"},
      {usual, "client_address=2001:db8::1\n\n", "d: 1"},
      {usual, "client_address=10.0.0.7x\n\n", "d: 0"},
      {inbound, "recipient=john+x@example.org\n\n", "u:john+x@example.org u:john@example.org u:john d: 0"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(asked(each.settings, each.attributes), each.questions) << each.attributes;
  EXPECT_TRUE(QuestionRules(usual).warnings().empty());
  zrhost::QuestionsSection open;
  open.user = {"sender"};
  open.host = {"helo_name"};
  EXPECT_EQ(QuestionRules(open).warnings().size(), 2U);
}

}  // namespace
