#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "host/policyfile/row_stream_internal.h"

namespace zrhost {

// What one line of JSON Lines is.
struct JsonLine {
  enum class Kind { kHeader, kRow, kEnd };
  Kind kind;
  std::int64_t number = 0;                   // of a header its version, of an end the number of rows
  PolicyTable table = PolicyTable::kPolicy;  // of a row
};

// The member that holds a rejected line that was no JSON; with kBase64Suffix when it was no UTF-8 either.
inline constexpr std::string_view kUnreadable = "unreadable";

class JsonLineParser {
 public:
  JsonLineParser();
  ~JsonLineParser();

  // Takes a line apart, behind which LineReader::kPadding bytes can be read; the values of a row go into the buffer.
  // Throws LineFault.
  JsonLine parse(std::string_view line, RowBuffer& rows);

 private:
  struct Parser;
  std::unique_ptr<Parser> m_parser;
};

// The byte of a line, from 1, at which a member of that name stands; 0 when it does not stand there in plain letters.
std::uint64_t columnOfMember(std::string_view line, std::string_view name);

}  // namespace zrhost
