#include "host/policyfile/RejectWriter.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "host/base/terminal_text.h"
#include "host/base/utf8.h"
#include "host/policyfile/base64_text_internal.h"
#include "host/policyfile/csv_folder_internal.h"
#include "host/policyfile/csv_stream_internal.h"
#include "host/policyfile/json_reject_internal.h"
#include "host/policyfile/output_file_internal.h"
#include "host/policyfile/row_format_internal.h"

namespace zrhost {
namespace {

// A reason may quote bytes of the file.
std::string readable(const std::string& reason) {
  return isUtf8(reason) ? reason : terminalText(reason);
}

}  // namespace

class RejectWriter::Format {
 public:
  virtual ~Format() = default;
  virtual void row(PolicyTable table, RowFields fields, const std::string& reason) = 0;
  virtual void fault(const RowFault& fault, const std::string& reason) = 0;
  virtual void commit(std::uint64_t rejected) = 0;
};

class RejectWriter::JsonLinesFormat : public Format {
 public:
  explicit JsonLinesFormat(const std::string& path) : m_file(path) { m_file.write("{\"zrpolicy\":1}\n"); }

  void row(PolicyTable table, RowFields fields, const std::string& reason) override {
    std::string line;
    appendJsonRow(line, formatOf(table), fields, reason);
    m_file.write(line);
  }
  void fault(const RowFault& fault, const std::string& reason) override {
    m_file.write(rejectedJsonLine(fault.record, reason));
  }
  void commit(std::uint64_t rejected) override {
    m_file.write("{\"end\":" + std::to_string(rejected) + "}\n");
    m_file.commit();
  }

 private:
  OutputFile m_file;
};

class RejectWriter::CsvFormat : public Format {
 public:
  CsvFormat(const std::string& path, const PolicyFileShape& shape) : m_headers(shape.headers) {
    if (shape.isFolder) {
      m_folder.emplace(path);
    } else {
      m_single.emplace(path);
    }
    for (std::size_t i = 0; i < kPolicyTables; ++i) {
      if (m_headers[i].empty()) continue;
      m_formats[i].emplace(formatOf(static_cast<PolicyTable>(i)), m_headers[i]);
      std::string header;
      m_formats[i]->appendHeader(header);
      file(static_cast<PolicyTable>(i)).write(header);
    }
  }

  void row(PolicyTable table, RowFields fields, const std::string& reason) override {
    std::string text;
    m_formats[static_cast<std::size_t>(table)]->appendRow(text, fields, reason);
    file(table).write(text);
  }
  void fault(const RowFault& fault, const std::string& reason) override {
    file(*fault.table).write(record(m_headers[static_cast<std::size_t>(*fault.table)], fault, reason));
  }
  void commit(std::uint64_t) override { m_folder ? m_folder->commit() : m_single->commit(); }

 private:
  OutputFile& file(PolicyTable table) { return m_folder ? m_folder->file(table) : *m_single; }

  // The fields as they were, with the reason in its column or behind them. A record that lacks one field becomes a
  // single one, or the reason would make up for what is missing, and the values would pass for others.
  static std::string record(const std::vector<std::string>& header, const RowFault& fault, const std::string& reason) {
    std::vector<std::string> fields = fault.fields;
    const auto place =
        static_cast<std::size_t>(std::find(header.begin(), header.end(), kReasonColumn) - header.begin());
    const bool hasReason = place < header.size();
    if (hasReason && fields.size() == header.size()) {
      fields[place] = reason;
    } else {
      if (fields.empty() || (hasReason && fields.size() + 1 == header.size())) fields = {fault.record};
      fields.push_back(reason);
    }
    std::string text;
    for (const std::string& field : fields) {
      if (&field != fields.data()) text += ',';
      appendCsvField(text, field);
    }
    return text += kCsvLineEnd;
  }

  std::array<std::vector<std::string>, kPolicyTables> m_headers;
  std::array<std::optional<CsvRowFormat>, kPolicyTables> m_formats;
  std::optional<CsvFolder> m_folder;
  std::optional<OutputFile> m_single;
};

RejectWriter::RejectWriter(const std::string& path, const PolicyFileShape& shape) {
  if (shape.format == PolicyFileFormat::kCsv) {
    m_format = std::make_unique<CsvFormat>(path, shape);
  } else {
    m_format = std::make_unique<JsonLinesFormat>(path);
  }
}

RejectWriter::~RejectWriter() = default;

void RejectWriter::reject(const RowFault& fault) {
  m_format->fault(fault, readable(fault.reason));
  ++m_rejected;
}

void RejectWriter::reject(PolicyRow& row, const std::string& reason) {
  m_format->row(PolicyTable::kPolicy, fieldsOf(row), readable(reason));
  ++m_rejected;
}

void RejectWriter::reject(RuleRow& row, const std::string& reason) {
  m_format->row(PolicyTable::kRule, fieldsOf(row), readable(reason));
  ++m_rejected;
}

void RejectWriter::reject(LinkRow& row, const std::string& reason) {
  m_format->row(PolicyTable::kLink, fieldsOf(row), readable(reason));
  ++m_rejected;
}

void RejectWriter::reject(MemberRow& row, const std::string& reason) {
  m_format->row(PolicyTable::kMember, fieldsOf(row), readable(reason));
  ++m_rejected;
}

void RejectWriter::commit() {
  m_format->commit(m_rejected);
}

}  // namespace zrhost
