#pragma once

#include <sql.h>
#include <sqlext.h>
#include <string>

struct ZrDbColumn {
  int m_colNo = 0;
  SQLSMALLINT m_sqlType = 0;
  std::string m_name;
  std::string m_value;
};
