#include "host/policyfile/row_format_internal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <csv.h>

#include "host/base/utf8.h"
#include "host/policyfile/base64_text_internal.h"
#include "host/policyfile/csv_stream_internal.h"

namespace zrhost {
namespace {

bool needsEscape(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
}

void appendEscape(std::string& line, char c) {
  constexpr std::string_view kLetters = "\"\"\\\\\nn\rr\tt";  // pairs: the character, what stands for it
  for (std::size_t i = 0; i < kLetters.size(); i += 2) {
    if (kLetters[i] != c) continue;
    line += '\\';
    line += kLetters[i + 1];
    return;
  }
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
  line += escape.data();
}

void appendJsonMember(std::string& line, const PolicyColumn& column, const std::string& value) {
  const bool isBase64 = !column.isNumber && !isUtf8(value);
  line += '"';
  line += column.name;
  if (isBase64) line += kBase64Suffix;
  line += "\":";
  if (column.isNumber) {
    line += value;
  } else {
    appendJsonText(line, isBase64 ? base64Of(value) : value);
  }
}

// Zero bytes are UTF-8, but few programs that read CSV survive them.
bool isPlainCsv(std::string_view text) {
  return isUtf8(text) && text.find('\0') == std::string_view::npos;
}

}  // namespace

void appendJsonText(std::string& line, std::string_view text) {
  line += '"';
  while (!text.empty()) {
    const auto* const escaped = std::find_if(text.begin(), text.end(), needsEscape);
    const auto plain = static_cast<std::size_t>(escaped - text.begin());
    line += text.substr(0, plain);
    if (plain < text.size()) appendEscape(line, text[plain]);
    text.remove_prefix(std::min(text.size(), plain + 1));
  }
  line += '"';
}

void appendJsonRow(std::string& line, const PolicyTableFormat& table, RowFields fields, std::string_view reason) {
  line += "{\"";
  line += table.member;
  line += "\":{";
  bool isFirst = true;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!*fields[i]) continue;
    if (!isFirst) line += ',';
    isFirst = false;
    appendJsonMember(line, table.columns[i], **fields[i]);
  }
  line += '}';
  if (!reason.empty()) {
    line += ",\"reason\":";
    appendJsonText(line, reason);
  }
  line += "}\n";
}

void appendCsvField(std::string& line, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    line += text;
    return;
  }
  const std::size_t start = line.size();
  line.resize(start + csv_write(nullptr, 0, text.data(), text.size()));
  csv_write(line.data() + start, line.size() - start, text.data(), text.size());
}

CsvRowFormat::CsvRowFormat(const PolicyTableFormat& table) : m_table(table) {
  for (const PolicyColumn& column : table.columns) {
    add(column.name);
    if (!column.isNumber) add(column.name + std::string(kBase64Suffix));
  }
}

CsvRowFormat::CsvRowFormat(const PolicyTableFormat& table, const std::vector<std::string>& header) : m_table(table) {
  for (const std::string& name : header)
    add(name);
  const auto isReason = [](const Column& column) { return column.part == Part::kReason; };
  if (std::none_of(m_columns.begin(), m_columns.end(), isReason)) add(std::string(kReasonColumn));
}

void CsvRowFormat::add(const std::string& name) {
  for (std::size_t i = 0; i < m_table.columns.size(); ++i) {
    const std::string column = m_table.columns[i].name;
    if (name == column) m_columns.push_back({name, Part::kPlain, i});
    if (name == column + std::string(kBase64Suffix)) m_columns.push_back({name, Part::kBase64, i});
  }
  if (name == kReasonColumn) m_columns.push_back({name, Part::kReason, 0});
}

void CsvRowFormat::appendHeader(std::string& text) const {
  for (const Column& column : m_columns) {
    if (&column != m_columns.data()) text += ',';
    text += column.name;
  }
  text += kCsvLineEnd;
}

std::string CsvRowFormat::valueOf(const Column& column, const PolicyColumn& definition, const Field& field) {
  if (!field) return {};
  if (definition.isNumber) return *field;
  const bool isPlain = isPlainCsv(*field);
  if (column.part == Part::kPlain) return isPlain ? *field : std::string();
  return isPlain ? std::string() : base64Of(*field);
}

void CsvRowFormat::appendRow(std::string& text, RowFields fields, std::string_view reason) const {
  for (const Column& column : m_columns) {
    if (&column != m_columns.data()) text += ',';
    if (column.part == Part::kReason) {
      appendCsvField(text, reason);
    } else {
      appendCsvField(text, valueOf(column, m_table.columns[column.index], *fields[column.index]));
    }
  }
  text += kCsvLineEnd;
}

}  // namespace zrhost
