#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "host/database/row_batch_internal.h"

namespace zrhost {

// Runs the statement files of a folder below that of the session's statements, in the order of their names.
void runWriteFolder(Session& session, const std::string& folder);

// Rows beside the tables, in tables of the connection's own, which the end of the transaction removes.
class Staging {
 public:
  explicit Staging(Session& session);

  // Throws HostError kBadRow when a value cannot be held; `fields` are those of the row's table in their order.
  void check(PolicyTable table, std::uint64_t number, std::span<const Field* const> fields) const;
  // Puts a row beside the others that was checked. A link whose first field, the ID, is empty goes to a table of its
  // own.
  void add(PolicyTable table, std::uint64_t number, std::span<const Field* const> fields);
  // Makes what was added ready to be looked at by statements.
  void complete();
  // From now on nothing is staged.
  void forget();
  // Whether a link without ID was added since the tables are empty.
  bool hasLinksByName() const { return m_hasLinksByName; }

 private:
  static constexpr std::size_t kStagedTables = kPolicyTables + 1;

  void begin();
  void makeEmpty();
  void checkValue(const PolicyColumn& column, std::uint64_t number, const Field& value) const;
  void checkText(const PolicyColumn& column, std::uint64_t number, const std::string& text) const;
  [[noreturn]] void refuse(std::uint64_t number, const std::string& why) const;

  Session& m_session;
  bool m_onlyUtf8 = false;
  bool m_hasLinksByName = false;
  bool m_isComplete = false;
  bool m_isForgotten = false;  // the tables still hold what nobody asks for any more
  std::array<std::unique_ptr<RowBatch>, kStagedTables> m_batches;
};

}  // namespace zrhost
