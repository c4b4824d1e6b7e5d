#ifndef ZR_POLICY_CACHE_INDEX_INTERNAL_H
#define ZR_POLICY_CACHE_INDEX_INTERNAL_H

#include <map>
#include <string>

#include "policy/key_index_internal.h"
#include "policy/range_index_internal.h"

class ZrEPLink;

namespace zr {

using NameMap = std::multimap<std::string, ZrEPLink*>;
using AddressMap = std::multimap<unsigned long, ZrEPLink*>;

// What a cache keeps beside its containers to find links faster, one index for each container that is searched.
struct CacheIndex {
  KeyIndex<NameMap> user;
  KeyIndex<NameMap> group;
  KeyIndex<NameMap> hostname;
  KeyIndex<NameMap> other;
  KeyIndex<AddressMap> ip;
  RangeIndex ipRange;
};

}  // namespace zr

#endif  // ZR_POLICY_CACHE_INDEX_INTERNAL_H
