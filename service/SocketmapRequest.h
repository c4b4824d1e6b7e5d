#pragma once

#include <string>
#include <string_view>

#include "service/PolicyRequest.h"

namespace zrservice {

// A request of the socketmap protocol (socketmap_table(5)): a netstring "LENGTH:MAP KEY,".
class SocketmapRequest {
 public:
  // As PolicyRequest::parse.
  Found parse(std::string_view bytes);

  // Of the request that was whole; they point into the bytes.
  std::string_view map() const { return m_map; }
  std::string_view key() const { return m_key; }

 private:
  std::string_view m_map, m_key;
};

// Appends a reply as a netstring.
void appendNetstring(std::string& out, std::string_view text);

}  // namespace zrservice
