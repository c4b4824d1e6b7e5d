#include "policy/set_index_internal.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zr {

void SpareResults::keep(Container& results) {
  const std::size_t kept = std::min(m_nodes.size() + results.size(), kMost);
  try {
    m_nodes.reserve(kept);
  } catch (const std::bad_alloc&) {
    return;
  }
  while (m_nodes.size() < kept && !results.empty()) {
    Node node = results.extract(results.begin());
    if (node.value() != nullptr) m_nodes.push_back(std::move(node));  // a host may have put a null there
  }
}

}  // namespace zr
