#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "host/rows/Rows.h"

namespace zrhost {

// The tables of a policy database whose rows a policy file holds, in the order in which an export has them.
enum class PolicyTable { kPolicy, kRule, kLink, kMember };
inline constexpr std::size_t kPolicyTables = 4;
inline constexpr std::size_t kMostColumns = 7;

struct PolicyColumn {
  const char* name;
  bool isNumber;
  std::int64_t least = 0;  // of a number, both included
  std::int64_t most = 0;
  bool isKey = false;
  bool mayBeAbsent = false;  // a row of a file need not have it; the Field is empty then
};

// How a policy file names a table and its columns, which stand in the order of the fields of the row's struct.
struct PolicyTableFormat {
  PolicyTable table;
  const char* member;   // "link": what a line of JSON Lines calls a row
  const char* name;     // "ep_link"
  const char* csvFile;  // "ep_link.csv"
  std::span<const PolicyColumn> columns;
};

const PolicyTableFormat& formatOf(PolicyTable table);
// By the name in a line of JSON Lines; null when there is none.
const PolicyTableFormat* findTable(std::string_view member);

// The fields of a row, in the order of the columns of its table.
std::array<Field*, 4> fieldsOf(PolicyRow& row);
std::array<Field*, 7> fieldsOf(RuleRow& row);
std::array<Field*, 5> fieldsOf(LinkRow& row);
std::array<Field*, 2> fieldsOf(MemberRow& row);

// Why a table cannot hold that value in that column, as in "priority is 'ten', not a whole number from -2147483648 to
// 2147483647"; nothing when it can. An absent field is no fault where the column may be absent.
std::optional<std::string> valueFault(const PolicyColumn& column, const Field& value);

}  // namespace zrhost
