#include "host/import/Fix.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/strict_number.h"
#include "host/database/PolicyWriter.h"
#include "host/import/any_row_internal.h"
#include "host/mend/address_mend.h"
#include "host/mend/row_mend.h"

namespace zrhost {
namespace {

template <class Row>
struct Mended {
  Row before;
  Row after;
};
using MendedLinks = std::vector<Mended<LinkRow>>;
using MendedMembers = std::vector<Mended<MemberRow>>;
using MemberKey = std::pair<std::string, std::string>;

MemberKey keyOf(const MemberRow& member) {
  return {member.groupName.value_or(""), member.userName.value_or("")};
}

template <class Row>
bool isChanged(Mended<Row>& row) {
  const auto before = fieldsOf(row.before), after = fieldsOf(row.after);
  return !std::equal(before.begin(), before.end(), after.begin(), [](Field* a, Field* b) { return *a == *b; });
}

// No finding, since loading reads it: but an address says the same and is found faster.
void mendRangeOfOne(LinkRow& row) {
  if (row.entityType != std::to_string(ZrEntityType::IP_RANGE) || !row.entityName) return;
  const AddressMeaning meaning = meaningOfAddress(ZrEntityType::IP_RANGE, *row.entityName);
  if (!meaning.stored || meaning.stored->type != ZrEntityType::IP) return;
  row.entityType = std::to_string(meaning.stored->type);
  row.entityName = meaning.stored->text;
}

// Has the rows checked and keeps those that a finding mends.
class MendingSink : public RowSink {
 public:
  explicit MendingSink(const CheckOptions& options) : m_options(options), m_check(m_options) {
    m_options.onFinding = [this](const Finding& finding) {
      m_values.insert(m_values.end(), finding.mend.begin(), finding.mend.end());
    };
  }

  void onRevision(const Revision& revision) override { m_check.onRevision(revision); }
  void onPolicy(PolicyRow& row) override { m_check.onPolicy(row); }
  void onRule(RuleRow& row) override { m_check.onRule(row); }
  // Links of one ID, which come one behind the other, would all become the one that is mended: none of them is.
  void onLink(LinkRow& row) override {
    const bool isAnother = m_lastLink != row.linkId;
    m_lastLink = row.linkId;
    Mended<LinkRow> mended = check(row, &CheckSink::onLink);
    mendRangeOfOne(mended.after);
    if (isAnother) return keep(std::move(mended), links);
    if (!links.empty() && links.back().before.linkId == m_lastLink) links.pop_back();
  }
  void onMember(MemberRow& row) override { keep(check(row, &CheckSink::onMember), members); }

  MendedLinks links;
  MendedMembers members;

 private:
  template <class Row>
  Mended<Row> check(Row& row, void (CheckSink::*push)(Row&)) {
    Mended<Row> mended{row, row};  // the check moves texts out
    m_values.clear();
    (m_check.*push)(row);
    forColumns(&mended.after, [this](const PolicyColumn& column, Field& field) {
      for (const ColumnValue& value : m_values) {
        if (value.column == column.name) field = value.value;
      }
    });
    return mended;
  }

  // What is wrong with a row beside, so that no table takes it, is left to a person as a whole.
  template <class Row>
  static void keep(Mended<Row> mended, std::vector<Mended<Row>>& kept) {
    if (isChanged(mended) && !tableFault(&mended.after) && !tableFault(&mended.before))
      kept.push_back(std::move(mended));
  }

  CheckOptions m_options;
  std::vector<ColumnValue> m_values;
  Field m_lastLink;
  CheckSink m_check;
};

// Looks which of some members are there already.
class MemberLookup : public RowSink {
 public:
  explicit MemberLookup(std::set<MemberKey> wanted) : m_wanted(std::move(wanted)) {}

  void onRevision(const Revision&) override {}
  void onPolicy(PolicyRow&) override {}
  void onRule(RuleRow&) override {}
  void onLink(LinkRow&) override {}
  void onMember(MemberRow& row) override {
    MemberKey key = keyOf(row);
    if (m_wanted.contains(key)) found.insert(std::move(key));
  }

  std::set<MemberKey> found;

 private:
  std::set<MemberKey> m_wanted;
};

class Fixing {
 public:
  Fixing(const DatabaseOptions& database, const FixOptions& options) : m_writer(database), m_options(options) {}

  CheckSummary run() {
    mendAll();
    CheckSink left(m_options.check);
    m_writer.readByKey(left);
    const CheckSummary summary = left.finish();
    if (!m_options.dryRun) m_writer.commit();
    return summary;
  }

 private:
  void mendAll() {
    MendingSink mending(m_options.check);
    m_writer.readByKey(mending);
    mendLinks(mending.links);
    mendMembers(mending.members);
  }

  // A link that the tables have and yet would not take again (of a policy that is not there) stays as it is.
  void mendLinks(MendedLinks& links) {
    if (links.empty()) return;
    std::uint64_t number = 0;
    for (const Mended<LinkRow>& link : links)
      m_writer.stage(++number, link.after);
    std::vector<std::uint64_t> refused;
    m_writer.rejectFaults(WriteMode::kMerge, [&](const StagedFault& fault) { refused.push_back(fault.number); });
    m_writer.apply(WriteMode::kMerge);
    number = 0;
    for (Mended<LinkRow>& link : links) {
      if (!std::binary_search(refused.begin(), refused.end(), ++number)) tell(link);
    }
  }

  // Their key is what is mended, so that the old rows go and new ones come.
  void mendMembers(MendedMembers& members) {
    if (members.empty()) return;
    std::set<MemberKey> there = thereAlready(members);
    std::uint64_t number = 0;
    for (const Mended<MemberRow>& member : members)
      m_writer.stage(++number, member.before);
    m_writer.apply(WriteMode::kRemove);
    number = 0;
    for (Mended<MemberRow>& member : members) {
      if (there.insert(keyOf(member.after)).second) {
        m_writer.stage(++number, member.after);
        tell(member);
      } else {
        tell(nameOf(&member.before) + ": removed, since the mended row is there already: " + nameOf(&member.after));
      }
    }
    m_writer.apply(WriteMode::kMerge);
  }

  std::set<MemberKey> thereAlready(const MendedMembers& members) {
    std::set<MemberKey> wanted;
    for (const Mended<MemberRow>& member : members)
      wanted.insert(keyOf(member.after));
    MemberLookup lookup(std::move(wanted));
    m_writer.readByKey(lookup);
    return std::move(lookup.found);
  }

  template <class Row>
  void tell(Mended<Row>& row) {
    std::string text;
    const auto before = fieldsOf(row.before), after = fieldsOf(row.after);
    const auto columns = formatOf(tableOf(&row.before)).columns;
    for (std::size_t i = 0; i < before.size(); ++i) {
      if (*before[i] == *after[i]) continue;
      text += (text.empty() ? "" : ", ") + MendedValue{columns[i].name, **before[i], **after[i]}.text();
    }
    tell(nameOf(&row.before) + ": " + text);
  }
  void tell(const std::string& text) {
    if (m_options.onFixed) m_options.onFixed(text);
  }

  PolicyWriter m_writer;
  const FixOptions& m_options;
};

}  // namespace

CheckSummary fixRows(const DatabaseOptions& database, const FixOptions& options) {
  return Fixing(database, options).run();
}

}  // namespace zrhost
