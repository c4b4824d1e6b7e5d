#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <tuple>

#include "common/log_capture.h"
#include "host/explain/Explainer.h"
#include "host/given_rows.h"

// Random databases and questions: what an explanation says counts is what lookups answer.

namespace zrhost {
namespace {

using Shown = std::tuple<int, int, int, std::string>;  // priority, policy, entity type, entity

class RandomExplanation : public testing::TestWithParam<unsigned> {
 protected:
  RandomExplanation() : m_random(GetParam()) {}

  int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
  std::string address() { return "10.0." + std::to_string(below(2)) + '.' + std::to_string(below(12)); }
  std::string name() {
    static const char* const names[] = {"a",  "b",       "A", "caf&#233;", "caf\xc3\xa9", "POP3_Mail_Sender",
                                        " a", "10.0.0.1"};
    return names[below(std::size(names))];
  }

  zrtest::GivenRows rows() {
    zrtest::GivenRows rows;
    const int policies = 1 + below(12);
    for (int id = 1; id <= policies; ++id) {
      rows.policies.push_back({std::to_string(id), "0", "p", below(6) == 0 ? "1" : "0"});
      for (int rule = 0; rule < below(3); ++rule)
        rows.rules.push_back(
            {std::to_string(id), std::to_string(rule), "1", below(3) == 0 ? "5" : "247", "r", "0", "x"});
    }
    std::vector<int> priorities;
    for (int links = below(60); links > 0; --links)
      priorities.push_back(below(8) - 4);
    std::sort(priorities.begin(), priorities.end());
    for (std::size_t i = 0; i < priorities.size(); ++i) {
      const int type = 1 + below(6);
      const std::string entity = type == 4 ? address() : type == 5 ? address() + " ~ " + address() : name();
      rows.links.push_back({std::to_string(i + 1), std::to_string(type), entity,
                            std::to_string(1 + below(policies + 1)), std::to_string(priorities[i])});
    }
    for (int members = below(8); members > 0; --members)
      rows.members.push_back({name(), name()});
    return rows;
  }

  Question question() {
    Question question;
    for (int parts = 1 + below(4); parts > 0; --parts) {
      const QuestionWord& word = kQuestionWords[below(std::size(kQuestionWords))];
      question.push_back(makeQuestionPart(word, word.kind == QuestionPart::Kind::kAddress ? address() : name()));
    }
    for (const char* whole : {"default", "all"})
      if (below(4) == 0) question.push_back(parseQuestion(whole).front());
    std::shuffle(question.begin(), question.end(), m_random);
    return below(2) == 0 ? question : withGroups(question);
  }

  std::mt19937 m_random;
};

std::vector<Shown> shown(const Answer& answer) {
  std::vector<Shown> all;
  for (const AnswerResult& result : answer)
    all.emplace_back(result.priority, result.policyId, result.entityType, result.entityName);
  return all;
}

std::vector<Shown> countedIn(const Explanation& explanation) {
  std::vector<Shown> all;
  for (const ExplainedSearch& search : explanation.searches) {
    for (const auto& [link, outcome, by] : search.links)
      if (outcome == LinkOutcome::kCounts)
        all.emplace_back(link->m_priority, link->m_policyId, link->m_entityType, link->m_entityName);
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Shown& a, const Shown& b) { return std::get<0>(a) < std::get<0>(b); });
  return all;
}

TEST_P(RandomExplanation, WhatCountsIsTheAnswerOfLookup) {
  const zrtest::LogCapture quiet;
  for (int databases = 0; databases < 60; ++databases) {
    zrtest::GivenRows source = rows();
    const auto plain = Snapshot::load(source), withIds = Snapshot::load(source, {.keepLinkIds = true});
    for (int questions = 0; questions < 40; ++questions) {
      const Question asked = question();
      const int policy = 1 + below(14);
      const Explanation explanation = Explainer(*withIds, policy).explain(asked);
      const std::vector<Shown> answer = shown(ask(*plain, asked));
      const auto isPolicy = [](int id) { return [id](const Shown& each) { return std::get<1>(each) == id; }; };
      ASSERT_EQ(countedIn(explanation), answer);
      ASSERT_EQ(shown(explanation.results), answer);
      ASSERT_EQ(explanation.policy->inAnswer, std::any_of(answer.begin(), answer.end(), isPolicy(policy)));
      for (const ExplainedSearch& search : explanation.searches) {
        for (const MetLink& met : search.links)
          ASSERT_EQ(met.outcome == LinkOutcome::kNoSelectedRule,
                    std::none_of(answer.begin(), answer.end(), isPolicy(met.link->m_policyId)));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomExplanation, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace zrhost
