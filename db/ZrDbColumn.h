#ifndef ZR_DB_ZRDBCOLUMN_H
#define ZR_DB_ZRDBCOLUMN_H

#include <sql.h>
#include <sqlext.h>
#include <string>

// One column of a result set and its value in the current row. Created by ZrDbConnect when it describes a result set,
// owned by ZrDbConnect::m_mapColumn until the columns are purged.
struct ZrDbColumn {
  int m_colNo = 0;            // number in the result set, from 1
  SQLSMALLINT m_sqlType = 0;  // SQL data type, as SQLDescribeCol reports it
  std::string m_name;         // as the driver reports it, at most 255 bytes
  std::string m_value;        // text of the value in the current row; empty for NULL and until a row is fetched
};

#endif  // ZR_DB_ZRDBCOLUMN_H
