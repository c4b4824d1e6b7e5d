#include "check/check_rows.h"

#include <sstream>

namespace zrtest {
namespace {

using zrhost::Field;

std::vector<Field> fieldsOf(const std::string& line) {
  std::vector<Field> fields;
  for (std::size_t begin = 0, end = 0; begin <= line.size(); begin = end + 1) {
    end = std::min(line.find('|', begin), line.size());
    const std::string field = line.substr(begin, end - begin);
    fields.push_back(field == "NULL" ? Field() : Field(field));
  }
  return fields;
}

std::string joined(const std::vector<zrhost::ColumnValue>& values) {
  std::string text;
  for (const zrhost::ColumnValue& each : values)
    text += (&each == &values.front() ? "" : ",") + each.value.value_or("NULL");
  return text;
}

}  // namespace

void feed(zrhost::CheckSink& sink, const std::string& rows) {
  std::istringstream lines(rows);
  for (std::string line; std::getline(lines, line);) {
    const std::vector<Field> fields = fieldsOf(line);
    const std::string& table = *fields.at(0);
    if (table == "policy") {
      zrhost::PolicyRow row{fields.at(1), fields.at(2), fields.at(3), fields.at(4)};
      sink.onPolicy(row);
    } else if (table == "rule") {
      zrhost::RuleRow row{fields.at(1), fields.at(2), fields.at(3), fields.at(4),
                          fields.at(5), fields.at(6), fields.at(7)};
      sink.onRule(row);
    } else if (table == "link") {
      zrhost::LinkRow row{fields.at(1), fields.at(2), fields.at(3), fields.at(4), fields.at(5)};
      sink.onLink(row);
    } else {
      zrhost::MemberRow row{fields.at(1), fields.at(2)};
      sink.onMember(row);
    }
  }
}

std::string textOf(const zrhost::Finding& finding) {
  std::string text = zrhost::kindOf(finding.code).name;
  if (!finding.row.key.empty()) text += ' ' + joined(finding.row.key);
  return finding.mend.empty() ? text : text + " -> " + joined(finding.mend);
}

std::vector<std::string> findingsOf(const std::string& rows, zrhost::CheckOptions options) {
  std::vector<std::string> found;
  options.least = zrhost::Severity::kNote;
  options.onFinding = [&found](const zrhost::Finding& finding) { found.push_back(textOf(finding)); };
  zrhost::CheckSink sink(options);
  feed(sink, rows);
  const zrhost::CheckSummary summary = sink.finish();
  if (summary.total() != found.size()) found.push_back("another number of findings is counted");
  return found;
}

std::string goodPolicy(int id, bool isDefault) {
  const std::string number = std::to_string(id);
  return "policy|" + number + "|1|policy " + number + (isDefault ? "|1\n" : "|0\n") + "rule|" + number +
         "|1|1|247|r|0|DUNNO\n";
}

}  // namespace zrtest
