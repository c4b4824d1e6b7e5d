#pragma once

#include <string>
#include <string_view>

#include "host/settings/Options.h"
#include "service/decision_record_internal.h"

namespace zrservice {

// Makes lines of decisions, with keyed hashes in the place of the names that are to be kept from readers.
//
// Threads: any number at once.
class DecisionLine {
 public:
  // Throws HostError kUsage for what cannot be redacted, or without a key of 16 bytes at least; kInputOutput for a key
  // that cannot be read.
  explicit DecisionLine(const zrhost::ServiceSection& settings);

  // Appends one JSON object and a line feed. Bytes that are no UTF-8 are replaced.
  void append(std::string& out, const DecisionRecord& record) const;

 private:
  bool isRedacted(std::string_view what) const;
  bool isRedacted(const DecisionRecord& record, DecisionRecord::Kind kind, std::string_view key) const;
  std::string shown(const DecisionRecord& record, DecisionRecord::Kind kind, std::string_view key) const;
  std::string hashed(std::string_view text) const;

  zrhost::TextList m_redact;  // in lower case
  std::string m_key;
};

}  // namespace zrservice
