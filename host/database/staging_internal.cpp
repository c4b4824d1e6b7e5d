#include "host/database/staging_internal.h"

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"
#include "host/database/tables_internal.h"

namespace zrhost {
namespace {

constexpr std::size_t kLinksByName = kPolicyTables;
constexpr const char* kStatements[] = {"write/stage_policy.sql", "write/stage_rule.sql", "write/stage_link.sql",
                                       "write/stage_member.sql", "write/stage_link_by_name.sql"};

StagedTable stagedTable(std::size_t index) {
  const bool byName = index == kLinksByName;
  const auto columns = formatOf(byName ? PolicyTable::kLink : static_cast<PolicyTable>(index)).columns;
  return {byName ? columns.subspan(1) : columns, kStatements[index]};
}

}  // namespace

void runWriteFolder(Session& session, const std::string& folder) {
  for (const std::string& file : statementFiles(session, folder))
    session.run(file);
}

Staging::Staging(Session& session) : m_session(session) {
  session.run(session.statements() + "write/text_encoding.sql");
  session.next();
  m_onlyUtf8 = session.text("text_encoding") == "UTF8";
  begin();
}

void Staging::begin() {
  runWriteFolder(m_session, "write/begin");
  for (std::size_t i = 0; i < kStagedTables; ++i)
    m_batches[i] =
        m_session.isSqlite() ? makeValueBatch(m_session, stagedTable(i)) : makeArrayBatch(m_session, stagedTable(i));
  m_hasLinksByName = m_isComplete = m_isForgotten = false;
}

void Staging::check(PolicyTable table, std::uint64_t number, std::span<const Field* const> fields) const {
  const auto columns = formatOf(table).columns;
  for (std::size_t i = 0; i < fields.size(); ++i)
    checkValue(columns[i], number, *fields[i]);
}

void Staging::add(PolicyTable table, std::uint64_t number, std::span<const Field* const> fields) {
  makeEmpty();
  m_isComplete = false;
  const bool byName = table == PolicyTable::kLink && !*fields[0];
  if (byName) m_hasLinksByName = true;
  byName ? m_batches[kLinksByName]->add(number, fields.subspan(1))
         : m_batches[static_cast<std::size_t>(table)]->add(number, fields);
}

void Staging::checkValue(const PolicyColumn& column, std::uint64_t number, const Field& value) const {
  if (value && !column.isNumber) return checkText(column, number, *value);
  if (value && strictNumber(*value, column.least, column.most)) return;
  if (const auto why = valueFault(column, value)) refuse(number, *why);
}

void Staging::checkText(const PolicyColumn& column, std::uint64_t number, const std::string& text) const {
  if (text.find('\0') != std::string::npos) {
    refuse(number, std::string(column.name) + " holds a zero byte, which no database takes in a text");
  }
  if (m_onlyUtf8 && !isUtf8(text)) {
    refuse(number, std::string(column.name) + " holds bytes that are no UTF-8, which this database does not take");
  }
}

void Staging::refuse(std::uint64_t number, const std::string& why) const {
  throw HostError(ErrorKind::kBadRow, oneLine("cannot write to " + placeOf(m_session.options()) + ": row " +
                                              std::to_string(number) + ": " + why));
}

void Staging::complete() {
  makeEmpty();
  if (m_isComplete) return;
  for (const auto& batch : m_batches)
    batch->send();
  runWriteFolder(m_session, "write/index");
  m_isComplete = true;
}

void Staging::forget() {
  m_isForgotten = true;
}

void Staging::makeEmpty() {
  if (!m_isForgotten) return;
  for (auto& batch : m_batches)
    batch.reset();
  runWriteFolder(m_session, "write/forget");
  begin();
}

}  // namespace zrhost
