#include "policyfile/seen_rows.h"

#include <array>

namespace zrtest {
namespace {

template <std::size_t N>
std::string textOf(const char* kind, const std::array<zrhost::Field*, N>& fields) {
  std::string text = kind;
  for (const zrhost::Field* field : fields)
    text += ' ' + field->value_or("-");
  return text;
}

}  // namespace

void SeenRows::onPolicy(zrhost::PolicyRow& row, const zrhost::RowPlace& at) {
  rows.push_back(textOf("policy", zrhost::fieldsOf(row)));
  places.push_back(std::to_string(at.line));
}

void SeenRows::onRule(zrhost::RuleRow& row, const zrhost::RowPlace& at) {
  rows.push_back(textOf("rule", zrhost::fieldsOf(row)));
  places.push_back(std::to_string(at.line));
}

void SeenRows::onLink(zrhost::LinkRow& row, const zrhost::RowPlace& at) {
  rows.push_back(textOf("link", zrhost::fieldsOf(row)));
  places.push_back(std::to_string(at.line));
}

void SeenRows::onMember(zrhost::MemberRow& row, const zrhost::RowPlace& at) {
  rows.push_back(textOf("member", zrhost::fieldsOf(row)));
  places.push_back(std::to_string(at.line));
}

Reading::Reading(const std::string& path, bool judgeValues) {
  std::tie(kind, error) = failureOf([&] { zrhost::PolicyFileReader(path, {judgeValues}).read(*this); });
}

std::pair<std::optional<zrhost::ErrorKind>, std::string> failureOf(const std::function<void()>& action) {
  try {
    action();
    return {};
  } catch (const zrhost::HostError& error) {
    return {error.kind(), error.what()};
  }
}

std::string jsonFile(const std::vector<std::string>& lines) {
  std::string text = "{\"zrpolicy\":1}\n";
  for (const std::string& line : lines)
    text += line + "\n";
  return text + "{\"end\":" + std::to_string(lines.size()) + "}\n";
}

}  // namespace zrtest
