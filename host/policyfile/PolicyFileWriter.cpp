#include "host/policyfile/PolicyFileWriter.h"

#include <vector>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/policyfile/csv_folder_internal.h"
#include "host/policyfile/output_file_internal.h"
#include "host/policyfile/row_format_internal.h"

namespace zrhost {
namespace {

// "policy_rule, policy_id 3, position 2"
std::string nameOf(const PolicyTableFormat& table, RowFields fields) {
  std::string name = table.name;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!table.columns[i].isKey) continue;
    name += std::string(", ") + table.columns[i].name + ' ' + (*fields[i] ? shortened(**fields[i]) : "NULL");
  }
  return name;
}

[[noreturn]] void refuse(const PolicyTableFormat& table, RowFields fields, const std::string& why) {
  throw HostError(ErrorKind::kBadRow, nameOf(table, fields) + ": " + why +
                                          ", which a policy file cannot hold; correct the row, zrpolicy check finds "
                                          "all of them");
}

// A number must be written as numbers are, or it would come back as another text.
bool isWrittenAsNumber(const std::string& text) {
  const std::size_t digit = text.starts_with('-') ? 1 : 0;
  return text[digit] != '0' || text == "0";
}

void checkRow(const PolicyTableFormat& table, RowFields fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const PolicyColumn& column = table.columns[i];
    if (!*fields[i]) refuse(table, fields, std::string(column.name) + " is NULL");
    if (!column.isNumber) continue;
    if (const auto fault = valueFault(column, *fields[i])) refuse(table, fields, *fault);
    if (isWrittenAsNumber(**fields[i])) continue;
    refuse(table, fields,
           std::string(column.name) + " is the number '" + **fields[i] + "' with needless zeros or sign");
  }
}

// What both formats share: rows of any table become lines.
class LineWriter : public PolicyFileWriter {
 public:
  void onRevision(const Revision&) override {}
  void onPolicy(PolicyRow& row) override { take(PolicyTable::kPolicy, fieldsOf(row)); }
  void onRule(RuleRow& row) override { take(PolicyTable::kRule, fieldsOf(row)); }
  void onLink(LinkRow& row) override { take(PolicyTable::kLink, fieldsOf(row)); }
  void onMember(MemberRow& row) override { take(PolicyTable::kMember, fieldsOf(row)); }
  std::uint64_t rows() const override { return m_rows; }

 protected:
  virtual void append(std::string& line, const PolicyTableFormat& table, RowFields fields) = 0;
  virtual OutputFile& fileOf(PolicyTable table) = 0;

 private:
  void take(PolicyTable table, RowFields fields) {
    const PolicyTableFormat& format = formatOf(table);
    checkRow(format, fields);
    m_line.clear();
    append(m_line, format, fields);
    if (m_line.size() > kMostLineBytes) {
      refuse(format, fields,
             "the row takes " + std::to_string(m_line.size()) + " bytes of " + std::to_string(kMostLineBytes) +
                 " for a line");
    }
    fileOf(table).write(m_line);
    ++m_rows;
  }

  std::string m_line;
  std::uint64_t m_rows = 0;
};

class JsonLinesWriter : public LineWriter {
 public:
  template <typename Target>
  explicit JsonLinesWriter(const Target& target) : m_file(target) {
    m_file.write("{\"zrpolicy\":1}\n");
  }

  void commit() override {
    m_file.write("{\"end\":" + std::to_string(rows()) + "}\n");
    m_file.commit();
  }

 protected:
  void append(std::string& line, const PolicyTableFormat& table, RowFields fields) override {
    appendJsonRow(line, table, fields);
  }
  OutputFile& fileOf(PolicyTable) override { return m_file; }

 private:
  OutputFile m_file;
};

class CsvWriter : public LineWriter {
 public:
  explicit CsvWriter(const std::string& folder) : m_folder(folder) {
    for (std::size_t i = 0; i < kPolicyTables; ++i) {
      std::string header;
      m_formats.emplace_back(formatOf(static_cast<PolicyTable>(i))).appendHeader(header);
      m_folder.file(static_cast<PolicyTable>(i)).write(header);
    }
  }

  void commit() override { m_folder.commit(); }

 protected:
  void append(std::string& line, const PolicyTableFormat& table, RowFields fields) override {
    m_formats[static_cast<std::size_t>(table.table)].appendRow(line, fields);
  }
  OutputFile& fileOf(PolicyTable table) override { return m_folder.file(table); }

 private:
  CsvFolder m_folder;
  std::vector<CsvRowFormat> m_formats;
};

}  // namespace

std::unique_ptr<PolicyFileWriter> makePolicyFileWriter(const std::string& path, PolicyFileFormat format) {
  if (format == PolicyFileFormat::kCsv) return std::make_unique<CsvWriter>(path);
  return std::make_unique<JsonLinesWriter>(path);
}

std::unique_ptr<PolicyFileWriter> makePolicyFileWriter(const std::function<void(std::string_view)>& write) {
  return std::make_unique<JsonLinesWriter>(write);
}

}  // namespace zrhost
