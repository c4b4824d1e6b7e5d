#include "service/PolicyRequest.h"

#include <cstring>

namespace zrservice {

Found PolicyRequest::parse(std::string_view bytes) {
  if (m_isWhole) {
    m_attributes.clear();
    m_seen = m_lineStart = 0;
    m_isWhole = false;
  }
  if (!m_attributes.empty() && bytes.data() != m_attributes.front().name.data()) {
    m_attributes.clear();  // the bytes have moved
    m_seen = m_lineStart = 0;
  }
  const Fault fault = takeLines(bytes.substr(0, kMostRequestBytes));
  if (fault != nullptr || m_isWhole) {
    m_isWhole = true;
    return {m_lineStart, fault};
  }
  if (bytes.size() < kMostRequestBytes) return {};
  m_isWhole = true;
  return {0, "a request of more than 65536 bytes"};
}

Fault PolicyRequest::takeLines(std::string_view bytes) {
  while (m_seen < bytes.size()) {
    const void* const found = std::memchr(bytes.data() + m_seen, '\n', bytes.size() - m_seen);
    if (found == nullptr) {
      m_seen = bytes.size();
      return nullptr;
    }
    const auto end = static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data());
    const std::string_view line = bytes.substr(m_lineStart, end - m_lineStart);
    m_seen = m_lineStart = end + 1;
    if (line.empty()) {
      m_isWhole = true;
      if (m_attributes.empty()) return "a request without attributes";
      return std::memchr(bytes.data(), 0, m_lineStart) != nullptr ? "a zero byte" : nullptr;
    }
    if (const Fault fault = takeLine(line)) return fault;
  }
  return nullptr;
}

Fault PolicyRequest::takeLine(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == line.npos || equals == 0) return "a line that is no name=value";
  if (m_attributes.size() == kMostAttributes) return "a request of more than 200 attributes";
  m_attributes.push_back({line.substr(0, equals), line.substr(equals + 1)});
  return nullptr;
}

std::string_view PolicyRequest::value(std::string_view name) const {
  for (const Attribute& attribute : m_attributes)
    if (attribute.name == name) return attribute.value;
  return {};
}

}  // namespace zrservice
