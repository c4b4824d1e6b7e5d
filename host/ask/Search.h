#pragma once

#include <functional>

#include "host/ask/Question.h"
#include "host/load/Snapshot.h"

class ZrPolicyResultSet;

namespace zrhost {

// One search of the cache, as a question makes them.
struct Search {
  enum class Kind {
    kKey,      // the links of `type` whose key is `key`
    kRanges,   // the ranges that hold the address `key`
    kDefault,  // the default policy
    kAll,      // every user, group and other link
  };

  Kind kind;
  ZrPolicyCache::EntityType type;  // of the links that it may find; DEFAULT for kDefault and kAll
  const char* key;                 // as it was asked, in the question or the snapshot; empty for kinds without one
};

// Makes the searches of a question, one after another, with the library's lookups into `results`, which are bound to
// the snapshot first. The groups of the question's users (kGroups) are searched in ascending order of their names'
// bytes, each once. `onSearched` is called behind each search.
//
// Threads: any number at once on one snapshot.
// Throws what the lookups and onSearched throw, and std::bad_alloc.
void searchEach(const Snapshot& snapshot, const Question& question, ZrPolicyResultSet& results,
                const std::function<void(const Search&)>& onSearched);

}  // namespace zrhost
