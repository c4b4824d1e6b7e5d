#include "host/policyfile/PolicyFileReader.h"

#include <filesystem>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/policyfile/csv_stream_internal.h"
#include "host/policyfile/json_lines_stream_internal.h"

namespace zrhost {
namespace {

bool isJson(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t");
  return first != std::string_view::npos && line[first] == '{';
}

std::unique_ptr<LineReader> openAtFirstLine(const std::string& path, int descriptor = -1) {
  auto lines = std::make_unique<LineReader>(path, descriptor);
  if (!lines->next()) {
    throw HostError(ErrorKind::kBadRow, terminalText(lines->place().file) + ": empty, so it is no policy file");
  }
  return lines;
}

}  // namespace

struct PolicyFileReader::Parts {
  PolicyFileShape shape;
  PolicyFileOptions options;
  std::vector<std::unique_ptr<RowStream>> streams;
  std::vector<const LineReader*> files;  // of the streams

  void openFile(const std::string& path);
  void openFolder(const std::string& path);
  void openCsv(std::unique_ptr<LineReader> lines, std::optional<PolicyTable> expected);
  void read(RowStream& stream, PlacedRowSink& sink) const;
  void judge(const RowStream& stream, PolicyTable table, RowBuffer& rows) const;
};

void PolicyFileReader::Parts::openFile(const std::string& path) {
  auto lines = openAtFirstLine(path, options.descriptor);
  files.push_back(lines.get());
  if (!isJson(lines->line())) return openCsv(std::move(lines), std::nullopt);
  streams.push_back(std::make_unique<JsonLinesStream>(std::move(lines)));
}

// All four must be there: a table that is missing by accident would otherwise pass for an empty one.
void PolicyFileReader::Parts::openFolder(const std::string& path) {
  shape.isFolder = true;
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    const PolicyTableFormat& table = formatOf(static_cast<PolicyTable>(i));
    const std::string file = (std::filesystem::path(path) / table.csvFile).string();
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown)) {
      throw HostError(ErrorKind::kNoInput, "there is no " + terminalText(file) +
                                               "; a folder holds all four tables, an empty one as its header line");
    }
    auto lines = openAtFirstLine(file);
    files.push_back(lines.get());
    openCsv(std::move(lines), table.table);
  }
}

void PolicyFileReader::Parts::openCsv(std::unique_ptr<LineReader> lines, std::optional<PolicyTable> expected) {
  shape.format = PolicyFileFormat::kCsv;
  auto stream = std::make_unique<CsvStream>(std::move(lines), expected);
  shape.headers[static_cast<std::size_t>(stream->table())] = stream->header();
  streams.push_back(std::move(stream));
}

void PolicyFileReader::Parts::judge(const RowStream& stream, PolicyTable table, RowBuffer& rows) const {
  if (!options.judgeValues) return;
  const auto columns = formatOf(table).columns;
  const auto fields = rows.fields(table);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (const auto fault = valueFault(columns[i], *fields[i])) {
      throw LineFault{stream.columnOf(columns[i].name), *fault, table};
    }
  }
}

void PolicyFileReader::Parts::read(RowStream& stream, PlacedRowSink& sink) const {
  for (RowBuffer rows;;) {
    try {
      const auto table = stream.next(rows);
      if (!table) return;
      judge(stream, *table, rows);
      rows.deliver(*table, sink, stream.place());
    } catch (const LineFault& fault) {
      sink.onFault({stream.place(), fault.column, fault.reason, fault.table, std::string(stream.record()),
                    stream.recordFields()});
    }
  }
}

PolicyFileReader::PolicyFileReader(const std::string& path, const PolicyFileOptions& options)
    : m_parts(std::make_unique<Parts>()) {
  m_parts->options = options;
  std::error_code unknown;
  const bool isFolder = path != "-" && options.descriptor < 0 && std::filesystem::is_directory(path, unknown);
  isFolder ? m_parts->openFolder(path) : m_parts->openFile(path);
}

PolicyFileReader::~PolicyFileReader() = default;

const PolicyFileShape& PolicyFileReader::shape() const {
  return m_parts->shape;
}

void PolicyFileReader::read(PlacedRowSink& sink) {
  for (const auto& stream : m_parts->streams)
    m_parts->read(*stream, sink);
}

std::uint64_t PolicyFileReader::bytesRead() const {
  std::uint64_t bytes = 0;
  for (const LineReader* file : m_parts->files)
    bytes += file->bytesRead();
  return bytes;
}

std::uint64_t PolicyFileReader::bytesInAll() const {
  std::uint64_t bytes = 0;
  for (const LineReader* file : m_parts->files)
    bytes += file->bytesInAll();
  return bytes;
}

}  // namespace zrhost
