#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/check/link_judge_internal.h"
#include "host/rows/RowPlace.h"
#include "host/rows/Rows.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// What a check keeps of a link that loads. `entity` is equal for links of one entity: the addresses of an address or a
// range (first in the upper half, as addressNumber gives them), a hash of the name as it was filed otherwise.
struct KeptLink {
  std::uint64_t entity = 0;
  std::size_t nameAt = 0;
  std::int32_t linkId = 0;
  std::int32_t policyId = 0;
  std::int32_t priority = 0;
  ZrPolicyCache::EntityType type = ZrPolicyCache::DEFAULT;

  std::uint32_t first() const { return static_cast<std::uint32_t>(entity >> 32U); }
  std::uint32_t last() const { return static_cast<std::uint32_t>(entity); }
};

// A link by its place in the order of loading.
using LinkIndex = std::uint32_t;

// The links that load, in their order, as small as can be.
class LinkList {
 public:
  // `row` as it was read, `filed` as the cache took it; `place` may be null.
  void add(const LinkRow& row, const FiledLink& filed, const RowPlace* place);

  // Into the order of loading, if they came in another.
  void sortAsLoaded();

  std::size_t size() const { return m_links.size(); }
  const KeptLink& operator[](LinkIndex index) const { return m_links[index]; }
  // As the row has it.
  std::string_view name(LinkIndex index) const;
  RowPlace place(LinkIndex index) const;

  // All links, those of equal `entity` and type side by side and in their order. Two names may share a hash:
  // isOneEntity tells.
  std::vector<LinkIndex> byEntity() const;
  bool isOneEntity(LinkIndex a, LinkIndex b, LinkJudge& judge) const;
  // The name as the cache files it.
  std::string key(LinkIndex index, LinkJudge& judge) const;

 private:
  std::vector<KeptLink> m_links;
  std::string m_names;
  std::vector<std::uint64_t> m_lines;  // empty without places
  std::string m_file;
};

// The `entity` of a name.
std::uint64_t entityOfName(std::string_view key);

}  // namespace zrhost
