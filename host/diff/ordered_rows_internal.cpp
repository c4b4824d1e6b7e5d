#include "host/diff/ordered_rows_internal.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

std::size_t columnsOf(const TableRow& row) {
  return formatOf(row.table).columns.size();
}

// "link_id 7", "group_name 'staff', user_name 'john'"
std::string keyText(const TableRow& row) {
  std::string text;
  const auto columns = formatOf(row.table).columns;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].isKey) continue;
    const std::string value = row.fields[i] ? shortened(*row.fields[i]) : "NULL";
    text += (text.empty() ? "" : ", ") + std::string(columns[i].name) + ' ' +
            (columns[i].isNumber || !row.fields[i] ? value : "'" + value + "'");
  }
  return text;
}

}  // namespace

std::strong_ordering compareKeys(const OrderedRow& a, const OrderedRow& b) {
  if (a.table != b.table) return a.table <=> b.table;
  if (a.table != PolicyTable::kMember) return a.numbers <=> b.numbers;
  const auto order = *a.fields[0] <=> *b.fields[0];
  return std::is_neq(order) ? order : *a.fields[1] <=> *b.fields[1];
}

bool isSameRow(const TableRow& a, const TableRow& b) {
  return std::equal(a.fields.begin(), a.fields.begin() + static_cast<std::ptrdiff_t>(columnsOf(a)), b.fields.begin());
}

void copyRow(const OrderedRow& from, OrderedRow& to) {
  to.table = from.table;
  to.numbers = from.numbers;
  std::copy_n(from.fields.begin(), columnsOf(from), to.fields.begin());
}

OrderedRows::OrderedRows(const DiffSide& side, std::function<void(const OrderedRow&)> take)
    : m_side(side), m_take(std::move(take)) {}

// The fields are swapped in: what comes back to the source is the storage of a row before.
template <class Fields>
void OrderedRows::take(PolicyTable table, const Fields& fields) {
  const OrderedRow& last = m_rows[m_current];
  m_current ^= 1U;
  OrderedRow& row = m_rows[m_current];
  row.table = table;
  for (std::size_t i = 0; i < fields.size(); ++i)
    std::swap(row.fields[i], *fields[i]);
  readKey(row);
  const auto order = m_isFirst ? std::strong_ordering::less : compareKeys(last, row);
  m_isFirst = false;
  if (std::is_eq(order)) refuse(row, "a row of this key stands twice");
  if (std::is_gt(order)) refuse(row, "the rows do not come in the order of their keys");
  m_take(row);
}

void OrderedRows::readKey(OrderedRow& row) const {
  std::size_t number = 0;
  const auto columns = formatOf(row.table).columns;
  row.numbers = {};
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].isKey) continue;
    if (!row.fields[i]) refuse(row, std::string(columns[i].name) + " is NULL");
    if (!columns[i].isNumber) continue;
    const auto value = strictNumber(*row.fields[i], columns[i].least, columns[i].most);
    if (!value) refuse(row, valueFault(columns[i], row.fields[i]).value_or("its key is none"));
    row.numbers[number++] = *value;
  }
}

void OrderedRows::refuse(const OrderedRow& row, const std::string& reason) const {
  const bool hasPlace = m_side.place != nullptr && !m_side.place->file.empty();
  const std::string place =
      hasPlace ? terminalText(m_side.place->file) + ", line " + std::to_string(m_side.place->line) + ": " : "";
  throw HostError(ErrorKind::kBadRow, place + formatOf(row.table).name + ", " + keyText(row) + ": " + reason);
}

void readSide(const DiffSide& side, RowSink& sink) {
  const auto named = [&side](const std::string& text) { return side.name + ": " + text; };
  try {
    side.readByKey(sink);
  } catch (const HostError& error) {
    throw HostError(error.kind(), named(error.what()));
  } catch (const std::bad_alloc&) {
    throw HostError(ErrorKind::kInternal, named("out of memory"));
  } catch (const char* text) {  // the library's, which may not outlive the thread
    throw HostError(ErrorKind::kInternal, named(std::string("internal error: ") + text));
  }
}

}  // namespace zrhost
