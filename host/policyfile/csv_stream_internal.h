#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/policyfile/csv_records_internal.h"
#include "host/policyfile/row_stream_internal.h"

namespace zrhost {

// The column of CSV that says why a row was rejected; it is read over.
inline constexpr std::string_view kReasonColumn = "reason";

// The rows of one file of CSV, whose header line tells the table.
class CsvStream : public RowStream {
 public:
  // The reader stands on the first line. Throws HostError kBadRow for a header that fits no table, or another one than
  // `expected`.
  CsvStream(std::unique_ptr<LineReader> lines, std::optional<PolicyTable> expected);

  PolicyTable table() const { return m_table->table; }
  const std::vector<std::string>& header() const { return m_header; }

  std::optional<PolicyTable> next(RowBuffer& rows) override;
  const RowPlace& place() const override { return m_records.place(); }
  std::string_view record() const override { return m_records.record(); }
  std::vector<std::string> recordFields() const override;
  const LineReader& lines() const { return m_records.lines(); }

 private:
  // Where the value of a column comes from: fields of the record, by number; kNowhere for none.
  struct Source {
    std::size_t plain;
    std::size_t base64;
  };

  void readHeader(std::optional<PolicyTable> expected);
  const PolicyTableFormat& likeliestTable(std::optional<PolicyTable> expected) const;
  std::ptrdiff_t commonColumns(const PolicyTableFormat& table) const;
  std::string headerFault(const PolicyTableFormat& table) const;
  std::vector<Source> sourcesOf(const PolicyTableFormat& table) const;
  std::size_t placeOfColumn(const std::string& name) const;
  void checkRecord() const;
  void takeField(const PolicyColumn& column, const Source& source, Field& field) const;
  void takeNumber(const PolicyColumn& column, std::string_view text, Field& field) const;
  void takeText(const PolicyColumn& column, const Source& source, Field& field) const;

  CsvRecords m_records;
  const PolicyTableFormat* m_table = nullptr;
  std::vector<std::string> m_header;
  std::vector<Source> m_sources;
};

}  // namespace zrhost
