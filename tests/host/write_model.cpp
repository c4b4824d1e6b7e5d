#include "host/write_model.h"

#include <algorithm>
#include <set>

using zrhost::PolicyTable;
using zrhost::WriteMode;

namespace zrtest {
namespace {

using Fields = WriteModel::Fields;
using Kind = zrhost::StagedFault::Kind;

Fields keyOf(const GivenRow& row) {
  Fields key;
  const auto columns = zrhost::formatOf(row.table).columns;
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (columns[i].isKey) key.push_back(row.fields[i]);
  return key;
}

bool isLink(const GivenRow& row) {
  return row.table == PolicyTable::kLink;
}
bool hasNoId(const GivenRow& row) {
  return isLink(row) && !row.fields[0];
}
// Type, name and policy of a link.
Fields entityOf(const Fields& link) {
  return {link[1], link[2], link[3]};
}
zrhost::Field policyOf(const GivenRow& row) {
  return row.fields[isLink(row) ? 3 : 0];
}

// Whether the later one of two rows is the earlier one again.
bool isAgain(const GivenRow& earlier, const GivenRow& later, bool earlierIsFaulty) {
  if (earlier.table != later.table) return false;
  if (hasNoId(later)) return entityOf(earlier.fields) == entityOf(later.fields);
  if (hasNoId(earlier)) return !earlierIsFaulty && entityOf(earlier.fields) == entityOf(later.fields);
  return keyOf(earlier) == keyOf(later);
}

}  // namespace

void WriteModel::put(const GivenRow& row) {
  tableOf(row)[keyOf(row)] = row.fields;
}

bool WriteModel::isUsed(const GivenRow& policy, const std::vector<GivenRow>& removed) const {
  for (PolicyTable table : {PolicyTable::kRule, PolicyTable::kLink}) {
    for (const auto& [key, fields] : m_tables[static_cast<std::size_t>(table)]) {
      const GivenRow user{table, 0, fields};
      const bool goes = std::ranges::any_of(removed, [&](const GivenRow& row) {
        if (row.table != table) return false;
        return hasNoId(row) ? entityOf(row.fields) == entityOf(user.fields) : keyOf(row) == keyOf(user);
      });
      if (policyOf(user) == policyOf(policy) && !goes) return true;
    }
  }
  return false;
}

WriteModel::Faults WriteModel::reject(std::vector<GivenRow>& rows, WriteMode mode) const {
  Faults faults;
  std::set<zrhost::Field> policies;
  for (const GivenRow& row : rows)
    if (row.table == PolicyTable::kPolicy) policies.insert(row.fields[0]);
  if (mode == WriteMode::kMerge)
    for (const auto& [key, fields] : m_tables[0])
      policies.insert(fields[0]);
  for (auto row = rows.begin(); row != rows.end(); ++row) {
    const bool again = std::any_of(rows.begin(), row, [&](const GivenRow& earlier) {
      const auto fault = faults.find(earlier.number);
      return isAgain(earlier, *row, fault != faults.end() && fault->second == Kind::kTwice);
    });
    const bool refers = row->table == PolicyTable::kRule || isLink(*row);
    if (again) {
      faults[row->number] = Kind::kTwice;
    } else if (mode != WriteMode::kRemove && refers && !policies.contains(policyOf(*row))) {
      faults[row->number] = Kind::kUnknownPolicy;
    } else if (mode == WriteMode::kRemove && row->table == PolicyTable::kPolicy && isUsed(*row, rows)) {
      faults[row->number] = Kind::kStillUsed;
    }
  }
  std::erase_if(rows, [&](const GivenRow& row) { return faults.contains(row.number); });
  return faults;
}

// A link without ID is the first one of the table of its type, name and policy that no other row names, or a new one.
void WriteModel::numberLinks(std::vector<GivenRow>& rows) const {
  const Table& links = m_tables[static_cast<std::size_t>(PolicyTable::kLink)];
  std::set<int> named, taken;
  for (const GivenRow& row : rows)
    if (isLink(row) && row.fields[0]) named.insert(std::stoi(*row.fields[0]));
  taken = named;
  for (const auto& [key, fields] : links)
    taken.insert(std::stoi(*fields[0]));
  std::int64_t next = std::max(0, taken.empty() ? 0 : *taken.rbegin());
  std::vector<GivenRow*> fresh;
  for (GivenRow& row : rows) {
    if (!hasNoId(row)) continue;
    std::optional<int> id;
    for (const auto& [key, fields] : links) {
      const int of = std::stoi(*fields[0]);
      if (entityOf(fields) == entityOf(row.fields) && !named.contains(of)) id = std::min(of, id.value_or(of));
    }
    id ? void(row.fields[0] = std::to_string(*id)) : fresh.push_back(&row);
  }
  for (GivenRow* row : fresh) {
    if (next < INT32_MAX) {
      ++next;
    } else {
      for (next = 1; taken.contains(static_cast<int>(next));)
        ++next;
    }
    taken.insert(static_cast<int>(next));
    row->fields[0] = std::to_string(next);
    if (taken.contains(INT32_MAX)) next = INT32_MAX;
  }
}

zrhost::Changes WriteModel::remove(const std::vector<GivenRow>& rows) {
  zrhost::Changes changes;
  for (const bool byName : {false, true}) {
    for (const GivenRow& row : rows) {
      if (hasNoId(row) != byName) continue;
      const std::size_t removed = std::erase_if(tableOf(row), [&](const auto& each) {
        return byName ? entityOf(each.second) == entityOf(row.fields) : each.first == keyOf(row);
      });
      auto& change = changes[static_cast<std::size_t>(row.table)];
      removed == 0 ? ++change.unchanged : change.removed += removed;
    }
  }
  return changes;
}

zrhost::Changes WriteModel::apply(std::vector<GivenRow> rows, WriteMode mode) {
  if (mode == WriteMode::kRemove) return remove(rows);
  numberLinks(rows);
  zrhost::Changes changes;
  WriteModel given;
  for (const GivenRow& row : rows) {
    given.put(row);
    auto& change = changes[static_cast<std::size_t>(row.table)];
    const auto old = tableOf(row).find(keyOf(row));
    old == tableOf(row).end() ? ++change.added : ++(old->second == row.fields ? change.unchanged : change.changed);
    put(row);
  }
  for (std::size_t i = 0; mode == WriteMode::kReplace && i < zrhost::kPolicyTables; ++i) {
    changes[i].removed = m_tables[i].size() - given.m_tables[i].size();
    m_tables[i] = given.m_tables[i];
  }
  return changes;
}

}  // namespace zrtest
