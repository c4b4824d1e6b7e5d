#include "policy/set_index_internal.h"

#include <algorithm>
#include <new>

namespace zr {

void SpareResults::keep(Container& results) {
  const std::size_t kept = std::min(m_nodes.size() + results.size(), kMost);
  try {
    m_nodes.reserve(kept);
  } catch (const std::bad_alloc&) {
    return;
  }
  while (m_nodes.size() < kept)
    m_nodes.push_back(results.extract(results.begin()));
}

}  // namespace zr
