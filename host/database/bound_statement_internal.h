#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/database/session_internal.h"

namespace zrhost {

// A prepared statement with parameters, on a handle of its own beside the session's, which must live longer. The values
// are the caller's and stay where they are until execute has returned; a parameter keeps its value's place for later
// calls until it is bound anew. Failures arrive as HostError.
class BoundStatement {
 public:
  // `file` is below the folder of the session's statements; its one value is `markers`, which brings the parameters
  // that the file does not have itself, `parameters` in all.
  BoundStatement(Session& session, const std::string& file, const std::string& markers, std::size_t parameters);
  ~BoundStatement();
  BoundStatement(const BoundStatement&) = delete;
  BoundStatement& operator=(const BoundStatement&) = delete;

  // Binds the parameter of that place, from 0 on, to a number, a text, or the bytes of a text whatever they are.
  void bindNumber(std::size_t place, const std::int64_t& number);
  void bindText(std::size_t place, const std::string& text);
  void bindBytes(std::size_t place, const std::string& bytes);

  void execute();

 private:
  void bind(std::size_t place, SQLSMALLINT cType, SQLSMALLINT sqlType, const std::string& value);
  void check(SQLRETURN result);

  Session& m_session;
  std::string m_path;
  std::vector<SQLLEN> m_lengths;
  SQLHSTMT m_handle;
};

}  // namespace zrhost
