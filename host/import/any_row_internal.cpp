#include "host/import/any_row_internal.h"

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"

namespace zrhost {
namespace {

constexpr unsigned kLineBits = 44;
constexpr std::size_t kMostShown = 60;

std::string shownValue(const PolicyColumn& column, const Field& field) {
  if (!field) return "NULL";
  return column.isNumber ? shortened(*field, kMostShown) : "'" + shortened(*field, kMostShown) + "'";
}

}  // namespace

PolicyTable tableOf(const AnyRow& row) {
  return static_cast<PolicyTable>(row.index());
}

std::string nameOf(const AnyRow& row) {
  const auto* const* link = std::get_if<LinkRow*>(&row);
  const bool hasKey = link == nullptr || (*link)->linkId;
  std::string text = formatOf(tableOf(row)).name;
  forColumns(row, [&](const PolicyColumn& column, const Field& field) {
    if (hasKey ? column.isKey : field.has_value())
      text += std::string(", ") + column.name + ' ' + shownValue(column, field);
  });
  return text;
}

std::optional<std::string> tableFault(const AnyRow& row) {
  std::optional<std::string> fault;
  forColumns(row, [&](const PolicyColumn& column, const Field& field) {
    if (fault) return;
    fault = valueFault(column, field);
    if (!fault && field && field->find('\0') != std::string::npos) {
      fault = std::string(column.name) + " holds a zero byte, which no table can hold";
    }
  });
  return fault;
}

std::optional<std::string> utf8Fault(const AnyRow& row) {
  std::optional<std::string> fault;
  forColumns(row, [&](const PolicyColumn& column, const Field& field) {
    if (fault || !field || isUtf8(*field)) return;
    fault = std::string(column.name) + " holds bytes that are no UTF-8, which this database does not take";
  });
  return fault;
}

std::uint64_t RowNumbers::of(const RowPlace& place) {
  if (m_files.empty() || m_files.back() != place.file) m_files.push_back(place.file);
  return (std::uint64_t{m_files.size() - 1} << kLineBits) | place.line;
}

std::uint64_t lineOf(std::uint64_t number) {
  return number & ((std::uint64_t{1} << kLineBits) - 1);
}

}  // namespace zrhost
