#include "live/LiveStatus.h"

namespace zrlive {

const char* nameOf(LiveState state) {
  switch (state) {
    case LiveState::kUnavailable:
      return "unavailable";
    case LiveState::kStale:
      return "stale";
    case LiveState::kReady:
      return "ready";
  }
  return "?";
}

const char* nameOf(LiveSource source) {
  switch (source) {
    case LiveSource::kNone:
      return "none";
    case LiveSource::kDatabase:
      return "database";
    case LiveSource::kLastGood:
      return "last_good";
  }
  return "?";
}

}  // namespace zrlive
