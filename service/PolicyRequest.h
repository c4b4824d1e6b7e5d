#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zrservice {

// The longest request, and the most attributes that one may have.
inline constexpr std::size_t kMostRequestBytes = std::size_t{64} << 10U;
inline constexpr std::size_t kMostAttributes = 200;

struct Attribute {
  std::string_view name, value;
};

// Why something is no request, for the log; null when nothing is wrong.
using Fault = const char*;

// What was found at the beginning of the bytes that have come so far.
struct Found {
  std::size_t size = 0;  // of the whole request; 0 while there is more to come
  Fault fault = nullptr;
};

// A request of the Postfix policy delegation protocol: "name=value" lines, each ended by a line feed, and an empty one.
// Attributes point into the bytes that were parsed. Names that nobody knows are kept; of two of one name the first
// counts, as it does for whoever walks the list.
//
// Made to be used again. Looks at each byte once, however small the pieces are in which a request arrives, as long as
// the bytes stay where they are.
class PolicyRequest {
 public:
  // `bytes` begin with the request, and grow from call to call until it is whole or found to be none. After that the
  // next call is for the next request.
  Found parse(std::string_view bytes);

  const std::vector<Attribute>& attributes() const { return m_attributes; }
  // Empty where there is none.
  std::string_view value(std::string_view name) const;

 private:
  static constexpr std::size_t kNone = std::string_view::npos;

  Fault takeLines(std::string_view bytes);
  Fault takeBlock(std::string_view bytes, std::size_t start, std::uint64_t ends, std::uint64_t equals);
  Fault takeLine(std::string_view bytes, std::size_t end);

  std::vector<Attribute> m_attributes;
  std::size_t m_seen = 0;        // bytes that were looked at
  std::size_t m_lineStart = 0;   // of the line that is not whole
  std::size_t m_equals = kNone;  // the first equals sign of that line
  std::size_t m_zero = kNone;    // the first zero byte that was seen
  bool m_isWhole = true;
};

}  // namespace zrservice
