#pragma once

#include <stdexcept>
#include <string>

namespace zrhost {

// Why an operation of the programs failed. What a program ends with for each kind is the program's own to say.
enum class ErrorKind {
  kUsage,              // the caller asked for something that cannot be
  kBadRow,             // a row that cannot be used, where every row must be
  kUnreachable,        // the database cannot be reached or opened, or is locked
  kInternal,           // no memory, or a fault of the program's own
  kTablesPresent,      // a policy database cannot be made: its tables are there
  kLoss,               // a change would take away more than it may
  kNoInput,            // an input file that is not there
  kInputOutput,        // a file could not be read or written
  kNotPolicyDatabase,  // reached, but it holds no policy database, or a newer one
};

// The failure of an operation of zrhost. The text is one whole line without a line break, ready to be shown: what
// failed, where (file, data source, table, row), and what to do about it. It never holds a password.
class HostError : public std::runtime_error {
 public:
  HostError(ErrorKind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}
  ErrorKind kind() const { return m_kind; }

 private:
  ErrorKind m_kind;
};

}  // namespace zrhost
