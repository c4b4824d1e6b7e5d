#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/load/LinkIndex.h"
#include "host/load/Snapshot.h"
#include "live/Question.h"
#include "policy/ZrPolicyResultSet.h"

namespace zrlive {

// The part behind which the groups of the users are asked; the question's size when they are not.
std::size_t lastUserOf(const Question& question);

// Puts groups of several users in ascending order, each once.
void mergeGroups(std::vector<zrhost::GroupMembers::Group>& groups);

// Answers questions with a LinkIndex: what the library's own lookups answer, which a question falls back on that has
// more to say than is answered faster here. What it needs of memory is kept from one question to the next.
class QuickAsking {
 public:
  struct Found {
    std::int32_t priority;
    const ZrEPLink* link;
    const ZrPolicy* policy;
    const zrhost::SqlRule* rule;
  };

  // Answers false when the question has to be asked in the other way. `ranges` is used, and left empty.
  bool ask(const zrhost::Snapshot& snapshot, const Question& question, ZrPolicyResultSet& ranges);
  // In the order of an answer; valid as long as the snapshot is.
  const Found* begin() const { return m_found.data(); }
  const Found* end() const { return m_found.data() + m_count; }
  std::size_t size() const { return m_count; }

 private:
  // A key as it is searched.
  struct Search {
    std::size_t start, size;
    std::uint64_t hash;
  };

  bool prepare(const Question& question);
  bool lookUp(const Question& question, std::size_t part, ZrPolicyResultSet& ranges);
  bool lookUpGroups(const Question& question);
  bool lookUpRanges(const char* address, ZrPolicyResultSet& ranges);
  bool addAll(zrhost::LinkIndex::Links links);
  bool add(const Found& found);
  std::string_view key(const Search& search) const { return {m_text.data() + search.start, search.size}; }

  // Beyond so many, looking for each policy among them takes longer than the library's way.
  static constexpr std::size_t kMost = 32;

  const zrhost::Snapshot* m_snapshot = nullptr;
  const zrhost::LinkIndex* m_index = nullptr;
  std::vector<char> m_text;
  std::vector<Search> m_searches;
  std::vector<zrhost::GroupMembers::Group> m_groups;
  std::array<Found, kMost> m_found;
  std::size_t m_count = 0;
};

}  // namespace zrlive
