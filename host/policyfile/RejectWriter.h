#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/policyfile/PolicyFileReader.h"

namespace zrhost {

// Collects rejected lines in a file of the input's own format, each with why it was rejected as `reason`, so that they
// can be mended there and fed back: PolicyFileReader reads over a `reason`.
//
// A line that could be read keeps its bytes; a row that somebody else refused is written with the values that it has. A
// line that is no JSON becomes {"unreadable": TEXT, "reason": TEXT}, a record of CSV whose quotes are wrong one field:
// both stay rejected until they are mended.
//
// Written beside the old file and renamed by commit(); throws HostError kInputOutput for what cannot be written.
class RejectWriter {
 public:
  // `shape` is that of the input. For a folder `path` becomes a folder of the four files.
  RejectWriter(const std::string& path, const PolicyFileShape& shape);
  ~RejectWriter();
  RejectWriter(const RejectWriter&) = delete;
  RejectWriter& operator=(const RejectWriter&) = delete;

  // A fault that the reader found.
  void reject(const RowFault& fault);
  // A row that was read, but not taken.
  void reject(PolicyRow& row, const std::string& reason);
  void reject(RuleRow& row, const std::string& reason);
  void reject(LinkRow& row, const std::string& reason);
  void reject(MemberRow& row, const std::string& reason);

  std::uint64_t rejected() const { return m_rejected; }
  void commit();

 private:
  class Format;
  class JsonLinesFormat;
  class CsvFormat;

  std::unique_ptr<Format> m_format;
  std::uint64_t m_rejected = 0;
};

}  // namespace zrhost
