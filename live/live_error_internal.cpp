#include "live/live_error_internal.h"

namespace zrlive {
namespace {

LiveError::Kind kindOf(zrhost::ErrorKind kind) {
  using zrhost::ErrorKind;
  switch (kind) {
    case ErrorKind::kUsage:
      return LiveError::Kind::kUsage;
    case ErrorKind::kUnreachable:
      return LiveError::Kind::kUnreachable;
    case ErrorKind::kNotPolicyDatabase:
    case ErrorKind::kBadRow:
    case ErrorKind::kTablesPresent:
      return LiveError::Kind::kNotPolicyDatabase;
    case ErrorKind::kNoInput:
    case ErrorKind::kInputOutput:
      return LiveError::Kind::kInputOutput;
    case ErrorKind::kLoss:
    case ErrorKind::kInternal:
      break;
  }
  return LiveError::Kind::kInternal;
}

}  // namespace

LiveError liveErrorOf(const zrhost::HostError& error) {
  return {kindOf(error.kind()), error.what()};
}

}  // namespace zrlive
