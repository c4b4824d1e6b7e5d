#include "host/diff/RowDiffReport.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"
#include "support/base64.h"

namespace zrhost {

namespace {

using Json = nlohmann::ordered_json;  // keeps the members in the order written here

constexpr std::size_t kMostShown = 200;  // bytes of one text

const char* nameOf(RowChange change) {
  switch (change) {
    case RowChange::kAdded:
      return "added";
    case RowChange::kRemoved:
      return "removed";
    case RowChange::kChanged:
      return "changed";
  }
  return "?";
}

std::string shown(const PolicyColumn& column, const Field& field) {
  if (!field) return "NULL";
  const std::string text = shortened(*field, kMostShown);
  return column.isNumber ? text : "'" + text + "'";
}

// "link_id 34" or, with what it was before, "priority 20 -> 25".
std::string columnText(const RowDifference& difference, std::size_t i) {
  const PolicyColumn& column = formatOf(difference.table).columns[i];
  const std::string name = std::string(column.name) + ' ';
  if (difference.change != RowChange::kChanged || column.isKey) return name + shown(column, difference.row().fields[i]);
  return name + shown(column, difference.before->fields[i]) + " -> " + shown(column, difference.after->fields[i]);
}

std::string lineOf(const RowDifference& difference) {
  constexpr const char* kSigns[] = {"+ ", "- ", "~ "};
  const PolicyTableFormat& table = formatOf(difference.table);
  std::string keys, others;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].isKey) {
      keys += ", " + columnText(difference, i);
    } else if (difference.differsIn(i)) {
      others += (others.empty() ? ": " : ", ") + columnText(difference, i);
    }
  }
  return kSigns[static_cast<std::size_t>(difference.change)] + std::string(table.name) + keys + others + '\n';
}

std::string base64Of(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '\0');
  ToB64Enc(bytes.data(), text.data(), static_cast<int>(bytes.size()));
  return text;
}

void addColumn(Json& object, const PolicyColumn& column, const Field& field) {
  const auto number = field && column.isNumber ? strictNumber(*field, INT64_MIN, INT64_MAX) : std::nullopt;
  if (!field) {
    object[column.name] = nullptr;
  } else if (number) {
    object[column.name] = *number;
  } else if (isUtf8(*field)) {
    object[column.name] = *field;
  } else {
    object[std::string(column.name) + "_base64"] = base64Of(*field);
  }
}

template <class Wanted>
Json columnsOf(const TableRow* row, Wanted wanted) {
  if (row == nullptr) return nullptr;
  Json object = Json::object();
  const auto columns = formatOf(row->table).columns;
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (wanted(i)) addColumn(object, columns[i], row->fields[i]);
  return object;
}

std::string jsonOf(const RowDifference& difference) {
  const PolicyTableFormat& table = formatOf(difference.table);
  const auto differs = [&difference](std::size_t i) { return difference.differsIn(i); };
  return Json{{"table", table.name},
              {"key", columnsOf(&difference.row(), [&table](std::size_t i) { return table.columns[i].isKey; })},
              {"change", nameOf(difference.change)},
              {"before", columnsOf(difference.before, differs)},
              {"after", columnsOf(difference.after, differs)}}
      .dump();
}

std::string jsonOf(const RowDiffSummary& summary) {
  Json tables = Json::object();
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    const auto& [added, removed, changed] = summary.tables[i];
    tables[formatOf(static_cast<PolicyTable>(i)).name] = {{"added", added}, {"removed", removed}, {"changed", changed}};
  }
  return tables.dump();
}

// "ep_link: 1 added, 0 removed, 12 changed"
std::string textOf(const RowDiffSummary& summary) {
  std::string text;
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    const auto& [added, removed, changed] = summary.tables[i];
    text += std::string(formatOf(static_cast<PolicyTable>(i)).name) + ": " + std::to_string(added) + " added, " +
            std::to_string(removed) + " removed, " + std::to_string(changed) + " changed\n";
  }
  return text;
}

}  // namespace

RowDiffReport::RowDiffReport(DiffFormat format) : m_format(std::move(format)) {
  if (m_format.isJson) m_format.write(m_format.onlySummary ? "{" : "{\"rows\":[");
}

void RowDiffReport::add(const RowDifference& difference) {
  if (m_format.onlySummary) return;
  m_format.write(m_format.isJson ? (m_isFirst ? "" : ",") + jsonOf(difference) : lineOf(difference));
  m_isFirst = false;
}

void RowDiffReport::finish(const RowDiffSummary& summary) {
  if (!m_format.isJson) return m_format.write(textOf(summary));
  m_format.write(std::string(m_format.onlySummary ? "" : "],") + "\"summary\":" + jsonOf(summary) + "}\n");
}

}  // namespace zrhost
