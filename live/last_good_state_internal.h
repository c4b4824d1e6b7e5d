#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "live/LiveStatus.h"

namespace zrlive {

// What is said about a last good state, beside its rows.
struct LastGoodState {
  std::string epoch;  // of the database that it is from
  std::int64_t revision = 0;
  std::chrono::system_clock::time_point confirmed;  // when that database last said that this is its content
  std::string rows;                                 // their checksum (RowSum)
  SnapshotCounts counts;

  bool isSameContent(const std::string& otherEpoch, std::int64_t otherRevision) const {
    return epoch == otherEpoch && revision == otherRevision;
  }
};

// The states of a text of JSON, and back. Each carries a checksum of its own, and one that does not fit is left out: it
// is damaged. A text that is none holds no states.
std::vector<LastGoodState> parseStates(const std::string& text);
std::string textOf(const std::vector<LastGoodState>& states);

}  // namespace zrlive
