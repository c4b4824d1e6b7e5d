#include <optional>
#include <string>
#include <vector>

#include "host/base/strict_number.h"
#include "host/database/bound_statement_internal.h"
#include "host/database/row_batch_internal.h"

namespace zrhost {
namespace {

constexpr std::size_t kMostRows = 100;
constexpr std::size_t kMostBytes = 1 << 20;
constexpr std::size_t kKeptCapacity = 4096;

// The statement begins with WITH, which keeps the driver from preparing it anew at each execution; that would take
// three times as long as the rows.
class ValueBatch : public RowBatch {
 public:
  ValueBatch(Session& session, const StagedTable& table)
      : m_session(session), m_table(table), m_numbers(kMostRows * width()), m_texts(kMostRows * width()) {}

  void add(std::uint64_t number, std::span<const Field* const> values) override {
    std::size_t place = m_rows++ * width();
    m_numbers[place] = static_cast<std::int64_t>(number);
    for (std::size_t column = 0; column < values.size(); ++column)
      put(++place, m_table.columns[column], **values[column]);
    if (m_rows == kMostRows || m_bytes >= kMostBytes) send();
  }

  void send() override {
    if (m_rows == 0) return;
    if (m_rows == kMostRows) {
      const bool isNew = !m_full;
      if (isNew) m_full.emplace(m_session, m_table.statement, markers(), m_rows * width());
      sendThrough(*m_full, isNew);
    } else {
      BoundStatement few(m_session, m_table.statement, markers(), m_rows * width());
      sendThrough(few, true);
    }
    m_rows = m_bytes = 0;
  }

 private:
  std::size_t width() const { return m_table.columns.size() + 1; }

  void put(std::size_t place, const PolicyColumn& column, const std::string& value) {
    if (column.isNumber) {
      m_numbers[place] = strictNumber(value, column.least, column.most).value_or(0);
    } else {
      m_texts[place] = value;
      m_bytes += value.size();
    }
  }

  std::string markers() const {
    std::string row = "(?";
    for (std::size_t column = 1; column < width(); ++column)
      row += ",?";
    row += ")";
    std::string rows = row;
    for (std::size_t i = 1; i < m_rows; ++i)
      rows.append(",").append(row);
    return rows;
  }

  // A number stays in its place from batch to batch, a text does not.
  void sendThrough(BoundStatement& statement, bool isNew) {
    for (std::size_t place = 0; place < m_rows * width(); ++place) {
      const std::size_t column = place % width();
      if (column != 0 && !m_table.columns[column - 1].isNumber) {
        statement.bindText(place, m_texts[place]);
      } else if (isNew) {
        statement.bindNumber(place, m_numbers[place]);
      }
    }
    statement.execute();
    for (std::string& text : m_texts)
      if (text.capacity() > kKeptCapacity) text = std::string();
  }

  Session& m_session;
  const StagedTable m_table;
  std::vector<std::int64_t> m_numbers;  // by row and column, the row's own number before the columns
  std::vector<std::string> m_texts;     // likewise; a place has a number or a text
  std::size_t m_rows = 0, m_bytes = 0;
  std::optional<BoundStatement> m_full;  // for a batch of the most rows
};

}  // namespace

std::unique_ptr<RowBatch> makeValueBatch(Session& session, const StagedTable& table) {
  return std::make_unique<ValueBatch>(session, table);
}

}  // namespace zrhost
