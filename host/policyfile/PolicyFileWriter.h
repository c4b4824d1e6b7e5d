#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/policyfile/PolicyFileReader.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// Writes the rows that it is given to a policy file, one at a time and in the order in which they come; the revision is
// left out, so that equal rows give equal bytes. For one changed row to be one changed line, links have to come in the
// order of their keys (link_id) and not in that of their priorities.
//
// A row that a policy file cannot hold ends the writing, so that nothing is lost or becomes something else: a NULL, a
// number that is none, is out of range or is not written as numbers are ("007"), a line over kMostLineBytes. Bytes that
// are no UTF-8 (and in CSV zero bytes) are written in Base64.
//
// Threads: one at a time.
//
// Throws HostError kBadRow with table, key and column for such a row, kInputOutput for what cannot be written.
class PolicyFileWriter : public RowSink {
 public:
  // Completes the file and puts it into the place of the old one. Without it, or when it throws, the old file stays.
  virtual void commit() = 0;
  virtual std::uint64_t rows() const = 0;
};

// Writes the file `path` beside the old one until commit(); a device or pipe is written directly. With kCsv `path` is a
// folder, which is made when it is missing: all four files are complete and on the disk before the first is renamed, so
// a full disk leaves the old ones; only what ends the program or fails between two renames leaves files of both states,
// each whole. Other files of the folder stay.
std::unique_ptr<PolicyFileWriter> makePolicyFileWriter(const std::string& path, PolicyFileFormat format);

// JSON Lines, handed to `write` in pieces: for standard output. What that throws passes through.
std::unique_ptr<PolicyFileWriter> makePolicyFileWriter(const std::function<void(std::string_view)>& write);

}  // namespace zrhost
