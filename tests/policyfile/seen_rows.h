#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/base/HostError.h"
#include "host/policyfile/PolicyFileReader.h"
#include "host/rows/RowSink.h"

namespace zrtest {

// Rows as texts: "link 7 1 john 20 10", an absent field as "-".
class SeenRows : public zrhost::PlacedRowSink, public zrhost::RowSink {
 public:
  void onPolicy(zrhost::PolicyRow& row, const zrhost::RowPlace& place) override;
  void onRule(zrhost::RuleRow& row, const zrhost::RowPlace& place) override;
  void onLink(zrhost::LinkRow& row, const zrhost::RowPlace& place) override;
  void onMember(zrhost::MemberRow& row, const zrhost::RowPlace& place) override;
  void onFault(const zrhost::RowFault& fault) override { faults.push_back(fault); }

  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(zrhost::PolicyRow& row) override { onPolicy(row, *place); }
  void onRule(zrhost::RuleRow& row) override { onRule(row, *place); }
  void onLink(zrhost::LinkRow& row) override { onLink(row, *place); }
  void onMember(zrhost::MemberRow& row) override { onMember(row, *place); }

  std::vector<std::string> rows;
  std::vector<std::string> places;  // of the rows: "3", the line
  std::vector<zrhost::RowFault> faults;
  const zrhost::RowPlace* place = nullptr;  // for rows that come without one
};

// What reading a file shows, and how it ends.
struct Reading : SeenRows {
  explicit Reading(const std::string& path, bool judgeValues = true);
  std::optional<zrhost::ErrorKind> kind{};  // of the error that ended it
  std::string error;
};

// The kind of the HostError that `action` ends with, and its text.
std::pair<std::optional<zrhost::ErrorKind>, std::string> failureOf(const std::function<void()>& action);

// Lines between the first and the last one of JSON Lines, which are added; `rows` is what the last one says.
std::string jsonFile(const std::vector<std::string>& lines);

}  // namespace zrtest
