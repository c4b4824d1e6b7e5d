#include "host/policyfile/json_line_internal.h"

#include <charconv>
#include <optional>
#include <simdjson.h>

#include "host/base/terminal_text.h"
#include "host/policyfile/base64_text_internal.h"
#include "host/policyfile/json_fault_internal.h"
#include "host/policyfile/line_reader_internal.h"

namespace zrhost {
namespace {

namespace dom = simdjson::dom;

static_assert(LineReader::kPadding >= simdjson::SIMDJSON_PADDING);

std::string quoted(std::string_view name) {
  constexpr std::size_t most = 60;
  return '"' + shortened(name, most) + '"';
}

// Where a member of a row belongs.
struct ColumnName {
  std::size_t index;
  bool isBase64;
};

bool isColumn(const PolicyColumn& column, std::string_view name, bool isBase64) {
  return column.name == name && !(isBase64 && column.isNumber);
}

// Members mostly stand in the order of the columns, so the column behind the last one is tried first.
std::optional<ColumnName> findColumn(const PolicyTableFormat& table, std::string_view member, std::size_t guess) {
  if (guess < table.columns.size() && table.columns[guess].name == member) return ColumnName{guess, false};
  const bool isBase64 = member.ends_with(kBase64Suffix);
  const std::string_view name = isBase64 ? member.substr(0, member.size() - kBase64Suffix.size()) : member;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (isColumn(table.columns[i], name, isBase64)) return ColumnName{i, isBase64};
  }
  return std::nullopt;
}

const char* kindOf(const dom::element& value) {
  switch (value.type()) {
    case dom::element_type::STRING:
      return "a text";
    case dom::element_type::ARRAY:
      return "an array";
    case dom::element_type::OBJECT:
      return "an object";
    case dom::element_type::BOOL:
      return "a truth value";
    default:
      return "a number";
  }
}

// A number as it has to be shown where it is no whole one of the range, which is judged later.
void takeNumber(const dom::element& value, Field& field) {
  std::int64_t whole = 0;
  double fraction = 0;
  std::uint64_t large = 0;
  if (value.get(whole) == simdjson::SUCCESS) {
    assign(field, whole);
  } else if (value.is_null()) {
    field.reset();
  } else if (value.is_uint64() && value.get(large) == simdjson::SUCCESS) {
    assign(field, std::to_string(large));
  } else if (value.is_double() && value.get(fraction) == simdjson::SUCCESS) {
    char digits[32];
    assign(field, std::string_view(digits, std::to_chars(digits, digits + sizeof digits, fraction).ptr));
    if (field->find_first_not_of("-0123456789") == std::string::npos) *field += ".0";
  } else {
    throw LineFault{0, std::string("is ") + kindOf(value) + ", not a number"};
  }
}

void takeText(const dom::element& value, bool isBase64, Field& field) {
  std::string_view text;
  if (value.get(text) == simdjson::SUCCESS) {
    if (!isBase64) return assign(field, text);
    field = fromBase64(text);
    if (!field) throw LineFault{0, "is no Base64"};
  } else if (value.is_null()) {
    field.reset();
  } else {
    throw LineFault{0, std::string("is ") + kindOf(value) + ", not a text"};
  }
}

class RowTaker {
 public:
  RowTaker(const PolicyTableFormat& table, std::string_view line, RowBuffer& rows)
      : m_table(table), m_line(line), m_fields(rows.fields(table.table)) {}

  void take(const dom::object& members) {
    std::size_t guess = 0;
    for (const auto& [name, value] : members) {
      const auto column = findColumn(m_table, name, guess);
      if (!column) fail(name, "is no member of a " + std::string(m_table.member));
      const unsigned bit = 1U << column->index;
      if ((m_seen & bit) != 0) fail(name, "stands twice");
      m_seen |= bit;
      guess = column->index + 1;
      takeValue(*column, name, value);
    }
    lookForMissing();
  }

 private:
  void takeValue(const ColumnName& column, std::string_view name, const dom::element& value) {
    try {
      Field& field = *m_fields[column.index];
      m_table.columns[column.index].isNumber ? takeNumber(value, field) : takeText(value, column.isBase64, field);
    } catch (const LineFault& fault) {
      fail(name, fault.reason);
    }
  }

  void lookForMissing() {
    for (std::size_t i = 0; i < m_table.columns.size(); ++i) {
      if ((m_seen & (1U << i)) != 0) continue;
      if (!m_table.columns[i].mayBeAbsent) fail(m_table.columns[i].name, "is missing");
      m_fields[i]->reset();
    }
  }

  [[noreturn]] void fail(std::string_view name, const std::string& what) const {
    // A member that stands twice is meant where it stands the second time.
    throw LineFault{columnOfMember(m_line, name), quoted(name) + ' ' + what, m_table.table};
  }

  const PolicyTableFormat& m_table;
  std::string_view m_line;
  std::span<Field* const> m_fields;
  unsigned m_seen = 0;
};

JsonLine takeMember(std::string_view name, const dom::element& value, std::string_view line, RowBuffer& rows) {
  std::int64_t number = 0;
  dom::object members;
  if (const PolicyTableFormat* table = findTable(name)) {
    if (value.get(members) != simdjson::SUCCESS) {
      throw LineFault{columnOfMember(line, name), quoted(name) + " is no object", table->table};
    }
    RowTaker(*table, line, rows).take(members);
    return {JsonLine::Kind::kRow, 0, table->table};
  }
  if (name == "zrpolicy" || name == "end") {
    if (value.get(number) != simdjson::SUCCESS) {
      throw LineFault{columnOfMember(line, name), quoted(name) + " is no whole number"};
    }
    return {name == "end" ? JsonLine::Kind::kEnd : JsonLine::Kind::kHeader, number};
  }
  if (name.starts_with(kUnreadable)) throw LineFault{1, "was rejected before; put the mended row in its place"};
  throw LineFault{columnOfMember(line, name), quoted(name) + " is no row: policy, rule, link or member is expected"};
}

}  // namespace

struct JsonLineParser::Parser : dom::parser {};

JsonLineParser::JsonLineParser() : m_parser(std::make_unique<Parser>()) {}

JsonLineParser::~JsonLineParser() = default;

JsonLine JsonLineParser::parse(std::string_view line, RowBuffer& rows) {
  dom::element document;
  if (m_parser->parse(line.data(), line.size(), false).get(document) != simdjson::SUCCESS) throw jsonFault(line);
  dom::object members;
  if (document.get(members) != simdjson::SUCCESS)
    throw LineFault{1, "no JSON object, but " + std::string(kindOf(document))};
  std::optional<JsonLine> meaning;
  for (const auto& [name, value] : members) {
    if (name == "reason") continue;
    if (meaning) throw LineFault{columnOfMember(line, name), quoted(name) + " is a second row on one line"};
    meaning = takeMember(name, value, line, rows);
  }
  if (!meaning) throw LineFault{1, "an object without a row"};
  return *meaning;
}

std::uint64_t columnOfMember(std::string_view line, std::string_view name) {
  const std::size_t found = line.rfind('"' + std::string(name) + '"');
  return found == std::string_view::npos ? 0 : found + 1;
}

}  // namespace zrhost
