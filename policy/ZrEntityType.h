#ifndef ZR_POLICY_ZRENTITYTYPE_H
#define ZR_POLICY_ZRENTITYTYPE_H

#include <cstdint>

#include "support/export.h"

// The kind of entity that a link binds to a policy. Known to hosts as ZrPolicyCache::EntityType; it stands by itself
// because the cache holds a link by value, and in a struct so that its short names do not spread. Any 32-bit number can
// be cast to it and passed in.
struct ZrEntity {
  enum Type : std::int32_t {
    DEFAULT = 0,   // the default policy; only the cache's own default link is of this type
    USER = 1,      // a user name
    GROUP = 2,     // a group name
    HOSTNAME = 3,  // a host name
    IP = 4,        // one IPv4 address
    IP_RANGE = 5,  // the first and the last IPv4 address of a range
    OTHER = 6,     // any other key
  };
};
using ZrEntityType = ZrEntity::Type;

// The names of the entity types, indexed by their values: "DEFAULT", "USER", "GROUP", "HOSTNAME", "IP", "IP_RANGE",
// "OTHER". For the host's use; constant, so any thread may read it.
extern ZR_EXPORT const char* const g_rule_entity[7];

#endif  // ZR_POLICY_ZRENTITYTYPE_H
