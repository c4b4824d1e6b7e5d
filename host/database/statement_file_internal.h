#pragma once

#include <string>

#include "db/ZrDataAccess.h"

namespace zrhost {

// The template in a statement file, found fit to be filled with values of these kinds, one letter each: 's' a text, 'd'
// an int. It may leave values out; what it must not do is read values that are not there or are of another kind.
//
// Throws HostError kInputOutput, which names the file, when it cannot be read, is no regular file, is blank, has a line
// of more than 4,095 bytes (the rest of which would be lost), a '%' that is neither "%%" nor the conversion of a value
// ("%s", "%2$s"), or a '?' outside single quotes, which would be a parameter.
std::string statementTemplate(const std::string& path, const std::string& kinds);

// The same question mark is looked for once more when the values are filled in. Throws likewise.
void refuseParameters(const std::string& sql, const std::string& path);

template <typename Value>
constexpr char kindOfValue();
template <>
constexpr char kindOfValue<const char*>() {
  return 's';
}
template <>
constexpr char kindOfValue<int>() {
  return 'd';
}

// The statement of a file, filled with its values (`const char*` and `int`); with the markers of parameters that are
// among the values.
template <typename... Values>
std::string boundStatementOf(const std::string& path, Values... values) {
  const std::string format = statementTemplate(path, {kindOfValue<Values>()...});
  char none = '\0';
  const int length = ZrSqlLoader::setSqlParams(&none, 1, format.c_str(), values...);
  std::string sql(static_cast<std::size_t>(length) + 1, '\0');
  ZrSqlLoader::setSqlParams(sql.data(), length + 1, format.c_str(), values...);
  sql.pop_back();
  return sql;
}

// The statement of a file, filled with its values (`const char*` and `int`).
template <typename... Values>
std::string statementOf(const std::string& path, Values... values) {
  std::string sql = boundStatementOf(path, values...);
  if (sizeof...(values) != 0) refuseParameters(sql, path);
  return sql;
}

}  // namespace zrhost
