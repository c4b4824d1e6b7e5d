#include "host/database/link_batches_internal.h"

#include <filesystem>
#include <limits>
#include <string_view>

#include "host/base/strict_number.h"
#include "host/database/table_reading_internal.h"

namespace zrhost {
namespace {

constexpr const char* kFindStatement = "find_link_batches.sql";

// A batch takes some hundred KiB, with the longest names that it may hold four megabytes, of which the driver and the
// library have a copy each.
constexpr int kBatchRows = 4000;

// Ends a line of a batch. A name that holds it, and whatever else a batch cannot carry, is a line without anything.
constexpr char kEndOfLine = '\x1e';

constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();

// Takes what stands before the next comma.
bool takeNumber(std::string_view& line, Field& field) {
  const std::size_t comma = line.find(',');
  if (comma == std::string_view::npos) return false;
  assign(field, line.substr(0, comma));
  line.remove_prefix(comma + 1);
  return true;
}

bool takeLine(std::string_view line, LinkRow& row) {
  if (!takeNumber(line, row.linkId) || !takeNumber(line, row.entityType) || !takeNumber(line, row.policyId) ||
      !takeNumber(line, row.priority)) {
    return false;
  }
  assign(row.entityName, line);
  return true;
}

class LinkBatches {
 public:
  LinkBatches(Session& session, RowSink& sink) : m_session(session), m_sink(sink) {}

  void readAll() {
    while (m_isMore) {
      m_session.run("read_link_batch.sql", std::to_string(m_next).c_str(), kBatchRows);
      m_lines.reset();
      while (m_session.next())  // to its end, where it shows whether the file is still the same
        m_session.take("lines", m_lines);
      if (!m_lines) return;
      if (!giveLines(*m_lines)) readPlainly();
    }
  }

 private:
  // Answers false where it met a line that no batch carries; all before it have been given.
  bool giveLines(std::string_view lines) {
    while (!lines.empty()) {
      const std::size_t end = lines.find(kEndOfLine);
      if (end == std::string_view::npos || !takeLine(lines.substr(0, end), m_row) || !isNext()) return false;
      m_sink.onLink(m_row);
      lines.remove_prefix(end + 1);
    }
    return true;
  }

  // Goes on behind the row's key, unless that stands before what has been given.
  bool isNext() {
    const auto key = strictNumber(*m_row.linkId, m_next, kLast);
    if (!key) return false;
    m_isMore = *key != kLast;
    m_next = m_isMore ? *key + 1 : kLast;
    return true;
  }

  // As many rows as a batch has, one at a time.
  void readPlainly() {
    m_session.run("read_links_from.sql", std::to_string(m_next).c_str(), kBatchRows);
    m_isMore = false;
    while (m_session.next()) {
      takeLink(m_session, m_row);
      isNext();
      m_sink.onLink(m_row);
    }
  }

  Session& m_session;
  RowSink& m_sink;
  Field m_lines;
  LinkRow m_row;
  std::int64_t m_next = std::numeric_limits<std::int64_t>::min();
  bool m_isMore = true;
};

bool mayBatch(Session& session) {
  std::error_code ignored;
  if (!std::filesystem::exists(session.statements() + kFindStatement, ignored)) return false;
  session.run(kFindStatement);
  return session.next() && session.text("may_batch") == "1";
}

}  // namespace

bool readLinkBatches(Session& session, RowSink& sink) {
  if (!mayBatch(session)) return false;
  LinkBatches(session, sink).readAll();
  return true;
}

}  // namespace zrhost
