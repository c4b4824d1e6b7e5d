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
    const zrhost::Revision revision{"e", 7, 2};
    sink.onRevision(revision);
    for (zrhost::PolicyRow row : policies)
      sink.onPolicy(row);
    for (zrhost::RuleRow row : rules)
      sink.onRule(row);
    for (zrhost::LinkRow row : links)
      sink.onLink(row);
    for (zrhost::MemberRow row : members)
      sink.onMember(row);
    return revision;
  }
};

}  // namespace zrtest
