#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/rows/PolicyTable.h"

namespace zrhost {

using RowFields = std::span<Field* const>;

// A text as JSON (RFC 8259): only what must be escaped is, always in the same way. It must be UTF-8.
void appendJsonText(std::string& line, std::string_view text);

// A row as a line of JSON Lines with its end. An absent field is left out; `reason`, unless empty, stands behind the
// row.
void appendJsonRow(std::string& line, const PolicyTableFormat& table, RowFields fields, std::string_view reason = {});

// A field of CSV (RFC 4180), in quotes where it needs them.
void appendCsvField(std::string& line, std::string_view text);

inline constexpr std::string_view kCsvLineEnd = "\r\n";

// How a table's rows become records of CSV with certain columns.
class CsvRowFormat {
 public:
  // The columns of an export: each text has one for Base64 behind it.
  explicit CsvRowFormat(const PolicyTableFormat& table);
  // The columns of a header line; `reason` is added when it is none of them.
  CsvRowFormat(const PolicyTableFormat& table, const std::vector<std::string>& header);

  void appendHeader(std::string& text) const;
  void appendRow(std::string& text, RowFields fields, std::string_view reason = {}) const;

 private:
  enum class Part { kPlain, kBase64, kReason };
  struct Column {
    std::string name;
    Part part;
    std::size_t index;  // of the row's field
  };

  void add(const std::string& name);
  static void appendValue(std::string& text, Part part, const PolicyColumn& definition, const Field& field);

  const PolicyTableFormat& m_table;
  std::vector<Column> m_columns;
};

}  // namespace zrhost
