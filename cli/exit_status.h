#pragma once

#include "host/base/HostError.h"

namespace zrcli {

// What the command ends with when an operation failed; 0 and 1 belong to the subcommands. The numbers are those of
// sysexits.h where one fits.
constexpr int exitStatus(zrhost::ErrorKind kind) {
  switch (kind) {
    case zrhost::ErrorKind::kUsage:
      return 64;
    case zrhost::ErrorKind::kBadRow:
      return 65;
    case zrhost::ErrorKind::kUnreachable:
      return 69;
    case zrhost::ErrorKind::kTablesPresent:
      return 73;
    case zrhost::ErrorKind::kInputOutput:
      return 74;
    case zrhost::ErrorKind::kNotPolicyDatabase:
      return 78;
    case zrhost::ErrorKind::kInternal:
      break;
  }
  return 70;
}

}  // namespace zrcli
