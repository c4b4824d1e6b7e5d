#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/database/PolicyWriter.h"

namespace zrtest {

// A row on its way into a database, and how it was called.
struct GivenRow {
  zrhost::PolicyTable table;
  std::uint64_t number;
  std::vector<zrhost::Field> fields;
};

// What a database holds and a writer must make of it, in plain maps: the rows of each table by their keys.
class WriteModel : public zrhost::RowSink {
 public:
  using Fields = std::vector<zrhost::Field>;
  using Faults = std::map<std::uint64_t, zrhost::StagedFault::Kind>;

  // The faults of rows, by their numbers; they are taken out.
  Faults reject(std::vector<GivenRow>& rows, zrhost::WriteMode mode) const;
  zrhost::Changes apply(std::vector<GivenRow> rows, zrhost::WriteMode mode);

  void onRevision(const zrhost::Revision& revision) override { m_revision = revision.revision; }
  void onPolicy(zrhost::PolicyRow& row) override { take(zrhost::PolicyTable::kPolicy, fieldsOf(row)); }
  void onRule(zrhost::RuleRow& row) override { take(zrhost::PolicyTable::kRule, fieldsOf(row)); }
  void onLink(zrhost::LinkRow& row) override { take(zrhost::PolicyTable::kLink, fieldsOf(row)); }
  void onMember(zrhost::MemberRow& row) override { take(zrhost::PolicyTable::kMember, fieldsOf(row)); }

  using Table = std::map<Fields, Fields>;
  const std::array<Table, zrhost::kPolicyTables>& tables() const { return m_tables; }
  std::int64_t revision() const { return m_revision; }

 private:
  template <typename Pointers>
  void take(zrhost::PolicyTable table, const Pointers& pointers) {
    Fields fields;
    for (const zrhost::Field* field : pointers)
      fields.push_back(*field);
    put({table, 0, fields});
  }
  Table& tableOf(const GivenRow& row) { return m_tables[static_cast<std::size_t>(row.table)]; }
  const Table& tableOf(const GivenRow& row) const { return m_tables[static_cast<std::size_t>(row.table)]; }
  void put(const GivenRow& row);
  bool has(const GivenRow& policyOf) const;
  bool isUsed(const GivenRow& policy, const std::vector<GivenRow>& removed) const;
  void numberLinks(std::vector<GivenRow>& rows) const;
  zrhost::Changes remove(const std::vector<GivenRow>& rows);

  std::array<Table, zrhost::kPolicyTables> m_tables;
  std::int64_t m_revision = 0;
};

}  // namespace zrtest
