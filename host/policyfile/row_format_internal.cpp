#include "host/policyfile/row_format_internal.h"

#include <algorithm>
#include <array>
#include <csv.h>

#include "host/base/utf8.h"
#include "host/policyfile/base64_text_internal.h"
#include "host/policyfile/csv_stream_internal.h"

namespace zrhost {
namespace {

constexpr char kNoEscape = '\0';
constexpr char kByNumber = 'u';

// What stands behind the backslash for each byte of a JSON text, where it needs one.
constexpr std::array<char, 256> kEscapes = [] {
  std::array<char, 256> escapes{};
  for (std::size_t byte = 0; byte < 0x20; ++byte)
    escapes[byte] = kByNumber;
  for (const char itself : {'"', '\\'})
    escapes[static_cast<unsigned char>(itself)] = itself;
  escapes['\n'] = 'n';
  escapes['\r'] = 'r';
  escapes['\t'] = 't';
  return escapes;
}();

void appendEscape(std::string& line, unsigned char byte, char escape) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  line += '\\';
  line += escape;
  if (escape != kByNumber) return;
  line += "00";
  line += kDigits[byte >> 4U];
  line += kDigits[byte & 0xFU];
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
  std::size_t taken = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const char escape = kEscapes[byte];
    if (escape == kNoEscape) continue;
    line += text.substr(taken, at - taken);
    appendEscape(line, byte, escape);
    taken = at + 1;
  }
  line += text.substr(taken);
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

void CsvRowFormat::appendValue(std::string& text, Part part, const PolicyColumn& definition, const Field& field) {
  if (!field) return;
  if (definition.isNumber || isPlainCsv(*field) == (part == Part::kPlain)) {
    appendCsvField(text, part == Part::kPlain ? *field : base64Of(*field));
  }
}

void CsvRowFormat::appendRow(std::string& text, RowFields fields, std::string_view reason) const {
  for (const Column& column : m_columns) {
    if (&column != m_columns.data()) text += ',';
    if (column.part == Part::kReason) {
      appendCsvField(text, reason);
    } else {
      appendValue(text, column.part, m_table.columns[column.index], *fields[column.index]);
    }
  }
  text += kCsvLineEnd;
}

}  // namespace zrhost
