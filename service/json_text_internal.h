#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace zrservice {

// A document as text, whatever bytes are in it: those that are no UTF-8 are replaced.
inline std::string jsonText(const nlohmann::ordered_json& document, int indent = -1) {
  return document.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace zrservice
