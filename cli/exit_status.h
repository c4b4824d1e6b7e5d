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
    case zrhost::ErrorKind::kNoInput:
      return 66;
    case zrhost::ErrorKind::kUnreachable:
      return 69;
    case zrhost::ErrorKind::kTablesPresent:
    case zrhost::ErrorKind::kLoss:
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

// The same for the reader of a manual.
struct ExitStatusMeaning {
  int status;
  const char* meaning;
};
constexpr ExitStatusMeaning kExitStatusMeanings[] = {
    {0, "something applies; the command did its work; every line of a batch was a question"},
    {1,
     "nothing applies (explain: --policy does not); config get: not set; check, config check: there are findings; "
     "diff: there are differences; status: not ready; reload: held back"},
    {exitStatus(zrhost::ErrorKind::kUsage), "usage: an option, a command, or a question that is none"},
    {exitStatus(zrhost::ErrorKind::kBadRow), "a bad row, under --strict or in an input file; a batch with bad lines"},
    {exitStatus(zrhost::ErrorKind::kNoInput), "an input file is not there"},
    {exitStatus(zrhost::ErrorKind::kUnreachable), "the database cannot be reached or opened; no service answers"},
    {exitStatus(zrhost::ErrorKind::kInternal), "internal error, or out of memory"},
    {exitStatus(zrhost::ErrorKind::kTablesPresent),
     "init refused: the tables are there; import, copy refused: much would be taken away"},
    {exitStatus(zrhost::ErrorKind::kInputOutput), "input or output failed: a full disk, a closed standard output"},
    {exitStatus(zrhost::ErrorKind::kNotPolicyDatabase), "reached, but it is no policy database, or a newer one"},
};

// As a shell sees a process that SIGPIPE ended, as it does when the reader of the output has gone.
constexpr int kReaderGone = 141;

}  // namespace zrcli
