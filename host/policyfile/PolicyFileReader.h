#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/policyfile/PlacedRowSink.h"

namespace zrhost {

enum class PolicyFileFormat { kJsonLines, kCsv };

// No line of a policy file, and no record of CSV, is longer (4 MiB): this bounds what reading one holds in memory.
inline constexpr std::size_t kMostLineBytes = std::size_t{4} << 20U;

// How a policy file is made, so that rejected lines can be written back in the same way.
struct PolicyFileShape {
  PolicyFileFormat format = PolicyFileFormat::kJsonLines;
  bool isFolder = false;
  // The columns of CSV as the header line has them, by table; empty where there is no such file.
  std::array<std::vector<std::string>, kPolicyTables> headers{};
};

struct PolicyFileOptions {
  // Whether a row whose values no table takes (a number out of range, a missing value) is a fault. Otherwise it is
  // delivered as it stands, to be judged by somebody else; what is no row at all is a fault either way.
  bool judgeValues = true;
  // A file that is open already and is read from its start in place of `path`, which only names it; it stays the
  // caller's and open. -1 for none.
  int descriptor = -1;
};

// Reads a policy file: JSON Lines; a folder of the four CSV files; one CSV file of one table, told by its header line,
// of links alone for instance; or "-", standard input, which may be either kind of file. The first bytes tell the
// format. Described for users in zrpolicy-file(5).
//
// Streams: holds one line, whatever the size of the file. Numbers come as texts without leading zeros, entity types by
// number also where CSV names them, Base64 is decoded. Byte-order mark, CR LF and empty lines are taken, and so is a
// `reason` beside a row, which says why the row was rejected once.
//
// Threads: one at a time.
//
// Throws HostError, with file and line:
//   kNoInput      there is no such file
//   kInputOutput  it cannot be opened or read
//   kBadRow       it is no policy file, a newer one, empty; a line is too long; the header of CSV has wrong columns;
//                 it was cut off (no end line or another number of rows, quotes that never end). Nothing that was
//                 delivered before may be taken for a whole file then.
class PolicyFileReader {
 public:
  // Opens the file, tells its format and reads the headers of CSV.
  explicit PolicyFileReader(const std::string& path, const PolicyFileOptions& options = {});
  ~PolicyFileReader();
  PolicyFileReader(const PolicyFileReader&) = delete;
  PolicyFileReader& operator=(const PolicyFileReader&) = delete;

  const PolicyFileShape& shape() const;

  // Pushes every row and every fault into `sink`, in the order of the file. To be called once.
  void read(PlacedRowSink& sink);

  // For a progress bar; from within the sink.
  std::uint64_t bytesRead() const;
  // 0 when it cannot be known (a pipe).
  std::uint64_t bytesInAll() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
