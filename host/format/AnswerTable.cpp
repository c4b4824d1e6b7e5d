#include "host/format/AnswerTable.h"

#include <algorithm>
#include <array>
#include <vector>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::size_t kColumns = 8;
constexpr std::size_t kWidestColumn = 100;

struct Cell {
  std::string text;
  std::size_t width = 0;
};
using Row = std::array<Cell, kColumns>;

constexpr std::array<const char*, kColumns> kHeadings = {"PRIORITY",    "POLICY ID", "TYPE", "NAME",
                                                         "ENTITY TYPE", "ENTITY",    "RULE", "ACTION"};
constexpr std::array<bool, kColumns> kIsNumber = {true, true, true};

Cell cellOf(const std::string& raw) {
  Cell cell{terminalText(raw), 0};
  cell.width = displayWidth(cell.text);
  return cell;
}

Row headingRow() {
  Row row;
  std::transform(kHeadings.begin(), kHeadings.end(), row.begin(), cellOf);
  return row;
}

Row rowOf(const AnswerResult& result) {
  return {cellOf(std::to_string(result.priority)),
          cellOf(std::to_string(result.policyId)),
          cellOf(std::to_string(result.policyType)),
          cellOf(result.policyName),
          cellOf(entityTypeName(result.entityType)),
          cellOf(result.entityName),
          cellOf(result.rule.name),
          cellOf(result.rule.action)};
}

std::array<std::size_t, kColumns> columnWidths(const std::vector<Row>& rows) {
  std::array<std::size_t, kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < kColumns; ++i)
      widths[i] = std::max(widths[i], std::min(row[i].width, kWidestColumn));
  }
  return widths;
}

std::string lineOf(const Row& row, const std::array<std::size_t, kColumns>& widths) {
  std::string line;
  for (std::size_t i = 0; i < kColumns; ++i) {
    const std::string padding(widths[i] - std::min(widths[i], row[i].width), ' ');
    line += kIsNumber[i] ? padding + row[i].text : row[i].text + padding;
    line += "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);  // nothing is aligned behind the last text
  return line + '\n';
}

}  // namespace

std::string answerTable(const Answer& answer) {
  if (answer.empty()) return "no policy applies\n";
  std::vector<Row> rows = {headingRow()};
  for (const AnswerResult& result : answer)
    rows.push_back(rowOf(result));
  const auto widths = columnWidths(rows);
  std::string table;
  for (const Row& row : rows)
    table += lineOf(row, widths);
  return table;
}

}  // namespace zrhost
