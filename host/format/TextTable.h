#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zrhost {

struct TableColumn {
  const char* heading;
  bool isNumber = false;  // stands at the right of its column
  bool mayBeCut = false;  // gives way when the table is wider than it may be
};

// Rows of texts as lines for people, each ended by a line feed: the columns two blanks apart, aligned as a terminal
// shows them, under a line of their headings (none when every heading is empty). Texts are made safe (terminalText).
class TextTable {
 public:
  explicit TextTable(std::vector<TableColumn> columns);

  // Adds a row of one text for each column.
  void add(const std::vector<std::string>& texts);

  // The lines, on at most `width` columns of the terminal: where they would take more, texts of the columns that may be
  // cut are, the widest first, and end in "…". No column is made narrower than 3, even when the lines are too long
  // then.
  //
  // A width of 0 shows all texts whole; one of more than 100 columns then moves the rest of its own line only.
  std::string text(std::size_t width = 0) const;

 private:
  struct Cell {
    std::string text;
    std::size_t width;
  };
  using Row = std::vector<Cell>;

  std::vector<std::size_t> wholeWidths(std::size_t most) const;
  std::vector<std::size_t> fittedWidths(std::size_t width) const;
  std::string line(const Row& row, const std::vector<std::size_t>& widths, bool isFitted) const;

  std::vector<TableColumn> m_columns;
  std::vector<Row> m_rows;
};

}  // namespace zrhost
