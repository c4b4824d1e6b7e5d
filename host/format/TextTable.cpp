#include "host/format/TextTable.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::size_t kWidestColumn = 100;
constexpr std::size_t kNarrowestColumn = 3;
constexpr std::size_t kBetween = 2;

}  // namespace

TextTable::TextTable(std::vector<TableColumn> columns) : m_columns(std::move(columns)) {
  std::vector<std::string> headings;
  for (const TableColumn& column : m_columns)
    headings.emplace_back(column.heading);
  const auto isEmpty = [](const std::string& heading) { return heading.empty(); };
  if (!std::all_of(headings.begin(), headings.end(), isEmpty)) add(headings);
}

void TextTable::add(const std::vector<std::string>& texts) {
  Row row;
  for (const std::string& text : texts) {
    Cell cell{terminalText(text), 0};
    cell.width = displayWidth(cell.text);
    row.push_back(std::move(cell));
  }
  m_rows.push_back(std::move(row));
}

std::string TextTable::text(std::size_t width) const {
  const auto widths = width == 0 ? wholeWidths(kWidestColumn) : fittedWidths(width);
  std::string lines;
  for (const Row& row : m_rows)
    lines += line(row, widths, width != 0);
  return lines;
}

// What each column takes, texts wider than `most` left aside.
std::vector<std::size_t> TextTable::wholeWidths(std::size_t most) const {
  std::vector<std::size_t> widths(m_columns.size());
  for (const Row& row : m_rows) {
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], std::min(row[i].width, most));
  }
  return widths;
}

std::vector<std::size_t> TextTable::fittedWidths(std::size_t width) const {
  std::vector<std::size_t> widths = wholeWidths(std::max(width, kNarrowestColumn));
  std::size_t taken = std::accumulate(widths.begin(), widths.end(), kBetween * (widths.size() - 1));
  for (; taken > width; --taken) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const bool givesWay = m_columns[i].mayBeCut && widths[i] > kNarrowestColumn;
      if (givesWay && (widest == nullptr || widths[i] > *widest)) widest = &widths[i];
    }
    if (widest == nullptr) break;
    --*widest;
  }
  return widths;
}

std::string TextTable::line(const Row& row, const std::vector<std::size_t>& widths, bool isFitted) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const bool isCut = isFitted && m_columns[i].mayBeCut && row[i].width > widths[i];
    const std::string text = isCut ? cutToWidth(row[i].text, widths[i]) : row[i].text;
    const std::size_t shown = isCut ? displayWidth(text) : row[i].width;
    const std::string padding(widths[i] - std::min(widths[i], shown), ' ');
    line += m_columns[i].isNumber ? padding + text : text + padding;
    line.append(kBetween, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);  // nothing is aligned behind the last text
  return line + '\n';
}

}  // namespace zrhost
