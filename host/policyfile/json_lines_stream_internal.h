#pragma once

#include <memory>

#include "host/policyfile/json_line_internal.h"
#include "host/policyfile/line_reader_internal.h"
#include "host/policyfile/row_stream_internal.h"

namespace zrhost {

// The rows of a file of JSON Lines. A file without its end line, or with another number of rows than that says, was
// cut.
class JsonLinesStream : public RowStream {
 public:
  // The reader stands on the first line, which must be a header of a version that is known.
  explicit JsonLinesStream(std::unique_ptr<LineReader> lines);

  std::optional<PolicyTable> next(RowBuffer& rows) override;
  const RowPlace& place() const override { return m_lines->place(); }
  std::string_view record() const override { return m_lines->line(); }
  std::uint64_t columnOf(const char* column) const override { return columnOfMember(m_lines->line(), column); }

 private:
  bool nextLine();
  void finish(std::int64_t rows);

  std::unique_ptr<LineReader> m_lines;
  JsonLineParser m_parser;
  std::int64_t m_rows = 0;
};

}  // namespace zrhost
