#include "host/database/bound_statement_internal.h"

#include <sqlext.h>

#include "host/database/statement_file_internal.h"

namespace zrhost {

BoundStatement::BoundStatement(Session& session, const std::string& file, const std::string& markers,
                               std::size_t parameters)
    : m_session(session), m_path(session.statements() + file), m_lengths(parameters) {
  std::string sql = boundStatementOf(m_path, markers.c_str());
  m_handle = session.makeHandle();
  try {
    check(m_session.waitFor(m_path,
                            [&] { return SQLPrepare(m_handle, reinterpret_cast<SQLCHAR*>(sql.data()), SQL_NTS); }));
  } catch (...) {
    SQLFreeHandle(SQL_HANDLE_STMT, m_handle);
    throw;
  }
}

BoundStatement::~BoundStatement() {
  SQLFreeHandle(SQL_HANDLE_STMT, m_handle);
}

void BoundStatement::bindNumber(std::size_t place, const std::int64_t& number) {
  check(SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(place + 1), SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_BIGINT, 0,
                         0, const_cast<std::int64_t*>(&number), sizeof number, nullptr));
}

void BoundStatement::bindText(std::size_t place, const std::string& text) {
  bind(place, SQL_C_CHAR, SQL_LONGVARCHAR, text);
}

void BoundStatement::bindBytes(std::size_t place, const std::string& bytes) {
  bind(place, SQL_C_BINARY, SQL_VARBINARY, bytes);
}

// A size of 0 is refused by the driver manager, so that of a text counts its zero byte, too.
void BoundStatement::bind(std::size_t place, SQLSMALLINT cType, SQLSMALLINT sqlType, const std::string& value) {
  const auto length = static_cast<SQLLEN>(value.size());
  m_lengths[place] = length;
  check(SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(place + 1), SQL_PARAM_INPUT, cType, sqlType,
                         static_cast<SQLULEN>(length) + 1, 0, const_cast<char*>(value.data()), length,
                         &m_lengths[place]));
}

void BoundStatement::execute() {
  const SQLRETURN result = m_session.waitFor(m_path, [this] { return SQLExecute(m_handle); });
  if (result != SQL_NO_DATA) check(result);
}

void BoundStatement::check(SQLRETURN result) {
  if (!SQL_SUCCEEDED(result)) m_session.failOf(m_path, m_handle);
}

}  // namespace zrhost
