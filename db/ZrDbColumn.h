#ifndef ZR_DB_ZRDBCOLUMN_H
#define ZR_DB_ZRDBCOLUMN_H

#include <sql.h>
#include <sqlext.h>
#include <string>

// One column of a result set and its value in the current row. Created by ZrDbConnect when it describes a result set,
// owned by ZrDbConnect::m_mapColumn until the columns are purged. Hosts read the records and never make one: members
// may be added behind the last.
//
// A record stays where it is, and is filled anew by each fetchNextRow, from the executeSQL or fetchNextResultSet that
// described its result set to the next of the two that runs, or to purgeColumnList or disconnect. So a host may look
// the columns up once for a result set, by their names, and read m_value and m_isNull behind each fetchNextRow:
//
//   const auto found = connect->m_mapColumn.find("policy_name");  // in either case
//   const ZrDbColumn* name = found == connect->m_mapColumn.end() ? nullptr : found->second;
//   while (connect->fetchNextRow() == 0) use(name->m_isNull ? nullptr : name->m_value.c_str());
struct ZrDbColumn {
  int m_colNo = 0;            // number in the result set, from 1
  SQLSMALLINT m_sqlType = 0;  // SQL data type, as SQLDescribeCol reports it
  std::string m_name;         // as the driver reports it, at most 255 bytes
  std::string m_value;        // text of the value in the current row; empty for NULL and until a row is fetched
  // Whether the value in the current row is NULL; m_value is empty then. False for an empty text, until a row is
  // fetched, and for binary columns (SQL_BINARY, SQL_VARBINARY, SQL_LONGVARBINARY), whose data is never asked for. Like
  // m_value it stays as it is when there is no further row, and is of no use behind a fetchNextRow that threw.
  bool m_isNull = false;
};

#endif  // ZR_DB_ZRDBCOLUMN_H
