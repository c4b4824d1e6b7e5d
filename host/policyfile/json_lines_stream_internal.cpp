#include "host/policyfile/json_lines_stream_internal.h"

#include <utility>

namespace zrhost {
namespace {

constexpr std::int64_t kVersion = 1;

bool isBlank(std::string_view line) {
  return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

void checkVersion(const RowPlace& place, const JsonLine& line) {
  if (line.kind != JsonLine::Kind::kHeader) failAt(place, "no policy file: its first line is not {\"zrpolicy\":1}");
  if (line.number == kVersion) return;
  failAt(place, "a policy file of version " + std::to_string(line.number) + "; this program knows version " +
                    std::to_string(kVersion));
}

}  // namespace

JsonLinesStream::JsonLinesStream(std::unique_ptr<LineReader> lines) : m_lines(std::move(lines)) {
  RowBuffer rows;
  try {
    checkVersion(m_lines->place(), m_parser.parse(m_lines->line(), rows));
  } catch (const LineFault& fault) {
    failAt(m_lines->place(), "no policy file: its first line is not {\"zrpolicy\":1}, but " + fault.reason);
  }
}

std::optional<PolicyTable> JsonLinesStream::next(RowBuffer& rows) {
  if (!nextLine()) failAt(place(), "the file was cut: its last line, {\"end\":N}, is missing");
  ++m_rows;  // also when it is none: the end line counts lines
  const JsonLine line = m_parser.parse(m_lines->line(), rows);
  if (line.kind == JsonLine::Kind::kRow) return line.table;
  if (line.kind == JsonLine::Kind::kHeader) failAt(place(), "a second policy file begins here");
  --m_rows;
  finish(line.number);
  return std::nullopt;
}

bool JsonLinesStream::nextLine() {
  while (m_lines->next()) {
    if (!isBlank(m_lines->line())) return true;
  }
  return false;
}

void JsonLinesStream::finish(std::int64_t rows) {
  if (rows != m_rows) {
    failAt(place(), "the end line tells of " + std::to_string(rows) + " rows, but " + std::to_string(m_rows) +
                        " stand before it; lines are missing, or the number was not corrected after an edit");
  }
  if (nextLine()) failAt(place(), "something stands behind the end line");
}

}  // namespace zrhost
