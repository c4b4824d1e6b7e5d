#pragma once

#include <cstdint>
#include <string>

#include "host/database/session_internal.h"
#include "host/rows/PolicyTable.h"

namespace zrhost {

// How the rows that were staged for a table compare with those that it has, in rows.
struct TableComparison {
  std::uint64_t inTable = 0;
  std::uint64_t staged = 0;
  std::uint64_t added = 0;      // staged, with a key that the table does not have
  std::uint64_t different = 0;  // staged, with a key that the table has with other values
};

// One table and what was staged for it, with the statements that bring the one to the other. Each is for the caller to
// run only when there is something to do: on PostgreSQL a statement that touches no row raises the revision as well.
class TableChange {
 public:
  TableChange(Session& session, PolicyTable table);

  const TableComparison& compare();
  // These four are about what compare found.
  void add();           // the added ones
  void change();        // the different ones
  void removeOthers();  // those of the table that were not staged
  void removeSame();    // those of the table that were staged

 private:
  void run(const char* file);
  std::uint64_t number(const char* column);

  Session& m_session;
  std::string m_table, m_staged, m_keysEqual, m_columns, m_stagedColumns, m_tableColumns, m_keyColumn, m_settings,
      m_key;
  TableComparison m_found;
};

}  // namespace zrhost
