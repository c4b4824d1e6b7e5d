#include "host/check/FindingReport.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

using Json = nlohmann::ordered_json;  // keeps the members in the order written here

std::string dumped(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* severityOf(const Finding& finding) {
  return severityName(kindOf(finding.code).severity);
}

class TextReport : public FindingReport {
 public:
  explicit TextReport(Write write) : m_write(std::move(write)) {}

  void add(const Finding& finding) override {
    const RowPlace& place = finding.row.place;
    const std::string where =
        place.file.empty() ? "" : terminalText(place.file) + ':' + std::to_string(place.line) + ": ";
    m_write(where + finding.row.text() + ": " + severityOf(finding) + ": " + terminalText(finding.message) + " [" +
            kindOf(finding.code).name + "]\n    " + terminalText(finding.remedy) + '\n');
  }

  void finish(const CheckSummary& summary) override {
    std::string text;
    const auto count = [&text](std::uint64_t number, const char* what) {
      if (number == 0) return;
      text += (text.empty() ? "" : ", ") + std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
    };
    count(summary.errors, severityName(Severity::kError));
    count(summary.warnings, severityName(Severity::kWarning));
    count(summary.notes, severityName(Severity::kNote));
    m_write(text.empty() ? "no findings\n" : text + '\n');
  }

 private:
  Write m_write;
};

// A document whose findings are the elements of an array, one a line, between what stands in front and behind.
class DocumentReport : public FindingReport {
 public:
  DocumentReport(std::string front, Write write) : m_front(std::move(front)), m_write(std::move(write)) {}

  void add(const Finding& finding) override {
    m_write((m_isEmpty ? m_front + '\n' : std::string(",\n")) + dumped(element(finding)));
    m_isEmpty = false;
  }

  void finish(const CheckSummary& summary) override { m_write((m_isEmpty ? m_front : "\n") + back(summary) + '\n'); }

 private:
  virtual Json element(const Finding& finding) const = 0;
  virtual std::string back(const CheckSummary& summary) const = 0;

  std::string m_front;
  Write m_write;
  bool m_isEmpty = true;
};

Json valueOf(const Field& field) {
  if (!field) return nullptr;
  const auto number = strictNumber(*field, INT64_MIN, INT64_MAX);
  return number ? Json(*number) : Json(*field);
}

// The names of groups and users are texts, whatever they look like.
Json keyOf(const RowName& row) {
  Json key = Json::object();
  for (const ColumnValue& each : row.key) {
    const bool isName = each.column.ends_with("_name");
    key[each.column] = isName && each.value ? Json(*each.value) : valueOf(each.value);
  }
  return key;
}

class JsonReport : public DocumentReport {
 public:
  explicit JsonReport(Write write) : DocumentReport(R"({"findings":[)", std::move(write)) {}

 private:
  Json element(const Finding& finding) const override {
    const RowPlace& place = finding.row.place;
    return {{"code", kindOf(finding.code).name},
            {"severity", severityOf(finding)},
            {"table", finding.row.table},
            {"key", keyOf(finding.row)},
            {"line", place.file.empty() ? Json() : Json(place.line)},
            {"message", finding.message},
            {"remedy", finding.remedy}};
  }

  std::string back(const CheckSummary& summary) const override {
    const Json counts = {{"error", summary.errors}, {"warning", summary.warnings}, {"note", summary.notes}};
    return R"(],"summary":)" + dumped(counts) + '}';
  }
};

// A path as the reference of a URI: bytes that have a meaning there, or none, are written as %HH.
std::string uriOf(const std::string& path) {
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
  std::string uri = path.starts_with('/') ? "file://" : "";
  for (const char c : path) {
    char escaped[4] = {c};
    if (kPlain.find(c) == std::string_view::npos) {
      std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    uri += escaped;
  }
  return uri;
}

std::string sarifFront(const std::string& version) {
  Json rules = Json::array();
  for (const FindingKind& kind : kFindingKinds) {
    rules.push_back({{"id", kind.name},
                     {"shortDescription", {{"text", kind.found}}},
                     {"defaultConfiguration", {{"level", severityName(kind.severity)}}}});
  }
  const Json driver = {{"name", "zrpolicy"}, {"version", version}, {"rules", std::move(rules)}};
  return R"({"$schema":"https://json.schemastore.org/sarif-2.1.0.json","version":"2.1.0","runs":[{"tool":{"driver":)" +
         dumped(driver) + R"(},"results":[)";
}

class SarifReport : public DocumentReport {
 public:
  SarifReport(const std::string& version, Write write) : DocumentReport(sarifFront(version), std::move(write)) {}

 private:
  Json element(const Finding& finding) const override {
    const RowName& row = finding.row;
    Json location = Json::object();
    if (!row.place.file.empty()) {
      location["physicalLocation"] = {{"artifactLocation", {{"uri", uriOf(row.place.file)}}}};
      if (row.place.line > 0) location["physicalLocation"]["region"] = {{"startLine", row.place.line}};
    }
    location["logicalLocations"] = Json::array({{{"fullyQualifiedName", row.text()}}});
    return {{"ruleId", kindOf(finding.code).name},
            {"ruleIndex", static_cast<int>(finding.code)},
            {"level", severityOf(finding)},
            {"message", {{"text", finding.message + "; " + finding.remedy}}},
            {"locations", Json::array({std::move(location)})},
            {"properties", {{"table", row.table}, {"key", keyOf(row)}}}};
  }

  std::string back(const CheckSummary&) const override { return "]}]}"; }
};

}  // namespace

std::optional<ReportFormat> findReportFormat(std::string_view name) {
  if (name == "text") return ReportFormat::kText;
  if (name == "json") return ReportFormat::kJson;
  if (name == "sarif") return ReportFormat::kSarif;
  return std::nullopt;
}

std::unique_ptr<FindingReport> makeFindingReport(ReportFormat format, const std::string& version,
                                                 FindingReport::Write write) {
  switch (format) {
    case ReportFormat::kJson:
      return std::make_unique<JsonReport>(std::move(write));
    case ReportFormat::kSarif:
      return std::make_unique<SarifReport>(version, std::move(write));
    case ReportFormat::kText:
      break;
  }
  return std::make_unique<TextReport>(std::move(write));
}

}  // namespace zrhost
