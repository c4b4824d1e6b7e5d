#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/policyfile/line_reader_internal.h"

namespace zrhost {

// The records of a file of comma-separated values (RFC 4180), each with the line on which it begins. Empty lines are
// skipped; a line may end in LF or CR LF.
class CsvRecords {
 public:
  explicit CsvRecords(std::unique_ptr<LineReader> lines);
  ~CsvRecords();

  // Takes the line on which the reader stands for the next one.
  void useCurrentLine() { m_hasLine = true; }
  // Goes to the next record; false at the end. Throws LineFault for one whose quotes are wrong, behind which the next
  // call goes on with the next line, and HostError kBadRow for a quoted field that never ends.
  bool next();

  // Valid until the next call.
  std::span<const std::string_view> fields() const { return m_fields; }
  const RowPlace& place() const { return m_place; }
  // As it stands in the file, without the end of its last line.
  std::string_view record() const;
  const LineReader& lines() const { return *m_lines; }

 private:
  struct Parser;

  bool nextLine();
  void begin();
  bool takeLine();
  void finishAtEnd();
  void makeViews();

  std::unique_ptr<LineReader> m_lines;
  std::unique_ptr<Parser> m_parser;
  bool m_hasLine = false;
  RowPlace m_place;
  std::string m_record;
  std::vector<std::string_view> m_fields;
};

}  // namespace zrhost
