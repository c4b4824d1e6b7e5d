#pragma once

#include <vector>

#include "host/rows/RowSource.h"

namespace zrtest {

// A source of the rows that a test gives it.
struct GivenRows : zrhost::RowSource {
  std::vector<zrhost::PolicyRow> policies;
  std::vector<zrhost::RuleRow> rules;
  std::vector<zrhost::LinkRow> links;
  std::vector<zrhost::MemberRow> members;

  zrhost::Revision read(zrhost::RowSink& sink) override {
    zrhost::Revision revision{"e", 7, 2};
    sink.onRevision(revision);
    const auto give = [&sink](auto rows, auto take) {
      for (auto& row : rows)
        (sink.*take)(row);
    };
    give(policies, &zrhost::RowSink::onPolicy);
    give(rules, &zrhost::RowSink::onRule);
    give(links, &zrhost::RowSink::onLink);
    give(members, &zrhost::RowSink::onMember);
    return revision;
  }
};

}  // namespace zrtest
