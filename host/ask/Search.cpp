#include "host/ask/Search.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory_resource>

#include "policy/ZrPolicyResultSet.h"

namespace zrhost {

namespace {

using Kind = QuestionPart::Kind;

// One question while it is searched for.
class Searching {
 public:
  Searching(const Snapshot& snapshot, const Question& question, ZrPolicyResultSet& results,
            const std::function<void(const Search&)>& onSearched)
      : m_snapshot(snapshot), m_question(question), m_results(results), m_onSearched(onSearched) {}

  void search(const QuestionPart& part) {
    const char* const key = part.key.c_str();
    switch (part.kind) {
      case Kind::kEntity:
        return searchKey(part.entityType, key);
      case Kind::kAddress:
        searchKey(ZrPolicyCache::IP, key);
        m_snapshot.lookUpRanges(key, m_results);
        return m_onSearched({Search::Kind::kRanges, ZrPolicyCache::IP_RANGE, key});
      case Kind::kGroups:
        return searchGroups();
      case Kind::kDefault:
        m_snapshot.lookUpDefault(m_results);
        return m_onSearched({Search::Kind::kDefault, ZrPolicyCache::DEFAULT, ""});
      case Kind::kAll:
        m_snapshot.lookUpAll(m_results);
        return m_onSearched({Search::Kind::kAll, ZrPolicyCache::DEFAULT, ""});
    }
  }

 private:
  void searchKey(ZrPolicyCache::EntityType type, const char* key) {
    m_snapshot.lookUp(type, key, m_results);
    m_onSearched({Search::Kind::kKey, type, key});
  }

  void searchGroups() {
    std::array<std::byte, 1024> room;  // enough for the groups of ordinary users
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    std::pmr::vector<GroupMembers::Group> groups(&memory);
    for (const QuestionPart& part : m_question) {
      if (!isUser(part)) continue;
      const GroupMembers::Groups found = m_snapshot.groupsOf(part.key);
      groups.insert(groups.end(), found.begin(), found.end());
    }
    std::sort(groups.begin(), groups.end());
    const auto end = std::unique(groups.begin(), groups.end());
    for (auto group = groups.begin(); group != end; ++group)
      searchKey(ZrPolicyCache::GROUP, m_snapshot.groupName(*group));
  }

  const Snapshot& m_snapshot;
  const Question& m_question;
  ZrPolicyResultSet& m_results;
  const std::function<void(const Search&)>& m_onSearched;
};

}  // namespace

void searchEach(const Snapshot& snapshot, const Question& question, ZrPolicyResultSet& results,
                const std::function<void(const Search&)>& onSearched) {
  snapshot.bind(results);
  Searching searching(snapshot, question, results, onSearched);
  for (const QuestionPart& part : question)
    searching.search(part);
}

}  // namespace zrhost
