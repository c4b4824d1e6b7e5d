#include "host/check/link_judge_internal.h"

namespace zrhost {
namespace {

constexpr const char* kAnyId = "1";

template <class Map>
FiledLink firstNamed(const Map& map) {
  return {map.begin()->second, map.begin()->first};
}

}  // namespace

FiledLink onlyLink(const ZrPolicyCache& cache) {
  for (const auto* map : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther}) {
    if (!map->empty()) return firstNamed(*map);
  }
  return {cache.m_mapIp.empty() ? cache.m_vecIpRange.front() : cache.m_mapIp.begin()->second, {}};
}

LinkJudge::LinkJudge() : m_sink(m_cache, m_members, m_options, m_report) {
  m_options.onRefused = [this](const RefusedRow& row) { m_reason = row.reason; };
  PolicyRow policy{kAnyId, "0", "", "0"};
  m_sink.onPolicy(policy);
}

bool LinkJudge::takes(ZrPolicyCache::EntityType type, std::string_view name) {
  m_cache.purgeEPLinkList();
  m_reason.clear();
  m_row = {kAnyId, std::to_string(type), std::string(name), kAnyId, "0"};
  m_sink.onLink(m_row);
  return m_reason.empty();
}

}  // namespace zrhost
