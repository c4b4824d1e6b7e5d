#include "host/policyfile/json_reject_internal.h"

#include <nlohmann/json.hpp>

#include "host/base/utf8.h"
#include "host/policyfile/base64_text_internal.h"
#include "host/policyfile/json_line_internal.h"
#include "host/policyfile/row_format_internal.h"

namespace zrhost {
namespace {

std::string_view trimmed(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

bool isObject(std::string_view line) {
  return line.starts_with('{') && nlohmann::json::accept(line.begin(), line.end());
}

// The object up to its closing brace, without a reason that is written as here. A quote inside of a text is escaped, so
// what looks like that member is one.
std::string_view openObject(std::string_view object) {
  object.remove_suffix(1);
  constexpr std::string_view kReason = "\"reason\":\"";
  const std::size_t reason = object.rfind(kReason);
  if (reason == std::string_view::npos || !object.ends_with('"')) return object;
  const std::string_view text = object.substr(reason + kReason.size());
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '"') return object;  // more than the reason stands behind
    if (text[i] == '\\') ++i;
  }
  object = trimmed(object.substr(0, reason));
  if (object.ends_with(',')) object.remove_suffix(1);
  return object;
}

bool isEmptyObject(std::string_view open) {
  return trimmed(open).size() == 1;
}

std::string wrapped(std::string_view line) {
  const bool isText = isUtf8(line);
  std::string object = "{\"" + std::string(kUnreadable);
  if (!isText) object += kBase64Suffix;
  object += "\":";
  appendJsonText(object, isText ? line : base64Of(line));
  return object;
}

}  // namespace

std::string rejectedJsonLine(std::string_view line, std::string_view reason) {
  const std::string_view object = trimmed(line);
  std::string rejected = isObject(object) ? std::string(openObject(object)) : wrapped(line);
  if (!isEmptyObject(rejected)) rejected += ',';
  rejected += "\"reason\":";
  appendJsonText(rejected, reason);
  return rejected += "}\n";
}

}  // namespace zrhost
