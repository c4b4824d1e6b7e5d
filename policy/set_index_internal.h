#ifndef ZR_POLICY_SET_INDEX_INTERNAL_H
#define ZR_POLICY_SET_INDEX_INTERNAL_H

#include <set>
#include <utility>
#include <vector>

#include "policy/ZrPolicyResultSet.h"
#include "policy/id_set_internal.h"

namespace zr {

// Results, with their places in the container, that a set had before it was cleaned up and will need again. Each is a
// block of its own, as one that was never kept: hosts may delete results one by one.
class SpareResults {
 public:
  using Container = std::multiset<ZrPolicyResult*, ZrPolicyResult>;
  using Node = Container::node_type;
  static constexpr std::size_t kMost = 1024;

  SpareResults() = default;
  SpareResults(const SpareResults&) = delete;
  SpareResults& operator=(const SpareResults&) = delete;
  ~SpareResults() {
    for (const Node& node : m_nodes)
      delete node.value();
  }

  // One of them, the caller's from now on; empty when there is none.
  Node take() {
    if (m_nodes.empty()) return {};
    Node node = std::move(m_nodes.back());
    m_nodes.pop_back();
    return node;
  }

  // Takes results out of a container, front to back, as long as there is room and memory for it.
  void keep(Container& results);

 private:
  std::vector<Node> m_nodes;
};

// What a result set keeps beside its results to add to them faster.
struct SetIndex {
  IdSet ids;
  SpareResults spare;
};

}  // namespace zr

#endif  // ZR_POLICY_SET_INDEX_INTERNAL_H
