#pragma once

#include <new>
#include <optional>
#include <utility>

#include "host/base/HostError.h"
#include "live/LiveError.h"

namespace zrlive {

// The same failure for callers who do not know the rooms of host/.
LiveError liveErrorOf(const zrhost::HostError& error);

// What `action` answers; its HostError becomes a LiveError.
template <typename Action>
auto asLiveError(Action action) {
  try {
    return action();
  } catch (const zrhost::HostError& error) {
    throw liveErrorOf(error);
  }
}

// The failure that `action` ends with, whatever it throws; nothing without one.
template <typename Action>
std::optional<LiveError> failureOf(Action action) {
  try {
    action();
    return std::nullopt;
  } catch (const LiveError& error) {
    return error;
  } catch (const zrhost::HostError& error) {
    return liveErrorOf(error);
  } catch (const std::bad_alloc&) {
    return LiveError(LiveError::Kind::kInternal, "out of memory");
  } catch (const std::exception& error) {
    return LiveError(LiveError::Kind::kInternal, error.what());
  } catch (const char* text) {  // as libzrpolicy.so throws them
    return LiveError(LiveError::Kind::kInternal, text);
  }
}

}  // namespace zrlive
